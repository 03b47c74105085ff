#ifndef TOOL_BINDING_SRC_MAPPING_ACCESS_HPP_
#define TOOL_BINDING_SRC_MAPPING_ACCESS_HPP_

#include <cstddef>
#include <utility>

#include "tool_binding/value.hpp"

namespace tool_binding {

// The look-ups and additions that every argument of every request goes through, inline for the
// small mappings that have no index.
struct MappingAccess {
  // Precondition: `key` is text.
  [[nodiscard]] static const Value* find(const Mapping& mapping, const Value& key) noexcept {
    if (!mapping.index_.empty() || !key.is_plain()) return mapping.find_key(key);
    for (const Mapping::Entry& entry : mapping.entries_) {
      if (Value::same_bytes(entry.key_, key)) return &entry.value;
    }
    return nullptr;
  }
  [[nodiscard]] static Value* find(Mapping& mapping, const Value& key) noexcept {
    return const_cast<Value*>(find(std::as_const(mapping), key));
  }

  // Precondition: `key` is not in the mapping. Both are copied or moved, as given.
  template <class Key, class Content>
  static void append(Mapping& mapping, Key&& key, Content&& value) {
    mapping.entries_.emplace_back(std::forward<Key>(key), std::forward<Content>(value));
    if (mapping.entries_.size() > Mapping::scan_limit || !mapping.index_.empty()) {
      mapping.index_last();
    }
  }

  // Precondition: `key` is text.
  static void set(Mapping& mapping, const Value& key, Value&& value) {
    if (Value* present = find(mapping, key)) {
      *present = std::move(value);
    } else {
      append(mapping, key, std::move(value));
    }
  }
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_MAPPING_ACCESS_HPP_
