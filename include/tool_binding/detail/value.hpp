#ifndef TOOL_BINDING_DETAIL_VALUE_HPP_
#define TOOL_BINDING_DETAIL_VALUE_HPP_

// The bodies of value.hpp. Private: include that one.

#include <array>
#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tool_binding/value.hpp"

namespace tool_binding {

namespace detail {

// By tag.
inline constexpr std::array<Kind, 9> stored_kinds = {Kind::none,   Kind::boolean, Kind::integer,
                                                     Kind::float_, Kind::integer, Kind::text,
                                                     Kind::list,   Kind::mapping, Kind::object};

}  // namespace detail

static_assert(sizeof(Value) == 16 && sizeof(Mapping::Entry) == 32);

// Construction.

template <std::same_as<bool> T>
Value::Value(T boolean) noexcept {
  set_payload(Tag::boolean, std::uint64_t{boolean});
}

template <detail::IntegerType T>
Value::Value(T integer) {
  if (std::in_range<std::int64_t>(integer)) {
    set_payload(Tag::small_integer, static_cast<std::int64_t>(integer));
  } else {
    *this = integer_of(std::to_string(integer));
  }
}

template <std::floating_point T>
requires(sizeof(T) <= sizeof(double)) Value::Value(T number)
noexcept { set_payload(Tag::float_, double{number}); }

inline Value::Value(std::string_view text) {
  if (text.size() <= inline_capacity) {
    bytes_ = joined(inline_words(text));
  } else {
    set_heap_text(Tag::heap_text, text);
  }
}

inline Value::Value(const Value& other) : ValueStorage(other) {
  if (other.owns_heap()) copy_heap(other);
}
inline Value::Value(Value&& other) noexcept : ValueStorage(other) { other.bytes_ = {}; }

inline Value& Value::operator=(const Value& other) {
  if (this != &other) *this = Value(other);
  return *this;
}
inline Value& Value::operator=(Value&& other) noexcept {
  const std::array<char, 16> incoming = std::exchange(other.bytes_, {});
  if (owns_heap()) release_heap();
  bytes_ = incoming;
  return *this;
}
inline Value::~Value() {
  if (owns_heap()) release_heap();
}

// Access.

inline Kind Value::kind() const noexcept {
  return tag() >= Tag::inline_text ? Kind::text
                                   : detail::stored_kinds[static_cast<std::size_t>(tag())];
}

inline const Value& Value::require(bool is_kind, Kind kind) const {
  if (!is_kind) throw_wrong_kind(kind);
  return *this;
}

inline bool Value::is_none() const noexcept { return tag() == Tag::none; }

inline bool Value::is_boolean() const noexcept { return tag() == Tag::boolean; }
inline std::optional<bool> Value::if_boolean() const noexcept {
  return is_boolean() ? std::optional(get_boolean()) : std::nullopt;
}
inline bool Value::as_boolean() const { return require(is_boolean(), Kind::boolean).get_boolean(); }
inline bool Value::get_boolean() const noexcept {
  assert(is_boolean());
  return payload<std::uint64_t>() != 0;
}

inline bool Value::is_integer() const noexcept {
  return tag() == Tag::small_integer || tag() == Tag::big_integer;
}
inline std::optional<Integer> Value::if_integer() const noexcept {
  return is_integer() ? std::optional(get_integer()) : std::nullopt;
}
inline Integer Value::as_integer() const {
  return require(is_integer(), Kind::integer).get_integer();
}
inline Integer Value::get_integer() const noexcept {
  assert(is_integer());
  return tag() == Tag::small_integer ? Integer(payload<std::int64_t>()) : Integer(heap_text());
}

inline bool Value::is_int64() const noexcept { return tag() == Tag::small_integer; }
inline std::optional<std::int64_t> Value::if_int64() const noexcept {
  return is_int64() ? std::optional(get_int64()) : std::nullopt;
}
inline std::int64_t Value::get_int64() const noexcept {
  assert(is_int64());
  return payload<std::int64_t>();
}

inline bool Value::is_float() const noexcept { return tag() == Tag::float_; }
inline std::optional<double> Value::if_float() const noexcept {
  return is_float() ? std::optional(get_float()) : std::nullopt;
}
inline double Value::as_float() const { return require(is_float(), Kind::float_).get_float(); }
inline double Value::get_float() const noexcept {
  assert(is_float());
  return payload<double>();
}

inline bool Value::is_text() const noexcept {
  return tag() >= Tag::inline_text || tag() == Tag::heap_text;
}
inline std::optional<std::string_view> Value::if_text() const& noexcept {
  return is_text() ? std::optional(get_text()) : std::nullopt;
}
inline std::string_view Value::as_text() const& {
  return require(is_text(), Kind::text).get_text();
}
inline std::string Value::as_text() && { return std::string(std::as_const(*this).as_text()); }
inline std::string_view Value::get_text() const noexcept {
  assert(is_text());
  return tag() >= Tag::inline_text ? inline_text() : heap_text();
}

inline bool Value::is_list() const noexcept { return tag() == Tag::list; }
inline const List* Value::if_list() const& noexcept { return is_list() ? &get_list() : nullptr; }
inline List* Value::if_list() & noexcept { return is_list() ? &get_list() : nullptr; }
inline const List& Value::as_list() const& { return require(is_list(), Kind::list).get_list(); }
inline List& Value::as_list() & {
  require(is_list(), Kind::list);
  return get_list();
}

inline bool Value::is_mapping() const noexcept { return tag() == Tag::mapping; }
inline const Mapping* Value::if_mapping() const& noexcept {
  return is_mapping() ? &get_mapping() : nullptr;
}
inline Mapping* Value::if_mapping() & noexcept { return is_mapping() ? &get_mapping() : nullptr; }
inline const Mapping& Value::as_mapping() const& {
  return require(is_mapping(), Kind::mapping).get_mapping();
}
inline Mapping& Value::as_mapping() & {
  require(is_mapping(), Kind::mapping);
  return get_mapping();
}

inline bool Value::is_object() const noexcept { return tag() == Tag::object; }
inline std::shared_ptr<Object> Value::if_object() const noexcept {
  return is_object() ? get_object() : nullptr;
}
inline const std::shared_ptr<Object>& Value::as_object() const& {
  return require(is_object(), Kind::object).get_object();
}
inline std::shared_ptr<Object> Value::as_object() && { return std::as_const(*this).as_object(); }
template <std::derived_from<Object> T>
std::shared_ptr<T> Value::object_as() const noexcept {
  return is_object() ? std::dynamic_pointer_cast<T>(get_object()) : nullptr;
}

inline List::List(std::initializer_list<Item> items) {
  reserve(items.size());
  for (const Item& item : items) push_back(std::move(item.value_));
}

template <std::size_t index>
decltype(auto) Mapping::Entry::get() const {
  if constexpr (index == 0) {
    return key_.as_text();
  } else {
    return (value);
  }
}
template <std::size_t index>
decltype(auto) Mapping::Entry::get() {
  if constexpr (index == 0) {
    return key_.as_text();
  } else {
    return (value);
  }
}

inline Mapping& Mapping::operator=(Mapping&& other) noexcept {
  Mapping taken(std::move(other));
  entries_.swap(taken.entries_);
  index_.swap(taken.index_);
  return *this;
}

inline Value* Mapping::find(std::string_view name) & noexcept {
  return const_cast<Value*>(std::as_const(*this).find(name));
}
inline Value* Mapping::find_key(const Value& key) & noexcept {
  return const_cast<Value*>(std::as_const(*this).find_key(key));
}
inline Value& Mapping::at(std::string_view name) & {
  return const_cast<Value&>(std::as_const(*this).at(name));
}

}  // namespace tool_binding

// Structured bindings of Mapping::Entry.
template <>
struct std::tuple_size<tool_binding::Mapping::Entry> : std::integral_constant<std::size_t, 2> {};
template <>
struct std::tuple_element<0, tool_binding::Mapping::Entry> {
  using type = const std::string_view;  // assigning it would not rename the entry
};
template <>
struct std::tuple_element<1, tool_binding::Mapping::Entry> {
  using type = tool_binding::Value;
};

#endif  // TOOL_BINDING_DETAIL_VALUE_HPP_
