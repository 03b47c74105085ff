#ifndef TOOL_BINDING_UTILS_TEXT_VALUES_HPP_
#define TOOL_BINDING_UTILS_TEXT_VALUES_HPP_

// Values that clients send as text. Pure functions: safe from any thread, no locale.

#include <string_view>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Reads a boolean: true, yes, on, 1, y, t and false, no, off, 0, n, f, in any letter case, white
// space around it allowed. Throws std::invalid_argument for any other text.
//
//   parse_bool(" Yes ") == true
//   parse_bool("maybe")   throws: "'maybe' is neither true nor false"
[[nodiscard]] TOOL_BINDING_EXPORT bool parse_bool(std::string_view text);

// Reads a list as clients write it, and refuses what it would garble. The text is stripped; then
// the first of these that fits counts. (The examples show the items with | between them.)
//
// 1. The literal of a list: its items, of any kind and nested at most 128 deep. A literal is JSON
//    widened by what other languages print: strings in single quotes; in strings the escapes
//    \' \" \a \v \xhh \Uhhhhhhhh too; None, True, False; round brackets for an inner list; a comma
//    before a closing bracket; keys that are numbers or words. A number beyond the range of floats
//    is an infinity; of a repeated key the later value counts, at the first position.
//      split_csv("['x', 'it\'s', None, (1, 2)]")   x | it's | None | [1, 2]
//
// 2. Anything else is comma-separated text, with or without square brackets around it. Items are
//    stripped, empty ones dropped. A comma inside [ ] or { } that pair up does not divide. An item
//    that opens with a quote runs to the next same quote that a comma or the end follows and is
//    what the quotes enclose, a doubled quote being one, kept even when empty; where no such quote
//    follows, the opening one is an ordinary character.
//      split_csv(" a, b ,,c")                a | b | c
//      split_csv("it's, \"a, b\"")           it's | a, b
//      split_csv("src/*.{ts,tsx}, lib")      src/*.{ts,tsx} | lib
//      split_csv("[a, b]")                   a | b
//      split_csv("[bug], [feature]")         [bug] | [feature]
//
// Throws std::invalid_argument for the literal of an object, a literal nested too deep, a first '['
// that no ']' pairs with ("[3, 16"), and, inside square brackets around comma-separated text, for a
// '[' without its ']', an item that begins with a bracket ("[a, [b, c]]", "[{a, b}]") and an
// opening quote without a closing one ("['tis, ok]"). Cost: linear.
[[nodiscard]] TOOL_BINDING_EXPORT List split_csv(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_UTILS_TEXT_VALUES_HPP_
