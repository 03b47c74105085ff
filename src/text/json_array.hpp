#ifndef TOOL_BINDING_SRC_TEXT_JSON_ARRAY_HPP_
#define TOOL_BINDING_SRC_TEXT_JSON_ARRAY_HPP_

// A list that a client sends as the text of a JSON array.

#include <cstddef>
#include <optional>
#include <string_view>

#include "tool_binding/value.hpp"

namespace tool_binding {

struct JsonArray {
  List items;
  std::size_t depth;  // 1 for an array without arrays or objects in it
};

// Reads a JSON array (RFC 8259) that spans the whole text. Nothing for any other text; that takes
// in a lone surrogate escape and text that is not well-formed UTF-8.
//
// Integers keep their size, a number beyond the floats is an infinity, a repeated member keeps its
// first position and takes the later value. Any depth, without recursion. Cost: linear.
[[nodiscard]] std::optional<JsonArray> read_json_array(std::string_view text);

// Reads a JSON object that spans the whole text but for white space around it.
[[nodiscard]] std::optional<Value> read_object_text(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_JSON_ARRAY_HPP_
