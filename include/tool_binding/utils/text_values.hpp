#ifndef TOOL_BINDING_UTILS_TEXT_VALUES_HPP_
#define TOOL_BINDING_UTILS_TEXT_VALUES_HPP_

// Values that clients send as text. Pure functions: safe from any thread, no locale.

#include <string_view>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Reads a boolean: true, yes, on, 1, y, t and false, no, off, 0, n, f, in any letter case, white
// space around it allowed. Throws std::invalid_argument for any other text.
[[nodiscard]] TOOL_BINDING_EXPORT bool parse_bool(std::string_view text);

// Reads a list: a JSON array in brackets, else comma-separated text, its brackets dropped.
//
// A JSON array gives its items as they are: any kind, integers of any size, a number beyond the
// range of a float as an infinity; of a repeated member the later value, at the first position.
// Text that is no valid JSON (a lone surrogate escape, NaN) is comma-separated text.
//
// Items between commas are text, stripped, empty ones dropped. An item that opens with a quote runs
// to the next same quote that a comma or the end follows (white space allowed between) and is what
// stands between, a doubled quote being one, kept even when empty. With no such quote, the quote is
// an ordinary character.
//   split_csv(" a, b ,,c")       a | b | c
//   split_csv("it's, ok")        it's | ok
//   split_csv("\"a, b\",c")      a, b | c
//   split_csv("['x', 'y']")      x | y
//   split_csv("[1, [true]]")     1 | [True]
//
// Throws std::invalid_argument for a JSON array nested deeper than 128. Cost: linear.
[[nodiscard]] TOOL_BINDING_EXPORT List split_csv(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_UTILS_TEXT_VALUES_HPP_
