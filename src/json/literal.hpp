#ifndef TOOL_BINDING_SRC_JSON_LITERAL_HPP_
#define TOOL_BINDING_SRC_JSON_LITERAL_HPP_

#include <cstddef>
#include <optional>
#include <string_view>

#include "tool_binding/value.hpp"

namespace tool_binding {

inline constexpr std::size_t deepest_literal = 128;

// The list or the mapping that the whole of a text is the literal of, white space around it
// allowed; nothing for any other text. A literal is JSON that is widened by what other languages
// print:
//
//   strings in single quotes; in any string the escapes \' \" \a \v \xhh \Uhhhhhhhh too
//   None, True and False
//   round brackets for an inner list
//   a comma before a closing bracket
//   keys that are numbers or words (ASCII letters, digits and underscores): the text of them
//
//   read_literal("{'ids': (1, 2), 'name': None,}") is {'ids': [1, 2], 'name': None}
//
// A number beyond the range of floats is an infinity. Everything else is as parse_json has it.
// Throws std::invalid_argument for a literal that is nested more than 128 deep. Cost: linear.
[[nodiscard]] std::optional<Value> read_literal(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_JSON_LITERAL_HPP_
