#include <cmath>
#include <limits>

#include "schemas/schemas_private.hpp"
#include "text/trim.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

// What each kind of object is read for.
constexpr std::string_view answer_members[] = {"tools", "_meta"};
constexpr std::string_view tool_members[] = {"name",  "description", "inputSchema",
                                             "title", "annotations", "outputSchema",
                                             "icons", "execution",   "_meta"};
constexpr std::string_view schema_keywords[] = {"type", "properties", "required"};
constexpr std::string_view action_keywords[] = {"type", "anyOf", "oneOf",   "allOf",
                                                "$ref", "enum",  "default", "x-synonyms"};
constexpr std::string_view items_keywords[] = {"type", "enum"};
constexpr std::string_view param_keywords[] = {
    "type", "anyOf", "oneOf", "allOf", "$ref", "enum", "items", "minimum", "maximum", "default",
    // Of this library.
    "x-default", "x-synonyms", "x-blank-is-value", "x-required-for", "x-action-defaults",
    // Of objects alone: they say nothing about a value of the five types.
    "properties", "additionalProperties", "unevaluatedProperties", "patternProperties",
    "propertyNames", "minProperties", "maxProperties", "dependentRequired", "dependentSchemas",
    "dependencies"};

// A tool as far as it has been read.
struct Draft {
  std::vector<ActionSpec> actions;
  std::optional<std::string> default_action;
  std::vector<ParamSpec> params;
  Mapping action_names;
  bool are_actions_known = true;
};

// Parameters.

bool is_finite(const Value& number) noexcept {
  return number.is_integer() || (number.is_float() && std::isfinite(number.get_float()));
}

bool is_beyond_floats(const Value& number) {
  constexpr double largest = std::numeric_limits<double>::max();
  return compare_numbers(number, -largest) < 0 || compare_numbers(number, largest) > 0;
}

Value read_bound(const Property& property, std::string_view keyword, const ParamSpec& param,
                 const Place& place) {
  const Value* bound = property.find(keyword);
  if (bound == nullptr) return {};
  if (!is_finite(*bound)) {
    place.must_be(keyword, "a finite number", *bound);
    return {};
  }
  if (param.type == "number" && is_beyond_floats(*bound)) {
    place.warning(quoted(keyword) + " is beyond the range of floats: to use it is an error");
  }
  return *bound;
}

Value read_default(const Property& property, const Place& place) {
  const Value* general = property.find("default");
  const Value* unpublished = property.find("x-default");
  if (general != nullptr && unpublished != nullptr) {
    place.error("has both 'default' and 'x-default': keep one");
  }
  if (general == nullptr) general = unpublished;
  return general != nullptr ? *general : Value();
}

// Items that are neither of an enumeration nor to be text are left as they come.
void read_items(const Mapping& items, ParamSpec& param, const Place& place) {
  const Value* type = find_given(items, "type");
  if (type != nullptr && type->is_text()) param.items_type = type->get_text();
  if (const Value* entries = find_given(items, "enum")) {
    if (!param.enum_.empty()) place.error("'enum' stands in 'items' too: keep that one");
    param.enum_ = read_enum(entries, place);
  }
  if (type == nullptr || param.items_type == "string") {
    return warn_of_unread(items, items_keywords, place, " of its items");
  }
  const std::string kind = type->is_text() ? "type " + quoted(type->get_text()) : "several types";
  const bool has_enum = !param.enum_.empty();
  place.warning("items of " + kind +
                (has_enum ? " become the enum's text" : " are passed on unchecked"));
}

void read_choices(const Property& property, ParamSpec& param, const Place& place) {
  param.enum_ = read_enum(property.find("enum"), place);
  const Value* items = property.find("items");
  if (items == nullptr || param.type.empty()) return;
  if (param.type != "array") {
    place.warning("'items' has no effect on type " + quoted(param.type));
  } else if (items->is_list()) {
    place.warning("'items' as a list is not enforced");
  } else if (const Mapping* schema = read_mapping(items, "items", place)) {
    read_items(*schema, param, place);
  }
}

void check_action(const std::string& action, std::string_view keyword, const Draft& tool,
                  const Place& place) {
  if (!tool.are_actions_known || tool.action_names.contains(action)) return;
  place.error(quoted(keyword) + " names " + quoted(action) + ", which is no action of the tool");
}

void read_action_rules(const Property& property, const Draft& tool, ParamSpec& param,
                       const Place& place) {
  param.required_for = read_names(property.find("x-required-for"), "x-required-for", place);
  for (const std::string& action : param.required_for) {
    check_action(action, "x-required-for", tool, place);
  }
  const Value* defaults = property.find("x-action-defaults");
  const Mapping* by_action = read_mapping(defaults, "x-action-defaults", place);
  if (by_action == nullptr) return;
  for (const Mapping::Entry& entry : *by_action) {
    param.action_defaults.emplace_back(text_form(entry.key()), entry.value);
    check_action(param.action_defaults.back().first, "x-action-defaults", tool, place);
  }
}

ParamSpec read_param(std::string_view name, const Value& schema, const Draft& tool,
                     const Place& place) {
  ParamSpec param{.name = std::string(name)};
  const auto property = open_property(schema, param_keywords, place);
  if (!property) return param;
  param.type = read_type(*property, place);
  param.description = read_text(property->find("description"), "description", place);
  param.synonyms = read_names(property->find("x-synonyms"), "x-synonyms", place);
  param.blank_is_value = read_flag(property->find("x-blank-is-value"), "x-blank-is-value", place);
  param.minimum = read_bound(*property, "minimum", param, place);
  param.maximum = read_bound(*property, "maximum", param, place);
  param.default_ = read_default(*property, place);
  read_choices(*property, param, place);
  read_action_rules(*property, tool, param, place);
  check_param(param, place);
  return param;
}

// The actions.

void read_actions(const Property& property, Draft& tool, const Place& place) {
  const std::size_t errors = place.error_count();
  for (const std::string& name : read_names(property.find("enum"), "enum", place)) {
    if (tool.action_names.contains(name)) continue;
    tool.action_names.set(name, true);
    tool.actions.push_back({name});
  }
  const bool has_errors = place.error_count() != errors;
  if (tool.actions.empty() && !has_errors) place.error("needs an 'enum' of the tool's actions");
  tool.are_actions_known = place.error_count() == errors;
}

void read_default_action(const Property& property, Draft& tool, const Place& place) {
  const Value* action = property.find("default");
  if (action == nullptr) return;
  if (action->is_text() && tool.action_names.contains(action->get_text())) {
    tool.default_action = action->get_text();
  } else if (tool.are_actions_known) {
    place.error("the default " + shown(*action) + " is not in the enum");
  }
}

void read_action_synonyms(const Property& property, Draft& tool, const Place& place) {
  const Value* synonyms = property.find("x-synonyms");
  const Mapping* by_action = read_mapping(synonyms, "x-synonyms", place);
  if (by_action == nullptr) return;
  for (const Mapping::Entry& entry : *by_action) {
    check_action(text_form(entry.key()), "x-synonyms", tool, place);
  }
  for (ActionSpec& action : tool.actions) {
    action.synonyms = read_names(by_action->find(action.name), "x-synonyms", place);
  }
}

void read_action(const Value& schema, Draft& tool, const Place& place) {
  tool.are_actions_known = false;
  const auto property = open_property(schema, action_keywords, place);
  if (!property) return;
  const std::string type = read_type(*property, place);
  if (!type.empty() && type != "string") place.must_be("type", "'string'", type);
  read_actions(*property, tool, place);
  read_default_action(*property, tool, place);
  read_action_synonyms(*property, tool, place);
  std::vector<std::string> names;
  for (const ActionSpec& action : tool.actions) names.push_back(action.name);
  check_enum(names, place);
}

// Schemas and tools.

void read_property(const Mapping::Entry& entry, Draft& tool, const Place& place) {
  if (!entry.key().is_text() || is_blank(entry.name())) {
    return place.error("a property's name must be text that is not blank, not " +
                       shown(entry.key()));
  }
  if (entry.name() == ACTION_PARAM) return;
  const Place there = place.at(entry.name());
  if (is_among(reserved_names, entry.name())) {
    there.error("is what requests name their repository by: choose another name");
  }
  tool.params.push_back(read_param(entry.name(), entry.value, tool, there));
}

void read_properties(const Mapping& properties, Draft& tool, const Place& place) {
  if (const Value* action = properties.find(ACTION_PARAM)) {
    read_action(*action, tool, place.at(ACTION_PARAM));
  }
  for (const Mapping::Entry& entry : properties) read_property(entry, tool, place);
  check_synonyms(tool.actions, place);
  check_synonyms(tool.params, place);
}

void read_required(const Value* names, const Mapping& properties, Draft& tool, const Place& place) {
  Mapping required;
  for (const std::string& name : read_names(names, "required", place)) {
    if (!properties.contains(name) && !required.contains(name)) {
      place.at(name).error("is required but not among the properties");
    }
    required.set(name, true);
  }
  for (ParamSpec& param : tool.params) param.required = required.contains(param.name);
}

void read_schema(const Mapping& schema, Draft& tool, const Place& place) {
  const Value* type = find_given(schema, "type");
  if (type != nullptr && *type != Value("object")) {
    place.must_be("inputSchema.type", "'object'", *type);
  }
  const Value* given = find_given(schema, "properties");
  if (given != nullptr && !given->is_mapping()) {
    return place.must_be("properties", "an object", *given);
  }
  const Mapping none;
  const Mapping& properties = given != nullptr ? given->get_mapping() : none;
  if (!properties.empty() || has_no_combination(schema, place)) {
    warn_of_unread(schema, schema_keywords, place, " of 'inputSchema'");
  }
  read_properties(properties, tool, place);
  read_required(find_given(schema, "required"), properties, tool, place);
}

// Empty when it has none.
std::string name_of(const Value& tool) {
  const Value* name = tool.is_mapping() ? tool.get_mapping().find("name") : nullptr;
  const bool is_name = name != nullptr && name->is_text() && !is_blank(name->get_text());
  return is_name ? std::string(name->get_text()) : "";
}

void check_name(const std::string& name, Mapping& names, const Place& place) {
  if (name.empty()) return place.error("needs a 'name': text that is not blank");
  if (names.contains(name)) place.error("another tool has this name too");
  names.set(name, true);
}

void read_tool(const Value& tool, const std::string& name, Mapping& names, const Place& place,
               std::vector<ToolSpec>& tools) {
  const std::size_t errors = place.error_count();
  if (!tool.is_mapping()) {
    return place.error("must be an object with 'name' and 'inputSchema', not " + shown(tool));
  }
  check_name(name, names, place);
  const Mapping& members = tool.get_mapping();
  std::string description = read_text(find_given(members, "description"), "description", place);
  warn_of_unread(members, tool_members, place);
  Draft draft;
  const Value* schema = find_given(members, "inputSchema");
  if (const Mapping* given = read_mapping(schema, "inputSchema", place)) {
    read_schema(*given, draft, place);
  }
  if (place.error_count() != errors) return;
  tools.emplace_back(ToolDefinition{.name = name,
                                    .description = std::move(description),
                                    .actions = std::move(draft.actions),
                                    .params = std::move(draft.params),
                                    .default_action = std::move(draft.default_action)});
}

}  // namespace

ToolsReading read_tools(const Value& published) {
  ToolsReading reading;
  const Place everywhere(reading, "");
  const Mapping* answer = published.if_mapping();
  const Value* tools = answer != nullptr ? answer->find("tools") : &published;
  if (tools == nullptr || !tools->is_list()) {
    everywhere.error("needs a list of tools, or an object with one under 'tools'");
    return reading;
  }
  if (answer != nullptr) warn_of_unread(*answer, answer_members, everywhere);
  Mapping names;
  std::size_t number = 0;
  for (const Value& tool : tools->get_list()) {
    ++number;
    const std::string name = name_of(tool);
    const Place place(reading, name.empty() ? "tool " + std::to_string(number) : name);
    read_tool(tool, name, names, place, reading.tools);
  }
  return reading;
}

}  // namespace tool_binding
