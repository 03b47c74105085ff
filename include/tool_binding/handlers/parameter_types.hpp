#ifndef TOOL_BINDING_HANDLERS_PARAMETER_TYPES_HPP_
#define TOOL_BINDING_HANDLERS_PARAMETER_TYPES_HPP_

// Types of yours as parameters of a request: a reader for a class, names for an enumeration.
// Included by handlers.hpp.

#include <cstddef>
#include <string_view>
#include <utility>

namespace tool_binding {

// Makes a type of yours a type of parameters. Specialise it with three static members:
//
//   template <>
//   struct tool_binding::ParameterReader<Date> {
//     // "Parameter 'since' of log must be a date, such as 2024-05-31, not 'soon'"
//     static constexpr std::string_view words = "a date, such as 2024-05-31";
//     // The date that a value denotes, or nothing: the value is then refused.
//     static std::optional<Date> read(const Value& value);
//     // What is published for such a parameter.
//     static Mapping schema() { return {{"type", "string"}, {"format", "date"}}; }
//   };
//
// `read` is called when the request is admitted, and again when the handler is called: it should
// depend on the value alone. Any number of threads may call it. What CustomType::read may throw to
// refuse a value it may throw too, so that it can use as_text(), at() and std::stoi as they are.
template <class T>
struct ParameterReader;

// The name of one enumerator, as requests give it.
template <class E>
using EnumName = std::pair<E, std::string_view>;

// The names by which requests give the enumerators of E. Without a specialisation they are those of
// the program text, for an `enum class` whose values are all from 0 to 63: an enumerator outside is
// not found. Specialise it for other values and other words:
//
//   template <>
//   inline constexpr auto tool_binding::enum_names<Mode> =
//       std::to_array<EnumName<Mode>>({{Mode::literal, "literal"},
//                                      {Mode::ignore_case, "ignore-case"}});
template <class E>
inline constexpr std::nullptr_t enum_names = nullptr;

}  // namespace tool_binding

#endif  // TOOL_BINDING_HANDLERS_PARAMETER_TYPES_HPP_
