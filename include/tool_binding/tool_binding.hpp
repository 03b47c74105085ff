#ifndef TOOL_BINDING_TOOL_BINDING_HPP_
#define TOOL_BINDING_TOOL_BINDING_HPP_

// Admission and binding of one tool request. Start here.
//
//   Admission admission = try_normalize_arguments("search", {{"q", "main"}, {"limit", "500"}});
//   if (!admission) return refuse(admission.error());   // one text that names every problem
//   admission->notes()   // 'q' was read as 'query', 'limit' 500 is above the maximum: 100 was used
//   Mapping bound = bind_arguments("search", (*std::move(admission)).arguments());
//   Value answer = handler.call(handler_kwargs(handler, std::move(bound), {{"repo", repository}}));
//
// Admission reads synonyms, drops blanks, converts values to their declared types, brings numbers
// within their bounds and says so in a note, names the action that is left out, and refuses the
// rest in one message that names every problem. Binding gives every declared parameter its value,
// and the handler the part of the context that it takes.
//
// The examples of this header are about these two tools:
//
//   set_tools({
//       ToolSpec({.name = "search",
//                 .params = {{.name = "query", .synonyms = {"q"}, .required = true},
//                            {.name = "limit", .type = "integer", .maximum = 100,
//                             .default_ = 20}}}),
//       ToolSpec({.name = "branches",
//                 .actions = {{"list", {"ls"}}, {"create"}},
//                 .params = {{.name = "name", .required_for = {"create"}},
//                            {.name = "base", .action_defaults = {{"create", "HEAD"}}}},
//                 .default_action = "list"})});
//
// Threads: no state is kept between calls, and the registry is only read; calls may run at the same
// time on any threads. Nothing is read or written outside the process.
//
// Errors that a client can cause:
//   ArgumentError        a request that is refused (normalize_arguments; try_normalize_arguments
//                        returns the refusal instead)
//   UnknownToolError     a tool given by a name that TOOLS does not hold, before anything else
//   std::overflow_error  an integer beyond the range of floats, for a parameter of type "number"
// Errors of the program: std::out_of_range for a type word that is not one of the five,
// std::overflow_error for a bound that the parameter's type cannot hold, TypeError for a bound that
// is not a number and for a request whose names are not all text. Each message names the tool, and
// the parameter where there is one. Whatever allocates may throw std::bad_alloc. Where a call
// throws, nothing is changed but arguments that were moved in, which are left valid and
// unspecified.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// A tool, by its name in TOOLS or by its ToolSpec, which is then used without any look-up. Made
// implicitly, for the length of one call: it refers to the ToolSpec and owns nothing. By name,
// throws UnknownToolError.
//
//   bind_arguments("search", arguments);   // the tool of that name in TOOLS
//   bind_arguments(spec, arguments);       // a ToolSpec of your own, whatever TOOLS holds
class TOOL_BINDING_EXPORT ToolRef {
 public:
  ToolRef(const ToolSpec& spec) noexcept : spec_(spec) {}
  ToolRef(std::string_view name) : spec_(TOOLS.at(name)) {}
  ToolRef(const std::string& name) : ToolRef(std::string_view(name)) {}
  ToolRef(const char* name) : ToolRef(std::string_view(name)) {}
  ToolRef(std::nullptr_t) = delete;

  [[nodiscard]] const ToolSpec& spec() const noexcept { return spec_; }

 private:
  const ToolSpec& spec_;
};

// A request that admission refuses.
//
//   ArgumentError("search needs 'query'").message() == "search needs 'query'"
//
// The message is all problems of the request in the order in which they were found, joined by "; ".
// Parameter names appear in it as the client spelled them, control characters included. A zero byte
// ends what(); message() is always the whole text.
class TOOL_BINDING_EXPORT ArgumentError : public std::invalid_argument {
 public:
  explicit ArgumentError(std::string message);
  ~ArgumentError() override;

  // Valid as long as this error or a copy of it. Copying an error does not throw.
  [[nodiscard]] std::string_view message() const noexcept { return *message_; }

 private:
  std::shared_ptr<const std::string> message_;
};

// What the handler gets for `name` from a request that runs `action` and leaves it out: the default
// for that action (exact text), else the parameter's.
//
//   action_default("branches", "base", "create") == "HEAD"
//
//   action_default("branches", "base", "list").is_none()   // there is none for "list"
//
// `name` may be a synonym. Throws std::out_of_range when the tool declares no such parameter: "the
// registry's branches tool declares no 'bse'". Cost: linear in the parameter's defaults by action.
[[nodiscard]] TOOL_BINDING_EXPORT Value action_default(ToolRef tool, std::string_view name,
                                                       std::string_view action);

// An admitted request. It cannot be changed, but its arguments and notes can be moved out of one
// that is no longer needed; of a temporary they are returned by value. Copying it copies all that
// it holds.
//
//   NormalizedArguments admitted =
//       normalize_arguments("search", {{"q", "main"}, {"limit", "500"}});
//   admitted.arguments() == Mapping{{"query", "main"}, {"limit", 100}}
//   admitted.notes()[0] == "'q' was read as 'query'"
//   admitted.alias_hit() == true                 // by 'q'; a clamped number is none
//   Mapping bound = bind_arguments("search", std::move(admitted).arguments());
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
  [[nodiscard]] Mapping arguments() && noexcept { return std::move(arguments_); }
  // One line for each change that the caller should know of, in their order: a synonym that was
  // read, a number that was brought to a bound. A conversion without loss, "5" to 5, has none. With
  // names as the client spelled them: see ArgumentError.
  [[nodiscard]] const std::vector<std::string>& notes() const& noexcept { return notes_; }
  [[nodiscard]] std::vector<std::string> notes() && noexcept { return std::move(notes_); }
  // Whether a parameter or the action was named by a synonym.
  [[nodiscard]] bool alias_hit() const noexcept { return alias_hit_; }

  friend bool operator==(const NormalizedArguments&, const NormalizedArguments&) = default;

 private:
  Mapping arguments_;
  std::vector<std::string> notes_;
  bool alias_hit_;
};

// What admission makes of a request: the admitted request, or the text that refuses it. In shape a
// std::expected<NormalizedArguments, std::string>.
//
//   const Admission admission = try_normalize_arguments("search", {{"limit", "many"}});
//   admission.has_value() == false
//   admission.error() == "Parameter 'limit' of search must be a whole number, not 'many'; "
//                        "search needs 'query'"
//   admission.value()   throws ArgumentError with that text
class TOOL_BINDING_EXPORT Admission {
 public:
  Admission(NormalizedArguments admitted) noexcept : outcome_(std::move(admitted)) {}
  // `message` is not empty.
  [[nodiscard]] static Admission refused(std::string message) noexcept;

  [[nodiscard]] bool has_value() const noexcept { return outcome_.index() == 0; }
  [[nodiscard]] explicit operator bool() const noexcept { return has_value(); }

  // Throws ArgumentError with the refusal when there is no value.
  [[nodiscard]] const NormalizedArguments& value() const&;
  [[nodiscard]] NormalizedArguments& value() &;
  [[nodiscard]] NormalizedArguments value() &&;
  // Precondition, asserted in debug builds: has_value(). References are valid as long as this
  // Admission; of a temporary, the content is returned by value.
  [[nodiscard]] const NormalizedArguments& operator*() const& noexcept { return *checked(); }
  [[nodiscard]] NormalizedArguments& operator*() & noexcept { return *checked(); }
  [[nodiscard]] NormalizedArguments operator*() && noexcept { return std::move(*checked()); }
  [[nodiscard]] const NormalizedArguments* operator->() const& noexcept { return checked(); }
  [[nodiscard]] NormalizedArguments* operator->() & noexcept { return checked(); }
  void operator->() && = delete;  // of a temporary, write (*admission).arguments()
  // The refusal. Precondition, asserted in debug builds: !has_value().
  [[nodiscard]] const std::string& error() const& noexcept;
  [[nodiscard]] std::string error() && noexcept;

 private:
  explicit Admission(std::string message) noexcept : outcome_(std::move(message)) {}
  [[nodiscard]] const NormalizedArguments* checked() const noexcept {
    assert(has_value());
    return std::get_if<NormalizedArguments>(&outcome_);
  }
  [[nodiscard]] NormalizedArguments* checked() noexcept {
    assert(has_value());
    return std::get_if<NormalizedArguments>(&outcome_);
  }

  std::variant<NormalizedArguments, std::string> outcome_;
};

// Every declared parameter by name, in registry order: the value in `arguments`, else none for a
// default that differs by action, else the declared default. For a tool with actions, ACTION_PARAM
// comes first, with the answer of effective_action(). Entries under other names are dropped.
// Values are neither checked nor converted; the second form moves them out of `arguments`.
//
//   bind_arguments("search", {{"query", "main"}}) == Mapping{{"query", "main"}, {"limit", 20}}
//   bind_arguments("branches", {}) ==
//       Mapping{{"action", "list"}, {"name", Value()}, {"base", Value()}}
//
// Cost: linear in the parameters and the arguments.
[[nodiscard]] TOOL_BINDING_EXPORT Mapping bind_arguments(ToolRef tool, const Mapping& arguments);
[[nodiscard]] TOOL_BINDING_EXPORT Mapping bind_arguments(ToolRef tool, Mapping&& arguments);

// How a handler's parameter takes its argument. Arguments are given by name here, which the three
// kinds in small letters take alike. VAR_KEYWORD collects further named arguments, so that the
// handler takes any name; VAR_POSITIONAL collects further positional ones, and so takes no name.
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

// What answers a tool: its declared parameters, and what is called with its named arguments. For a
// function with typed parameters, bind_handler() in handlers.hpp makes one. What `call` throws
// passes through; several threads may call it at once if the function allows it.
//
//   Handler handler{{{"query"}, {"limit"}, {"repository"}}, [](Mapping arguments) -> Value {
//     return search(arguments.at("repository").object_as<Repository>(), arguments.at("query"));
//   }};
struct Handler {
  std::vector<HandlerParameter> signature;
  // Owns the arguments that it is given, so it can move values out of them.
  std::function<Value(Mapping arguments)> call;
};

// The named arguments to call a handler with: all of `bound`, then the entries of `context` that
// its signature takes. A context entry that `bound` names replaces that value in its place. Throws
// TypeError for a name of the context that is not text, unless the handler takes any name.
//
//   handler_kwargs(handler, {{"query", "main"}, {"limit", 20}}, {{"repository", r}, {"log", l}})
//       == Mapping{{"query", "main"}, {"limit", 20}, {"repository", r}}   // it takes no "log"
//
// Cost: linear in both mappings, and in the signature for each entry of the context; `bound` is
// copied unless it is moved in.
[[nodiscard]] TOOL_BINDING_EXPORT Mapping handler_kwargs(const Handler& handler, Mapping bound,
                                                         const Mapping& context = {});

// The refusal of a call that lacks what `action` needs, in the words that admission uses, or
// nothing. `arguments` are by declared name; `action` is nothing for a tool without actions.
//
//   missing_arguments("branches", "create", {}) == "branches 'create' needs 'name'"
//   missing_arguments("branches", "list", {}) == std::nullopt
//
// Blank text and empty lists count as missing, unless the parameter says blank_is_value.
[[nodiscard]] TOOL_BINDING_EXPORT std::optional<std::string> missing_arguments(
    ToolRef tool, std::optional<std::string_view> action, const Mapping& arguments);

// Admits a request's arguments, or throws ArgumentError with every problem that they have.
//
//   normalize_arguments("search", {{"q", "main"}}).arguments() == Mapping{{"query", "main"}}
//   normalize_arguments("search", {{"qeury", "x"}})   throws
//       "Unknown parameter 'qeury' for search. Did you mean 'query'? It takes: query, limit.; "
//       "search needs 'query'"
//
// The first form leaves `arguments` untouched and copies each admitted value once; the second moves
// the values out of them. Cost: linear in the request's size; each name that the tool does not take
// is compared with all of the tool's names.
[[nodiscard]] TOOL_BINDING_EXPORT NormalizedArguments normalize_arguments(ToolRef tool,
                                                                          const Mapping& arguments);
[[nodiscard]] TOOL_BINDING_EXPORT NormalizedArguments normalize_arguments(ToolRef tool,
                                                                          Mapping&& arguments);

// The same, but a refusal is returned instead of thrown, which takes about half the time. Built
// without exceptions, give the tool by specification: an unknown name throws here too.
[[nodiscard]] TOOL_BINDING_EXPORT Admission try_normalize_arguments(ToolRef tool,
                                                                    const Mapping& arguments);
[[nodiscard]] TOOL_BINDING_EXPORT Admission try_normalize_arguments(ToolRef tool,
                                                                    Mapping&& arguments);

}  // namespace tool_binding

#endif  // TOOL_BINDING_TOOL_BINDING_HPP_
