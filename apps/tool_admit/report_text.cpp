#include <algorithm>
#include <string>

#include "printable.hpp"
#include "report.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding::tool_admit {
namespace {

// Names come from the log: what is not printable text is shown as an escape.
std::string shown(std::string_view name) { return display_form(Value(name)); }

std::string padded(Count count) {
  const std::string digits = std::to_string(count);
  return std::string(digits.size() < 10 ? 10 - digits.size() : 0, ' ') + digits;
}

void add_count(std::string& out, Count count, std::string_view what) {
  out += padded(count) + "  " + std::string(what) + '\n';
}

template <std::size_t size>
void add_kinds(std::string& out, const std::array<std::string_view, size>& names,
               const std::array<Count, size>& counts) {
  for (std::size_t i = 0; i < size; ++i) {
    if (counts[i] == 0) continue;
    std::string words = "  " + std::string(names[i]);
    std::replace(words.begin(), words.end(), '_', ' ');
    add_count(out, counts[i], words);
  }
}

void add_outcomes(std::string& out, const Outcomes& outcomes, const ChangeCounts& changes,
                  const ProblemCounts& problems) {
  add_count(out, outcomes.requests, "requests");
  add_count(out, outcomes.as_sent, "admitted as sent");
  add_count(out, outcomes.changed, "admitted with changes");
  add_kinds(out, change_names, changes);
  add_count(out, outcomes.refused, "refused");
  add_kinds(out, problem_names, problems);
}

std::string near_text(const std::optional<std::string>& nearest) {
  return nearest ? ", near to " + shown(*nearest) : "";
}

void add_others(std::string& out, Count others) {
  if (others > 0) add_count(out, others, "more, of names beyond the cap, counted together");
}

void add_unknown_names(std::string& out, const ToolCounts& tool) {
  if (tool.unknown_names.entries().empty() && tool.unknown_names.others() == 0) return;
  out += "    unknown names\n";
  for (const auto& [name, unknown] : tool.unknown_names.sorted()) {
    std::string line = shown(name) + near_text(unknown->nearest);
    if (unknown->nearest) {
      line += ", which was missing " + std::to_string(unknown->where_missing()) + " times";
    }
    add_count(out, unknown->count, line);
  }
  add_others(out, tool.unknown_names.others());
}

void add_param(std::string& out, const std::string& name, const ParamCounts& counts) {
  const std::string param = shown(name);
  std::string range = " (--values shows how far)";
  if (counts.beyond) {
    range = " (from " + display_form(whole_or_float(counts.beyond->low)) + " to " +
            display_form(whole_or_float(counts.beyond->high)) + " were sent)";
  }
  if (counts.below > 0) add_count(out, counts.below, param + " below the minimum" + range);
  if (counts.above > 0) add_count(out, counts.above, param + " above the maximum" + range);
  if (counts.not_in_enumeration > 0) {
    add_count(out, counts.not_in_enumeration, param + " not in the enumeration");
  }
  for (const auto& [value, counted] : counts.values.sorted()) {
    add_count(out, counted->count, "  " + std::string(value));
  }
  add_others(out, counts.values.others());
  if (counts.blank_only > 0) {
    add_count(out, counts.blank_only, "kept out only by a blank " + param);
  }
}

void add_unused(std::string& out, const ToolCounts& tool) {
  std::string names;
  for (const std::string_view name : tool.unused()) {
    names += (names.empty() ? "" : ", ") + shown(name);
  }
  if (!names.empty()) out += "    never sent: " + names + '\n';
}

void add_tool(std::string& out, const std::string& name, const ToolCounts& tool) {
  out += '\n' + shown(name) + '\n';
  add_outcomes(out, tool, tool.changes, tool.problems);
  add_unknown_names(out, tool);
  for (const auto& [param, counts] : tool.params) add_param(out, param, counts);
  add_unused(out, tool);
}

void add_tools(std::string& out, const Report& report) {
  std::string never;
  for (const auto& [name, tool] : report.tools) {
    if (tool.requests > 0) {
      add_tool(out, name, tool);
    } else {
      never += (never.empty() ? "" : ", ") + shown(name);
    }
  }
  if (!never.empty()) out += "\nnever called: " + never + '\n';
}

void add_unknown_tools(std::string& out, const Report& report) {
  if (report.unknown_tool == 0) return;
  out += "\nunknown tools\n";
  for (const auto& [name, unknown] : report.unknown_tools.sorted()) {
    add_count(out, unknown->count, shown(name) + near_text(unknown->nearest));
  }
  add_others(out, report.unknown_tools.others());
}

void add_proposals(std::string& out, const Report& report,
                   const std::optional<Measured>& measured) {
  const std::vector<Proposal> all = proposals(report);
  if (!all.empty()) out += "\nproposals\n";
  for (const Proposal& proposal : all) {
    out += "  " + shown(proposal.tool) + ", " + shown(proposal.parameter) + ": " +
           proposal.keyword + ' ' + printable(json_text(proposal.value)) + "\n      " +
           proposal.evidence + '\n';
  }
  if (measured) {
    out += "\nrefused " + std::to_string(measured->refused) + " of " +
           std::to_string(measured->requests) + ", with the proposals " +
           std::to_string(measured->refused_with_proposals) + '\n';
  }
}

}  // namespace

std::string report_text(const Report& report, const std::optional<Measured>& measured) {
  std::string out;
  add_count(out, report.lines, "lines");
  if (report.skipped > 0) add_count(out, report.skipped, "skipped, since they are not calls");
  add_outcomes(out, report, report.changes(), report.problems());
  if (report.unknown_tool > 0) add_count(out, report.unknown_tool, "  unknown tool");
  if (report.request_errors > 0) add_count(out, report.request_errors, "  no request");
  add_tools(out, report);
  add_unknown_tools(out, report);
  add_proposals(out, report, measured);
  return out;
}

}  // namespace tool_binding::tool_admit
