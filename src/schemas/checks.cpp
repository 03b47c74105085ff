#include <algorithm>
#include <cmath>
#include <compare>
#include <limits>
#include <map>
#include <new>
#include <set>

#include "registry/tool_index.hpp"
#include "schemas/schemas_private.hpp"
#include "text/lines.hpp"
#include "text/lower_case.hpp"
#include "text/trim.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

using Names = std::set<std::string_view>;

bool is_number_type(std::string_view type) { return type == "integer" || type == "number"; }

bool is_finite_number(const Value& value) noexcept {
  return value.is_integer() || (value.is_float() && std::isfinite(value.get_float()));
}

// Enumerations.

// Whether some value of the type is matched with the entry: it is compared with the text that the
// value reads as, stripped and in lower case.
bool can_be_matched(const std::string& entry, std::string_view type) {
  if (trimmed(entry) != entry) return false;
  const std::string lower = lower_cased(entry);
  const auto is_shown_as_it = [&lower](const Value& value) {
    return lower_cased(display_form(value)) == lower;
  };
  if (type == "boolean") return lower == "true" || lower == "false";
  if (type == "integer") {
    const auto integer = read_integer(entry);
    return integer && is_shown_as_it(*integer);
  }
  if (type != "number") return true;
  const auto number = read_float(entry);
  return number && is_shown_as_it(*number);
}

// What requests make of an entry that is doubtful; an action is found by its exact name first.
struct EntryDoubts {
  std::string_view white_space;
  std::string_view comma;
  std::string_view case_alone;
};
constexpr EntryDoubts of_values = {"no request matches it",
                                   "refusals, which list the entries, show two",
                                   "requests get the first"};
constexpr EntryDoubts of_items = {of_values.white_space, "comma-separated text divides it",
                                  of_values.case_alone};
constexpr EntryDoubts of_actions = {"only a request with the same white space names it",
                                    of_values.comma, "a request in any other case gets the first"};

void check_entry(const std::string& entry, const EntryDoubts& doubts, const Place& place) {
  const auto warn = [&](std::string_view what, std::string_view doubt) {
    place.warning(
        line_of({"the enum entry '", entry, "' has ", what, ", so ", doubt, ": write it without"}));
  };
  if (trimmed(entry) != entry) warn("white space around it", doubts.white_space);
  if (entry.find(',') != entry.npos) warn("a comma in it", doubts.comma);
}

void check_enum(const std::vector<std::string>& entries, const EntryDoubts& doubts,
                const Place& place) {
  std::map<std::string, std::string_view> first_by_lower_case;
  for (const std::string& entry : entries) {
    check_entry(entry, doubts, place);
    const auto [first, is_new] = first_by_lower_case.emplace(lower_cased(entry), entry);
    if (is_new || first->second == entry) continue;
    place.warning(
        line_of({"the enum entries '", first->second, "' and '", entry,
                 "' differ only in letter case, so ", doubts.case_alone, ": keep one of them"}));
  }
}

void check_entries_of_type(const ParamSpec& param, const Place& place) {
  const auto matched = [&param](const std::string& entry) {
    return can_be_matched(entry, param.type);
  };
  const std::vector<std::string>& entries = param.enum_;
  if (entries.empty() || param.type.empty()) return;
  if (std::none_of(entries.begin(), entries.end(), matched)) {
    const bool is_text = param.type == "string" || param.type == "array";
    return place.error("no request can match an entry of its enum: write them " +
                       (is_text
                            ? std::string("without white space around them")
                            : "as values of type " + quoted(param.type) + ", or type 'string'"));
  }
  if (param.type == "array") return;
  if (param.type != "string") {
    place.warning("its enum makes every value text: write the entries as values of type " +
                  quoted(param.type) + ", or type 'string'");
  } else if (!param.blank_is_value &&
             std::find(entries.begin(), entries.end(), "") != entries.end()) {
    place.warning("the enum entry '' counts as left out: 'x-blank-is-value' true keeps it");
  }
}

// Bounds.

void check_bound(const ParamSpec& param, std::string_view which, const Value& bound,
                 const Place& place) {
  const Value largest(std::numeric_limits<double>::max());
  const Value lowest(std::numeric_limits<double>::lowest());
  if (bound.is_none()) return;
  if (!is_finite_number(bound)) return place.must_be(which, "a finite number", bound);
  if (param.custom != nullptr || param.type.empty()) return;
  if (!is_number_type(param.type)) {
    place.warning(quoted(which) + " has no effect on type " + quoted(param.type) +
                  ": leave it out");
  } else if (param.type == "number" &&
             (compare_numbers(bound, lowest) < 0 || compare_numbers(bound, largest) > 0)) {
    place.warning(quoted(which) + " is beyond the range of floats: leave it out");
  }
}

void check_bounds(const ParamSpec& param, const Place& place) {
  const auto& [low, high] = std::tie(param.minimum, param.maximum);
  check_bound(param, "minimum", low, place);
  check_bound(param, "maximum", high, place);
  if (!is_number_type(param.type) || !is_finite_number(low) || !is_finite_number(high)) return;
  if (compare_numbers(low, high) > 0) {
    place.warning("the minimum " + shown(low) + " is above the maximum " + shown(high) +
                  ": exchange them");
  }
}

// Defaults. One reaches handlers as it is written, so it should be what admission would make of it.

std::string entry_fault(const ParamSpec& param, const Value& value) {
  const auto& entries = param.enum_;
  const std::string text = text_form(value);
  if (value.is_text() && std::find(entries.begin(), entries.end(), text) != entries.end())
    return "";
  const auto same = std::find_if(entries.begin(), entries.end(), [&](const std::string& entry) {
    return lower_cased(entry) == lower_cased(trimmed(text));
  });
  if (same == entries.end()) return "must be in the enum: a client that sends it is refused";
  return "must be written " + quoted(*same) + ": a client that sends it gets that";
}

std::string list_fault(const ParamSpec& param, const List& items) {
  for (const Value& item : items) {
    if (!param.enum_.empty() && !entry_fault(param, item).empty()) {
      return "must contain only entries of the enum";
    }
    if (param.items_type == "string" && !item.is_text()) return "must contain only texts";
  }
  return "";
}

std::string number_fault(const ParamSpec& param, const Value& number) {
  const auto is = [&number](const Value& bound, std::partial_ordering side) {
    return is_finite_number(bound) && compare_numbers(number, bound) == side;
  };
  if (is(param.minimum, std::partial_ordering::less)) {
    return "must be within the bounds: a client that sends it gets the minimum";
  }
  return is(param.maximum, std::partial_ordering::greater)
             ? "must be within the bounds: a client that sends it gets the maximum"
             : "";
}

std::string custom_fault(const CustomType& custom, const Value& value) {
  try {
    const std::optional<Value> taken = custom.read(value);
    if (taken && !taken->is_none()) return "";
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
  }
  return "must be " + custom.words + ": a client that sends it is refused";
}

std::string default_fault(const ParamSpec& param, const Value& value) {
  if (param.custom != nullptr) return custom_fault(*param.custom, value);
  if (param.type != "array" && !param.enum_.empty()) return entry_fault(param, value);
  if (!has_type(value, param.type)) {
    return "must be of type " + quoted(param.type) +
           ": handlers get it as it is, a client that sends it is refused or gets another value";
  }
  if (value.is_list()) return list_fault(param, value.get_list());
  if (is_number_type(param.type)) return number_fault(param, value);
  const bool is_dropped = value.is_text() && !param.blank_is_value && is_blank(value.get_text());
  return is_dropped
             ? "is blank, which counts as left out when a client sends it: 'x-blank-is-value' "
               "true keeps it"
             : "";
}

std::string shown_default(const Value& value) {
  if (value.is_list()) return "list";
  return value.is_mapping() ? "object" : display_form(value);
}

void check_defaults(const ParamSpec& param, const Place& place) {
  const auto check = [&](const Value& value, const std::string& whose) {
    if (value.is_none()) return;
    const std::string fault = default_fault(param, value);
    if (!fault.empty()) place.warning("the default " + shown_default(value) + whose + " " + fault);
  };
  check(param.default_, "");
  for (const auto& [action, value] : param.action_defaults) check(value, " for " + quoted(action));
}

// Names.

template <class Named>
void check_names(const std::vector<Named>& all, std::string_view what, const Place& place) {
  Names names;
  for (const Named& named : all) {
    if (is_blank(named.name))
      place.error(line_of({"the name of ", what, " is blank: give it one"}));
    if (names.insert(named.name).second) continue;
    place.error(line_of({"'", named.name, "' is the name of ", what, " already: choose another"}));
  }
}

// Reports a synonym that denotes another, or nothing new, at the place that `place_of` answers.
template <class Named, class PlaceOf>
void check_synonyms(const std::vector<Named>& all, const PlaceOf& place_of) {
  std::map<std::string_view, std::string_view> owners;
  for (const Named& named : all) owners.emplace(named.name, named.name);
  for (const Named& named : all) {
    Names own;
    for (const std::string& synonym : named.synonyms) {
      if (!own.insert(synonym).second) continue;  // repeated
      const auto [owner, is_new] = owners.emplace(synonym, named.name);
      if (is_new) continue;
      place_of(named).warning("the synonym " + quoted(synonym) + " of " + quoted(named.name) +
                              " is taken by " + quoted(owner->second) + ": leave it out");
    }
  }
}

// A name that requests give for something else, so that no parameter gets what they hold.
bool is_never_read(const ToolDefinition& tool, std::string_view name) {
  return name == ACTION_PARAM || (tool.routing && is_among(ROUTING_PARAMS_, name));
}

void check_reserved(const ToolDefinition& tool, const ParamSpec& param, const Place& place) {
  if (param.name == ACTION_PARAM) {
    place.error("is never filled: requests name the tool's action by it, so choose another name");
  } else if (is_never_read(tool, param.name)) {
    place.error(
        "is never filled: requests name their repository by it, so choose another name, or "
        "declare that the tool has no routing");
  }
  for (const std::string& synonym : param.synonyms) {
    if (!is_never_read(tool, synonym)) continue;
    place.warning("the synonym " + quoted(synonym) +
                  " is never read, since requests use it otherwise: leave it out");
  }
}

void check_action_names(const ParamSpec& param, const Names& actions, const Place& place) {
  const auto check = [&](const std::string& action, std::string_view what) {
    if (actions.contains(action)) return;
    place.error(std::string(what) + " " + quoted(action) + ", which is not an action of the tool");
  };
  for (const std::string& action : param.required_for) check(action, "is required for");
  for (const auto& entry : param.action_defaults) check(entry.first, "has a default for");
}

void check_actions(const ToolDefinition& tool, const Place& place) {
  std::vector<std::string> names;
  for (const ActionSpec& action : tool.actions) names.push_back(action.name);
  check_enum(names, of_actions, place);
  check_names(tool.actions, "an action", place);
  check_synonyms(tool.actions, [&place](const ActionSpec&) { return place; });
  const auto& first = tool.default_action;
  if (first && std::find(names.begin(), names.end(), *first) == names.end()) {
    place.error("the default " + quoted(*first) + " must be one of the tool's actions");
  }
}

void check_param(const ParamSpec& param, const Place& place) {
  check_bounds(param, place);
  if (param.custom == nullptr) {
    check_enum(param.enum_, param.type == "array" ? of_items : of_values, place);
    check_entries_of_type(param, place);
  }
  if (param.custom != nullptr || !param.type.empty()) check_defaults(param, place);
}

void check_type(const ParamSpec& param, const Place& place) {
  if (param.custom != nullptr) {
    if (!param.custom->read) place.error("its custom type has no 'read'");
  } else if (std::find(TYPE_NAMES.begin(), TYPE_NAMES.end(), param.type) == TYPE_NAMES.end()) {
    place.error("its type must be integer, number, boolean, string or array, not " +
                quoted(param.type));
  }
}

}  // namespace

void check_definition(const ToolDefinition& tool, bool are_actions_known, const Place& place) {
  Names actions;
  for (const ActionSpec& action : tool.actions) actions.insert(action.name);
  if (are_actions_known) check_actions(tool, place.at(ACTION_PARAM));
  check_names(tool.params, "a parameter", place);
  for (const ParamSpec& param : tool.params) {
    const Place there = place.at(param.name);
    check_reserved(tool, param, there);
    check_param(param, there);
    if (are_actions_known) check_action_names(param, actions, there);
  }
  check_synonyms(tool.params, [&place](const ParamSpec& param) { return place.at(param.name); });
}

ToolProblems check_tool(const ToolDefinition& tool) {
  ToolProblems problems;
  const Place place(problems, tool.name);
  if (is_blank(tool.name)) place.error("the tool's name is blank");
  ToolDefinition readable = tool;
  for (ParamSpec& param : readable.params) {
    const std::size_t errors = problems.errors.size();
    check_type(param, place.at(param.name));
    if (problems.errors.size() == errors) continue;
    param.type = "";  // nothing else can be said of its values
    param.custom = nullptr;
  }
  check_definition(readable, true, place);
  return problems;
}

}  // namespace tool_binding
