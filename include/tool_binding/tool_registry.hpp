#ifndef TOOL_BINDING_TOOL_REGISTRY_HPP_
#define TOOL_BINDING_TOOL_REGISTRY_HPP_

// The registry: what each tool takes, by which names, of which types, within which bounds.
//
//   set_tools({ToolSpec({
//       .name = "search",
//       .description = "Finds text in files.",
//       .params = {{.name = "query", .synonyms = {"q"}, .required = true},
//                  {.name = "limit", .type = "integer", .minimum = 1, .default_ = 20}},
//   })});
//   TOOLS.at("search").param("q")->name == "query"
//
// What is declared are aggregates for designated initializers: name what differs from the default.
// check_tool() in tool_schemas.hpp says what is wrong or doubtful about a declaration.
//
// The library only reads the registry. Records are immutable once built, so any number of threads
// may read them; only set_tools needs care.

#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// The argument that selects a tool's action, and the one that gives the repository's root, which
// admission drops where a tool has routing (see ToolDefinition).
inline constexpr std::string_view ACTION_PARAM = "action";
inline constexpr std::string_view REPO_ROOT_ARGUMENT = "repo_root";

// A kind of value beside the five types: the program's own, such as a date, or one of the three
// that follow. Immutable once it is shared by parameters.
//
//   auto date = std::make_shared<const CustomType>(CustomType{
//       .words = "a date, such as 2024-05-31",
//       .read = [](const Value& sent) -> std::optional<Value> {
//         return is_date(sent) ? std::optional(sent) : std::nullopt;
//       },
//       .schema = {{"type", "string"}, {"format", "date"}}});
//   ToolSpec log({.name = "log", .params = {{.name = "since", .custom = date}}});
//   try_normalize_arguments(log, {{"since", "soon"}}).error() ==
//       "Parameter 'since' of log must be a date, such as 2024-05-31, not 'soon'"
struct CustomType {
  // What a value must be, as in "must be WORDS, not 'soon'".
  std::string words;
  // What is taken for the value that was sent, which is never none and, unless the parameter's
  // blank is a value, never blank text. Nothing and none refuse it, as do the exceptions of a
  // Value's accessors and of std::stoi: TypeError, std::invalid_argument, std::out_of_range and
  // std::overflow_error. Any other exception ends the admission of the request. Any number of
  // threads may call it at the same time.
  std::function<std::optional<Value>(const Value& sent)> read;
  // The property's schema as it is published, without what the parameter says beside it
  // (description, bounds, default, synonyms and the other `x-` keywords).
  Mapping schema = {};
};

// An object, passed on as it is: a mapping, or text that is a literal of one, such as
// `{"a": 1}` or `{'a': None}`. Its members are not checked. Words: "an object". Every call returns
// the same record, as with any_type().
[[nodiscard]] TOOL_BINDING_EXPORT std::shared_ptr<const CustomType> object_type();
// Any value, passed on as it is.
[[nodiscard]] TOOL_BINDING_EXPORT std::shared_ptr<const CustomType> any_type();
// One of some values: the value itself, else the first that is the same number (1 and 1.0 are), or
// whose text form was sent. The entry itself is taken. Words: "one of: 1, 2, 3". Throws
// std::invalid_argument when there are no values or one of them is none.
//
//   {.name = "level", .custom = one_of({1, 2, 3})}   // takes 2, 2.0 and "2" as 2; refuses 5:
//   // "Parameter 'level' of t must be one of: 1, 2, 3, not 5"
[[nodiscard]] TOOL_BINDING_EXPORT std::shared_ptr<const CustomType> one_of(List values);

// One parameter. Nothing here is checked when it is declared: see check_tool().
//
//   {.name = "query", .synonyms = {"q"}, .required = true}
//   {.name = "mode", .enum_ = {"literal", "regex"}, .default_ = "literal"}
//   {.name = "paths", .type = "array", .items_type = "string", .default_ = List{}}
//   {.name = "base", .required_for = {"create"}, .action_defaults = {{"create", "HEAD"}}}
struct TOOL_BINDING_EXPORT ParamSpec {
  std::string name = {};
  // Other names by which a request may give the parameter.
  std::vector<std::string> synonyms = {};
  // "integer", "number", "boolean", "string" or "array". With any other word, admitting a value
  // for the parameter throws std::out_of_range. Not read where `custom` is set.
  std::string type = "string";
  // For an array: "string" turns every item into text; any other word leaves items as they are, and
  // is published. Not read for other types.
  std::string items_type = {};
  // The allowed texts, matched in any letter case; empty: any value. For an array, of each item. A
  // request gets the entry's own spelling.
  std::vector<std::string> enum_ = {};
  // Integers or floats; none: open on that side. A bound of another kind makes the comparison throw
  // TypeError; one that the type cannot hold throws std::overflow_error when a value is to be
  // brought to it. NaN bounds nothing.
  Value minimum = {};
  Value maximum = {};
  // Blank text and an empty list are values; otherwise they count as left out.
  bool blank_is_value = false;
  bool required = false;
  // Actions that need the parameter.
  std::vector<std::string> required_for = {};
  // What a request that leaves the parameter out gets, unless action_defaults is not empty.
  Value default_ = {};
  // Defaults by action name; of two pairs for one action the later one counts. When not empty, a
  // parameter that is left out is bound to none and its handler asks action_default().
  std::vector<std::pair<std::string, Value>> action_defaults = {};
  // Shown in the published schema, read by nothing else.
  std::string description = {};
  // For an array: what the published schema of its items says beside items_type and the
  // enumeration, {{"minLength", 1}} say. No item is checked against it.
  Mapping items_schema = {};
  // A kind of value in place of the type: it reads the value, and the enumeration is not consulted.
  // A number that it returns is brought within the bounds as a float, or as an integer where `type`
  // is "integer". Null: one of the five types.
  std::shared_ptr<const CustomType> custom = {};

  // Whether a request that runs `action` (nothing: a tool without actions) needs the parameter.
  [[nodiscard]] bool required_by(const std::optional<std::string_view>& action) const noexcept;

  // Two custom types are equal by words and schema, since functions cannot be compared.
  friend TOOL_BINDING_EXPORT bool operator==(const ParamSpec& left, const ParamSpec& right);
};

// One action of a tool. A request names it by its name or a synonym, in any letter case.
struct ActionSpec {
  std::string name;
  std::vector<std::string> synonyms = {};

  friend bool operator==(const ActionSpec&, const ActionSpec&) = default;
};

// Actions, declared as records or, where none has a synonym, just as names.
//
//   ActionList{{"list", {"ls"}}, {"create"}}   // "ls" is a synonym
//   ActionList{"list", "create"}               // two actions, neither a synonym
class ActionList : public std::vector<ActionSpec> {
 public:
  ActionList() noexcept = default;
  ActionList(std::vector<ActionSpec> actions) noexcept : vector(std::move(actions)) {}
  ActionList(std::initializer_list<ActionSpec> actions) : vector(actions) {}
  template <std::convertible_to<std::string_view>... Names>
  requires(sizeof...(Names) > 0) ActionList(const Names&... names)
      : vector{ActionSpec{std::string(std::string_view(names))}...} {}
};

// What a tool is declared by.
struct ToolDefinition {
  std::string name;
  std::string description = {};
  ActionList actions = {};
  std::vector<ParamSpec> params = {};
  // The name of one of the actions: what a request runs that names none. It is not checked.
  std::optional<std::string> default_action = {};
  // Whether the arguments "repo" and "repo_root" say which repository a request runs against, so
  // that admission drops them. False: to this tool they are names like any other.
  bool routing = true;
  // Shown in the published schema, read by nothing else: the description of the property "action".
  std::string action_description = {};
  // The same: of the schema itself, beside the tool's own description.
  std::string schema_description = {};
  // The same: the keywords "$defs" and "definitions" with all that they hold, to which schemas of
  // custom types may refer: {{"$defs", Mapping{{"point", Mapping{{"type", "object"}}}}}}.
  Mapping definitions = {};

  friend bool operator==(const ToolDefinition&, const ToolDefinition&) = default;
};

struct ToolIndex;

// One tool: immutable, and cheap to copy (copies share one record). Moving copies, so that there is
// no empty one.
//
//   const ToolSpec tool({.name = "branches", .actions = {"list", "create"},
//                        .default_action = "list"});
//   tool.action(" LIST ")->name == "list"
//   tool.action("drop") == nullptr
//   tool.unknown_action_error("drop") == "branches has no action 'drop': it has list, create"
//   tool.definition().routing == true
//
// Assigning another ToolSpec releases the record, and with the last copy it is destroyed; what was
// read through this one is then no longer valid. Threads: copies may be used, copied and destroyed
// on different threads; one object is not to be assigned while another thread reads it.
class TOOL_BINDING_EXPORT ToolSpec {
 public:
  // A synonym that two parameters or actions share denotes the first, and a declared name comes
  // before any synonym. Throws std::invalid_argument when two parameters or two actions have one
  // name: "search declares the parameter 'query' twice". Nothing else is refused here; see
  // check_tool(). Cost: linear in all the texts given; names are indexed once, here.
  ToolSpec(ToolDefinition definition);
  ToolSpec(const ToolSpec&) noexcept = default;
  ToolSpec& operator=(const ToolSpec&) noexcept = default;
  ~ToolSpec() = default;

  // Lives, like all that the other members refer to, as long as any copy of this ToolSpec.
  [[nodiscard]] const ToolDefinition& definition() const noexcept;
  [[nodiscard]] const std::string& name() const noexcept;
  [[nodiscard]] const std::string& description() const noexcept;
  [[nodiscard]] const std::vector<ActionSpec>& actions() const noexcept;
  [[nodiscard]] const std::vector<ParamSpec>& params() const noexcept;
  [[nodiscard]] const std::optional<std::string>& default_action() const noexcept;
  [[nodiscard]] bool routing() const noexcept;
  // The declared names, without synonyms, in registry order.
  [[nodiscard]] const std::vector<std::string>& action_names() const noexcept;
  [[nodiscard]] const std::vector<std::string>& param_names() const noexcept;

  // The parameter of that declared name, else the first one with that synonym, else null. Exact
  // text. Cost: constant.
  [[nodiscard]] const ParamSpec* param(std::string_view name) const noexcept;

  // The action that a request's value denotes, or null: by exact name, then by exact synonym, then
  // by its text stripped and in lower case. A value that is not text denotes none.
  [[nodiscard]] const ActionSpec* action(const Value& value) const;

  // "TOOL has no action SHOWN: it has NAME, NAME", SHOWN being display_form(value).
  [[nodiscard]] std::string unknown_action_error(const Value& value) const;

  // By their definitions.
  friend TOOL_BINDING_EXPORT bool operator==(const ToolSpec& left, const ToolSpec& right);

 private:
  friend struct ToolIndex;
  std::shared_ptr<const ToolIndex> record_;
};

// No tool has the name that was asked for. The message names it and the nearest name there is.
//
//   TOOLS.at("serch")   throws it: "there is no tool named 'serch'. Did you mean 'search'?"
class TOOL_BINDING_EXPORT UnknownToolError : public std::out_of_range {
 public:
  UnknownToolError(std::string tool, const std::string& message)
      : std::out_of_range(message), tool_(std::move(tool)) {}
  ~UnknownToolError() override;

  // The name, as it was asked for.
  [[nodiscard]] const std::string& tool() const noexcept { return tool_; }

 private:
  std::string tool_;
};

// Tools by name, in the order given. Copying it copies no record: two tables share their tools.
// References into it are valid as long as the table, or as any copy of the ToolSpec that they refer
// to.
//
//   const ToolTable table({ToolSpec({.name = "status"}), ToolSpec({.name = "search"})});
//   table.at("status").params().empty()
//   table.find("stat") == nullptr
//   table.begin()->name() == "status"
//   table.at("stat")   throws UnknownToolError
class TOOL_BINDING_EXPORT ToolTable {
 public:
  constexpr ToolTable() noexcept = default;
  // Throws std::invalid_argument when two tools have one name: "two tools are named 'search'".
  explicit ToolTable(std::vector<ToolSpec> tools);
  ToolTable(std::initializer_list<ToolSpec> tools) : ToolTable(std::vector<ToolSpec>(tools)) {}

  // Throws UnknownToolError.
  [[nodiscard]] const ToolSpec& at(std::string_view name) const;
  // Null when there is no tool of that name. Cost: constant.
  [[nodiscard]] const ToolSpec* find(std::string_view name) const noexcept;
  [[nodiscard]] std::size_t size() const noexcept { return tools_.size(); }
  [[nodiscard]] bool empty() const noexcept { return tools_.empty(); }
  [[nodiscard]] auto begin() const noexcept { return tools_.begin(); }
  [[nodiscard]] auto end() const noexcept { return tools_.end(); }

  friend bool operator==(const ToolTable& left, const ToolTable& right) {
    return left.tools_ == right.tools_;
  }

 private:
  std::vector<ToolSpec> tools_;
  Mapping positions_;
};

// The process's tools, which requests name; empty until set_tools.
TOOL_BINDING_EXPORT extern const ToolTable& TOOLS;

// Replaces the process's tools. Call it before the first request: nothing else may read TOOLS, on
// any thread, meanwhile, and records taken from the former table are gone unless copied.
TOOL_BINDING_EXPORT void set_tools(ToolTable tools) noexcept;

}  // namespace tool_binding

#endif  // TOOL_BINDING_TOOL_REGISTRY_HPP_
