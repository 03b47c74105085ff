#ifndef TOOL_BINDING_DETAIL_CPP_TYPE_HPP_
#define TOOL_BINDING_DETAIL_CPP_TYPE_HPP_

// The C++ types that a parameter of a request can have: what registration is to know of each, and
// how a bound value becomes one. Private: include handlers.hpp.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "tool_binding/detail/names.hpp"
#include "tool_binding/detail/value_storage.hpp"
#include "tool_binding/export.hpp"
#include "tool_binding/handlers/parameter_types.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding::detail {

// What a value becomes; of a vector, what each item becomes.
enum class CppKind : std::uint8_t {
  boolean,
  integer,
  number,
  text,
  enumeration,
  value,
  list,
  mapping,
  custom,
  unsupported,
};

// One C++ type of parameters, for the part of registration and refusal that no template needs.
struct CppType {
  CppKind kind = CppKind::unsupported;
  bool is_optional = false;
  bool is_vector = false;
  std::string_view name = {};  // without std::optional and std::vector
  std::int64_t lowest = 0;     // integers
  std::uint64_t highest = 0;
  double largest = 0;  // numbers: the largest finite one
  const std::vector<Enumerator>& (*enumerators)() = nullptr;
  // Of a type with a reader, and of the parameter, which may be a list of it.
  const std::shared_ptr<const CustomType>& (*custom)() = nullptr;
  const std::shared_ptr<const CustomType>& (*param_custom)() = nullptr;
  // Whether a value, or an item, can become one. None is left out of account.
  bool (*accepts)(const Value&) = nullptr;
  bool (*accepts_item)(const Value&) = nullptr;
};

template <class T>
concept HasReader = requires {
  sizeof(ParameterReader<T>);
};
template <class T>
concept CompleteReader = requires(const Value& value) {
  { ParameterReader<T>::words } -> std::convertible_to<std::string_view>;
  { ParameterReader<T>::read(value) } -> std::same_as<std::optional<T>>;
  { ParameterReader<T>::schema() } -> std::convertible_to<Mapping>;
};
template <class T>
inline constexpr bool is_reader_incomplete = HasReader<T> && !CompleteReader<T>;

// std::filesystem::path, without its header, which costs half as much as all others together.
template <class T>
concept PathType = requires {
  typename T::string_type;
  T::preferred_separator;
};

template <class E>
concept ScopedEnum = std::is_enum_v<E> && !std::is_convertible_v<E, std::underlying_type_t<E>>;

template <class T>
struct Unwrapped {
  using Type = T;
  static constexpr bool is_optional = false;
  static constexpr bool is_vector = false;
};
template <class T, class Allocator>
struct Unwrapped<std::vector<T, Allocator>> {
  using Type = T;
  static constexpr bool is_optional = false;
  static constexpr bool is_vector = true;
};
// A List is not read as a vector of values: it is taken over as it is.
template <>
struct Unwrapped<List> {
  using Type = List;
  static constexpr bool is_optional = false;
  static constexpr bool is_vector = false;
};
template <class T>
struct Unwrapped<std::optional<T>> : Unwrapped<T> {
  static constexpr bool is_optional = true;
};
// Supported by nothing.
template <class T>
struct Unwrapped<std::optional<std::optional<T>>> : Unwrapped<void> {};

// Of a type that is neither optional nor a vector.
template <class T>
constexpr CppKind kind_of() noexcept {
  if (HasReader<T>) return CompleteReader<T> ? CppKind::custom : CppKind::unsupported;
  if (std::same_as<T, bool>) return CppKind::boolean;
  if (IntegerType<T>) return CppKind::integer;
  if (std::same_as<T, double> || std::same_as<T, float>) return CppKind::number;
  if (std::same_as<T, std::string> || std::same_as<T, std::string_view> || PathType<T>) {
    return CppKind::text;
  }
  if (ScopedEnum<T>) return CppKind::enumeration;
  if (std::same_as<T, Value>) return CppKind::value;
  if (std::same_as<T, List>) return CppKind::list;
  if (std::same_as<T, Mapping>) return CppKind::mapping;
  return CppKind::unsupported;
}

// A vector has items of any kind but lists, and an optional holds anything but another optional.
template <class T>
inline constexpr CppKind parameter_kind = kind_of<typename Unwrapped<T>::Type>();
template <class T>
requires Unwrapped<T>::is_vector inline constexpr CppKind parameter_kind<T> =
    std::same_as<typename Unwrapped<T>::Type, List> ? CppKind::unsupported
                                                    : kind_of<typename Unwrapped<T>::Type>();

template <class T>
concept ParameterType = parameter_kind<std::remove_cv_t<T>>
!= CppKind::unsupported;

template <IntegerType T>
constexpr std::string_view integer_name() noexcept {
  constexpr std::array<std::string_view, 8> names = {
      "std::uint8_t", "std::uint16_t", "std::uint32_t", "std::uint64_t",
      "std::int8_t",  "std::int16_t",  "std::int32_t",  "std::int64_t"};
  constexpr std::size_t width = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
  return names[width + (std::is_signed_v<T> ? 4 : 0)];
}

template <class T>
constexpr std::string_view name_of() noexcept {
  if constexpr (std::same_as<T, bool>)
    return "bool";
  else if constexpr (IntegerType<T>)
    return integer_name<T>();
  else if constexpr (std::same_as<T, double>)
    return "double";
  else if constexpr (std::same_as<T, float>)
    return "float";
  else if constexpr (std::same_as<T, std::string>)
    return "std::string";
  else if constexpr (std::same_as<T, std::string_view>)
    return "std::string_view";
  else if constexpr (PathType<T>)
    return "std::filesystem::path";
  else if constexpr (std::same_as<T, Value>)
    return "Value";
  else if constexpr (std::same_as<T, List>)
    return "List";
  else if constexpr (std::same_as<T, Mapping>)
    return "Mapping";
  else
    return type_name<T>();
}

// Enumerations.

template <class E>
inline constexpr bool has_enum_names =
    !std::same_as<std::remove_const_t<decltype(enum_names<E>)>, std::nullptr_t>;

template <class E>
const std::vector<Enumerator>& enumerators() {
  static const std::vector<Enumerator>& all = *[] {
    if constexpr (has_enum_names<E>) {
      auto* names = new std::vector<Enumerator>;
      for (const auto& [_, name] : enum_names<E>) names->push_back({name, names->size()});
      return names;
    } else {
      constexpr auto values = std::make_index_sequence<enumerator_values<E>()>{};
      return new std::vector<Enumerator>(enumerators_in(enumerator_list<E>(values)));
    }
  }();
  return all;
}

// Null for a value that is not an enumerator's name.
[[nodiscard]] TOOL_BINDING_EXPORT const Enumerator* find_enumerator(
    const std::vector<Enumerator>& all, const Value& value) noexcept;

template <class E>
std::optional<E> read_enumerator(const Value& value) {
  const Enumerator* found = find_enumerator(enumerators<E>(), value);
  if (found == nullptr) return std::nullopt;
  if constexpr (has_enum_names<E>) {
    return enum_names<E>[found->value].first;
  } else {
    return static_cast<E>(found->value);
  }
}

// A type's own reader.

template <class T>
constexpr void check_reader() {
  static_assert(!is_reader_incomplete<T>,
                "tool_binding: a ParameterReader<T> needs three static members: `constexpr "
                "std::string_view words`, `std::optional<T> read(const Value&)` and `Mapping "
                "schema()`");
}

// Whether what a reader has thrown refuses the value.
[[nodiscard]] TOOL_BINDING_EXPORT bool refuses_value(const std::exception& thrown) noexcept;

template <class T>
std::optional<T> read_custom(const Value& value) {
  try {
    return ParameterReader<T>::read(value);
  } catch (const std::exception& thrown) {
    if (!refuses_value(thrown)) throw;
    return std::nullopt;
  }
}

[[nodiscard]] TOOL_BINDING_EXPORT std::shared_ptr<const CustomType> make_custom_type(
    std::string_view words, bool (*reads)(const Value&), Mapping schema);
[[nodiscard]] TOOL_BINDING_EXPORT std::shared_ptr<const CustomType> make_custom_list(
    const CustomType& item);

template <class T>
struct CustomTypeOf {
  static std::shared_ptr<const CustomType> make() {
    return make_custom_type(
        ParameterReader<T>::words,
        [](const Value& value) { return read_custom<T>(value).has_value(); },
        ParameterReader<T>::schema());
  }
};

template <class T>
const std::shared_ptr<const CustomType>& custom_type_of() {
  static const auto& type = *new std::shared_ptr<const CustomType>(CustomTypeOf<T>::make());
  return type;
}

template <class T, class Allocator>
struct CustomTypeOf<std::vector<T, Allocator>> {
  static std::shared_ptr<const CustomType> make() { return make_custom_list(*custom_type_of<T>()); }
};

// Reading a bound value into an object of the C++ type: false where that cannot hold it. What is
// large is moved out of the value. Views are valid as long as the value is.

[[nodiscard]] TOOL_BINDING_EXPORT std::optional<std::uint64_t> read_uint64(
    const Value& value) noexcept;
// Of an integer the nearest double.
[[nodiscard]] TOOL_BINDING_EXPORT std::optional<double> read_double(const Value& value);
// Reads an item as admission reads an argument of that kind: " 5" as 5. Whether it changed it.
[[nodiscard]] TOOL_BINDING_EXPORT bool coerce_item(CppKind kind, Value& item);

template <class T>
bool assign(T& into, std::optional<T> read) {
  if (read) into = *std::move(read);
  return read.has_value();
}

template <IntegerType T>
bool read_integer(const Value& value, T& into) {
  if (value.is_int64()) {
    const std::int64_t number = value.get_int64();
    into = static_cast<T>(number);
    return std::in_range<T>(number);
  }
  if constexpr (std::in_range<T>(std::numeric_limits<std::uint64_t>::max())) {
    const std::optional<std::uint64_t> number = read_uint64(value);
    if (number) into = static_cast<T>(*number);
    return number.has_value();
  } else {
    return false;
  }
}

template <std::floating_point T>
bool read_number(const Value& value, T& into) {
  const std::optional<double> number = value.is_float() ? value.get_float() : read_double(value);
  if (!number) return false;
  if constexpr (std::same_as<T, float>) {
    constexpr double largest = std::numeric_limits<float>::max();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double size = *number < 0 ? -*number : *number;
    if (size > largest && size != infinity) return false;
  }
  into = static_cast<T>(*number);
  return true;
}

template <class T>
bool read_one(Value& value, T& into) {
  constexpr CppKind kind = kind_of<T>();
  if constexpr (kind == CppKind::custom) {
    return assign(into, read_custom<T>(value));
  } else if constexpr (kind == CppKind::integer) {
    return read_integer(value, into);
  } else if constexpr (kind == CppKind::number) {
    return read_number(value, into);
  } else if constexpr (kind == CppKind::enumeration) {
    return assign(into, read_enumerator<T>(value));
  } else if constexpr (kind == CppKind::boolean) {
    return assign(into, value.if_boolean());
  } else if constexpr (kind == CppKind::text) {
    if (value.is_text()) into = T(value.get_text());  // made and moved: faster than assigned
    return value.is_text();
  } else if constexpr (kind == CppKind::value) {
    into = std::move(value);
    return true;
  } else if constexpr (kind == CppKind::list) {
    if (value.is_list()) into = std::move(value.get_list());
    return value.is_list();
  } else {
    if (value.is_mapping()) into = std::move(value.get_mapping());
    return value.is_mapping();
  }
}

template <class T>
bool read_value(Value& from, T& into) {
  return read_one(from, into);
}
template <class T, class Allocator>
bool read_value(Value& from, std::vector<T, Allocator>& into);
template <class T>
bool read_value(Value& from, std::optional<T>& into);

// Where a T is read to: a T, or an optional where a type with a reader has no default.
template <class T>
struct Held {
  T value{};
  bool read(Value& from) { return read_value(from, value); }
  T&& taken() noexcept { return std::move(value); }
};
template <class T>
requires(!std::default_initializable<T>) struct Held<T> {
  std::optional<T> value;
  bool read(Value& from) {
    value = read_custom<T>(from);
    return value.has_value();
  }
  T&& taken() noexcept { return *std::move(value); }
};

template <class T>
bool read_item(Value& item, Held<T>& held) {
  return held.read(item) || (coerce_item(kind_of<T>(), item) && held.read(item));
}

template <class T, class Allocator>
bool read_value(Value& from, std::vector<T, Allocator>& into) {
  List* items = from.if_list();
  if (items == nullptr) return false;
  into.clear();
  into.reserve(items->size());
  for (Value& item : *items) {
    Held<T> held;
    if (!read_item(item, held)) return false;
    into.push_back(held.taken());
  }
  return true;
}

template <class T>
bool read_value(Value& from, std::optional<T>& into) {
  into.reset();
  if (from.is_none()) return true;
  Held<T> held;
  const bool is_read = held.read(from);
  if (is_read) into.emplace(held.taken());
  return is_read;
}

template <class T>
constexpr CppType described() {
  using One = typename Unwrapped<T>::Type;
  constexpr CppKind kind = kind_of<One>();
  CppType type = {.kind = kind,
                  .is_optional = Unwrapped<T>::is_optional,
                  .is_vector = Unwrapped<T>::is_vector,
                  .name = name_of<One>()};
  if constexpr (kind == CppKind::integer) {
    type.lowest = std::numeric_limits<One>::min();
    type.highest = std::numeric_limits<One>::max();
  }
  if constexpr (kind == CppKind::number) type.largest = std::numeric_limits<One>::max();
  if constexpr (kind == CppKind::enumeration) type.enumerators = enumerators<One>;
  if constexpr (kind == CppKind::custom) {
    type.custom = custom_type_of<One>;
    type.param_custom =
        custom_type_of<std::conditional_t<Unwrapped<T>::is_vector, std::vector<One>, One>>;
  }
  type.accepts = [](const Value& value) {
    Value copy = value;
    return Held<T>().read(copy);
  };
  type.accepts_item = [](const Value& item) {
    Value copy = item;
    Held<One> held;
    return read_item(copy, held);
  };
  return type;
}

template <ParameterType T>
inline constexpr CppType cpp_type = described<T>();

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_DETAIL_CPP_TYPE_HPP_
