#include <algorithm>
#include <set>

#include "schemas/schemas_private.hpp"
#include "text/trim.hpp"

namespace tool_binding {
namespace {

// Keywords that no request is judged by.
constexpr std::string_view annotations[] = {
    "$schema",     "$id",      "$anchor",         "$comment",         "$defs",        "definitions",
    "title",       "examples", "example",         "deprecated",       "readOnly",     "writeOnly",
    "description", "nullable", "contentEncoding", "contentMediaType", "contentSchema"};

// Keywords that ask for what admission does not look at.
constexpr std::string_view constraints[] = {
    // Of any value.
    "$ref", "allOf", "anyOf", "oneOf", "not", "if", "then", "else", "const", "enum",
    // Of text.
    "format", "pattern", "minLength", "maxLength",
    // Of numbers.
    "minimum", "maximum", "exclusiveMinimum", "exclusiveMaximum", "multipleOf",
    // Of arrays.
    "items", "prefixItems", "additionalItems", "unevaluatedItems", "contains", "minContains",
    "maxContains", "minItems", "maxItems", "uniqueItems",
    // Of objects.
    "properties", "required", "additionalProperties", "unevaluatedProperties", "patternProperties",
    "propertyNames", "minProperties", "maxProperties", "dependentRequired", "dependentSchemas",
    "dependencies"};

constexpr std::string_view unions[] = {"oneOf", "anyOf"};
constexpr std::string_view combinations[] = {"$ref", "allOf", "oneOf", "anyOf"};

struct TypeTest {
  std::string_view type;
  bool (*holds)(const Value&) noexcept;
};
constexpr TypeTest type_tests[] = {
    {"integer", [](const Value& value) noexcept { return value.is_integer(); }},
    {"number", [](const Value& value) noexcept { return value.is_integer() || value.is_float(); }},
    {"boolean", [](const Value& value) noexcept { return value.is_boolean(); }},
    {"string", [](const Value& value) noexcept { return value.is_text(); }},
    {"array", [](const Value& value) noexcept { return value.is_list(); }},
};

const TypeTest* find_type(std::string_view type) noexcept {
  const auto* found = std::find_if(std::begin(type_tests), std::end(type_tests),
                                   [&](const TypeTest& test) { return test.type == type; });
  return found != std::end(type_tests) ? found : nullptr;
}

// Arguments beyond the properties are refused anyway; a list of required members is about objects.
bool asks_for_nothing(std::string_view keyword, const Value& value) {
  return value.is_none() || (keyword == "additionalProperties" && value.if_boolean() == false) ||
         (keyword == "required" && value.is_list());
}

// The texts of a list, up to the first item that is none.
std::vector<std::string> read_texts(const Value& value, std::string_view keyword,
                                    const Place& place) {
  std::vector<std::string> texts;
  if (!value.is_list()) {
    place.must_be(keyword, "a list of texts", value);
    return texts;
  }
  for (const Value& item : value.get_list()) {
    if (!item.is_text()) {
      place.error(quoted(keyword) + " must contain only texts, not " + shown(item));
      return texts;
    }
    texts.emplace_back(item.get_text());
  }
  return texts;
}

// Whether a schema admits null alone, which is an argument left out, or nothing: {"not": {}}.
bool is_null_schema(const Value& schema) {
  if (!schema.is_mapping()) return false;
  const Value* type = find_given(schema.get_mapping(), "type");
  const Value* unwanted = find_given(schema.get_mapping(), "not");
  const Mapping* excluded = unwanted != nullptr ? unwanted->if_mapping() : nullptr;
  return (type != nullptr && type->if_text() == "null") ||
         (excluded != nullptr && excluded->empty());
}

// The one alternative that is not null's; null when there are none or several.
const Value* only_alternative(const Value& alternatives, bool& may_be_null) {
  const Value* only = nullptr;
  std::size_t count = 0;
  if (!alternatives.is_list()) return only;
  for (const Value& alternative : alternatives.get_list()) {
    if (is_null_schema(alternative)) {
      may_be_null = true;
    } else if (++count == 1) {
      only = &alternative;
    }
  }
  return count == 1 ? only : nullptr;
}

// Goes into unions of one type and null, also into one that is the branch of another. The keyword
// of any other union, or empty.
std::string_view open_union(Property& property) {
  for (const Mapping* schema = property.outer;; schema = property.branch) {
    for (const std::string_view keyword : {"$ref", "allOf"}) {
      if (find_given(*schema, keyword) != nullptr) return keyword;
    }
    const Value* any_of = find_given(*schema, "anyOf");
    const Value* one_of = find_given(*schema, "oneOf");
    if (any_of == nullptr && one_of == nullptr) return {};
    const std::string_view keyword = any_of != nullptr ? "anyOf" : "oneOf";
    const Value& alternatives = any_of != nullptr ? *any_of : *one_of;
    const Value* only = only_alternative(alternatives, property.may_be_null);
    if (schema != property.outer) property.passed.push_back(schema);
    property.branch = only != nullptr ? only->if_mapping() : nullptr;
    if (property.branch == nullptr || (any_of != nullptr && one_of != nullptr)) return keyword;
  }
}

void warn_of_overruled(const Property& property, const Place& place) {
  for (const Mapping::Entry& entry : *property.branch) {
    const std::string keyword = text_form(entry.key());
    const Value* outer = find_given(*property.outer, keyword);
    if (outer == nullptr || entry.value.is_none() || *outer == entry.value) continue;
    if (is_among(annotations, keyword)) continue;
    place.warning(quoted(keyword) + " is in the union and beside it: keep that one, which counts");
  }
}

}  // namespace

bool has_no_combination(const Mapping& schema, const Place& place) {
  for (const std::string_view keyword : combinations) {
    if (find_given(schema, keyword) == nullptr) continue;
    place.error(quoted(keyword) + " is not supported here: write its properties out");
    return false;
  }
  return true;
}

bool is_among(Keywords names, std::string_view name) noexcept {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool has_type(const Value& value, std::string_view type) noexcept {
  const TypeTest* test = find_type(type);
  return test != nullptr && test->holds(value);
}

std::string quoted(std::string_view name) { return "'" + std::string(name) + "'"; }

std::string shown(const Value& value) {
  if (value.is_list()) return "a list";
  return value.is_mapping() ? "an object" : display_form(value);
}

Place Place::at(std::string_view parameter) const {
  Place place = *this;
  place.parameter_ = parameter;
  return place;
}

void Place::error(std::string reason) const {
  problems_.errors.push_back({tool_, parameter_, std::move(reason)});
}

void Place::warning(std::string reason) const {
  problems_.warnings.push_back({tool_, parameter_, std::move(reason)});
}

void Place::must_be(std::string_view keyword, std::string_view what, const Value& found) const {
  error(quoted(keyword) + " must be " + std::string(what) + ", not " + shown(found));
}

const Value* find_given(const Mapping& schema, std::string_view keyword) noexcept {
  const Value* value = schema.find(keyword);
  return value != nullptr && !value->is_none() ? value : nullptr;
}

void warn_of_unread(const Mapping& schema, Keywords read, const Place& place,
                    std::string_view whose) {
  for (const Mapping::Entry& entry : schema) {
    const std::string keyword = text_form(entry.key());
    if (is_among(read, keyword) || is_among(annotations, keyword)) continue;
    if (asks_for_nothing(keyword, entry.value)) continue;
    place.warning(quoted(keyword) + std::string(whose) +
                  (is_among(constraints, keyword) ? " is not enforced, so the handler must check it"
                                                  : " is not read: correct it or leave it out"));
  }
}

const Mapping* read_mapping(const Value* value, std::string_view keyword, const Place& place) {
  if (value == nullptr) return nullptr;
  if (!value->is_mapping()) place.must_be(keyword, "an object", *value);
  return value->if_mapping();
}

std::string read_text(const Value* value, std::string_view keyword, const Place& place) {
  if (value == nullptr) return {};
  if (!value->is_text()) place.must_be(keyword, "text", *value);
  return std::string(value->if_text().value_or(""));
}

bool read_flag(const Value* value, std::string_view keyword, const Place& place) {
  if (value == nullptr) return false;
  if (!value->is_boolean()) place.must_be(keyword, "true or false", *value);
  return value->if_boolean().value_or(false);
}

std::vector<std::string> read_names(const Value* value, std::string_view keyword,
                                    const Place& place) {
  if (value == nullptr) return {};
  std::vector<std::string> names;
  std::set<std::string> seen;
  for (std::string& name : read_texts(*value, keyword, place)) {
    if (is_blank(name)) {
      place.error(quoted(keyword) + " contains a blank name: leave it out");
      continue;
    }
    if (!seen.insert(name).second) {
      place.warning(quoted(keyword) + " repeats " + quoted(name) + ": write it once");
    }
    names.push_back(std::move(name));
  }
  return names;
}

List read_entries(const Value* value, const Place& place) {
  List entries;
  if (value == nullptr) return entries;
  if (!value->is_list()) {
    place.must_be("enum", "a list", *value);
    return entries;
  }
  for (const Value& entry : value->get_list()) {
    if (!entry.is_none()) entries.push_back(entry);
  }
  if (entries.empty()) {
    place.warning("'enum' has no entries, so any value is allowed: leave it out or give it some");
  }
  return entries;
}

const Value* Property::find(std::string_view keyword) const noexcept {
  const Value* value = find_given(*outer, keyword);
  return value == nullptr && branch != nullptr ? find_given(*branch, keyword) : value;
}

Property open_property(const Mapping& schema) {
  Property property{&schema};
  property.combination = open_union(property);
  if (!property.combination.empty()) property.branch = nullptr;
  const Value* nullable = property.find("nullable");
  if (nullable != nullptr && nullable->if_boolean() == true) property.may_be_null = true;
  return property;
}

void warn_of_unread(const Property& property, Keywords read, const Place& place) {
  warn_of_unread(*property.outer, read, place);
  if (property.branch == nullptr) return;
  for (const Mapping* between : property.passed) warn_of_unread(*between, unions, place);
  warn_of_unread(*property.branch, read, place);
  warn_of_overruled(property, place);
}

}  // namespace tool_binding
