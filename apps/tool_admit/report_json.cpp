#include <optional>
#include <string>
#include <utility>

#include "report.hpp"
#include "requests.hpp"

namespace tool_binding::tool_admit {
namespace {

// A count is an integer of JSON; what a log can hold fits.
Value number(Count count) { return static_cast<std::int64_t>(count); }

Value text_or_none(const std::optional<std::string>& text) { return text ? Value(*text) : Value(); }

// Members by name and place in a record: written and read by one table.

template <class Record>
struct CountMember {
  std::string_view name;
  Count Record::*place;
};

constexpr CountMember<Outcomes> outcome_members[] = {
    {"requests", &Outcomes::requests},
    {"admitted_as_sent", &Outcomes::as_sent},
    {"admitted_with_changes", &Outcomes::changed},
    {"refused", &Outcomes::refused},
};
constexpr CountMember<Report> report_members[] = {
    {"lines", &Report::lines},
    {"skipped", &Report::skipped},
    {"request_errors", &Report::request_errors},
    {"unknown_tool", &Report::unknown_tool},
};
constexpr CountMember<ParamCounts> param_members[] = {
    {"sent", &ParamCounts::sent},
    {"blank_only", &ParamCounts::blank_only},
    {"blank_would_do", &ParamCounts::blank_would_do},
    {"below_minimum", &ParamCounts::below},
    {"above_maximum", &ParamCounts::above},
    {"not_in_enumeration", &ParamCounts::not_in_enumeration},
};

template <class Members, class Record>
void write_counts(Mapping& object, const Members& members, const Record& record) {
  for (const auto& [name, place] : members) object.set(name, number(record.*place));
}

template <std::size_t size>
Mapping by_name(const std::array<std::string_view, size>& names,
                const std::array<Count, size>& counts) {
  Mapping object;
  for (std::size_t i = 0; i < size; ++i) object.set(names[i], number(counts[i]));
  return object;
}

Mapping unknown_tool(std::string_view name, const UnknownTool& tool) {
  return {{"name", name}, {"count", number(tool.count)}, {"nearest", text_or_none(tool.nearest)}};
}

Mapping unknown_name(std::string_view name, const UnknownName& unknown) {
  Mapping candidates;
  for (const auto& [param, candidate] : unknown.candidates) {
    candidates.set(
        param, Mapping{{"missing", number(candidate.missing)}, {"fits", number(candidate.fits)}});
  }
  return {{"name", name},
          {"count", number(unknown.count)},
          {"nearest", text_or_none(unknown.nearest)},
          {"where_missing", number(unknown.where_missing())},
          {"candidates", std::move(candidates)}};
}

Mapping refused_value(std::string_view value, const CountOnly& counted) {
  return {{"value", value}, {"count", number(counted.count)}};
}

template <class Entry>
List sorted_list(const Kept<Entry>& kept, Mapping (*write)(std::string_view, const Entry&)) {
  List list;
  for (const auto& [name, entry] : kept.sorted()) list.push_back(write(name, *entry));
  return list;
}

Mapping param_object(const ParamCounts& counts) {
  Mapping object;
  write_counts(object, param_members, counts);
  if (counts.beyond) {
    object.set("beyond_bounds",
               List{whole_or_float(counts.beyond->low), whole_or_float(counts.beyond->high)});
  }
  if (!counts.values.entries().empty() || counts.values.others() > 0) {
    object.set("refused_values", sorted_list(counts.values, refused_value));
    object.set("refused_values_beyond_cap", number(counts.values.others()));
  }
  object.set("synonyms", List(counts.synonyms.begin(), counts.synonyms.end()));
  return object;
}

Mapping tool_object(const ToolCounts& tool) {
  Mapping object;
  write_counts(object, outcome_members, static_cast<const Outcomes&>(tool));
  object.set("changes", by_name(change_names, tool.changes));
  object.set("problems", by_name(problem_names, tool.problems));
  object.set("unknown_names", sorted_list(tool.unknown_names, unknown_name));
  object.set("unknown_names_beyond_cap", number(tool.unknown_names.others()));
  Mapping params;
  for (const auto& [name, counts] : tool.params) params.set(name, param_object(counts));
  const std::vector<std::string_view> unused = tool.unused();
  object.set("unused", List(unused.begin(), unused.end()));
  object.set("parameters", std::move(params));
  return object;
}

List proposal_list(const Report& report) {
  List list;
  for (Proposal& proposal : proposals(report)) {
    list.push_back(Mapping{{"tool", proposal.tool},
                           {"parameter", proposal.parameter},
                           {"keyword", proposal.keyword},
                           {"value", std::move(proposal.value)},
                           {"count", number(proposal.count)},
                           {"evidence", proposal.evidence}});
  }
  return list;
}

// Reading. What is wrong is found where it is looked for; the message names the member.

[[noreturn]] void no_report(std::string_view member) {
  throw RequestError("no report: its \"" + std::string(member) +
                     "\" is missing or of another kind");
}

const Value& member(const Mapping& object, std::string_view name) {
  const Value* value = object.find(name);
  if (value == nullptr) no_report(name);
  return *value;
}

const Mapping& object_member(const Mapping& object, std::string_view name) {
  const Mapping* found = member(object, name).if_mapping();
  if (found == nullptr) no_report(name);
  return *found;
}

const List& list_member(const Mapping& object, std::string_view name) {
  const List* found = member(object, name).if_list();
  if (found == nullptr) no_report(name);
  return *found;
}

Count count_member(const Mapping& object, std::string_view name) {
  const auto count = member(object, name).if_int64();
  if (!count || *count < 0) no_report(name);
  return static_cast<Count>(*count);
}

double double_of(const Value& value, std::string_view name) {
  if (const auto whole = value.if_int64()) return static_cast<double>(*whole);
  const auto number = value.if_float();
  if (!number) no_report(name);
  return *number;
}

std::optional<std::string> nearest_member(const Mapping& object) {
  const auto text = member(object, "nearest").if_text();
  return text ? std::optional(std::string(*text)) : std::nullopt;
}

template <class Members, class Record>
void read_counts(const Mapping& object, const Members& members, Record& record) {
  for (const auto& [name, place] : members) record.*place = count_member(object, name);
}

template <std::size_t size>
std::array<Count, size> read_by_name(const Mapping& object,
                                     const std::array<std::string_view, size>& names) {
  std::array<Count, size> counts = {};
  for (std::size_t i = 0; i < size; ++i) counts[i] = count_member(object, names[i]);
  return counts;
}

template <class Entry, class Read>
void read_kept(const Mapping& object, std::string_view list, std::string_view name,
               Kept<Entry>& kept, const Read& read) {
  for (const Value& item : list_member(object, list)) {
    const Mapping* entry = item.if_mapping();
    const auto text = entry != nullptr ? member(*entry, name).if_text() : std::nullopt;
    if (!text) no_report(list);
    kept.add(*text, read(*entry));
  }
  kept.add_others(count_member(object, std::string(list) + "_beyond_cap"));
}

UnknownTool read_unknown_tool(const Mapping& entry) {
  return {count_member(entry, "count"), nearest_member(entry)};
}

UnknownName read_unknown_name(const Mapping& entry) {
  UnknownName unknown{count_member(entry, "count"), nearest_member(entry)};
  for (const auto& candidate : object_member(entry, "candidates")) {
    const Mapping* counts = candidate.value.if_mapping();
    if (counts == nullptr) no_report("candidates");
    unknown.candidates[std::string(candidate.name())] = {count_member(*counts, "missing"),
                                                         count_member(*counts, "fits")};
  }
  return unknown;
}

ParamCounts read_param(const Mapping& object) {
  ParamCounts counts;
  read_counts(object, param_members, counts);
  if (object.contains("beyond_bounds")) {
    for (const Value& value : list_member(object, "beyond_bounds")) {
      counts.include(double_of(value, "beyond_bounds"));
    }
  }
  if (object.contains("refused_values")) {
    read_kept(object, "refused_values", "value", counts.values,
              [](const Mapping& entry) { return CountOnly{count_member(entry, "count")}; });
  }
  for (const Value& synonym : list_member(object, "synonyms")) {
    if (const auto text = synonym.if_text()) counts.synonyms.emplace_back(*text);
  }
  return counts;
}

ToolCounts read_tool(const Mapping& object) {
  ToolCounts tool;
  read_counts(object, outcome_members, static_cast<Outcomes&>(tool));
  tool.changes = read_by_name(object_member(object, "changes"), change_names);
  tool.problems = read_by_name(object_member(object, "problems"), problem_names);
  read_kept(object, "unknown_names", "name", tool.unknown_names, read_unknown_name);
  for (const auto& param : object_member(object, "parameters")) {
    if (!param.value.is_mapping()) no_report("parameters");
    tool.params.emplace_back(param.name(), read_param(param.value.get_mapping()));
  }
  return tool;
}

}  // namespace

Mapping report_object(const Report& report, const std::optional<Measured>& measured) {
  Mapping object;
  write_counts(object, report_members, report);
  write_counts(object, outcome_members, static_cast<const Outcomes&>(report));
  object.set("changes", by_name(change_names, report.changes()));
  object.set("problems", by_name(problem_names, report.problems()));
  object.set("unknown_tools", sorted_list(report.unknown_tools, unknown_tool));
  object.set("unknown_tools_beyond_cap", number(report.unknown_tools.others()));
  Mapping tools;
  for (const auto& [name, counts] : report.tools) tools.set(name, tool_object(counts));
  object.set("tools", std::move(tools));
  object.set("proposals", proposal_list(report));
  if (measured) {
    object.set("measured",
               Mapping{{"requests", number(measured->requests)},
                       {"refused", number(measured->refused)},
                       {"refused_with_proposals", number(measured->refused_with_proposals)}});
  }
  return object;
}

Report read_report(const Value& value) {
  const Mapping* object = value.if_mapping();
  if (object == nullptr) throw RequestError("not a report: it is not an object");
  Report report;
  read_counts(*object, report_members, report);
  read_counts(*object, outcome_members, static_cast<Outcomes&>(report));
  read_kept(*object, "unknown_tools", "name", report.unknown_tools, read_unknown_tool);
  for (const auto& tool : object_member(*object, "tools")) {
    if (!tool.value.is_mapping()) no_report("tools");
    report.tools[std::string(tool.name())] = read_tool(tool.value.get_mapping());
  }
  for (auto& [_, tool] : report.tools) tool.limit_names(report.tools.size());
  return report;
}

}  // namespace tool_binding::tool_admit
