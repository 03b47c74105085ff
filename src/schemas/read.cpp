#include <algorithm>
#include <array>
#include <set>

#include "registry/tool_index.hpp"
#include "schemas/schemas_private.hpp"
#include "text/trim.hpp"

namespace tool_binding {
namespace {

// What each kind of object is read for.
constexpr std::string_view answer_members[] = {"tools", "_meta"};
constexpr std::string_view tool_members[] = {"name",  "description", "inputSchema",
                                             "title", "annotations", "outputSchema",
                                             "icons", "execution",   "_meta"};
constexpr std::string_view schema_keywords[] = {"type", "properties", "required", "x-routing",
                                                "additionalProperties"};
constexpr std::string_view action_keywords[] = {"type", "anyOf", "oneOf",   "allOf",
                                                "$ref", "enum",  "default", "x-synonyms"};
constexpr std::string_view definition_keywords[] = {"$defs", "definitions"};
constexpr std::string_view items_keywords[] = {"type", "enum"};
constexpr std::string_view param_keywords[] = {
    "type", "anyOf", "oneOf", "allOf", "$ref", "enum", "items", "minimum", "maximum", "default",
    // Of this library.
    "x-default", "x-synonyms", "x-blank-is-value", "x-required-for", "x-action-defaults",
    // Of objects alone: they say nothing about a value of the five types.
    "properties", "additionalProperties", "unevaluatedProperties", "patternProperties",
    "propertyNames", "minProperties", "maxProperties", "dependentRequired", "dependentSchemas",
    "dependencies"};

// What a custom kind's schema does not repeat, since the parameter says it.
constexpr std::string_view said_by_param[] = {
    "description", "minimum",        "maximum",           "default",         "x-default",
    "x-synonyms",  "x-required-for", "x-action-defaults", "x-blank-is-value"};

// A tool as far as it has been read.
struct Draft {
  ToolDefinition definition;
  bool are_actions_known = true;
  bool has_own_repo = false;
};

// Parameters.

Value value_of(const Value* given) { return given != nullptr ? *given : Value(); }

Value read_default(const Property& property, const Place& place) {
  const Value* general = property.find("default");
  const Value* unpublished = property.find("x-default");
  if (general != nullptr && unpublished != nullptr) {
    place.error("has both 'default' and 'x-default': keep one");
  }
  return value_of(general != nullptr ? general : unpublished);
}

bool is_all_text(const List& entries) {
  return std::all_of(entries.begin(), entries.end(), [](const Value& e) { return e.is_text(); });
}

std::vector<std::string> texts_of(const List& entries) {
  std::vector<std::string> texts;
  for (const Value& entry : entries) texts.emplace_back(entry.get_text());
  return texts;
}

// The entries of a list's items. What no type expresses is not enforced.
void read_items_enum(const List& entries, ParamSpec& param, const Place& place) {
  if (entries.empty()) return;
  if (!is_all_text(entries)) {
    return place.warning(
        "the enum of its items has entries that are not text and is not enforced: write texts, or "
        "let the handler check it");
  }
  if (!param.enum_.empty()) place.error("'enum' is in 'items' too: keep that one");
  param.enum_ = texts_of(entries);
}

// What the items' schema says beside what the parameter says of them.
Mapping rest_of_items(const Mapping& items, const ParamSpec& param) {
  Mapping rest;
  for (const Mapping::Entry& entry : items) {
    const auto keyword = entry.key().if_text();
    const bool is_said = (keyword == "type" && !param.items_type.empty()) ||
                         (keyword == "enum" && !param.enum_.empty());
    if (!is_said) rest.set(entry.key(), entry.value);
  }
  return rest;
}

// Items that are neither of an enumeration nor to be text are left as they come.
void read_items(const Mapping& items, ParamSpec& param, const Place& place) {
  const Value* type = find_given(items, "type");
  if (type != nullptr && type->is_text()) param.items_type = type->get_text();
  read_items_enum(read_entries(find_given(items, "enum"), place), param, place);
  param.items_schema = rest_of_items(items, param);
  if (type == nullptr || param.items_type == "string") {
    return warn_of_unread(items, items_keywords, place, " of its items");
  }
  const std::string kind = type->is_text() ? "type " + quoted(type->get_text()) : "several types";
  if (!param.enum_.empty()) {
    place.warning("items of " + kind + " become the enum's text: write type 'string'");
  } else {
    const bool are_numbers = param.items_type == "integer" || param.items_type == "number";
    place.warning("items of " + kind + " are passed on unchecked, so the handler must check them" +
                  (are_numbers ? ": those of comma-separated text are text" : ""));
  }
}

void read_list(const Property& property, ParamSpec& param, const Place& place) {
  const Value* items = property.find("items");
  if (items == nullptr || items->if_boolean() == true) return;
  if (param.type != "array") {
    place.warning("'items' has no effect on type " + quoted(param.type) + ": leave it out");
  } else if (items->is_list() || items->is_boolean()) {
    place.warning("'items' as " + std::string(items->is_list() ? "a list" : "false") +
                  " is not enforced, so the handler must check it");
  } else if (const Mapping* schema = read_mapping(items, "items", place)) {
    read_items(*schema, param, place);
  }
}

// A kind that no type expresses; its schema is kept whole.
void pass_on(const std::shared_ptr<const CustomType>& kind, const Property& property,
             ParamSpec& param) {
  CustomType custom = *kind;
  custom.schema = {};
  for (const Mapping::Entry& entry : *property.outer) {
    if (is_among(said_by_param, text_form(entry.key()))) continue;
    custom.schema.set(entry.key(), entry.value);
  }
  param.custom = std::make_shared<const CustomType>(std::move(custom));
}

void pass_on_unchecked(const std::string& reason, const Property& property, ParamSpec& param,
                       const Place& place) {
  pass_on(any_type(), property, param);
  place.warning(reason + ": any value is passed on unchecked, so the handler must check it");
}

// The types that 'type' names, without null.
List types_in(const Property& property, bool& may_be_null) {
  List types;
  const Value* type = property.find("type");
  if (type == nullptr) return types;
  for (const Value& each : type->is_list() ? type->get_list() : List{*type}) {
    if (each.if_text() == "null") {
      may_be_null = true;
    } else {
      types.push_back(each);
    }
  }
  return types;
}

bool is_only(const List& types, std::string_view word) {
  return types.size() == 1 && types[0].if_text() == word;
}

void read_type(const Value& type, const Property& property, ParamSpec& param, const Place& place) {
  const std::string_view word = type.if_text().value_or("");
  if (word == "object") {
    pass_on(object_type(), property, param);
    place.warning("an object's members are passed on unchecked, so the handler must check them");
  } else if (std::find(TYPE_NAMES.begin(), TYPE_NAMES.end(), word) != TYPE_NAMES.end()) {
    param.type = word;
  } else {
    param.type = "";
    place.must_be("type", "integer, number, boolean, string, array or object", type);
  }
}

// Lists that are entries may stand for the whole value; any other entry of a list is one of an
// item.
bool is_of_whole_values(const List& entries, const List& types) {
  if (is_all_text(entries)) return false;
  return !is_only(types, "array") ||
         std::all_of(entries.begin(), entries.end(), [](const Value& e) { return e.is_list(); });
}

void read_kind(Property& property, ParamSpec& param, const Place& place) {
  if (!property.combination.empty()) {
    return pass_on_unchecked("its " + quoted(property.combination) + " is not read", property,
                             param, place);
  }
  const List types = types_in(property, property.may_be_null);
  const Value* choices = property.find("enum");
  const List entries = read_entries(choices, place);
  if (choices != nullptr && choices->is_list() && entries.size() < choices->get_list().size()) {
    property.may_be_null = true;
  }
  if (is_of_whole_values(entries, types)) return pass_on(one_of(entries), property, param);
  if (types.size() > 1) {
    return pass_on_unchecked("it has several types", property, param, place);
  }
  if (!types.empty()) {
    read_type(types[0], property, param, place);
  } else if (entries.empty()) {
    const bool is_null = property.find("type") != nullptr;
    return pass_on_unchecked(is_null ? "it has no 'type' but null" : "it has no 'type'", property,
                             param, place);
  }
  if (param.custom != nullptr || param.type.empty()) return;
  if (param.type == "array") {
    read_items_enum(entries, param, place);
  } else {
    param.enum_ = texts_of(entries);
  }
  read_list(property, param, place);
  warn_of_unread(property, param_keywords, place);
}

void read_action_defaults(const Property& property, ParamSpec& param, const Place& place) {
  const Value* defaults = property.find("x-action-defaults");
  const Mapping* by_action = read_mapping(defaults, "x-action-defaults", place);
  if (by_action == nullptr) return;
  for (const Mapping::Entry& entry : *by_action) {
    param.action_defaults.emplace_back(text_form(entry.key()), entry.value);
  }
}

ParamSpec read_param(std::string_view name, const Value& schema, bool is_required,
                     const Place& place) {
  ParamSpec param{.name = std::string(name), .required = is_required};
  const Mapping anything;
  if (!schema.is_mapping() && schema.if_boolean() != true) {
    place.error("must be an object with a 'type', not " + shown(schema));
    param.type = "";
    return param;
  }
  Property property = open_property(schema.is_mapping() ? schema.get_mapping() : anything);
  read_kind(property, param, place);
  param.description = read_text(property.find("description"), "description", place);
  param.synonyms = read_names(property.find("x-synonyms"), "x-synonyms", place);
  param.blank_is_value = read_flag(property.find("x-blank-is-value"), "x-blank-is-value", place);
  param.minimum = value_of(property.find("minimum"));
  param.maximum = value_of(property.find("maximum"));
  param.default_ = read_default(property, place);
  param.required_for = read_names(property.find("x-required-for"), "x-required-for", place);
  read_action_defaults(property, param, place);
  if (is_required && property.may_be_null) {
    place.warning(
        "is required and may be null, but null counts as left out: allow no null, or do "
        "not require it");
  }
  return param;
}

// The actions.

void read_actions(const Property& property, Draft& tool, const Place& place) {
  const std::size_t errors = place.error_count();
  const List entries = read_entries(property.find("enum"), place);
  if (!is_all_text(entries)) {
    place.error("its enum must contain only texts: the names of the tool's actions");
  } else if (entries.empty()) {
    place.error("needs an 'enum' of the tool's actions");
  } else {
    for (const std::string& name : texts_of(entries)) tool.definition.actions.push_back({name});
  }
  tool.are_actions_known = place.error_count() == errors;
}

void read_default_action(const Property& property, Draft& tool, const Place& place) {
  const Value* given = property.find("default");
  if (given == nullptr || !tool.are_actions_known) return;
  for (const ActionSpec& action : tool.definition.actions) {
    if (given->if_text() == action.name) tool.definition.default_action = action.name;
  }
  if (tool.definition.default_action) return;
  place.warning("the default " + shown(*given) +
                " must be one of the tool's actions: a request that names none is refused");
}

void read_action_synonyms(const Property& property, Draft& tool, const Place& place) {
  const Value* synonyms = property.find("x-synonyms");
  const Mapping* by_action = read_mapping(synonyms, "x-synonyms", place);
  if (by_action == nullptr || !tool.are_actions_known) return;
  std::set<std::string_view> names;
  for (ActionSpec& action : tool.definition.actions) {
    names.insert(action.name);
    action.synonyms = read_names(by_action->find(action.name), "x-synonyms", place);
  }
  for (const Mapping::Entry& entry : *by_action) {
    const std::string name = text_form(entry.key());
    if (names.contains(name)) continue;
    place.error("'x-synonyms' names " + quoted(name) + ", which is not an action of the tool");
  }
}

void read_action(const Value& schema, bool is_required, Draft& tool, const Place& place) {
  tool.are_actions_known = false;
  if (!schema.is_mapping()) {
    return place.error("must be an object with an 'enum', not " + shown(schema));
  }
  Property property = open_property(schema.get_mapping());
  const List types = types_in(property, property.may_be_null);
  if (!types.empty() && !is_only(types, "string")) {
    place.must_be("type", "'string'", *property.find("type"));
  }
  read_actions(property, tool, place);
  read_default_action(property, tool, place);
  tool.definition.action_description =
      read_text(property.find("description"), "description", place);
  read_action_synonyms(property, tool, place);
  warn_of_unread(property, action_keywords, place);
  const bool has_default = property.find("default") != nullptr;
  if (!is_required && !has_default && tool.are_actions_known) {
    place.warning(
        "has no default and is not required: a request that names no action is refused "
        "all the same, so require it");
  }
}

// Schemas and tools.

void read_property(const Mapping::Entry& entry, bool is_required, Draft& tool, const Place& place) {
  if (!entry.key().is_text() || is_blank(entry.name())) {
    return place.error("a property's name must be text that is not blank, not " +
                       shown(entry.key()));
  }
  const Place there = place.at(entry.name());
  if (entry.name() == ACTION_PARAM) return read_action(entry.value, is_required, tool, there);
  tool.definition.params.push_back(read_param(entry.name(), entry.value, is_required, there));
  if (is_among(ROUTING_PARAMS_, entry.name())) tool.has_own_repo = true;
}

using NameSet = std::set<std::string, std::less<>>;

NameSet read_required(const Mapping& schema, const Mapping& properties, const Place& place) {
  NameSet required;
  for (std::string& name : read_names(find_given(schema, "required"), "required", place)) {
    const auto [added, is_first] = required.insert(std::move(name));
    if (is_first && !properties.contains(*added)) {
      place.at(*added).warning(
          "is required but no property, so requests that give it are refused: declare it, or do "
          "not "
          "require it");
    }
  }
  return required;
}

// A tool with a parameter of that name is not about the repository that requests name by it.
void read_routing(const Mapping& schema, Draft& tool, const Place& place) {
  const Value* given = find_given(schema, "x-routing");
  tool.definition.routing =
      given != nullptr ? read_flag(given, "x-routing", place) : !tool.has_own_repo;
  if (given != nullptr || !tool.has_own_repo) return;
  for (const ParamSpec& param : tool.definition.params) {
    if (!is_among(ROUTING_PARAMS_, param.name)) continue;
    place.at(param.name)
        .warning(
            "is read as an ordinary parameter, and no argument of the tool says which repository a "
            "request runs against: 'x-routing' false confirms it");
  }
}

// What the schema says of itself, and what properties may refer to.
void read_kept(const Mapping& schema, Draft& tool, const Place& place) {
  tool.definition.schema_description =
      read_text(find_given(schema, "description"), "inputSchema.description", place);
  for (const std::string_view keyword : definition_keywords) {
    if (const Value* given = find_given(schema, keyword)) {
      tool.definition.definitions.set(keyword, *given);
    }
  }
}

void read_schema(const Mapping& schema, Draft& tool, const Place& place) {
  const Value* type = find_given(schema, "type");
  if (type != nullptr && type->if_text() != "object") {
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
  const Value* additional = find_given(schema, "additionalProperties");
  if (additional != nullptr && additional->if_boolean() != false) {
    place.warning(
        "'additionalProperties' allows names that are not declared, but these are refused "
        "all the same: write false");
  }
  const NameSet required = read_required(schema, properties, place);
  for (const Mapping::Entry& entry : properties) {
    const auto name = entry.key().if_text();
    read_property(entry, name && required.contains(*name), tool, place);
  }
  read_routing(schema, tool, place);
  read_kept(schema, tool, place);
}

// Empty when it has none.
std::string name_of(const Value& tool) {
  const Value* given = tool.is_mapping() ? tool.get_mapping().find("name") : nullptr;
  const std::string_view name = given != nullptr ? given->if_text().value_or("") : "";
  if (is_blank(name)) return {};
  return std::string(name);
}

void check_name(const std::string& name, std::set<std::string>& names, const Place& place) {
  if (name.empty()) return place.error("needs a 'name': text that is not blank");
  if (!names.insert(name).second) place.error("another tool has this name too: choose another");
}

void read_tool(const Value& tool, const std::string& name, std::set<std::string>& names,
               const Place& place, std::vector<ToolSpec>& tools) {
  const std::size_t errors = place.error_count();
  if (!tool.is_mapping()) {
    return place.error("must be an object with 'name' and 'inputSchema', not " + shown(tool));
  }
  check_name(name, names, place);
  const Mapping& members = tool.get_mapping();
  warn_of_unread(members, tool_members, place);
  Draft draft{.definition = {.name = name}};
  draft.definition.description =
      read_text(find_given(members, "description"), "description", place);
  const Value* schema = find_given(members, "inputSchema");
  if (const Mapping* given = read_mapping(schema, "inputSchema", place)) {
    read_schema(*given, draft, place);
  }
  check_definition(draft.definition, draft.are_actions_known, place);
  if (place.error_count() == errors) tools.emplace_back(std::move(draft.definition));
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
  std::set<std::string> names;
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
