#ifndef TOOL_BINDING_DETAIL_NAMES_HPP_
#define TOOL_BINDING_DETAIL_NAMES_HPP_

// The names of members, enumerators and types, as the compiler spells them in __PRETTY_FUNCTION__:
// g++ and clang. Private: include handlers.hpp.

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"

namespace tool_binding::detail {

// "query" of "...[with auto Member = &Search::query; ...]" and "...[Member = &Search::query]".
constexpr std::string_view last_identifier(std::string_view text) noexcept {
  text = text.substr(0, text.find_first_of(";]", text.rfind("::")));
  const std::size_t start = text.find_last_of(": &)");
  return start == text.npos ? text : text.substr(start + 1);
}

// The text between "NAME = " and the end of that entry.
constexpr std::string_view template_argument(std::string_view text, std::string_view name) {
  text.remove_prefix(text.find(name) + name.size());
  const std::size_t end = text.find(';');
  return text.substr(0, end == text.npos ? text.size() - 1 : end);
}

template <auto Member>
constexpr std::string_view member_name() noexcept {
  return last_identifier(template_argument(__PRETTY_FUNCTION__, "Member = "));
}

template <class TypeNamed>
constexpr std::string_view type_name() noexcept {
  return template_argument(__PRETTY_FUNCTION__, "TypeNamed = ");
}

// All enumerators in one function's name, so that one function is instantiated for an enumeration.
template <class E, E... Values>
constexpr std::string_view enumerator_list() noexcept {
  return __PRETTY_FUNCTION__;
}

// The enumerators are looked for among the values 0 to 63.
template <class E>
constexpr std::size_t enumerator_values() noexcept {
  using Number = std::underlying_type_t<E>;
  constexpr auto most = static_cast<unsigned long long>(std::numeric_limits<Number>::max());
  return most < 63 ? static_cast<std::size_t>(most) + 1 : 64;
}

template <class E, std::size_t... Index>
constexpr std::string_view enumerator_list(std::index_sequence<Index...>) noexcept {
  return enumerator_list<E, static_cast<E>(Index)...>();
}

struct Enumerator {
  std::string_view name;  // never destroyed
  std::size_t value;      // its value, or its position in an enum_names
};

// The named ones of a list "{Mode::literal, Mode::regex, (Mode)2}".
[[nodiscard]] TOOL_BINDING_EXPORT std::vector<Enumerator> enumerators_in(std::string_view list);

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_DETAIL_NAMES_HPP_
