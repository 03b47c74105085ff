#ifndef TOOL_BINDING_DETAIL_FUNCTION_HPP_
#define TOOL_BINDING_DETAIL_FUNCTION_HPP_

// A callable as the engine calls it: what each of its parameters takes, and the call itself with
// all values in their places. Private: include handlers.hpp.

#include <array>
#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "tool_binding/detail/cpp_type.hpp"
#include "tool_binding/export.hpp"
#include "tool_binding/handlers/answer.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding::detail {

// The signature of a callable.

template <class... Arguments>
struct Parameters {
  static constexpr std::size_t size = sizeof...(Arguments);
};

template <class Result, bool IsConst, class... Arguments>
struct Signature {
  using ResultType = Result;
  using ParameterTypes = Parameters<Arguments...>;
  static constexpr bool is_const = IsConst;
};

// Left without a specialisation for what has no signature, or more than one.
template <class Pointer>
struct SignatureOf;
template <class R, class... A>
struct SignatureOf<R (*)(A...)> : Signature<R, true, A...> {};
template <class R, class... A>
struct SignatureOf<R (*)(A...) noexcept> : Signature<R, true, A...> {};
template <class R, class C, class... A>
struct SignatureOf<R (C::*)(A...)> : Signature<R, false, A...> {};
template <class R, class C, class... A>
struct SignatureOf<R (C::*)(A...) noexcept> : Signature<R, false, A...> {};
template <class R, class C, class... A>
struct SignatureOf<R (C::*)(A...) const> : Signature<R, true, A...> {};
template <class R, class C, class... A>
struct SignatureOf<R (C::*)(A...) const noexcept> : Signature<R, true, A...> {};

template <class F>
struct CallOperator {
  using Type = void;
};
template <class F>
requires std::is_pointer_v<F>
struct CallOperator<F> {
  using Type = F;
};
template <class F>
requires requires { &F::operator(); }
struct CallOperator<F> {
  using Type = decltype(&F::operator());
};

template <class F>
concept HasSignature = requires {
  SignatureOf<typename CallOperator<F>::Type>::is_const;
};

template <class F>
using signature_of = SignatureOf<typename CallOperator<F>::Type>;

// What one parameter of a callable takes.

enum class Role : std::uint8_t { parameter, reference, pointer, shared, call, stop_token };

struct TakenParameter {
  Role role = Role::parameter;
  const CppType* type = nullptr;  // of a request's parameter
  // Of a context entry.
  const std::type_info* context = nullptr;
  std::string_view context_name = {};
  bool is_const = false;
};

template <class T>
constexpr TakenParameter taken_context(Role role) {
  return {.role = role,
          .context = &typeid(std::remove_const_t<T>),
          .context_name = name_of<std::remove_const_t<T>>(),
          .is_const = std::is_const_v<T>};
}

struct Unsupported {};

// `Argument` is a parameter's type as it is declared.
template <class Argument>
struct Taking {
  static constexpr bool is_supported = false;
};

template <class Argument>
concept CallArgument = std::same_as<std::remove_const_t<std::remove_reference_t<Argument>>, Call>;
template <class Argument>
concept CallReference = CallArgument<Argument> && std::is_lvalue_reference_v<Argument>;
template <class Argument>
concept StopArgument = std::same_as<std::remove_cvref_t<Argument>, std::stop_token> &&
    (!std::is_lvalue_reference_v<Argument> || std::is_const_v<std::remove_reference_t<Argument>>);
// By value, by const reference or by rvalue reference: a reference that could change it is none.
template <class Argument>
concept RequestArgument = ParameterType<std::remove_cvref_t<Argument>> &&
    (!std::is_lvalue_reference_v<Argument> || std::is_const_v<std::remove_reference_t<Argument>>);
template <class Argument>
concept ContextArgument = std::is_lvalue_reference_v<Argument> && !CallArgument<Argument> &&
                          !std::same_as<std::remove_reference_t<Argument>, std::stop_token> &&
                          !StopArgument<Argument> && !RequestArgument<Argument>;

// What a pointer in the context can point to: characters are text.
template <class T>
concept ContextObject = std::is_object_v<T> && !CharacterType<std::remove_const_t<T>>;

template <RequestArgument Argument>
struct Taking<Argument> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken = {.type = &cpp_type<std::remove_cvref_t<Argument>>};
};
template <ContextArgument Argument>
struct Taking<Argument> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken =
      taken_context<std::remove_reference_t<Argument>>(Role::reference);
};
template <ContextObject T>
struct Taking<T*> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken = taken_context<T>(Role::pointer);
};
template <class T>
struct Taking<std::shared_ptr<T>> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken = taken_context<T>(Role::shared);
};
template <class T>
struct Taking<const std::shared_ptr<T>&> : Taking<std::shared_ptr<T>> {};
template <CallReference Argument>
struct Taking<Argument> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken = {.role = Role::call};
};
template <StopArgument Argument>
struct Taking<Argument> {
  static constexpr bool is_supported = true;
  static constexpr TakenParameter taken = {.role = Role::stop_token};
};

constexpr bool is_named(Role role) noexcept {
  return role != Role::call && role != Role::stop_token;
}

// One call: the values in their places, what it takes beside them, and what comes of it.

// Where a parameter's value is found, for each parameter of the callable.
struct Slot {
  std::size_t place = 0;  // among the bound arguments
  // The declared parameter; null for the action and for what is not a parameter.
  const ParamSpec* param = nullptr;
  const CppType* type = nullptr;
  // What the parameter is when it is bound to none, by action, where that differs by action.
  std::vector<std::pair<Value, Value>> action_defaults = {};
  std::shared_ptr<void> context = {};
};

struct Plan {
  ToolSpec spec;
  std::vector<Slot> slots;
};

using Result = std::variant<std::monostate, std::string, Value, Answer>;

class TOOL_BINDING_EXPORT Frame {
 public:
  // Refers to all three. `bound` is as bind_arguments makes it, perhaps with more behind.
  Frame(const Plan& plan, Mapping& bound, Call& call) noexcept
      : plan_(plan), bound_(bound), entries_(std::to_address(bound.begin())), call_(call) {}

  // Whether the value could be read; otherwise it is refused.
  template <class Read>
  bool read(std::size_t slot, const Read& read_from) {
    const Slot& of = plan_.slots[slot];
    Value& value = entries_[of.place].value;
    if (value.is_none() && !of.action_defaults.empty()) value = action_default(of);
    const bool is_read = read_from(value);
    if (!is_read) refuse(of, value);
    return is_read;
  }
  // Every value that could not be read is in it.
  [[nodiscard]] bool is_refused() const noexcept { return !refusal_.empty(); }
  [[nodiscard]] std::string refusal() && noexcept { return std::move(refusal_); }

  void refuse(std::string_view text) { refusal_ = text; }

  // May be moved from once every value was read.
  [[nodiscard]] Mapping& bound() const noexcept { return bound_; }
  [[nodiscard]] Call& call() const noexcept { return call_; }
  // Null only for a pointer.
  [[nodiscard]] const std::shared_ptr<void>& context(std::size_t slot) const noexcept {
    return plan_.slots[slot].context;
  }

  Result result;

 private:
  [[nodiscard]] Value action_default(const Slot& slot) const;
  void refuse(const Slot& slot, const Value& value);

  const Plan& plan_;
  Mapping& bound_;
  Mapping::Entry* entries_;
  Call& call_;
  std::string refusal_;
};

class TOOL_BINDING_EXPORT Function {
 public:
  Function() = default;
  virtual ~Function();
  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;

  // Reads every value; where none is refused, calls the function and leaves its result in the
  // frame. Throws what the function throws.
  virtual void call(Frame& frame) const = 0;
};

// A parameter of the callable: of a request by a name; a context entry by a name or without.
struct NamedParameter {
  std::string name;
  TakenParameter taken;
};

// What both ways to declare a handler come to.
struct Callable {
  std::shared_ptr<const Function> function;
  std::vector<NamedParameter> parameters;  // in the order of slots
  std::vector<std::string> ignored;
};

// What a Tool holds.
struct ToolRecord;

// The argument for a parameter that is not a parameter of the request.
template <class Argument>
decltype(auto) taken_argument(const Frame& frame, std::size_t slot) {
  constexpr Role role = Taking<Argument>::taken.role;
  if constexpr (role == Role::call) {
    return static_cast<Argument>(frame.call());
  } else if constexpr (role == Role::stop_token) {
    return std::stop_token(frame.call().stop_token());
  } else if constexpr (role == Role::shared) {
    using Element = typename std::remove_cvref_t<Argument>::element_type;
    return std::static_pointer_cast<Element>(frame.context(slot));
  } else if constexpr (role == Role::pointer) {
    return static_cast<Argument>(frame.context(slot).get());
  } else {
    return *static_cast<std::remove_reference_t<Argument>*>(frame.context(slot).get());
  }
}

// Results.

template <class R>
concept ScalarResult =
    std::same_as<R, bool> || IntegerType<R> || std::same_as<R, double> || std::same_as<R, float>;
template <class R>
concept ValueResult =
    std::same_as<R, Value> || std::same_as<R, Mapping> || std::same_as<R, List> || ScalarResult<R>;
template <class R>
concept TextResult = !ValueResult<R> && std::convertible_to<R, std::string_view>;
template <class R>
concept ResultType =
    std::is_void_v<R> || TextResult<R> || ValueResult<R> || std::same_as<R, Answer>;

template <class F, class... Arguments>
void invoke_into(Result& result, const F& function, Arguments&&... arguments) {
  using R = std::remove_cvref_t<std::invoke_result_t<const F&, Arguments...>>;
  if constexpr (std::is_void_v<R>) {
    function(std::forward<Arguments>(arguments)...);
  } else if constexpr (std::same_as<R, Answer>) {
    result.template emplace<Answer>(function(std::forward<Arguments>(arguments)...));
  } else if constexpr (ValueResult<R>) {
    result.template emplace<Value>(function(std::forward<Arguments>(arguments)...));
  } else {
    result.template emplace<std::string>(function(std::forward<Arguments>(arguments)...));
  }
}

// Names beside a callable: each parameter of the callable is one of the request, or of the context.
template <class F, class... Arguments>
class NamedFunction final : public Function {
 public:
  explicit NamedFunction(F function) : function_(std::move(function)) {}

  void call(Frame& frame) const override { call(frame, std::index_sequence_for<Arguments...>()); }

 private:
  // In place of a parameter that is not read from the request.
  struct Nothing {};
  template <class Argument>
  static constexpr bool is_read = Taking<Argument>::taken.role == Role::parameter;
  template <class Argument>
  using HeldFor =
      std::conditional_t<is_read<Argument>, Held<std::remove_cvref_t<Argument>>, Nothing>;

  template <class T>
  static void read(Frame& frame, std::size_t slot, Held<T>& held) {
    frame.read(slot, [&held](Value& from) { return held.read(from); });
  }
  static void read(Frame&, std::size_t, Nothing&) noexcept {}

  template <class Argument>
  static decltype(auto) argument(Frame& frame, std::size_t slot, HeldFor<Argument>& held) {
    if constexpr (is_read<Argument>) {
      return held.taken();
    } else {
      return taken_argument<Argument>(frame, slot);
    }
  }
  template <std::size_t... Slots>
  void call(Frame& frame, std::index_sequence<Slots...>) const {
    std::tuple<HeldFor<Arguments>...> held;
    (read(frame, Slots, std::get<Slots>(held)), ...);
    if (frame.is_refused()) return;
    invoke_into(frame.result, function_,
                argument<Arguments>(frame, Slots, std::get<Slots>(held))...);
  }

  F function_;
};

// A struct of parameters: the request's parameters are members of a struct.

// A pointer to any member, of which copies are bytes.
using MemberBytes = std::array<unsigned char, 2 * sizeof(void*)>;

template <class Struct>
struct Member {
  void (*read)(Frame&, std::size_t slot, const MemberBytes&, Struct&);
  MemberBytes bytes;
};

template <class Struct, class T>
Member<Struct> member_of(T Struct::*pointer) {
  static_assert(sizeof pointer <= sizeof(MemberBytes));
  Member<Struct> member{[](Frame& frame, std::size_t slot, const MemberBytes& bytes, Struct& into) {
                          T Struct::*to;
                          std::memcpy(&to, bytes.data(), sizeof to);
                          frame.read(slot, [&](Value& from) { return read_value(from, into.*to); });
                        },
                        {}};
  std::memcpy(member.bytes.data(), &pointer, sizeof pointer);
  return member;
}

template <class F, class Struct, class... Arguments>
class StructFunction final : public Function {
 public:
  StructFunction(F function, std::vector<Member<Struct>> members)
      : function_(std::move(function)), members_(std::move(members)) {}

  void call(Frame& frame) const override { call(frame, std::index_sequence_for<Arguments...>()); }

 private:
  template <std::size_t... Index>
  void call(Frame& frame, std::index_sequence<Index...>) const {
    Struct request{};
    std::size_t slot = 0;
    for (const Member<Struct>& member : members_) member.read(frame, slot++, member.bytes, request);
    if (frame.is_refused()) return;
    invoke_into(frame.result, function_, std::move(request),
                taken_argument<Arguments>(frame, slot + Index)...);
  }

  F function_;
  std::vector<Member<Struct>> members_;
};

// A callable that takes no struct.
struct NoRequest {};

template <class F, class... Arguments>
class StructFunction<F, NoRequest, Arguments...> final : public Function {
 public:
  StructFunction(F function, const std::vector<Member<NoRequest>>&)
      : function_(std::move(function)) {}

  void call(Frame& frame) const override { call(frame, std::index_sequence_for<Arguments...>()); }

 private:
  template <std::size_t... Index>
  void call(Frame& frame, std::index_sequence<Index...>) const {
    invoke_into(frame.result, function_, taken_argument<Arguments>(frame, Index)...);
  }

  F function_;
};

// By value or by const reference, what nothing else can give.
template <class First>
concept RequestStruct = std::is_class_v<std::remove_cvref_t<First>> &&
                        (!std::is_lvalue_reference_v<First> ||
                         std::is_const_v<std::remove_reference_t<First>>)&&!CallArgument<First> &&
                        !Taking<std::remove_cvref_t<First>>::is_supported;

// The struct that a callable takes first, by value or by const reference, and the rest.
template <class Types>
struct Split {
  using Request = NoRequest;
  using Rest = Types;
};
template <RequestStruct First, class... Others>
struct Split<Parameters<First, Others...>> {
  using Request = std::remove_cvref_t<First>;
  using Rest = Parameters<Others...>;
};

// In place of what the compiler has refused to make a parameter of.
struct NoMember {};

// What is not a function, or one of several signatures: the assertion that says so comes later.
struct NoFunction {};

template <class F>
struct RequestOf {
  using Type = NoFunction;
};
template <HasSignature F>
struct RequestOf<F> {
  using Type = typename Split<typename signature_of<F>::ParameterTypes>::Request;
};
template <class F>
using request_of = typename RequestOf<F>::Type;

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_DETAIL_FUNCTION_HPP_
