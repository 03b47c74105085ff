#ifndef TOOL_BINDING_DETAIL_HANDLERS_HPP_
#define TOOL_BINDING_DETAIL_HANDLERS_HPP_

// The bodies of handlers.hpp, and what checks a handler's types. Private: include that one.

#include <array>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tool_binding/detail/cpp_type.hpp"
#include "tool_binding/detail/function.hpp"
#include "tool_binding/detail/names.hpp"
#include "tool_binding/export.hpp"
#include "tool_binding/handlers.hpp"

namespace tool_binding {

namespace detail {

// Conditions are variables where a compiler would otherwise explain a concept at length.

template <class Argument>
constexpr void check_parameter() {
  using One = typename Unwrapped<std::remove_cvref_t<Argument>>::Type;
  check_reader<One>();
  static_assert(
      is_reader_incomplete<One> || Taking<Argument>::is_supported,
      "tool_binding: a handler cannot take a parameter of this type. From a request it takes bool, "
      "an integer, double, float, std::string, std::string_view, std::filesystem::path, an enum "
      "class, std::vector and std::optional of these, Value, List, Mapping or a type with a "
      "ParameterReader, by value or const reference; from the context T&, const T&, T* or "
      "std::shared_ptr<T>; and Call& and std::stop_token");
}

template <class F>
inline constexpr bool has_signature = HasSignature<F>;
template <class F>
inline constexpr bool has_result =
    ResultType<std::remove_cvref_t<typename signature_of<F>::ResultType>>;
template <class F>
concept HandlerFunction = HasSignature<F> && signature_of<F>::is_const && has_result<F>;

// Errors that the compiler finds in any handler.
template <class F>
constexpr void check_signature() {
  static_assert(has_signature<F>,
                "tool_binding: a handler needs exactly one signature. Write out the types of a "
                "generic lambda's parameters (no auto), and wrap a member function or an "
                "overloaded one in a lambda");
  if constexpr (HasSignature<F>) {
    static_assert(signature_of<F>::is_const,
                  "tool_binding: a handler is called from several threads and cannot be a mutable "
                  "lambda: keep what changes in a context entry that locks");
    static_assert(has_result<F>,
                  "tool_binding: a handler returns text, a number or bool, Value, Mapping, List, "
                  "Answer or nothing");
  }
}

template <std::size_t Given, std::size_t Needed>
constexpr void check_names() {
  static_assert(Given >= Needed,
                "tool_binding: too few names: give one for each parameter of the handler, in their "
                "order, but none for Call& and std::stop_token");
  static_assert(Given <= Needed,
                "tool_binding: too many names: give one for each parameter of the handler, in "
                "their order, but none for Call& and std::stop_token; a declared parameter that "
                "the handler does not take goes into ignored(...)");
}

// The parameters, with `names` for those that have one.
[[nodiscard]] TOOL_BINDING_EXPORT std::vector<NamedParameter> named_parameters(
    std::span<const TakenParameter> parameters, std::span<const std::string_view> names);

template <std::size_t Given, class F, class... Arguments>
Callable named_callable(F&& function, std::span<const std::string_view> names,
                        const Ignored& ignored, Parameters<Arguments...>) {
  (check_parameter<Arguments>(), ...);
  if constexpr ((Taking<Arguments>::is_supported && ...)) {
    constexpr std::array<TakenParameter, sizeof...(Arguments)> taken = {
        Taking<Arguments>::taken...};
    constexpr std::size_t needed =
        (std::size_t{is_named(Taking<Arguments>::taken.role)} + ... + std::size_t{0});
    check_names<Given, needed>();
    return {std::make_shared<NamedFunction<std::decay_t<F>, Arguments...>>(std::move(function)),
            named_parameters(taken, names), ignored.names()};
  } else {
    return {};
  }
}

template <std::size_t Given, class F>
Callable named_callable(F&& function, std::span<const std::string_view> names,
                        const Ignored& ignored) {
  check_signature<F>();
  if constexpr (HandlerFunction<F>) {
    return named_callable<Given>(std::move(function), names, ignored,
                                 typename signature_of<F>::ParameterTypes{});
  } else {
    return {};
  }
}

[[nodiscard]] TOOL_BINDING_EXPORT Handler make_handler(const ToolSpec& spec, const Context& context,
                                                       Callable callable);

// A member as it is declared, without the struct's type.
struct MemberDeclaration {
  std::string name;
  ParamOptions options;
  const CppType* type;
};

[[nodiscard]] TOOL_BINDING_EXPORT Tool make_tool(ToolSpec spec, Callable callable);
// Adds the members to the definition's parameters and to the callable's, before the others.
// `takes_struct`: the callable takes a struct, so that a tool without members is a mistake.
[[nodiscard]] TOOL_BINDING_EXPORT Tool make_tool(ToolDefinition definition,
                                                 std::vector<MemberDeclaration> members,
                                                 bool takes_struct, Callable callable);

template <class F, class Struct, class... Arguments>
Callable struct_callable(F&& function, std::vector<Member<Struct>> members, const Ignored& ignored,
                         Parameters<Arguments...>) {
  (check_parameter<Arguments>(), ...);
  if constexpr ((Taking<Arguments>::is_supported && ...)) {
    static_assert(((Taking<Arguments>::taken.role != Role::parameter) && ...),
                  "tool_binding: a tool of this spelling takes a request's parameters as members "
                  "of the struct that comes first. After it a handler takes context entries (T&, "
                  "const T&, T*, std::shared_ptr<T>), Call& and std::stop_token");
    constexpr std::array<TakenParameter, sizeof...(Arguments)> taken = {
        Taking<Arguments>::taken...};
    return {std::make_shared<StructFunction<std::decay_t<F>, Struct, Arguments...>>(
                std::move(function), std::move(members)),
            named_parameters(taken, {}), ignored.names()};
  } else {
    return {};
  }
}

}  // namespace detail

template <class T>
Context& Context::provide(std::string name, std::shared_ptr<T> object) & {
  add({std::move(name), typeid(std::remove_const_t<T>), detail::name_of<std::remove_const_t<T>>(),
       std::is_const_v<T>, std::const_pointer_cast<std::remove_const_t<T>>(std::move(object))});
  return *this;
}
template <class T>
Context&& Context::provide(std::string name, std::shared_ptr<T> object) && {
  provide(std::move(name), std::move(object));
  return std::move(*this);
}

template <auto Member>
auto param(ParamOptions options) {
  constexpr bool is_member = std::is_member_object_pointer_v<decltype(Member)>;
  static_assert(is_member,
                "tool_binding: param<&Struct::member> takes a pointer to a data member that is not "
                "static");
  if constexpr (is_member) {
    return param(std::string(detail::member_name<Member>()), Member, std::move(options));
  } else {
    return detail::NoMember();
  }
}

template <class Struct>
template <class Class, class T>
Param<Struct>::Param(MemberParam<Class, T> param)
    : name_(std::move(param.name)), options_(std::move(param.options)) {
  constexpr bool is_member = std::is_base_of_v<Class, Struct>;
  static_assert(is_member || std::same_as<Struct, detail::NoFunction>,
                "tool_binding: param<&T::member> is not a member of the struct that the handler "
                "takes as its first parameter (as const T& or T)");
  using One = typename detail::Unwrapped<std::remove_cv_t<T>>::Type;
  detail::check_reader<One>();
  constexpr bool is_supported = detail::ParameterType<T> && !std::is_const_v<T>;
  static_assert(detail::is_reader_incomplete<One> || is_supported,
                "tool_binding: a member of this type cannot be a parameter: it can be bool, an "
                "integer, double, float, std::string, std::string_view, std::filesystem::path, "
                "an enum class, std::vector and std::optional of these, Value, List, Mapping or "
                "a type with a ParameterReader, and not const");
  if constexpr (is_member && is_supported) {
    type_ = &detail::cpp_type<T>;
    member_ = detail::member_of<Struct, T>(param.member);
  }
}

template <class F, std::size_t Count>
Handler bind_handler(const ToolSpec& spec, const Context& context, F function,
                     const std::string_view (&names)[Count], const Ignored& ignored) {
  return detail::make_handler(spec, context,
                              detail::named_callable<Count>(std::move(function), names, ignored));
}
template <class F>
Handler bind_handler(const ToolSpec& spec, const Context& context, F function,
                     const Ignored& ignored) {
  return detail::make_handler(spec, context,
                              detail::named_callable<0>(std::move(function), {}, ignored));
}

template <class F>
Tool tool(ToolDefinition definition, std::initializer_list<Param<detail::request_of<F>>> params,
          F function, const Ignored& ignored) {
  using Struct = detail::request_of<F>;
  detail::check_signature<F>();
  std::vector<detail::MemberDeclaration> declarations;
  std::vector<detail::Member<Struct>> members;
  for (const Param<Struct>& param : params) {
    declarations.push_back({param.name(), param.options(), param.type()});
    members.push_back(param.member());
  }
  constexpr bool can_be_made = std::default_initializable<Struct>;
  static_assert(can_be_made,
                "tool_binding: the struct that a handler takes first must be "
                "default-constructible. A context entry that comes first is taken as T&, T* or "
                "std::shared_ptr<T>");
  if constexpr (detail::HandlerFunction<F> && can_be_made) {
    using Rest = typename detail::Split<typename detail::signature_of<F>::ParameterTypes>::Rest;
    return detail::make_tool(
        std::move(definition), std::move(declarations), !std::same_as<Struct, detail::NoRequest>,
        detail::struct_callable<F>(std::move(function), std::move(members), ignored, Rest{}));
  } else {
    return detail::make_tool(std::move(definition), std::move(declarations), false, {});
  }
}
template <class F>
Tool tool(std::string name, std::string description,
          std::initializer_list<Param<detail::request_of<F>>> params, F function,
          const Ignored& ignored) {
  return tool(ToolDefinition{.name = std::move(name), .description = std::move(description)},
              params, std::move(function), ignored);
}
template <class F, std::size_t Count>
Tool tool(ToolSpec spec, F function, const std::string_view (&names)[Count],
          const Ignored& ignored) {
  return detail::make_tool(std::move(spec),
                           detail::named_callable<Count>(std::move(function), names, ignored));
}
template <class F>
requires(!std::same_as<F, Handler>) Tool tool(ToolSpec spec, F function, const Ignored& ignored) {
  return detail::make_tool(std::move(spec),
                           detail::named_callable<0>(std::move(function), {}, ignored));
}

template <class T>
requires detail::HasReader<typename detail::Unwrapped<T>::Type>
const std::shared_ptr<const CustomType>& custom_type() {
  detail::check_reader<typename detail::Unwrapped<T>::Type>();
  return detail::custom_type_of<T>();
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_DETAIL_HANDLERS_HPP_
