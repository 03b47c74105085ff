#ifndef TOOL_BINDING_SRC_TOOL_BINDING_PRIVATE_HPP_
#define TOOL_BINDING_SRC_TOOL_BINDING_PRIVATE_HPP_

// The steps of admission and binding, for tool_binding.cpp and its tests.

#include <array>
#include <cstdint>
#include <exception>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "registry/tool_index.hpp"
#include "text/lines.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding {

// A value of the request: copied out of a request that stays the caller's, moved out of one that
// was moved in. Moved at most once, and only when nothing can refuse it any more.
class Argument_ {
 public:
  Argument_(const Value& value) noexcept : value_(value) {}
  Argument_(const Value&& value) noexcept : value_(value) {}
  Argument_(Value&& value) noexcept : value_(value), movable_(&value) {}

  [[nodiscard]] const Value& value() const noexcept { return value_; }
  [[nodiscard]] Value take() const {
    if (movable_ != nullptr) return std::move(*movable_);
    return value_;
  }

 private:
  const Value& value_;
  Value* movable_ = nullptr;
};

// What a coercer makes of a value: the converted value, or why there is none. A type error: a value
// of this kind cannot be read as the type at all; a value error: its content cannot.
struct Coercion_ {
  enum class Failure : std::uint8_t { none, type_error, value_error };

  Value value;
  Failure failure = Failure::none;
};

// The state of one request's admission. `take` is called once for each argument, in the request's
// order, then `result` or `outcome` once.
class Normalizing_ {
 public:
  explicit Normalizing_(const ToolSpec& tool) : spec(tool), index_(ToolIndex::of(tool)) {}

  // Throws TypeError when the name is not text.
  void take(const Value& name, Argument_ argument);
  void _take_action(const Value& value);
  void _unknown_parameter(std::string_view name);
  // None, and a problem, for a value that cannot be taken.
  [[nodiscard]] Value _coerced(const ParamIndex& param, Argument_ argument);
  // The enumeration's own spelling; null, and a problem, for a text that it does not hold.
  [[nodiscard]] const std::string* _enum_value(const ParamIndex& param, std::string_view value);
  [[nodiscard]] Value _bounded(const ParamSpec& param, Value&& value);
  // What names the action among the arguments, after this; or null.
  [[nodiscard]] const Value* _action();
  // Throws ArgumentError.
  [[nodiscard]] NormalizedArguments result();
  [[nodiscard]] Admission outcome();

  const ToolSpec& spec;
  Mapping arguments;
  std::vector<std::string> notes;
  std::string problems;  // joined by "; "
  bool alias_hit = false;
  // Parameters that were refused under their declared names. (One that was stored is found in
  // `arguments`.) A synonym of either is left out.
  std::set<std::string_view> _named;
  bool _action_refused = false;

 private:
  void _settle();
  void _refused(const ParamIndex& param);
  void _note(Pieces pieces);
  void _problem(Pieces pieces);
  [[nodiscard]] Coercion_ _converted(const ParamIndex& param, const Argument_& argument) const;
  [[nodiscard]] Value _within(const ParamIndex& param, Value&& value);
  [[nodiscard]] Value _used_bound(const ParamSpec& param, const Value& bound) const;
  [[nodiscard]] bool _read_synonym(const ParamIndex& param, std::string_view name);
  [[nodiscard]] Value _enum_items(const ParamIndex& param, const List& items);

  const ToolIndex& index_;
};

[[nodiscard]] std::string _unknown_action(const ToolSpec& spec, const Value& action);
// The declared name of the candidate most similar to `name`, the greatest by code point of equally
// similar ones; nothing when none reaches NEAR_NAME_CUTOFF_. Valid as long as the candidates are.
[[nodiscard]] std::optional<std::string_view> _nearest(std::string_view name,
                                                       std::span<const NameCandidate> candidates);
// Adds a line to `problems` for each parameter that the action needs and the arguments lack.
void _missing(const ToolSpec& spec, const std::optional<std::string_view>& action,
              const Mapping& arguments, std::string& problems);
[[nodiscard]] bool _given(const ParamSpec& param, const Value& value) noexcept;

// What a parameter's values must be, in the words of a problem line.
[[nodiscard]] std::string_view _words(const ParamIndex& param);
// Whether what a custom type's `read` has thrown refuses the value.
[[nodiscard]] bool _refuses(const std::exception& thrown) noexcept;
[[nodiscard]] Coercion_ _custom(const CustomType& type, const Value& value);
[[nodiscard]] Coercion_ _integer(Argument_ argument);
[[nodiscard]] Coercion_ _number(Argument_ argument);
[[nodiscard]] Coercion_ _boolean(Argument_ argument);
[[nodiscard]] Coercion_ _string(Argument_ argument);
[[nodiscard]] Coercion_ _array(Argument_ argument);

// The row of each of the five type words, in their order. A parameter of any other type throws
// std::out_of_range: it is a fault of the registry, not of the request.
template <class Entry>
struct TypeTable_ {
  [[nodiscard]] const Entry& at(const ParamIndex& param) const {
    if (param.type < rows.size()) return rows[param.type].second;
    throw std::out_of_range("no parameter type is named " + display_form(param.spec.type));
  }

  std::array<std::pair<std::string_view, Entry>, TYPE_NAMES.size()> rows;
};
extern const TypeTable_<Coercion_ (*)(Argument_)> COERCIONS_;
extern const TypeTable_<std::string_view> TYPE_WORDS_;

// The names that a handler takes. A view of its signature; a search is linear in it.
class ParameterNames_ {
 public:
  explicit ParameterNames_(std::span<const HandlerParameter> signature) noexcept
      : signature_(signature) {}

  [[nodiscard]] bool contains(std::string_view name) const noexcept;

 private:
  std::span<const HandlerParameter> signature_;
};
// Nothing: the handler takes any name.
[[nodiscard]] std::optional<ParameterNames_> _parameter_names(const Handler& handler) noexcept;

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TOOL_BINDING_PRIVATE_HPP_
