#ifndef TOOL_BINDING_SRC_MAPPING_ACCESS_HPP_
#define TOOL_BINDING_SRC_MAPPING_ACCESS_HPP_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

#include "name_hash.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// The look-ups and additions that every argument of every request goes through, inline for the
// small mappings that have no index.
struct MappingAccess {
  [[nodiscard]] static bool is_indexed(const Mapping& mapping) noexcept {
    return !mapping.index_.empty();
  }
  // Precondition: `key` is text.
  [[nodiscard]] static const Value* find(const Mapping& mapping, const Value& key) noexcept {
    if (!mapping.index_.empty() || !key.is_plain()) return mapping.find_key(key);
    for (const Mapping::Entry& entry : mapping.entries_) {
      if (Value::same_bytes(entry.key_, key)) return &entry.value;
    }
    return nullptr;
  }
  // Precondition: `key` is text.
  [[nodiscard]] static std::uint64_t hash_of(const Value& key) noexcept {
    if (!key.is_plain()) return name_hash(key.get_text());
    const auto words = std::bit_cast<std::array<std::uint64_t, 2>>(key.bytes_);
    return words_hash(words[0], words[1]);
  }
  // For tables whose names no client chooses: cheaper. Its first bits are the best.
  [[nodiscard]] static std::uint64_t unkeyed_hash_of(const Value& key) noexcept {
    if (!key.is_plain()) return key.is_text() ? name_hash(key.get_text()) : 0;
    const auto words = std::bit_cast<std::array<std::uint64_t, 2>>(key.bytes_);
    return folded_product(words[0] ^ hash_spread, words[1] ^ ~hash_spread);
  }
  [[nodiscard]] static const Value* find(const Mapping& mapping, std::string_view name) noexcept {
    if (name.size() > Value::inline_capacity) return mapping.find(name);
    return find(mapping, Value(name));
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

  // Moves the entries up to `places`, and copies those of `defaults` to the others. Preconditions:
  // the mapping has no index, the places ascend, and of the defaults nothing stands on the heap, so
  // that they are their bytes.
  static void spread(Mapping& mapping, std::span<const std::size_t> places,
                     const Mapping& defaults) {
    auto& entries = mapping.entries_;
    const auto& others = defaults.entries_;
    const auto put = [](Mapping::Entry& to, const Mapping::Entry& from) {
      to.key_.bytes_ = from.key_.bytes_;
      to.value.bytes_ = from.value.bytes_;
    };
    entries.insert(entries.end(), others.begin() + std::ssize(places), others.end());
    for (std::size_t i = places.size(); i-- > 0 && places[i] != i;) {
      put(entries[places[i]], entries[i]);
      put(entries[i], others[i]);
    }
  }
  [[nodiscard]] static bool owns_heap(const Mapping::Entry& entry) noexcept {
    return entry.key_.owns_heap() || entry.value.owns_heap();
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
