#include <algorithm>
#include <array>

#include "schemas/schemas_private.hpp"
#include "text/lines.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

// Keywords whose value is data, and those whose value has schemas by name.
constexpr auto data_keywords =
    std::to_array<std::string_view>({"default", "enum", "const", "examples", "example"});
constexpr auto named_schemas = std::to_array<std::string_view>(
    {"properties", "patternProperties", "$defs", "definitions", "dependentSchemas"});

bool is_private(const Value& keyword) {
  const std::string name = text_form(keyword);
  return name.starts_with("x-") || name == "$schema";
}

void remove_private_keywords(Mapping& schema) {
  const auto has_private = [](const Mapping::Entry& entry) { return is_private(entry.key()); };
  if (std::none_of(schema.begin(), schema.end(), has_private)) return;
  Mapping kept;
  for (Mapping::Entry& entry : schema) {
    if (!has_private(entry)) kept.set(entry.key(), std::move(entry.value));
  }
  schema = std::move(kept);
}

void add_schemas(std::vector<Mapping*>& open, Value& value, bool are_named) {
  if (Mapping* mapping = value.if_mapping()) {
    if (!are_named) return open.push_back(mapping);
    for (Mapping::Entry& entry : *mapping) add_schemas(open, entry.value, false);
  } else if (List* list = value.if_list()) {
    for (Value& item : *list) {
      if (Mapping* schema = item.if_mapping()) open.push_back(schema);
    }
  }
}

// In a schema and in all schemas in it, also those that a custom kind brought along.
void remove_all_private_keywords(Mapping& schema) {
  std::vector<Mapping*> open = {&schema};
  while (!open.empty()) {
    Mapping& next = *open.back();
    open.pop_back();
    remove_private_keywords(next);
    for (Mapping::Entry& entry : next) {
      const std::string keyword = text_form(entry.key());
      if (is_among(data_keywords, keyword)) continue;
      add_schemas(open, entry.value, is_among(named_schemas, keyword));
    }
  }
}

// Sentences.

// "create", "create and rename", "create, list and rename"
std::string enumerated(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text;
}

std::string shown_default(const Value& value) {
  if (value.is_none()) return "none";
  return json_text(value);
}

// "Default for list: true, for create: false, otherwise: none."
std::string default_by_action(const ParamSpec& param) {
  Mapping defaults;  // of two for one action the later
  for (const auto& [action, value] : param.action_defaults) defaults.set(action, value);
  std::string sentence = "Default";
  for (const Mapping::Entry& entry : defaults) {
    append(sentence, {&entry == &*defaults.begin() ? " for " : ", for ", text_form(entry.key()),
                      ": ", shown_default(entry.value)});
  }
  if (!param.default_.is_none()) {
    append(sentence, {", otherwise: ", shown_default(param.default_)});
  }
  return sentence + ".";
}

void add_sentence(Mapping& property, std::string_view sentence) {
  std::string text;
  if (const Value* description = property.find("description")) text = text_form(*description);
  if (!text.empty()) {
    const bool is_ended = std::string_view(".!?:").find(text.back()) != std::string_view::npos;
    text += is_ended ? " " : ". ";
  }
  property.set("description", text.append(sentence));
}

// A default that is not to be a keyword.
void move_default(Mapping& property) {
  const Value* value = property.find("default");
  if (value == nullptr) return;
  const std::string sentence = line_of({"Default: ", json_text(*value), "."});
  property.erase("default");
  add_sentence(property, sentence);
}

void add_needs_and_defaults(Mapping& property, const ParamSpec& param) {
  if (!param.required && !param.required_for.empty()) {
    add_sentence(property, line_of({"Needed for ", enumerated(param.required_for), "."}));
  }
  if (!param.action_defaults.empty()) add_sentence(property, default_by_action(param));
}

}  // namespace

Mapping wire_schema(const ToolSpec& tool, const WireOptions& options) {
  Mapping schema = input_schema(tool).as_mapping();
  remove_all_private_keywords(schema);
  Mapping& properties = schema.at("properties").as_mapping();
  for (const ParamSpec& param : tool.params()) {
    add_needs_and_defaults(properties.at(param.name).as_mapping(), param);
  }
  if (!options.defaults) {
    for (Mapping::Entry& entry : properties) move_default(entry.value.as_mapping());
  }
  if (options.forbids_additional_properties) schema.set("additionalProperties", false);
  return schema;
}

List wire_tools(const ToolTable& tools, const WireOptions& options) {
  List all;
  all.reserve(tools.size());
  for (const ToolSpec& tool : tools) {
    Mapping entry{{"name", tool.name()}};
    if (!tool.description().empty()) entry.set("description", tool.description());
    entry.set("inputSchema", wire_schema(tool, options));
    all.emplace_back(std::move(entry));
  }
  return all;
}

}  // namespace tool_binding
