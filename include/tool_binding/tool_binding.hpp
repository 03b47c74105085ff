#ifndef TOOL_BINDING_TOOL_BINDING_HPP_
#define TOOL_BINDING_TOOL_BINDING_HPP_

// Admission and binding of one tool request. Start here.
//
//   NormalizedArguments admitted = normalize_arguments("search", request);   // or ArgumentError
//   Mapping bound = bind_arguments("search", std::move(admitted).arguments());
//   Value answer = handler.call(handler_kwargs(handler, std::move(bound), {{"repo", repo}}));
//
// Admission reads synonyms, drops blanks, converts values to their declared types, brings numbers
// within their bounds and says so in a note, names the action that is left out, and refuses the
// rest in one ArgumentError that names every problem. Binding gives every declared parameter its
// value, and the handler the part of the context that it takes.
//
// Threads: no state is kept between calls, and the registry is only read; calls may run at the same
// time on any threads. Nothing is read or written outside the process.
// Errors: a tool given by name that TOOLS does not hold throws UnknownToolError before anything
// else. An error of the registry (an unknown type word, a bound that is no number) and
// std::bad_alloc pass through; nothing is then changed but arguments handed over by moving, which
// are left valid and unspecified.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// A request that admission refuses. The message is all its problems in the order in which they were
// found, joined by "; ". Parameter names stand in it as the client spelt them, which may be with a
// zero byte, where what() ends: message() is the whole of it.
class TOOL_BINDING_EXPORT ArgumentError : public std::invalid_argument {
 public:
  explicit ArgumentError(const std::string& message)
      : std::invalid_argument(message), size_(message.size()) {}
  ~ArgumentError() override;

  // Lives as long as the error.
  [[nodiscard]] std::string_view message() const noexcept { return {what(), size_}; }

 private:
  std::size_t size_;
};

// What the handler gets for `name` from a request that runs `action` and leaves it out: the default
// for that action (exact text), else the parameter's. `name` may be a synonym.
// Throws std::out_of_range when the tool declares no such parameter.
[[nodiscard]] TOOL_BINDING_EXPORT Value action_default(std::string_view tool, std::string_view name,
                                                       std::string_view action);

// An admitted request: immutable, save that its arguments can be moved out of one that is going.
class TOOL_BINDING_EXPORT NormalizedArguments {
 public:
  explicit NormalizedArguments(Mapping arguments, std::vector<std::string> notes = {},
                               bool alias_hit = false) noexcept
      : arguments_(std::move(arguments)), notes_(std::move(notes)), alias_hit_(alias_hit) {}
  NormalizedArguments(const NormalizedArguments&) = default;
  NormalizedArguments(NormalizedArguments&&) noexcept = default;
  NormalizedArguments& operator=(const NormalizedArguments&) = delete;
  NormalizedArguments& operator=(NormalizedArguments&&) = delete;

  // By declared name, of the declared types, within bounds, in the order in which they were set;
  // with the action's declared name under ACTION_PARAM for a tool with actions.
  [[nodiscard]] const Mapping& arguments() const& noexcept { return arguments_; }
  [[nodiscard]] Mapping&& arguments() && noexcept { return std::move(arguments_); }
  // One line for each change that the caller should know of, in their order.
  [[nodiscard]] const std::vector<std::string>& notes() const noexcept { return notes_; }
  // Whether a parameter or the action was named by a synonym.
  [[nodiscard]] bool alias_hit() const noexcept { return alias_hit_; }

  friend bool operator==(const NormalizedArguments&, const NormalizedArguments&) = default;

 private:
  Mapping arguments_;
  std::vector<std::string> notes_;
  bool alias_hit_;
};

// A tool, by its name in TOOLS or by its specification, which is then used without any look-up.
// Made implicitly, for the length of a call. By name, throws UnknownToolError.
class TOOL_BINDING_EXPORT ToolRef {
 public:
  ToolRef(const ToolSpec& spec) noexcept : spec_(spec) {}
  ToolRef(std::string_view name) : spec_(TOOLS.at(name)) {}
  ToolRef(const std::string& name) : ToolRef(std::string_view(name)) {}
  ToolRef(const char* name) : ToolRef(std::string_view(name)) {}

  [[nodiscard]] const ToolSpec& spec() const noexcept { return spec_; }

 private:
  const ToolSpec& spec_;
};

// Every declared parameter by name, in registry order: the value in `arguments`, else none for a
// default that differs by action, else the declared default. For a tool with actions, ACTION_PARAM
// stands first, with the answer of effective_action(). Entries under other names are dropped.
// Values are neither checked nor converted; the second form moves them out of `arguments`.
[[nodiscard]] TOOL_BINDING_EXPORT Mapping bind_arguments(ToolRef tool, const Mapping& arguments);
[[nodiscard]] TOOL_BINDING_EXPORT Mapping bind_arguments(ToolRef tool, Mapping&& arguments);

// How a handler's parameter takes its argument. VAR_POSITIONAL collects further positional
// arguments; VAR_KEYWORD collects further named ones, so that the handler takes any name.
enum class ParameterKind : std::uint8_t {
  positional_only,
  positional_or_keyword,
  VAR_POSITIONAL,
  keyword_only,
  VAR_KEYWORD,
};

struct HandlerParameter {
  std::string name;
  ParameterKind kind = ParameterKind::positional_or_keyword;
};

// What answers a tool: its declared parameters, and what is called with its named arguments.
struct Handler {
  std::vector<HandlerParameter> signature;
  std::function<Value(const Mapping& arguments)> call;
};

// The named arguments to call a handler with: all of `bound`, then the entries of `context` that
// its signature takes. A context entry that `bound` names replaces that value in its place.
// Cost: linear in the signature and both mappings; `bound` is copied unless it is moved in.
[[nodiscard]] TOOL_BINDING_EXPORT Mapping handler_kwargs(const Handler& handler, Mapping bound,
                                                         const Mapping& context = {});

// The refusal of a call that lacks what `action` needs, in the words that admission uses, or
// nothing. `arguments` are by declared name; `action` is nothing for a tool without actions.
[[nodiscard]] TOOL_BINDING_EXPORT std::optional<std::string> missing_arguments(
    std::string_view tool, std::optional<std::string_view> action, const Mapping& arguments);

// Admits a request's arguments, or throws ArgumentError with every problem that they have.
// The first form leaves `arguments` untouched and copies each admitted value once; the second moves
// the values out of them. Cost: linear in the request's size times the tool's parameters.
[[nodiscard]] TOOL_BINDING_EXPORT NormalizedArguments normalize_arguments(ToolRef tool,
                                                                          const Mapping& arguments);
[[nodiscard]] TOOL_BINDING_EXPORT NormalizedArguments normalize_arguments(ToolRef tool,
                                                                          Mapping&& arguments);

}  // namespace tool_binding

#endif  // TOOL_BINDING_TOOL_BINDING_HPP_
