#ifndef TOOL_BINDING_SRC_TOOL_INDEX_HPP_
#define TOOL_BINDING_SRC_TOOL_INDEX_HPP_

// A ToolSpec's record: what was declared, and what is worked out from it once, when it is built, so
// that no request has to.

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mapping_access.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// The words that a parameter's type may be, in the order of the tables that are kept by them.
inline constexpr std::array<std::string_view, 5> TYPE_NAMES = {"integer", "number", "boolean",
                                                               "string", "array"};

struct ParamIndex {
  const ParamSpec& spec;
  Value key;         // the declared name
  std::size_t type;  // the place of spec.type in TYPE_NAMES; their number for any other word
  // The positions of enumeration entries by their lower-case form; of entries that differ in case
  // alone, the first. Entries with white space around them are not here: nothing matches them.
  Mapping enum_positions;
};

struct ToolIndex {
  // Lives as long as any copy of the spec.
  [[nodiscard]] static const ToolIndex& of(const ToolSpec& spec) noexcept { return *spec.record_; }

  // The parameter of that declared name or synonym, or null. Precondition: `param_name` is text.
  [[nodiscard]] const ParamIndex* find(const Value& param_name) const noexcept {
    const Value* position = MappingAccess::find(param_positions, param_name);
    return position != nullptr ? &param_index[static_cast<std::size_t>(position->get_int64())]
                               : nullptr;
  }

  std::string name;
  std::vector<ActionSpec> actions;
  std::vector<ParamSpec> params;
  std::optional<std::string> default_action;
  std::string description;

  Value action_key = ACTION_PARAM;
  std::vector<std::string> action_names = {};
  std::vector<std::string> param_names = {};
  // All names by which parameters may be given: the declared ones, then the synonyms.
  std::vector<std::string> all_names = {};
  // " It takes: NAME, NAME.", or " It takes none."
  std::string takes = {};
  std::vector<ParamIndex> param_index = {};
  // What binding gives a request without arguments: the action as none, then every default.
  Mapping defaults = {};
  bool declares_action = false;  // a parameter of that name, which then stands in its place
  // Those that some action, or every request, needs.
  std::vector<const ParamIndex*> needed = {};
  Mapping param_positions = {};
  Mapping action_positions = {};
  Mapping lower_case_action_positions = {};
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TOOL_INDEX_HPP_
