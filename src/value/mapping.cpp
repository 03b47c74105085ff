#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>

#include "value/mapping_access.hpp"
#include "value/name_hash.hpp"

namespace tool_binding {

Mapping::Mapping(std::initializer_list<std::pair<std::string_view, Value>> entries) {
  reserve(entries.size());
  for (const auto& [name, value] : entries) set(name, value);
}

template <class Hash, class Matches>
const Value* Mapping::find_if(const Hash& hash, const Matches& matches) const noexcept {
  if (index_.empty()) {
    for (const Entry& entry : entries_) {
      if (matches(entry.key_)) return &entry.value;
    }
    return nullptr;
  }
  const std::size_t mask = index_.size() - 1;
  for (std::size_t slot = hash() & mask; index_[slot] != 0; slot = (slot + 1) & mask) {
    const Entry& entry = entries_[index_[slot] - 1];
    if (matches(entry.key_)) return &entry.value;
  }
  return nullptr;
}

void Mapping::reserve(std::size_t count) {
  entries_.reserve(count);
  if (count > scan_limit && count * 2 > index_.size()) rebuild_index(count);
}

const Value* Mapping::find(std::string_view name) const& noexcept {
  if (name.size() <= Value::inline_capacity) return MappingAccess::find(*this, Value(name));
  return find_if([name] { return name_hash(name); },
                 [name](const Value& key) { return key.if_text() == name; });
}

const Value* Mapping::find_key(const Value& key) const& noexcept {
  if (key.tag() >= Value::Tag::inline_text) {
    return find_if([&key] { return MappingAccess::hash_of(key); },
                   [&key](const Value& other) { return Value::same_bytes(other, key); });
  }
  if (key.is_text()) return find(key.get_text());
  const auto found =
      std::find_if(begin(), end(), [&key](const Entry& entry) { return entry.key_ == key; });
  return found == end() ? nullptr : &found->value;
}

const Value& Mapping::at(std::string_view name) const& {
  if (const Value* value = find(name)) return *value;
  throw std::out_of_range("the mapping has no " + display_form(name));
}

Value& Mapping::set(Value key, Value value) {
  if (key.container() != nullptr) throw TypeError("a list or a mapping cannot be a key");
  if (const Value* present = find_key(key)) {
    return const_cast<Value&>(*present) = std::move(value);
  }
  MappingAccess::append(*this, std::move(key), std::move(value));
  return entries_.back().value;
}

// Entries are never assigned to, so those that stay move into a new array.
bool Mapping::erase(std::string_view name) {
  const Value* const value = find(name);
  if (value == nullptr) return false;
  Mapping rest;
  rest.reserve(entries_.size() - 1);
  for (Entry& entry : entries_) {
    if (&entry.value != value) {
      MappingAccess::append(rest, std::move(entry.key_), std::move(entry.value));
    }
  }
  *this = std::move(rest);
  return true;
}

// Only text keys are indexed. The index is kept at most half full.
void Mapping::index_last() {
  if (entries_.size() * 2 <= index_.size()) return insert_in_index(entries_.size() - 1);
  try {
    rebuild_index(entries_.size() * 2);
  } catch (...) {
    entries_.pop_back();
    throw;
  }
}

void Mapping::rebuild_index(std::size_t capacity) {
  if (capacity > std::numeric_limits<std::uint32_t>::max() / 2) {
    throw std::length_error("a mapping holds at most a billion names");
  }
  index_.assign(std::bit_ceil(capacity * 2), 0);
  for (std::size_t i = 0; i < entries_.size(); ++i) insert_in_index(i);
}

void Mapping::insert_in_index(std::size_t position) noexcept {
  if (!entries_[position].key_.is_text()) return;
  const std::size_t mask = index_.size() - 1;
  std::size_t slot = MappingAccess::hash_of(entries_[position].key_) & mask;
  while (index_[slot] != 0) slot = (slot + 1) & mask;
  index_[slot] = static_cast<std::uint32_t>(position + 1);
}

}  // namespace tool_binding
