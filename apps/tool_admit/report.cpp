#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool_binding::tool_admit {
namespace {

template <std::size_t size>
void add_each(std::array<Count, size>& counts, const std::array<Count, size>& others) {
  for (std::size_t i = 0; i < size; ++i) counts[i] += others[i];
}

}  // namespace

void Outcomes::add(const Outcomes& other) {
  requests += other.requests;
  as_sent += other.as_sent;
  changed += other.changed;
  refused += other.refused;
}

Count UnknownName::where_missing() const {
  const auto found = nearest ? candidates.find(*nearest) : candidates.end();
  return found != candidates.end() ? found->second.missing : 0;
}

void UnknownName::add(const UnknownName& other) {
  count += other.count;
  for (const auto& [name, candidate] : other.candidates) {
    Candidate& own = candidates[name];
    own.missing += candidate.missing;
    own.fits += candidate.fits;
  }
}

Value whole_or_float(double number) {
  constexpr double exact = 9007199254740992.0;  // 2 to the 53rd
  if (std::trunc(number) == number && std::abs(number) <= exact) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

void ParamCounts::include(double value) {
  constexpr double most = std::numeric_limits<double>::max();
  value = std::clamp(value, -most, most);
  if (!beyond) beyond = {value, value};
  beyond->low = std::min(beyond->low, value);
  beyond->high = std::max(beyond->high, value);
}

void ParamCounts::add(const ParamCounts& other) {
  sent += other.sent;
  blank_only += other.blank_only;
  blank_would_do += other.blank_would_do;
  below += other.below;
  above += other.above;
  not_in_enumeration += other.not_in_enumeration;
  if (other.beyond) {
    include(other.beyond->low);
    include(other.beyond->high);
  }
  values.add(other.values);
  if (synonyms.empty()) synonyms = other.synonyms;
}

void ToolCounts::limit_names(std::size_t tools) {
  constexpr std::size_t most_in_all = 100'000;
  const auto share = [](std::size_t of, std::size_t sharers) {
    return std::max<std::size_t>(of / std::max<std::size_t>(sharers, 1), 1);
  };
  const std::size_t most = share(most_in_all, tools);
  unknown_names.limit(most);
  for (auto& [_, counts] : params) counts.values.limit(share(most, params.size()));
}

ParamCounts& ToolCounts::param(std::string_view name) {
  const auto found = std::find_if(params.begin(), params.end(),
                                  [name](const auto& param) { return param.first == name; });
  return found != params.end() ? found->second : params.emplace_back(name, ParamCounts()).second;
}

std::vector<std::string_view> ToolCounts::unused() const {
  std::vector<std::string_view> names;
  for (const auto& [name, counts] : params) {
    if (counts.sent == 0) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void ToolCounts::add(const ToolCounts& other) {
  Outcomes::add(other);
  add_each(changes, other.changes);
  add_each(problems, other.problems);
  unknown_names.add(other.unknown_names);
  for (const auto& [name, counts] : other.params) param(name).add(counts);
}

void Report::add(const Report& other) {
  Outcomes::add(other);
  lines += other.lines;
  skipped += other.skipped;
  request_errors += other.request_errors;
  unknown_tool += other.unknown_tool;
  unknown_tools.add(other.unknown_tools);
  for (const auto& [name, counts] : other.tools) tools[name].add(counts);
}

ChangeCounts Report::changes() const {
  ChangeCounts sum = {};
  for (const auto& [_, tool] : tools) add_each(sum, tool.changes);
  return sum;
}

ProblemCounts Report::problems() const {
  ProblemCounts sum = {};
  for (const auto& [_, tool] : tools) add_each(sum, tool.problems);
  return sum;
}

}  // namespace tool_binding::tool_admit
