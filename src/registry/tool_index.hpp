#ifndef TOOL_BINDING_SRC_REGISTRY_TOOL_INDEX_HPP_
#define TOOL_BINDING_SRC_REGISTRY_TOOL_INDEX_HPP_

// A ToolSpec's record: what was declared, and what is worked out from it once, when it is built, so
// that no request has to.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "registry/name_table.hpp"
#include "text/similarity.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Arguments that say which repository a request runs against. The daemon supplies it to handlers
// itself, so admission drops them.
inline constexpr std::array<std::string_view, 2> ROUTING_PARAMS_ = {REPO_ROOT_ARGUMENT, "repo"};

// The words that a parameter's type may be, in the order of the tables that are kept by them.
inline constexpr std::array<std::string_view, 5> TYPE_NAMES = {"integer", "number", "boolean",
                                                               "string", "array"};

// What each argument for a parameter is asked, close together; the rest is in the spec.
struct ParamIndex {
  // Whether a value can be taken as it is. One for which the answer is no may still turn out so.
  [[nodiscard]] bool admits(const Value& value) const noexcept {
    if (value.kind() != kind || is_looked_into) return false;
    if (value.is_int64()) return has_within(static_cast<double>(value.get_int64()));
    if (value.is_float()) return has_within(value.get_float());
    return !value.is_integer();
  }
  [[nodiscard]] bool has_within(double number) const noexcept {
    return low <= number && number <= high;
  }

  const ParamSpec& spec;
  Value key;          // the declared name
  std::size_t place;  // among ToolIndex::defaults
  // A number from `low` to `high` is within the bounds; of any other the bounds themselves tell.
  double low;
  double high;
  std::uint8_t type;    // the place of spec.type in TYPE_NAMES; their number for any other word
  Kind kind;            // of values that need no coercion; none when there are none
  bool is_looked_into;  // values are matched with an enumeration, or their items made text
  bool has_enum;
  bool blank_is_value;
  // The positions of enumeration entries by their lower-case form; of entries that differ in case
  // alone, the first. Entries with white space around them are not here: nothing matches them.
  Mapping enum_positions;
};

struct ToolIndex {
  static constexpr std::size_t few = 16;

  // The names to make room for when a request of that size is admitted: all that are bound later,
  // if that may be in the same room.
  [[nodiscard]] std::size_t room_for(std::size_t arguments) const noexcept {
    return binds_in_place ? defaults.size() : std::min(arguments, definition.params.size()) + 1;
  }
  // Lives as long as any copy of the spec.
  [[nodiscard]] static const ToolIndex& of(const ToolSpec& spec) noexcept { return *spec.record_; }

  ToolDefinition definition;

  Value action_key = ACTION_PARAM;
  std::vector<std::string> action_names = {};
  std::vector<std::string> param_names = {};
  // What may be meant by another name: any name of a parameter, synonyms too, or
  // an action's declared one.
  std::vector<NameCandidate> name_candidates = {};
  std::vector<NameCandidate> action_candidates = {};
  // " It takes: NAME, NAME.", or " It takes none."
  std::string takes = {};
  std::vector<ParamIndex> param_index = {};
  // What binding gives a request without arguments: the action as none, then every default.
  Mapping defaults = {};
  bool has_action = false;      // the tool has actions, or a parameter takes their name
  bool binds_action = false;    // into the first entry; not if a parameter of that name takes it
  bool binds_in_place = false;  // few defaults, none of which needs memory to be copied
  // Those that some action, or every request, needs.
  std::vector<const ParamIndex*> needed = {};
  Mapping param_positions = {};
  NameTable names = NameTable();
  Mapping action_positions = {};
  Mapping lower_case_action_positions = {};
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_REGISTRY_TOOL_INDEX_HPP_
