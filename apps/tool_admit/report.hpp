#ifndef TOOL_BINDING_TOOL_ADMIT_REPORT_HPP_
#define TOOL_BINDING_TOOL_ADMIT_REPORT_HPP_

// What the requests of a log came to: counts that can be added up, of any parts of a log, in any
// order, to those of the whole.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "tool_binding/value.hpp"

namespace tool_binding::tool_admit {

using Count = std::uint64_t;

// What admission changed of a request that it let through. A request counts once for each kind.
enum class Change { synonym, from_text, clamped, action_synonym, default_action, converted };
inline constexpr std::array<std::string_view, 6> change_names = {
    "synonym", "from_text", "clamped", "action_synonym", "default_action", "converted"};

// What a refusal says is wrong. A request counts once for each kind.
enum class Problem { unknown_name, wrong_type, enumeration, missing, unknown_action };
inline constexpr std::array<std::string_view, 5> problem_names = {
    "unknown_name", "wrong_type", "enumeration", "missing", "unknown_action"};

using ChangeCounts = std::array<Count, change_names.size()>;
using ProblemCounts = std::array<Count, problem_names.size()>;

struct Outcomes {
  Count requests = 0;
  Count as_sent = 0;
  Count changed = 0;
  Count refused = 0;

  void add(const Outcomes& other);
  friend bool operator==(const Outcomes&, const Outcomes&) = default;
};

// Entries by name, counted exactly up to a number of names; what else comes is summed.
//
// Which names are kept depends on the names alone: those that are near to a declared one first,
// then the shorter ones, then by their bytes. So a name that is kept in the end was kept from its
// first occurrence on, in each part of the log too: its count is exact, and parts add up to the
// whole in any order. Entry: a `count`, `is_near()` and `add(const Entry&)`.
template <class Entry>
class Kept {
 public:
  static constexpr std::size_t longest_name = 200;  // in bytes

  // Never more than before. Parts that add up to the whole have the same limit.
  void limit(std::size_t names) {
    limit_ = std::min(limit_, names);
    while (entries_.size() > limit_) drop_last();
  }
  void add(std::string_view name, const Entry& entry) {
    const auto found = entries_.find(name);
    if (found != entries_.end()) return found->second.add(entry);
    if (name.size() > longest_name) {
      others_ += entry.count;
      return;
    }
    const auto place = entries_.emplace(name, entry).first;
    ranks_.insert(rank(*place));
    limit(limit_);
  }
  void add(const Kept& other) {
    limit(other.limit_);
    for (const auto& [name, entry] : other.entries_) add(name, entry);
    others_ += other.others_;
  }
  void add_others(Count count) { others_ += count; }

  // Null for a name that is not there, or not kept.
  [[nodiscard]] Entry* find(std::string_view name) {
    const auto found = entries_.find(name);
    return found != entries_.end() ? &found->second : nullptr;
  }
  [[nodiscard]] const std::map<std::string, Entry, std::less<>>& entries() const {
    return entries_;
  }
  // How often names came that are not among the entries.
  [[nodiscard]] Count others() const noexcept { return others_; }

  // By count, the greatest first, then by name.
  [[nodiscard]] std::vector<std::pair<std::string_view, const Entry*>> sorted() const {
    std::map<std::pair<Count, std::string_view>, const Entry*> by_count;
    for (const auto& [name, entry] : entries_) by_count[{~entry.count, name}] = &entry;
    std::vector<std::pair<std::string_view, const Entry*>> sorted;
    for (const auto& [key, entry] : by_count) sorted.emplace_back(key.second, entry);
    return sorted;
  }

 private:
  using Rank = std::tuple<bool, std::size_t, std::string_view>;
  static Rank rank(const std::pair<const std::string, Entry>& named) {
    return {!named.second.is_near(), named.first.size(), named.first};
  }
  void drop_last() {
    const auto last = entries_.find(std::get<std::string_view>(*ranks_.rbegin()));
    others_ += last->second.count;
    ranks_.erase(std::prev(ranks_.end()));
    entries_.erase(last);
  }

  std::map<std::string, Entry, std::less<>> entries_;
  std::set<Rank> ranks_;
  std::size_t limit_ = 1000;
  Count others_ = 0;
};

struct CountOnly {
  Count count = 0;

  [[nodiscard]] static bool is_near() noexcept { return false; }
  void add(const CountOnly& other) noexcept { count += other.count; }
};

struct UnknownTool {
  Count count = 0;
  std::optional<std::string> nearest = {};

  [[nodiscard]] bool is_near() const noexcept { return nearest.has_value(); }
  void add(const UnknownTool& other) noexcept { count += other.count; }
};

// Of the requests with an unknown name, those that did not give a certain parameter, and of these
// those whose value the parameter would have taken.
struct Candidate {
  Count missing = 0;
  Count fits = 0;
};

struct UnknownName {
  Count count = 0;
  std::optional<std::string> nearest = {};
  // By parameter: the nearest, and those that the request needed.
  std::map<std::string, Candidate, std::less<>> candidates = {};

  [[nodiscard]] bool is_near() const noexcept { return nearest.has_value(); }
  [[nodiscard]] Count where_missing() const;
  void add(const UnknownName& other);
};

// An integer for a whole number, as far as floats are exact; otherwise the float.
[[nodiscard]] Value whole_or_float(double number);

struct Range {
  double low;
  double high;
};

struct ParamCounts {
  Count sent = 0;
  Count blank_only = 0;      // requests that nothing but blanks, this parameter's too, kept out
  Count blank_would_do = 0;  // of those, where the blanks would have been taken as values
  Count below = 0;           // brought to the minimum
  Count above = 0;           // brought to the maximum
  Count not_in_enumeration = 0;
  // Where values are reported: those beyond the bounds, and those not in the enumeration.
  std::optional<Range> beyond = {};
  Kept<CountOnly> values = {};
  std::vector<std::string> synonyms = {};  // as declared

  // What no float can hold counts as the greatest, or the least, of them.
  void include(double value);
  void add(const ParamCounts& other);
};

struct ToolCounts : Outcomes {
  ChangeCounts changes = {};
  ProblemCounts problems = {};
  Kept<UnknownName> unknown_names = {};
  std::vector<std::pair<std::string, ParamCounts>> params = {};  // as declared

  // With the parameters declared: the share of one of `tools` tools in the 100,000 names, and as
  // many values, that a report keeps in all, some 60 MB each for names of the greatest length;
  // never less than one.
  void limit_names(std::size_t tools);
  [[nodiscard]] ParamCounts& param(std::string_view name);
  // The parameters that were never sent, by name.
  [[nodiscard]] std::vector<std::string_view> unused() const;
  void add(const ToolCounts& other);
};

struct Report : Outcomes {
  Count lines = 0;    // that are not blank
  Count skipped = 0;  // that are not calls
  Count request_errors = 0;
  Count unknown_tool = 0;
  Kept<UnknownTool> unknown_tools = {};
  std::map<std::string, ToolCounts, std::less<>> tools = {};

  void add(const Report& other);
  [[nodiscard]] ChangeCounts changes() const;
  [[nodiscard]] ProblemCounts problems() const;
};

// One change of a tools file that the counts speak for.
struct Proposal {
  std::string tool;
  std::string parameter;
  std::string keyword;   // of the parameter's property
  Value value;           // a further synonym, a bound, true
  Count count;           // of the requests that speak for it
  std::string evidence;  // printable, whatever the log holds
};

// By count, then by tool and parameter. None gives a name to two parameters of a tool.
[[nodiscard]] std::vector<Proposal> proposals(const Report& report);

// Published tools with the proposals; whatever else is in them stays.
[[nodiscard]] Value with_proposals(Value published, const std::vector<Proposal>& proposals);

// What the log would have come to with all of the proposals.
struct Measured {
  Count requests;
  Count refused;
  Count refused_with_proposals;
};

// The report as an object, and back, which leaves the proposals and what was measured out. Throws
// RequestError for what is not a report.
[[nodiscard]] Mapping report_object(const Report& report, const std::optional<Measured>& measured);
[[nodiscard]] Report read_report(const Value& object);

// As pages: for a terminal, and in one file of HTML.
[[nodiscard]] std::string report_text(const Report& report,
                                      const std::optional<Measured>& measured);
[[nodiscard]] std::string report_html(const Report& report,
                                      const std::optional<Measured>& measured);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_REPORT_HPP_
