#include <algorithm>
#include <string>

#include "printable.hpp"
#include "report.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding::tool_admit {
namespace {

// Nothing of the page is loaded, and nothing on it runs: the policy forbids both, should a name of
// the log ever get past escaping.
constexpr std::string_view head = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; img-src data:">
<meta name="viewport" content="width=device-width, initial-scale=1">
<link rel="icon" href="data:,">
<title>Tool requests</title>
<style>
:root { color-scheme: light dark; --text: #1b1f24; --soft: #57606a; --page: #fff; --line: #d0d7de;
  --sent: #2a6fbb; --changed: #b7791f; --refused: #b4332e; --panel: #f6f8fa; }
@media (prefers-color-scheme: dark) { :root { --text: #e6edf3; --soft: #9aa4af; --page: #0f1318;
  --line: #343c46; --sent: #5b9be0; --changed: #d9a441; --refused: #e5726b; --panel: #171c23; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 64rem; padding: 1.5rem 1rem 4rem; font: 16px/1.5 system-ui, sans-serif;
  color: var(--text); background: var(--page); }
h1 { font-size: 1.6rem; margin: 0 0 1rem; } h2 { font-size: 1.2rem; margin: 2.5rem 0 .5rem; }
h3 { font-size: 1rem; margin: 1.2rem 0 .3rem; }
dl { display: flex; flex-wrap: wrap; gap: .75rem; margin: 0 0 1rem; }
dl div { background: var(--panel); border: 1px solid var(--line); border-radius: .5rem; padding: .5rem .9rem; }
dt { color: var(--soft); font-size: .85rem; } dd { margin: 0; font-size: 1.4rem; font-variant-numeric: tabular-nums; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; padding: .3rem .6rem; border-bottom: 1px solid var(--line); vertical-align: top; }
th { color: var(--soft); font-weight: 600; font-size: .85rem; }
td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
code { font: .9em ui-monospace, monospace; overflow-wrap: anywhere; }
.bar { display: flex; width: 100%; min-width: 8rem; height: .9rem; margin-top: .3rem; border-radius: .2rem;
  overflow: hidden; background: var(--line); print-color-adjust: exact; -webkit-print-color-adjust: exact; }
.bar span { display: block; height: 100%; }
.sent { background: var(--sent); } .changed { background: var(--changed); } .refused { background: var(--refused); }
.key span { display: inline-block; width: .8rem; height: .8rem; border-radius: .2rem; margin: 0 .3rem 0 .2rem;
  vertical-align: -.05rem; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
.key em { font-style: normal; white-space: nowrap; } .key { color: var(--soft); font-size: .9rem; } .soft { color: var(--soft); }
details { border-bottom: 1px solid var(--line); padding: .4rem 0; } summary { cursor: pointer; font-weight: 600; }
ul.tick { list-style: none; padding: 0; } ul.tick li { padding: .5rem 0; border-bottom: 1px solid var(--line); }
ul.tick label { display: flex; gap: .6rem; align-items: baseline; } ul.tick pre { user-select: all;
  background: var(--panel); border: 1px solid var(--line); border-radius: .3rem; padding: .4rem .6rem;
  margin: .3rem 0 0 1.6rem; white-space: pre-wrap; overflow-wrap: anywhere; }
@media print { body { max-width: none; padding: 0; font-size: 11pt; } details, tr, li { break-inside: avoid; } }
</style>
</head>
<body>
<h1>Tool requests</h1>
)";

std::string escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// A name of the log, as messages show it, so that control characters and stray bytes are escapes.
std::string name_of(std::string_view text) {
  const std::string shown = display_form(Value(text));
  return "<code>" + escaped(std::string_view(shown).substr(1, shown.size() - 2)) + "</code>";
}

std::string words(std::string_view name) {
  std::string words(name);
  std::replace(words.begin(), words.end(), '_', ' ');
  return words;
}

std::string cell(Count count) { return "<td class=\"n\">" + std::to_string(count) + "</td>"; }
std::string cell(const std::string& html) { return "<td>" + html + "</td>"; }

// A table with its head; a name that begins with '#' heads a column of numbers.
class Table {
 public:
  Table(std::string& out, std::initializer_list<std::string_view> columns) : out_(out) {
    out_ += "<div class=\"scroll\"><table>\n<thead><tr>";
    for (const std::string_view column : columns) {
      const bool is_number = column.starts_with('#');
      out_ += is_number ? "<th class=\"n\">" : "<th>";
      out_ += column.substr(is_number ? 1 : 0);
      out_ += "</th>";
    }
    out_ += "</tr></thead>\n<tbody>\n";
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() { out_ += "</tbody></table></div>\n"; }

  template <class... Cells>
  void row(const Cells&... cells) {
    out_ += "<tr>";
    ((out_ += cell(cells)), ...);
    out_ += "</tr>\n";
  }

 private:
  std::string& out_;
};

void add_figure(std::string& out, std::string_view name, Count count) {
  out += "<div><dt>" + std::string(name) + "</dt><dd>" + std::to_string(count) + "</dd></div>\n";
}

void add_bar(std::string& out, const Outcomes& outcomes) {
  const auto part = [&](std::string_view name, Count count) {
    if (count == 0) return;
    const Count tenths = count * 1000 / std::max<Count>(outcomes.requests, 1);
    out += "<span class=\"" + std::string(name) +
           "\" style=\"width:" + std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) +
           "%\"></span>";
  };
  out += "<div class=\"bar\" aria-hidden=\"true\">";
  part("sent", outcomes.as_sent);
  part("changed", outcomes.changed);
  part("refused", outcomes.refused);
  out += "</div>";
}

void add_summary(std::string& out, const Report& report, const std::optional<Measured>& measured) {
  out += "<dl>\n";
  add_figure(out, "lines", report.lines);
  add_figure(out, "skipped", report.skipped);
  add_figure(out, "requests", report.requests);
  add_figure(out, "admitted as sent", report.as_sent);
  add_figure(out, "admitted with changes", report.changed);
  add_figure(out, "refused", report.refused);
  if (measured) add_figure(out, "refused with the proposals", measured->refused_with_proposals);
  out += "</dl>\n";
  add_bar(out, report);
  out +=
      "<p class=\"key\"><em><span class=\"sent\"></span>admitted as sent</em> "
      "<em><span class=\"changed\"></span>admitted with changes</em> "
      "<em><span class=\"refused\"></span>refused</em></p>\n";
}

// The tools that were called, the most called first.
std::vector<std::pair<std::string_view, const ToolCounts*>> called(const Report& report) {
  std::vector<std::pair<std::string_view, const ToolCounts*>> tools;
  for (const auto& [name, tool] : report.tools) {
    if (tool.requests > 0) tools.emplace_back(name, &tool);
  }
  std::stable_sort(tools.begin(), tools.end(), [](const auto& left, const auto& right) {
    return left.second->requests > right.second->requests;
  });
  return tools;
}

void add_outcomes(std::string& out, const Report& report) {
  out += "<h2>By tool</h2>\n";
  Table table(out, {"tool", "#requests", "#as sent", "#with changes", "#refused"});
  for (const auto& [name, tool] : called(report)) {
    std::string label = name_of(name);
    add_bar(label, *tool);
    table.row(label, tool->requests, tool->as_sent, tool->changed, tool->refused);
  }
}

// With a heading of `level`.
template <std::size_t size>
void add_kinds(std::string& out, char level, std::string_view title,
               const std::array<std::string_view, size>& names,
               const std::array<Count, size>& counts) {
  if (std::all_of(counts.begin(), counts.end(), [](Count count) { return count == 0; })) return;
  out += std::string("<h") + level + '>' + std::string(title) + "</h" + level + ">\n";
  Table table(out, {"kind", "#requests"});
  for (std::size_t i = 0; i < size; ++i) {
    if (counts[i] > 0) table.row(words(names[i]), counts[i]);
  }
}

void add_refusals(std::string& out, const Report& report) {
  std::array<std::string_view, problem_names.size() + 2> names;
  std::array<Count, problem_names.size() + 2> counts;
  std::copy(problem_names.begin(), problem_names.end(), names.begin());
  const ProblemCounts problems = report.problems();
  std::copy(problems.begin(), problems.end(), counts.begin());
  names[problem_names.size()] = "unknown_tool";
  counts[problem_names.size()] = report.unknown_tool;
  names.back() = "no_request";
  counts.back() = report.request_errors;
  add_kinds(out, '2', "Refusals by kind", names, counts);
}

std::string near_text(const std::optional<std::string>& nearest) {
  return nearest ? name_of(*nearest) : "";
}

void add_others(std::string& out, Count others) {
  if (others == 0) return;
  out += "<p class=\"soft\">" + std::to_string(others) +
         " more, of names beyond the cap, are counted together.</p>\n";
}

void add_unknown_names(std::string& out, const ToolCounts& tool) {
  if (tool.unknown_names.entries().empty()) return add_others(out, tool.unknown_names.others());
  out += "<h3>Unknown names</h3>\n";
  {
    Table table(out, {"name", "#count", "near to", "#where that was missing"});
    for (const auto& [name, unknown] : tool.unknown_names.sorted()) {
      table.row(name_of(name), unknown->count, near_text(unknown->nearest),
                unknown->where_missing());
    }
  }
  add_others(out, tool.unknown_names.others());
}

std::string refused_values(const ParamCounts& counts) {
  std::string html;
  for (const auto& [value, counted] : counts.values.sorted()) {
    html += (html.empty() ? "" : ", ") + ("<code>" + escaped(value) + "</code> ") +
            std::to_string(counted->count);
  }
  return html;
}

void add_params(std::string& out, const ToolCounts& tool) {
  Table table(out, {"parameter", "#sent", "#below minimum", "#above maximum", "#not in enumeration",
                    "#only a blank", "values"});
  for (const auto& [name, counts] : tool.params) {
    std::string values = refused_values(counts);
    if (counts.beyond) {
      values += " beyond bounds: " + display_form(whole_or_float(counts.beyond->low)) + " to " +
                display_form(whole_or_float(counts.beyond->high));
    }
    table.row(name_of(name), counts.sent, counts.below, counts.above, counts.not_in_enumeration,
              counts.blank_only, values);
  }
}

void add_unused(std::string& out, const ToolCounts& tool) {
  std::string names;
  for (const std::string_view name : tool.unused()) {
    names += (names.empty() ? "" : ", ") + name_of(name);
  }
  if (!names.empty()) out += "<p>Never sent: " + names + "</p>\n";
}

void add_tools(std::string& out, const Report& report) {
  out += "<h2>Tool by tool</h2>\n";
  std::string never;
  for (const auto& [name, tool] : called(report)) {
    out += "<details open><summary>" + name_of(name) + "</summary>\n";
    add_kinds(out, '3', "Refusals by kind", problem_names, tool->problems);
    add_kinds(out, '3', "Changes by kind", change_names, tool->changes);
    add_unknown_names(out, *tool);
    out += "<h3>Parameters</h3>\n";
    add_params(out, *tool);
    add_unused(out, *tool);
    out += "</details>\n";
  }
  for (const auto& [name, tool] : report.tools) {
    if (tool.requests == 0) never += (never.empty() ? "" : ", ") + name_of(name);
  }
  if (!never.empty()) out += "<p>Never called: " + never + "</p>\n";
}

void add_unknown_tools(std::string& out, const Report& report) {
  if (report.unknown_tool == 0) return;
  out += "<h2>Unknown tools</h2>\n";
  {
    Table table(out, {"name", "#count", "near to"});
    for (const auto& [name, unknown] : report.unknown_tools.sorted()) {
      table.row(name_of(name), unknown->count, near_text(unknown->nearest));
    }
  }
  add_others(out, report.unknown_tools.others());
}

std::string patch_of(const Proposal& proposal) {
  Value value = proposal.value;
  if (proposal.keyword == "x-synonyms") value = List{std::move(value)};
  return printable(json_text(Mapping{{proposal.keyword, std::move(value)}}));
}

void add_proposals(std::string& out, const Report& report) {
  const std::vector<Proposal> all = proposals(report);
  if (all.empty()) return;
  out += "<h2>Proposals</h2>\n<ul class=\"tick\">\n";
  for (const Proposal& proposal : all) {
    out += "<li><label><input type=\"checkbox\"><span>" + name_of(proposal.tool) + ", " +
           name_of(proposal.parameter) + ": " + escaped(proposal.keyword) + " <code>" +
           escaped(printable(json_text(proposal.value))) + "</code><br><span class=\"soft\">" +
           escaped(proposal.evidence) + "</span></span></label><pre>" +
           escaped(patch_of(proposal)) + "</pre></li>\n";
  }
  out += "</ul>\n";
}

}  // namespace

std::string report_html(const Report& report, const std::optional<Measured>& measured) {
  std::string out(head);
  add_summary(out, report, measured);
  add_refusals(out, report);
  add_kinds(out, '2', "Changes by kind", change_names, report.changes());
  add_outcomes(out, report);
  add_unknown_tools(out, report);
  add_proposals(out, report);
  add_tools(out, report);
  out += "</body>\n</html>\n";
  return out;
}

}  // namespace tool_binding::tool_admit
