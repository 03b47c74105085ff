#include "tool_binding/tool_registry.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "registry/tool_index.hpp"
#include "text/lines.hpp"
#include "text/lower_case.hpp"
#include "text/similarity.hpp"
#include "text/trim.hpp"

namespace tool_binding {

namespace {

// The first to come by a name keeps it.
void add_position(Mapping& positions, std::string_view name, std::size_t position) {
  if (!positions.contains(name)) positions.set(name, position);
}

std::optional<std::size_t> position_in(const Mapping& positions, std::string_view name) noexcept {
  const Value* position = MappingAccess::find(positions, name);
  if (position == nullptr) return std::nullopt;
  return static_cast<std::size_t>(position->get_int64());
}

template <class Named>
std::vector<std::string> names_of(const std::vector<Named>& all) {
  std::vector<std::string> names;
  names.reserve(all.size());
  for (const Named& named : all) names.push_back(named.name);
  return names;
}

std::string unchanged(std::string_view text) { return std::string(text); }

// Declared names come before every synonym.
template <class Named>
Mapping positions_of(const std::vector<Named>& all, std::string (*form)(std::string_view)) {
  Mapping positions;
  for (std::size_t i = 0; i < all.size(); ++i) add_position(positions, form(all[i].name), i);
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (const std::string& synonym : all[i].synonyms) add_position(positions, form(synonym), i);
  }
  return positions;
}

Mapping enum_positions_of(const ParamSpec& param) {
  Mapping positions;
  for (std::size_t i = 0; i < param.enum_.size(); ++i) {
    const std::string& entry = param.enum_[i];
    if (trimmed(entry) == entry) add_position(positions, lower_cased(entry), i);
  }
  return positions;
}

std::string takes_of(const std::vector<std::string>& names) {
  if (names.empty()) return " It takes none.";
  return " It takes: " + joined(names, ", ") + ".";
}

// A repeated name is found at another position than its own.
template <class Named>
void check_names_differ(const std::string& tool, std::string_view what,
                        const std::vector<Named>& all, const Mapping& positions) {
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (position_in(positions, all[i].name) == i) continue;
    throw std::invalid_argument(
        line_of({tool, " declares the ", what, " ", display_form(all[i].name), " twice"}));
  }
}

// Bounds that a double and every number beside it hold exactly. A bound of which this cannot be
// said is NaN here, which no number is within, so that the bounds themselves are asked.
std::pair<double, double> plain_range(const ParamSpec& param) noexcept {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double largest = 1LL << 52;
  const auto plain = [](const Value& bound, double open) {
    if (bound.is_none()) return open;
    const double number = bound.is_int64()   ? static_cast<double>(bound.get_int64())
                          : bound.is_float() ? bound.get_float()
                                             : infinity;
    return std::fabs(number) <= largest ? number : std::numeric_limits<double>::quiet_NaN();
  };
  return {plain(param.minimum, -infinity), plain(param.maximum, infinity)};
}

ParamIndex index_of(const ParamSpec& param, std::size_t place) {
  constexpr std::array<Kind, TYPE_NAMES.size() + 1> kinds = {
      Kind::integer, Kind::float_, Kind::boolean, Kind::text, Kind::list, Kind::none};
  const auto type = static_cast<std::size_t>(
      std::find(TYPE_NAMES.begin(), TYPE_NAMES.end(), param.type) - TYPE_NAMES.begin());
  const auto [low, high] = plain_range(param);
  const bool has_enum = !param.enum_.empty() && param.custom == nullptr;
  return {.spec = param,
          .key = param.name,
          .place = place,
          .low = low,
          .high = high,
          .type = static_cast<std::uint8_t>(type),
          .kind = param.custom == nullptr ? kinds[type] : Kind::none,
          .is_looked_into = has_enum || (param.type == "array" && param.items_type == "string"),
          .has_enum = has_enum,
          .blank_is_value = param.blank_is_value,
          .enum_positions = enum_positions_of(param)};
}

// The action's name, and where they route the routing names, are read as such even where a
// parameter has that name, which binding still finds.
void work_out_names(ToolIndex& tool) {
  NameTable& names = tool.names =
      NameTable(tool.param_positions.size() + ROUTING_PARAMS_.size() + 1);
  for (const Mapping::Entry& entry : tool.param_positions) {
    const ParamIndex& param = tool.param_index[static_cast<std::size_t>(entry.value.get_int64())];
    names.at(entry.key()) = {entry.key(), &param, NameMeaning::param, param.key == entry.key()};
    tool.name_candidates.emplace_back(entry.name(), param.spec.name);
  }
  if (tool.definition.routing) {
    for (const std::string_view name : ROUTING_PARAMS_) {
      names.at(name).meaning = NameMeaning::routing;
    }
  }
  names.at(ACTION_PARAM).meaning = NameMeaning::action;
}

// Adds the parameter's default and what is asked for its arguments.
void work_out_param(ToolIndex& tool, const ParamSpec& param) {
  const bool has_actions = !tool.definition.actions.empty();
  const bool takes_action = param.name == ACTION_PARAM;
  if (takes_action) tool.binds_action = false;
  tool.param_index.push_back(
      index_of(param, takes_action && has_actions ? 0 : tool.defaults.size()));
  tool.defaults.set(param.name, param.action_defaults.empty() ? param.default_ : Value());
  if (param.required || !param.required_for.empty()) {
    tool.needed.push_back(&tool.param_index.back());
  }
}

// Points into the definition, which from here on stays where it is.
void work_out(ToolIndex& tool) {
  const std::string& name = tool.definition.name;
  const std::vector<ActionSpec>& actions = tool.definition.actions;
  const std::vector<ParamSpec>& params = tool.definition.params;
  tool.action_names = names_of(actions);
  tool.action_candidates.assign(tool.action_names.begin(), tool.action_names.end());
  tool.param_names = names_of(params);
  tool.takes = takes_of(tool.param_names);
  tool.binds_action = !actions.empty();
  if (tool.binds_action) tool.defaults.set(ACTION_PARAM, Value());
  tool.param_index.reserve(params.size());
  for (const ParamSpec& param : params) work_out_param(tool, param);
  tool.has_action = tool.defaults.contains(ACTION_PARAM);
  tool.param_positions = positions_of(params, unchanged);
  work_out_names(tool);
  tool.binds_in_place =
      tool.defaults.size() <= ToolIndex::few &&
      std::none_of(tool.defaults.begin(), tool.defaults.end(), MappingAccess::owns_heap);
  tool.action_positions = positions_of(actions, unchanged);
  tool.lower_case_action_positions = positions_of(actions, lower_cased);
  check_names_differ(name, "parameter", params, tool.param_positions);
  check_names_differ(name, "action", actions, tool.action_positions);
}

}  // namespace

bool ParamSpec::required_by(const std::optional<std::string_view>& action) const noexcept {
  return required || (action && std::find(required_for.begin(), required_for.end(), *action) !=
                                    required_for.end());
}

bool operator==(const ParamSpec& left, const ParamSpec& right) {
  const auto fields = [](const ParamSpec& param) {
    return std::tie(param.name, param.synonyms, param.type, param.items_type, param.enum_,
                    param.minimum, param.maximum, param.blank_is_value, param.required,
                    param.required_for, param.default_, param.action_defaults, param.description,
                    param.items_schema);
  };
  const auto same_custom = [](const CustomType* a, const CustomType* b) {
    return a == b ||
           (a != nullptr && b != nullptr && a->words == b->words && a->schema == b->schema);
  };
  return fields(left) == fields(right) && same_custom(left.custom.get(), right.custom.get());
}

ToolSpec::ToolSpec(ToolDefinition definition) {
  auto record = std::make_shared<ToolIndex>(ToolIndex{.definition = std::move(definition)});
  work_out(*record);
  record_ = std::move(record);
}

const ToolDefinition& ToolSpec::definition() const noexcept { return record_->definition; }
const std::string& ToolSpec::name() const noexcept { return definition().name; }
const std::string& ToolSpec::description() const noexcept { return definition().description; }
const std::vector<ActionSpec>& ToolSpec::actions() const noexcept { return definition().actions; }
const std::vector<ParamSpec>& ToolSpec::params() const noexcept { return definition().params; }
const std::optional<std::string>& ToolSpec::default_action() const noexcept {
  return definition().default_action;
}
bool ToolSpec::routing() const noexcept { return definition().routing; }
const std::vector<std::string>& ToolSpec::action_names() const noexcept {
  return record_->action_names;
}
const std::vector<std::string>& ToolSpec::param_names() const noexcept {
  return record_->param_names;
}

const ParamSpec* ToolSpec::param(std::string_view name) const noexcept {
  const auto position = position_in(record_->param_positions, name);
  return position ? &params()[*position] : nullptr;
}

const ActionSpec* ToolSpec::action(const Value& value) const {
  if (!value.is_text()) return nullptr;
  const Value* position = MappingAccess::find(record_->action_positions, value);
  if (position == nullptr) {
    position = record_->lower_case_action_positions.find(lower_cased(trimmed(value.get_text())));
  }
  if (position == nullptr) return nullptr;
  return &actions()[static_cast<std::size_t>(position->get_int64())];
}

std::string ToolSpec::unknown_action_error(const Value& value) const {
  return name() + " has no action " + display_form(value) + ": it has " +
         joined(action_names(), ", ");
}

bool operator==(const ToolSpec& left, const ToolSpec& right) {
  return left.record_ == right.record_ || left.definition() == right.definition();
}

UnknownToolError::~UnknownToolError() = default;

ToolTable::ToolTable(std::vector<ToolSpec> tools) : tools_(std::move(tools)) {
  for (std::size_t i = 0; i < tools_.size(); ++i) {
    add_position(positions_, tools_[i].name(), i);
    if (position_in(positions_, tools_[i].name()) != i) {
      throw std::invalid_argument("two tools are named " + display_form(tools_[i].name()));
    }
  }
}

const ToolSpec* ToolTable::find(std::string_view name) const noexcept {
  const Value* position = MappingAccess::find(positions_, name);
  return position != nullptr ? &tools_[static_cast<std::size_t>(position->get_int64())] : nullptr;
}

const ToolSpec& ToolTable::at(std::string_view name) const {
  if (const ToolSpec* tool = find(name)) return *tool;
  std::string message = "there is no tool named " + display_form(name);
  NearestName nearest(name, NEAR_NAME_CUTOFF_);
  for (const ToolSpec& tool : tools_) nearest.offer(tool.name());
  const std::string_view near = nearest.best().value_or("");
  if (!near.empty()) message += line_of({". Did you mean '", near, "'?"});
  throw UnknownToolError(std::string(name), message);
}

namespace {

// Never destroyed: a request may still run on another thread while the process ends.
union ProcessTools {
  constexpr ProcessTools() noexcept : table() {}
  ~ProcessTools() {}
  ToolTable table;
};
constinit ProcessTools process_tools;

}  // namespace

constinit const ToolTable& TOOLS = process_tools.table;

void set_tools(ToolTable tools) noexcept { process_tools.table = std::move(tools); }

}  // namespace tool_binding
