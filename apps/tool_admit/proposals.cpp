#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "counting.hpp"
#include "printable.hpp"
#include "report.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::tool_admit {
namespace {

bool can_be_declared(const ToolCounts& tool, std::string_view name) {
  const ToolDefinition with_name{.name = "t", .params = {{.name = std::string(name)}}};
  if (!check_tool(with_name).errors.empty()) return false;
  return std::none_of(tool.params.begin(), tool.params.end(), [name](const auto& param) {
    const auto& synonyms = param.second.synonyms;
    return param.first == name ||
           std::find(synonyms.begin(), synonyms.end(), name) != synonyms.end();
  });
}

// A name means a parameter if nearly all requests with it lacked that parameter, which would have
// taken the value.
bool is_meant(const UnknownName& unknown, const Candidate& candidate) {
  return candidate.fits * 10 >= unknown.count * 9;
}

// The nearest parameter, else the only one that it can mean; null if it may mean several.
const std::string* meaning_of(const UnknownName& unknown) {
  const std::string* meaning = nullptr;
  int number = 0;
  for (const auto& [param, candidate] : unknown.candidates) {
    if (!is_meant(unknown, candidate)) continue;
    if (unknown.nearest == param) return &param;
    meaning = &param;
    ++number;
  }
  return number == 1 ? meaning : nullptr;
}

std::string times(Count count, std::string_view one, std::string_view several) {
  return std::to_string(count) + ' ' + std::string(count == 1 ? one : several);
}

void propose_synonyms(const std::string& name, const ToolCounts& tool,
                      std::vector<Proposal>& proposals) {
  for (const auto& [sent, unknown] : tool.unknown_names.entries()) {
    const std::string* meaning = meaning_of(unknown);
    if (meaning == nullptr || !can_be_declared(tool, sent)) continue;
    const Candidate& candidate = unknown.candidates.at(*meaning);
    proposals.push_back({name, *meaning, "x-synonyms", sent, unknown.count,
                         times(unknown.count, "request", "requests") + " sent '" + printable(sent) +
                             "', " + std::to_string(candidate.missing) + " of them without '" +
                             printable(*meaning) + "', which would have taken " +
                             std::to_string(candidate.fits) + " of the values"});
  }
}

void propose_bounds(const std::string& name, const std::string& param, const ParamCounts& counts,
                    std::vector<Proposal>& proposals) {
  if (!counts.beyond) return;
  const auto propose = [&](std::string_view keyword, Count count, double value,
                           std::string_view side) {
    if (count == 0 || std::abs(value) == std::numeric_limits<double>::max()) return;
    Value widened = whole_or_float(value);
    std::string evidence = times(count, "value was ", "values were ") + std::string(side) +
                           " the " + std::string(keyword) + ", as far as " + display_form(widened);
    proposals.push_back(
        {name, param, std::string(keyword), std::move(widened), count, std::move(evidence)});
  };
  propose("minimum", counts.below, counts.beyond->low, "below");
  propose("maximum", counts.above, counts.beyond->high, "above");
}

void propose_blank(const std::string& name, const std::string& param, const ParamCounts& counts,
                   std::vector<Proposal>& proposals) {
  if (counts.blank_would_do == 0) return;
  proposals.push_back({name, param, "x-blank-is-value", true, counts.blank_would_do,
                       times(counts.blank_would_do, "request was", "requests were") +
                           " refused only for a blank '" + printable(param) + "'"});
}

// Applying them.

List* tools_of(Value& published) {
  if (Mapping* object = published.if_mapping()) {
    Value* tools = object->find("tools");
    return tools != nullptr ? tools->if_list() : nullptr;
  }
  return published.if_list();
}

Mapping* object_at(Mapping& object, std::string_view name) {
  Value* member = object.find(name);
  return member != nullptr ? member->if_mapping() : nullptr;
}

Mapping* property_of(List& tools, const Proposal& proposal) {
  for (Value& item : tools) {
    Mapping* tool = item.if_mapping();
    const Value* name = tool != nullptr ? tool->find("name") : nullptr;
    if (name == nullptr || name->if_text() != proposal.tool) continue;
    Mapping* schema = object_at(*tool, "inputSchema");
    Mapping* properties = schema != nullptr ? object_at(*schema, "properties") : nullptr;
    return properties != nullptr ? object_at(*properties, proposal.parameter) : nullptr;
  }
  return nullptr;
}

// Where the keyword is already, which may be an alternative of a union with null.
Mapping& holder_of(std::string_view keyword, Mapping& property) {
  if (property.contains(keyword)) return property;
  for (const std::string_view of : {"anyOf", "oneOf"}) {
    Value* alternatives = property.find(of);
    if (alternatives == nullptr || !alternatives->is_list()) continue;
    for (Value& alternative : alternatives->get_list()) {
      Mapping* schema = alternative.if_mapping();
      if (schema != nullptr && schema->contains(keyword)) return *schema;
    }
  }
  return property;
}

void apply(Mapping& property, const Proposal& proposal) {
  if (proposal.keyword != "x-synonyms") {
    holder_of(proposal.keyword, property).set(proposal.keyword, proposal.value);
    return;
  }
  Value* synonyms = property.find("x-synonyms");
  if (synonyms == nullptr || !synonyms->is_list()) {
    synonyms = &property.set("x-synonyms", List());
  }
  synonyms->get_list().push_back(proposal.value);
}

}  // namespace

std::vector<Proposal> proposals(const Report& report) {
  std::vector<Proposal> proposals;
  for (const auto& [name, tool] : report.tools) {
    propose_synonyms(name, tool, proposals);
    for (const auto& [param, counts] : tool.params) {
      propose_bounds(name, param, counts, proposals);
      propose_blank(name, param, counts, proposals);
    }
  }
  std::stable_sort(proposals.begin(), proposals.end(),
                   [](const Proposal& left, const Proposal& right) {
                     return std::tie(right.count, left.tool, left.parameter) <
                            std::tie(left.count, right.tool, right.parameter);
                   });
  return proposals;
}

Value with_proposals(Value published, const std::vector<Proposal>& proposals) {
  List* tools = tools_of(published);
  for (const Proposal& proposal : proposals) {
    Mapping* property = tools != nullptr ? property_of(*tools, proposal) : nullptr;
    if (property != nullptr) apply(*property, proposal);
  }
  return published;
}

}  // namespace tool_binding::tool_admit
