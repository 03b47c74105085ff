#include <algorithm>
#include <compare>

#include "schemas/schemas_private.hpp"
#include "text/lower_case.hpp"
#include "text/trim.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

bool is_number_type(std::string_view type) { return type == "integer" || type == "number"; }

void check_scalar_enum(const ParamSpec& param, const Place& place) {
  const std::vector<std::string>& entries = param.enum_;
  if (!entries.empty() && param.type != "string") {
    place.warning("its enum makes every value text: write type 'string'");
  }
  if (!param.blank_is_value && std::find(entries.begin(), entries.end(), "") != entries.end()) {
    place.warning("the enum entry '' counts as left out: 'x-blank-is-value' true keeps it");
  }
}

void check_bounds(const ParamSpec& param, const Place& place) {
  const bool has_minimum = !param.minimum.is_none();
  const bool has_maximum = !param.maximum.is_none();
  if (!is_number_type(param.type)) {
    if (has_minimum) place.warning("'minimum' has no effect on type " + quoted(param.type));
    if (has_maximum) place.warning("'maximum' has no effect on type " + quoted(param.type));
  } else if (has_minimum && has_maximum && compare_numbers(param.minimum, param.maximum) > 0) {
    place.warning("the minimum " + shown(param.minimum) + " is above the maximum " +
                  shown(param.maximum));
  }
}

// A look-up among keys that are all text takes constant time for text alone.
bool is_among_keys(const Mapping& entries, const Value& value) {
  return value.is_text() && entries.contains(value.get_text());
}

// What is wrong with a default, or nothing. It reaches handlers as it is written, so it must be
// what admission would make of a request's value. `entries` has the enumeration as keys.
std::string array_default_fault(const ParamSpec& param, const Mapping& entries, const List& items) {
  const auto holds_only = [&](auto test) { return std::all_of(items.begin(), items.end(), test); };
  const auto is_text = [](const Value& item) { return item.is_text(); };
  const auto is_entry = [&](const Value& item) { return is_among_keys(entries, item); };
  if (!entries.empty()) return holds_only(is_entry) ? "" : "holds what is not in the enum";
  return param.items_type != "string" || holds_only(is_text) ? "" : "holds what is no text";
}

std::string number_default_fault(const ParamSpec& param, const Value& number) {
  const auto order = [&](const Value& bound) { return compare_numbers(number, bound); };
  if (!param.minimum.is_none() && order(param.minimum) < 0) return "is below the minimum";
  return !param.maximum.is_none() && order(param.maximum) > 0 ? "is above the maximum" : "";
}

std::string default_fault(const ParamSpec& param, const Mapping& entries, const Value& value) {
  if (param.type != "array" && !entries.empty()) {
    return is_among_keys(entries, value) ? "" : "is not in the enum";
  }
  if (!has_type(value, param.type)) return "is not of type " + quoted(param.type);
  if (param.type == "array") return array_default_fault(param, entries, value.get_list());
  return is_number_type(param.type) ? number_default_fault(param, value) : "";
}

void check_defaults(const ParamSpec& param, const Place& place) {
  Mapping entries;
  for (const std::string& entry : param.enum_) entries.set(entry, true);
  const auto check = [&](const Value& value, const std::string& whose) {
    const std::string fault = value.is_none() ? "" : default_fault(param, entries, value);
    if (!fault.empty()) place.warning("the default " + shown(value) + whose + " " + fault);
  };
  check(param.default_, "");
  for (const auto& [action, value] : param.action_defaults) check(value, " for " + quoted(action));
}

template <class Named>
Mapping names_of(const std::vector<Named>& all) {
  Mapping owners;
  for (const Named& named : all) owners.set(named.name, named.name);
  return owners;
}

// `owners` has the owner of every name so far. A repeated synonym was told when it was read.
void check_synonyms_of(const std::string& name, const std::vector<std::string>& synonyms,
                       Mapping& owners, const Place& place) {
  for (const std::string& synonym : synonyms) {
    const Value* owner = owners.find(synonym);
    if (owner == nullptr) {
      owners.set(synonym, name);
    } else if (owner->get_text() != name || synonym == name) {
      place.warning("the synonym " + quoted(synonym) + " of " + quoted(name) + " is taken by " +
                    quoted(owner->get_text()));
    }
  }
}

}  // namespace

void check_enum(const std::vector<std::string>& entries, const Place& place) {
  Mapping first_by_lower_case;
  for (const std::string& entry : entries) {
    if (trimmed(entry).size() != entry.size()) {
      place.warning("the enum entry " + quoted(entry) + " has white space around it");
    }
    const std::string key = lower_cased(entry);
    if (const Value* first = first_by_lower_case.find(key)) {
      place.warning("the enum entries " + quoted(first->get_text()) + " and " + quoted(entry) +
                    " differ at most in letter case");
    } else {
      first_by_lower_case.set(key, entry);
    }
  }
}

void check_param(const ParamSpec& param, const Place& place) {
  check_enum(param.enum_, place);
  if (param.type.empty()) return;
  if (param.type != "array") check_scalar_enum(param, place);
  check_bounds(param, place);
  check_defaults(param, place);
}

void check_synonyms(const std::vector<ParamSpec>& params, const Place& tool) {
  Mapping owners = names_of(params);
  for (const ParamSpec& param : params) {
    const Place place = tool.at(param.name);
    for (const std::string& synonym : param.synonyms) {
      if (!is_among(reserved_names, synonym)) continue;
      place.warning("the synonym " + quoted(synonym) + " is never read: requests use it otherwise");
    }
    check_synonyms_of(param.name, param.synonyms, owners, place);
  }
}

void check_synonyms(const std::vector<ActionSpec>& actions, const Place& tool) {
  Mapping owners = names_of(actions);
  for (const ActionSpec& action : actions) {
    check_synonyms_of(action.name, action.synonyms, owners, tool.at(ACTION_PARAM));
  }
}

}  // namespace tool_binding
