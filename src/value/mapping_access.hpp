#ifndef TOOL_BINDING_SRC_VALUE_MAPPING_ACCESS_HPP_
#define TOOL_BINDING_SRC_VALUE_MAPPING_ACCESS_HPP_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "tool_binding/value.hpp"
#include "value/name_hash.hpp"

namespace tool_binding {

// The look-ups and additions that every argument of every request goes through, inline for the
// small mappings that have no index.
struct MappingAccess {
  [[nodiscard]] static bool is_indexed(const Mapping& mapping) noexcept {
    return !mapping.index_.empty();
  }
  // Precondition: `key` is text.
  [[nodiscard]] static const Value* find(const Mapping& mapping, const Value& key) noexcept {
    if (is_indexed(mapping) || !key.is_plain()) return mapping.find_key(key);
    return scan(mapping, key.words());
  }
  [[nodiscard]] static const Value* find(const Mapping& mapping, std::string_view name) noexcept {
    if (is_indexed(mapping) || name.size() > Value::inline_capacity) return mapping.find(name);
    return scan(mapping, Value::inline_words(name));
  }
  // Precondition: `key` is text.
  [[nodiscard]] static std::uint64_t hash_of(const Value& key) noexcept {
    if (!key.is_plain()) return name_hash(key.get_text());
    const auto words = key.words();
    return words_hash(words[0], words[1]);
  }
  // For tables whose names no client chooses: cheaper. Its first bits are the best.
  [[nodiscard]] static std::uint64_t unkeyed_hash_of(const Value& key) noexcept {
    if (!key.is_plain()) return key.is_text() ? name_hash(key.get_text()) : 0;
    const auto words = key.words();
    return folded_product(words[0] ^ hash_spread, words[1] ^ ~hash_spread);
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

  // Whether the names in the mapping are some of those in `all`, in the same order. Of a name that
  // is on the heap it answers no.
  [[nodiscard]] static bool is_part_of(const Mapping& mapping, const Mapping& all) noexcept {
    auto place = all.entries_.begin();
    for (const Mapping::Entry& entry : mapping.entries_) {
      while (place != all.entries_.end() && !Value::same_bytes(place->key_, entry.key_)) ++place;
      if (place == all.entries_.end()) return false;
      ++place;
    }
    return true;
  }

  // Adds the entries that are missing, each in its place. Preconditions: the mapping is part of
  // `all` and has no index unless nothing is missing, and of `all` nothing is on the heap, so
  // that the entries are their bytes.
  static void complete(Mapping& mapping, const Mapping& all) {
    auto& entries = mapping.entries_;
    const auto& others = all.entries_;
    const std::size_t size = entries.size();
    entries.reserve(others.size());
    for (std::size_t i = size; i < others.size(); ++i) entries.push_back(others[i]);
    const Mapping::Entry* const first = entries.data();
    const Mapping::Entry* left = first + size;
    Mapping::Entry* place = entries.data() + others.size();
    for (const Mapping::Entry* other = others.data() + others.size(); place != left;) {
      --place;
      --other;
      const bool is_there = left != first && Value::same_bytes(left[-1].key_, other->key_);
      const Mapping::Entry* const from = is_there ? --left : other;
      place->key_.bytes_ = from->key_.bytes_;
      place->value.bytes_ = from->value.bytes_;
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

 private:
  [[nodiscard]] static const Value* scan(const Mapping& mapping,
                                         const Value::Words& plain_key) noexcept {
    for (const Mapping::Entry& entry : mapping.entries_) {
      if (Value::same(entry.key_.words(), plain_key)) return &entry.value;
    }
    return nullptr;
  }
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_VALUE_MAPPING_ACCESS_HPP_
