#ifndef TOOL_BINDING_SRC_VALUE_NODES_HPP_
#define TOOL_BINDING_SRC_VALUE_NODES_HPP_

// What a Value points to when its content is not stored in it.

#include <cstddef>
#include <utility>

#include "tool_binding/value.hpp"

namespace tool_binding {

// A text or the digits of an integer, the bytes right behind the header.
struct HeapText {
  std::size_t size;

  [[nodiscard]] char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
};

// Containers that wait for their destruction are linked by `next`, so that destroying needs neither
// stack nor memory.
struct Value::Container {
  Container* next = nullptr;
  bool is_list;
};
struct Value::ListNode : Container {
  explicit ListNode(List list) noexcept : Container{nullptr, true}, items(std::move(list)) {}
  List items;
};
struct Value::MappingNode : Container {
  explicit MappingNode(Mapping m) noexcept : Container{nullptr, false}, mapping(std::move(m)) {}
  Mapping mapping;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_VALUE_NODES_HPP_
