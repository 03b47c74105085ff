#ifndef TOOL_BINDING_SRC_TOOL_INDEX_HPP_
#define TOOL_BINDING_SRC_TOOL_INDEX_HPP_

// A ToolSpec's record: what was declared, and what is worked out from it once, when it is built, so
// that no request has to.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mapping_access.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

struct ParamIndex {
  const ParamSpec& spec;
  Value key;  // the declared name
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

  std::vector<std::string> action_names = {};
  std::vector<std::string> param_names = {};
  // All names by which parameters may be given: the declared ones, then the synonyms.
  std::vector<std::string> all_names = {};
  std::vector<ParamIndex> param_index = {};
  // Those that some action, or every request, needs.
  std::vector<const ParamIndex*> needed = {};
  Mapping param_positions = {};
  Mapping action_positions = {};
  Mapping lower_case_action_positions = {};
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TOOL_INDEX_HPP_
