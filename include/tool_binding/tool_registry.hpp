#ifndef TOOL_BINDING_TOOL_REGISTRY_HPP_
#define TOOL_BINDING_TOOL_REGISTRY_HPP_

// The registry: what each tool takes, by which names, of which types, within which bounds.
//
//   set_tools(ToolTable({ToolSpec(
//       "search", {},
//       {{.name = "query", .synonyms = {"q"}, .required = true},
//        {.name = "limit", .type = "integer", .minimum = 1, .maximum = 100, .default_ = 20}})}));
//   TOOLS.at("search").param("q")->name == "query"
//
// The library only reads it. Records are immutable once built, so any number of threads may read
// them; only set_tools needs care.

#include <cstddef>
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

// The argument that selects a tool's action, and the one that gives the repository's root.
inline constexpr std::string_view ACTION_PARAM = "action";
inline constexpr std::string_view REPO_ROOT_ARGUMENT = "repo_root";

// One parameter. An aggregate for designated initializers: what is left out has the default below.
struct TOOL_BINDING_EXPORT ParamSpec {
  std::string name;
  // Other names by which a request may give the parameter.
  std::vector<std::string> synonyms = {};
  // "integer", "number", "boolean", "string" or "array". With any other word, admitting a value
  // for the parameter throws std::out_of_range.
  std::string type = "string";
  // For an array: "string" turns every item into text; any other word leaves items as they are.
  std::string items_type = {};
  // The allowed texts, matched in any letter case; empty: any value. For an array, of each item.
  std::vector<std::string> enum_ = {};
  // Integers or floats; none: open on that side. A bound of another kind makes the comparison throw
  // TypeError; one that the type cannot hold throws std::overflow_error when a value is to be
  // brought to it.
  Value minimum = {};
  Value maximum = {};
  // Blank text and an empty list are values; otherwise they count as left out.
  bool blank_is_value = false;
  bool required = false;
  // Actions that need the parameter.
  std::vector<std::string> required_for = {};
  // What a request that leaves the parameter out gets, unless action_defaults is not empty.
  Value default_ = {};
  // Defaults by action name; for an action that stands in two pairs the later one counts. When not
  // empty, a parameter that is left out is bound to none and its handler asks action_default().
  std::vector<std::pair<std::string, Value>> action_defaults = {};
  // Shown in the published schema, read by nothing else.
  std::string description = {};

  // Whether a request that runs `action` (nothing: a tool without actions) needs the parameter.
  [[nodiscard]] bool required_by(const std::optional<std::string_view>& action) const noexcept;

  friend bool operator==(const ParamSpec&, const ParamSpec&) = default;
};

// One action of a tool.
struct ActionSpec {
  std::string name;
  std::vector<std::string> synonyms = {};

  friend bool operator==(const ActionSpec&, const ActionSpec&) = default;
};

struct ToolIndex;

// One tool: immutable, and cheap to copy (copies share one record).
class TOOL_BINDING_EXPORT ToolSpec {
 public:
  // Cost: linear in all the texts given; names are indexed once, here. A synonym that two
  // parameters or actions share denotes the first, and a declared name comes before any synonym.
  // `default_action` is a declared action's name, or nothing; it is not checked. Throws
  // std::invalid_argument when two parameters have one name.
  explicit ToolSpec(std::string name, std::vector<ActionSpec> actions = {},
                    std::vector<ParamSpec> params = {},
                    std::optional<std::string> default_action = std::nullopt,
                    std::string description = {});

  [[nodiscard]] const std::string& name() const noexcept;
  [[nodiscard]] const std::string& description() const noexcept;
  [[nodiscard]] const std::vector<ActionSpec>& actions() const noexcept;
  [[nodiscard]] const std::vector<ParamSpec>& params() const noexcept;
  [[nodiscard]] const std::optional<std::string>& default_action() const noexcept;
  // The declared names, without synonyms, in registry order.
  [[nodiscard]] const std::vector<std::string>& action_names() const noexcept;
  [[nodiscard]] const std::vector<std::string>& param_names() const noexcept;

  // The parameter of that declared name, else the first one with that synonym, else null. Exact
  // text. The record lives as long as any copy of this ToolSpec.
  [[nodiscard]] const ParamSpec* param(std::string_view name) const noexcept;

  // The action that a request's value denotes, or null: by exact name, then by exact synonym, then
  // by its text stripped and in lower case. A value that is not text denotes none.
  [[nodiscard]] const ActionSpec* action(const Value& value) const;

  // "TOOL has no action SHOWN: it has NAME, NAME", SHOWN being display_form(value).
  [[nodiscard]] std::string unknown_action_error(const Value& value) const;

  friend TOOL_BINDING_EXPORT bool operator==(const ToolSpec& left, const ToolSpec& right);

 private:
  friend struct ToolIndex;
  std::shared_ptr<const ToolIndex> record_;
};

// No tool has the name that was asked for. The message names it and the nearest name there is.
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

// Tools by name, in the order given.
class TOOL_BINDING_EXPORT ToolTable {
 public:
  constexpr ToolTable() noexcept = default;
  // Throws std::invalid_argument when two tools have one name.
  explicit ToolTable(std::vector<ToolSpec> tools);

  // Throws UnknownToolError.
  [[nodiscard]] const ToolSpec& at(std::string_view name) const;
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
