#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {
namespace {

List list_of(const std::vector<std::string>& texts) { return List(texts.begin(), texts.end()); }

void set_texts(Mapping& schema, std::string_view keyword, const std::vector<std::string>& texts) {
  if (!texts.empty()) schema.set(keyword, list_of(texts));
}

void set_value(Mapping& schema, std::string_view keyword, const Value& value) {
  if (!value.is_none()) schema.set(keyword, value);
}

Mapping items_schema(const ParamSpec& param) {
  Mapping items;
  if (!param.items_type.empty()) items.set("type", param.items_type);
  for (const Mapping::Entry& entry : param.items_schema) items.set(entry.key(), entry.value);
  set_texts(items, "enum", param.enum_);
  return items;
}

void set_choices(Mapping& schema, const ParamSpec& param) {
  if (param.type != "array") return set_texts(schema, "enum", param.enum_);
  Mapping items = items_schema(param);
  if (!items.empty()) schema.set("items", std::move(items));
}

// A client that read a default would take it for the default of every action.
void set_defaults(Mapping& schema, const ParamSpec& param) {
  if (param.action_defaults.empty()) return set_value(schema, "default", param.default_);
  Mapping defaults;
  for (const auto& [action, value] : param.action_defaults) defaults.set(action, value);
  schema.set("x-action-defaults", std::move(defaults));
  set_value(schema, "x-default", param.default_);
}

Mapping param_schema(const ParamSpec& param) {
  Mapping schema = param.custom != nullptr ? param.custom->schema : Mapping{{"type", param.type}};
  if (!param.description.empty()) schema.set("description", param.description);
  if (param.custom == nullptr) set_choices(schema, param);
  set_value(schema, "minimum", param.minimum);
  set_value(schema, "maximum", param.maximum);
  set_defaults(schema, param);
  set_texts(schema, "x-synonyms", param.synonyms);
  if (param.blank_is_value) schema.set("x-blank-is-value", true);
  set_texts(schema, "x-required-for", param.required_for);
  return schema;
}

Mapping action_schema(const ToolSpec& tool) {
  Mapping schema{{"type", "string"}, {"enum", list_of(tool.action_names())}};
  const std::string& description = tool.definition().action_description;
  if (!description.empty()) schema.set("description", description);
  if (tool.default_action()) schema.set("default", *tool.default_action());
  Mapping synonyms;
  for (const ActionSpec& action : tool.actions()) {
    set_texts(synonyms, action.name, action.synonyms);
  }
  if (!synonyms.empty()) schema.set("x-synonyms", std::move(synonyms));
  return schema;
}

}  // namespace

Value input_schema(const ToolSpec& tool) {
  Mapping properties;
  List required;
  if (!tool.actions().empty()) {
    properties.set(ACTION_PARAM, action_schema(tool));
    if (!tool.default_action()) required.emplace_back(ACTION_PARAM);
  }
  for (const ParamSpec& param : tool.params()) {
    properties.set(param.name, param_schema(param));
    if (param.required) required.emplace_back(param.name);
  }
  Mapping schema{{"type", "object"}};
  const ToolDefinition& definition = tool.definition();
  if (!definition.schema_description.empty()) {
    schema.set("description", definition.schema_description);
  }
  schema.set("properties", std::move(properties));
  if (!required.empty()) schema.set("required", std::move(required));
  if (!tool.routing()) schema.set("x-routing", false);
  for (const auto& [keyword, value] : definition.definitions) schema.set(keyword, value);
  return schema;
}

Value publish_tools(const ToolTable& tools) {
  List published;
  published.reserve(tools.size());
  for (const ToolSpec& tool : tools) {
    Mapping entry{{"name", tool.name()}};
    if (!tool.description().empty()) entry.set("description", tool.description());
    entry.set("inputSchema", input_schema(tool));
    published.emplace_back(std::move(entry));
  }
  return published;
}

}  // namespace tool_binding
