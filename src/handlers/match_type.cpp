#include "handlers/match_type.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "handlers/binding.hpp"
#include "text/lines.hpp"
#include "value/numbers.hpp"

namespace tool_binding::detail {
namespace {

// The C++ types that a declaration is met by.
std::string_view types_for(std::string_view word) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 6> rows = {{
      {"integer", "an integer type, such as std::int64_t"},
      {"number", "double"},
      {"boolean", "bool"},
      {"string", "std::string or std::string_view"},
      {"array", "a std::vector or List"},
      {"object", "Mapping"},
  }};
  const auto row = std::find_if(rows.begin(), rows.end(),
                                [word](const auto& entry) { return entry.first == word; });
  return row != rows.end() ? row->second : "Value";
}

std::string_view items_word(const Mapping& schema) {
  const Value* items = schema.find("items");
  const Mapping* mapping = items != nullptr ? items->if_mapping() : nullptr;
  return mapping != nullptr ? schema_word(*mapping) : "";
}

// How a C++ type is declared.
std::string declaration_of(const CppType& type) {
  if (type.kind == CppKind::custom) {
    CppType param = type;
    param.is_optional = false;
    return line_of({".custom = custom_type<", name_of(param), ">()"});
  }
  if (type.kind == CppKind::mapping && !type.is_vector) return ".custom = object_type()";
  return line_of({".type = \"", word_of(type), "\""});
}

// The types of a parameter's values, or of a list's items, as one line says them.
std::string type_line(std::string_view declared, const CppType& type, std::string_view taken,
                      const std::string& declaration) {
  return line_of({"is declared ", declared, ", and the handler takes ", name_of(type), "; take ",
                  taken, ", or declare it ", declaration});
}

class TypeMatch {
 public:
  TypeMatch(const ToolSpec& spec, const ParamSpec& param, const CppType& type)
      : spec_(spec), param_(param), type_(type) {}

  std::vector<std::string> reasons() && {
    if (match_word()) {
      match_items();
      match_enumeration();
      match_bounds();
      match_defaults();
    }
    match_none();
    return std::move(reasons_);
  }

 private:
  void add(Pieces pieces) { reasons_.push_back(line_of(pieces)); }

  bool match_word() {
    if (type_.kind == CppKind::value && !type_.is_vector) return true;
    return param_.custom != nullptr ? match_custom(*param_.custom) : match_type_word();
  }

  // A type with a reader can be declared by the word of its schema, or by any where it has none.
  bool match_type_word() {
    const std::string_view word = word_of(type_);
    if (word.empty() || param_.type == word) return true;
    add({type_line("\"" + param_.type + "\"", type_, types_for(param_.type),
                   declaration_of(type_))});
    return false;
  }

  bool match_custom(const CustomType& custom) {
    const bool has_reader = type_.kind == CppKind::custom;
    if (has_reader && type_.param_custom().get() == &custom) return true;
    const bool is_own = has_reader && !type_.is_vector;
    const std::string_view declared = schema_word(custom.schema);
    const std::string_view word = word_of(type_);
    const bool is_enumeration = type_.kind == CppKind::enumeration && !type_.is_vector;
    if (is_enumeration || declared.empty() ? is_own || takes_all(custom)
                                           : declared == word && takes_items(custom)) {
      return true;
    }
    if (is_own && word.empty()) return true;
    add({type_line(custom.words, type_, types_for(declared), declaration_of(type_))});
    return false;
  }
  // Whether the schema lists the values, and the C++ type holds each.
  bool takes_all(const CustomType& custom) const {
    const Value* entries = custom.schema.find("enum");
    const List* all = entries != nullptr ? entries->if_list() : nullptr;
    return all != nullptr && std::all_of(all->begin(), all->end(), type_.accepts);
  }

  bool takes_items(const CustomType& custom) const {
    const std::string_view declared = items_word(custom.schema);
    const std::string_view word = item_word_of(type_);
    return !type_.is_vector || declared.empty() || word.empty() || declared == word;
  }

  void match_items() {
    const std::string_view word = item_word_of(type_);
    if (!type_.is_vector || param_.custom != nullptr || word.empty()) return;
    const bool is_text_by_enum = !param_.enum_.empty() && param_.items_type.empty();
    if (param_.items_type == word || (is_text_by_enum && word == "string")) return;
    const std::string declaration = line_of({".items_type = \"", word, "\""});
    if (param_.items_type.empty()) {
      return add({type_line("without the type of its items", type_, "List", declaration)});
    }
    add({type_line(line_of({"with items of the type \"", param_.items_type, "\""}), type_,
                   line_of({"a std::vector of ", types_for(param_.items_type)}), declaration)});
  }

  void match_enumeration() {
    if (type_.kind != CppKind::enumeration || param_.custom != nullptr) return;
    const std::vector<Enumerator>& enumerators = type_.enumerators();
    if (enumerators.empty()) {
      return add({"the handler takes ", name_of(type_),
                  ", of which no enumerator was found: those with values from 0 to 63 are, in an "
                  "enum class at namespace scope; specialise enum_names<",
                  type_.name, ">"});
    }
    const auto is_entry = [this](const Enumerator& enumerator) {
      return std::count(param_.enum_.begin(), param_.enum_.end(), enumerator.name) > 0;
    };
    const auto is_enumerator = [&enumerators](const std::string& entry) {
      return find_enumerator(enumerators, entry) != nullptr;
    };
    if (std::all_of(enumerators.begin(), enumerators.end(), is_entry) &&
        std::all_of(param_.enum_.begin(), param_.enum_.end(), is_enumerator)) {
      return;
    }
    const std::string_view start = param_.enum_.empty() ? "no enum_" : "the enum_ ";
    add({"is declared with ", start, joined(param_.enum_, ", "), ", and the enumerators of ",
         type_.name, " are ", names_of(enumerators), "; make them the same, or take std::string"});
  }

  void match_bounds() {
    match_bound("minimum", param_.minimum);
    match_bound("maximum", param_.maximum);
  }
  // A number beyond a bound becomes the bound.
  void match_bound(std::string_view which, const Value& bound) {
    const bool is_bounded = type_.kind == CppKind::integer || type_.kind == CppKind::number;
    if (type_.is_vector || !is_bounded || (!bound.is_integer() && !bound.is_float())) return;
    if (type_.kind == CppKind::integer && bound.is_float() && !is_whole(bound.get_float())) return;
    const Value used = type_.kind == CppKind::integer ? to_integer(bound) : bound;
    if (type_.accepts(used)) return;
    add({"its ", which, " ", display_form(bound), " lies outside of ", name_of(type_), ", ",
         words_of(type_, used, nullptr), "; take a larger type, or bring the ", which,
         " within it"});
  }

  void match_defaults() {
    if (param_.action_defaults.empty() || !is_given_by_all()) match_default("", param_.default_);
    for (const auto& [action, value] : param_.action_defaults) match_default(action, value);
  }
  void match_default(std::string_view action, const Value& value) {
    if (value.is_none() || type_.accepts(value)) return;
    add({"its default ", action.empty() ? "" : "for ", action, action.empty() ? "" : " ",
         display_form(value), " cannot be ", name_of(type_), ", ", needed_for(value),
         "; write a default that can"});
  }
  // What the value, which is not accepted, would have to be.
  [[nodiscard]] std::string needed_for(const Value& value) const {
    if (!type_.is_vector) return line_of({"which is ", words_of(type_, value, nullptr)});
    const List* items = value.if_list();
    if (items == nullptr) return "which is a list";
    const auto bad = std::find_if_not(items->begin(), items->end(), type_.accepts_item);
    return line_of({"of which each item is ", words_of(type_, *bad, nullptr)});
  }

  // Whether each action has a default of its own, so that the parameter's is never used.
  [[nodiscard]] bool is_given_by_all() const {
    const auto& names = spec_.action_names();
    return !names.empty() && std::all_of(names.begin(), names.end(), [this](const auto& name) {
      return own_default(name) != nullptr;
    });
  }
  [[nodiscard]] const Value* own_default(std::string_view action) const {
    const auto& all = param_.action_defaults;
    const auto last = std::find_if(all.rbegin(), all.rend(),
                                   [action](const auto& row) { return row.first == action; });
    return last != all.rend() ? &last->second : nullptr;
  }
  [[nodiscard]] bool can_be_none(std::optional<std::string_view> action) const {
    if (param_.required_by(action)) return false;
    const Value* own = action ? own_default(*action) : nullptr;
    return (own != nullptr ? *own : param_.default_).is_none();
  }

  void match_none() {
    if (type_.is_optional || (type_.kind == CppKind::value && !type_.is_vector)) return;
    std::vector<std::string> actions;
    for (const std::string& action : spec_.action_names()) {
      if (can_be_none(action)) actions.push_back(action);
    }
    const bool is_none = spec_.actions().empty() ? can_be_none(std::nullopt) : !actions.empty();
    if (!is_none) return;
    const std::string_view open = actions.empty() ? "" : " (", close = actions.empty() ? "" : ")";
    add({"can be left out", open, joined(actions, ", "), close,
         " and then has no default, and the handler takes ", name_of(type_),
         "; take std::optional<", name_of(type_), ">, give it a default, or make it required"});
  }

  const ToolSpec& spec_;
  const ParamSpec& param_;
  const CppType& type_;
  std::vector<std::string> reasons_;
};

}  // namespace

std::vector<std::string> type_mismatches(const ToolSpec& spec, const ParamSpec& param,
                                         const CppType& type) {
  return TypeMatch(spec, param, type).reasons();
}

std::vector<std::string> action_mismatches(const ToolSpec& spec, const CppType& type) {
  const bool is_one = !type.is_vector;
  if (is_one && (type.kind == CppKind::value || type.kind == CppKind::text)) return {};
  const std::string names = joined(spec.action_names(), ", ");
  if (!is_one || type.kind != CppKind::enumeration) {
    return {line_of({"is the action, which is text, and the handler takes ", name_of(type),
                     "; take std::string_view, or an enum class of ", names})};
  }
  std::vector<std::string> enumerators;
  for (const Enumerator& enumerator : type.enumerators()) enumerators.emplace_back(enumerator.name);
  if (std::is_permutation(enumerators.begin(), enumerators.end(), spec.action_names().begin(),
                          spec.action_names().end())) {
    return {};
  }
  return {line_of({"is one of the actions ", names, ", and the enumerators of ", type.name, " are ",
                   joined(enumerators, ", "), "; make them the same, or take std::string_view"})};
}

}  // namespace tool_binding::detail
