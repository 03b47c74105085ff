#include "counting.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

#include "tool_binding/tool_binding.hpp"
#include "tool_binding/utils/nearest_name.hpp"

namespace tool_binding::tool_admit {
namespace {

constexpr std::string_view probe_name = "value";

ToolSpec probe_tool(ParamSpec param) {
  param.name = probe_name;
  param.synonyms.clear();
  param.required = false;
  param.required_for.clear();
  return ToolSpec({.name = "probe", .params = {std::move(param)}, .routing = false});
}

ParamSpec type_alone(ParamSpec param) {
  param.enum_.clear();
  param.minimum = param.maximum = Value();
  return param;
}

// Nothing for a value that is refused, by an error of its own too.
std::optional<NormalizedArguments> admitted(const ToolSpec& spec, const Mapping& arguments) {
  try {
    Admission admission = try_normalize_arguments(spec, arguments);
    if (admission) return *std::move(admission);
  } catch (const std::overflow_error&) {
  } catch (const std::out_of_range&) {
  } catch (const TypeError&) {
  }
  return std::nullopt;
}

Value probe_value(const NormalizedArguments& arguments) {
  const Value* value = arguments.arguments().find(probe_name);
  return value != nullptr ? *value : Value();
}

bool is_number(const Value& value) { return value.is_integer() || value.is_float(); }

double as_double(const Value& number) {
  if (number.is_float()) return number.get_float();
  const Integer integer = number.as_integer();
  if (integer.fits_int64()) return static_cast<double>(integer.int64());
  double nearest = integer.digits().starts_with('-') ? -HUGE_VAL : HUGE_VAL;
  std::from_chars(integer.digits().data(), integer.digits().data() + integer.digits().size(),
                  nearest);
  return nearest;
}

template <std::size_t size>
bool any(const std::array<bool, size>& flags) {
  return std::find(flags.begin(), flags.end(), true) != flags.end();
}

template <std::size_t size>
void count_flags(std::array<Count, size>& counts, const std::array<bool, size>& flags) {
  for (std::size_t i = 0; i < size; ++i) counts[i] += flags[i] ? 1 : 0;
}

}  // namespace

bool is_blank(const Value& value) {
  const auto text = value.if_text();
  if (!text) return value.is_list() && value.get_list().empty();
  static const ToolSpec blank_is_dropped({.name = "blank", .params = {{.name = "value"}}});
  return admitted(blank_is_dropped, {{"value", *text}})->arguments().empty();
}

ParamProbe::ParamProbe(const ParamSpec& param)
    : whole_(probe_tool(param)), type_only_(probe_tool(type_alone(param))) {
  ParamSpec keeping = param;
  keeping.blank_is_value = true;
  takes_blank_ = admitted(probe_tool(std::move(keeping)), {{probe_name, ""}}).has_value();
}

ParamProbe::Reading ParamProbe::read(const Value& sent) const {
  const Mapping arguments{{probe_name, sent}};
  if (const auto whole = admitted(whole_, arguments)) {
    if (whole->notes().empty()) return {Result::taken, probe_value(*whole), {}};
    const auto converted = admitted(type_only_, arguments);
    return {Result::clamped, probe_value(*whole), converted ? probe_value(*converted) : sent};
  }
  const bool has_type = admitted(type_only_, arguments).has_value();
  return {has_type ? Result::not_in_enumeration : Result::wrong_type, {}, {}};
}

// What is known of one request while it is looked through.
struct ToolCounter::Examination {
  explicit Examination(std::size_t params) : state(params) {}

  void change(Change kind) { changes[static_cast<std::size_t>(kind)] = true; }
  void problem(Problem kind) { problems[static_cast<std::size_t>(kind)] = true; }

  struct Param {
    bool is_sent = false;
    bool is_said = false;  // by a value that is no blank text
    bool is_blank = false;
    bool is_given = false;  // there is a value for the handler, which says something
    bool is_taken = false;  // a synonym of it is left out
    bool is_missing = false;
  };

  const Mapping* result = nullptr;  // the admitted arguments; null: refused
  std::vector<Param> state;
  std::array<bool, change_names.size()> changes = {};
  std::array<bool, problem_names.size()> problems = {};
  std::optional<std::string_view> action = {};
  bool is_action_refused = false;
  std::vector<std::pair<std::string_view, const Value*>> unknown = {};
};

ToolCounter::ToolCounter(const ToolSpec& spec, bool keeps_values)
    : spec_(spec), keeps_values_(keeps_values) {
  for (const ParamSpec& param : spec.params()) {
    probes_.emplace_back(param);
    names_.push_back(param.name);
    names_.insert(names_.end(), param.synonyms.begin(), param.synonyms.end());
    counts_.params.emplace_back(param.name, ParamCounts{.synonyms = param.synonyms});
  }
  counts_.limit_names(TOOLS.size());
}

bool ToolCounter::count(const Mapping& arguments) {
  const auto admission = admitted(spec_, arguments);
  Examination state(spec_.params().size());
  state.result = admission ? &admission->arguments() : nullptr;
  for (const auto& entry : arguments) {
    if (!entry.value.is_none()) examine(state, entry.name(), entry.value);
  }
  examine_needs(state);
  for (const auto& [name, value] : state.unknown) count_unknown(state, name, *value);
  ++counts_.requests;
  if (admission) {
    ++(any(state.changes) ? counts_.changed : counts_.as_sent);
    count_flags(counts_.changes, state.changes);
  } else {
    ++counts_.refused;
    count_flags(counts_.problems, state.problems);
    count_blanks(state);
  }
  return admission.has_value();
}

// If nothing is wrong but that parameters are missing, all of which were sent blank.
void ToolCounter::count_blanks(const Examination& state) {
  auto others = state.problems;
  others[static_cast<std::size_t>(Problem::missing)] = false;
  if (any(others)) return;
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < state.state.size(); ++i) {
    if (!state.state[i].is_missing) continue;
    if (!state.state[i].is_blank) return;
    missing.push_back(i);
  }
  const bool would_do = std::all_of(missing.begin(), missing.end(),
                                    [this](std::size_t i) { return probes_[i].takes_blank(); });
  for (const std::size_t i : missing) {
    ++counts_.params[i].second.blank_only;
    if (would_do) ++counts_.params[i].second.blank_would_do;
  }
}

void ToolCounter::examine(Examination& state, std::string_view name, const Value& value) {
  if (name == ACTION_PARAM) return examine_action(state, value);
  if (spec_.routing() && (name == REPO_ROOT_ARGUMENT || name == "repo")) return;
  const ParamSpec* param = spec_.param(name);
  if (param == nullptr) {
    state.problem(Problem::unknown_name);
    state.unknown.emplace_back(name, &value);
    return;
  }
  const auto place = static_cast<std::size_t>(param - spec_.params().data());
  Examination::Param& known = state.state[place];
  if (!known.is_sent) ++counts_.params[place].second.sent;
  known.is_sent = true;
  const bool is_left_out = !param->blank_is_value && is_blank(value);
  known.is_blank = known.is_blank || is_left_out;
  if (is_left_out && value.is_text()) return;
  known.is_said = true;
  const bool is_declared = param->name == name;
  if (!is_declared) {
    state.change(Change::synonym);
    if (known.is_taken) return;
  }
  if (examine_value(state, place, value, is_declared)) known.is_given = !is_left_out;
}

void ToolCounter::examine_action(Examination& state, const Value& value) const {
  if (value.is_text() && is_blank(value)) return;
  const ActionSpec* action = spec_.action(value);
  if (action == nullptr) {
    state.is_action_refused = true;
    return state.problem(Problem::unknown_action);
  }
  state.action = action->name;
  if (value.if_text() != action->name) state.change(Change::action_synonym);
}

bool ToolCounter::examine_value(Examination& state, std::size_t place, const Value& value,
                                bool is_declared) {
  using Result = ParamProbe::Result;
  Examination::Param& known = state.state[place];
  const std::string& name = spec_.params()[place].name;
  const Value* result = state.result != nullptr ? state.result->find(name) : nullptr;
  if (result != nullptr && *result == value) {
    return known.is_taken = true;
  }
  const ParamProbe::Reading reading = probes_[place].read(value);
  if (reading.result == Result::wrong_type || reading.result == Result::not_in_enumeration) {
    known.is_taken = known.is_taken || is_declared;
    if (reading.result == Result::wrong_type) {
      state.problem(Problem::wrong_type);
      return false;
    }
    state.problem(Problem::enumeration);
    ParamCounts& counts = counts_.params[place].second;
    ++counts.not_in_enumeration;
    if (keeps_values_) counts.values.add(display_form(value), {1});
    return false;
  }
  if (reading.result == Result::clamped) {
    state.change(Change::clamped);
    count_beyond(place, reading);
  }
  if (value.is_text() && !reading.value.is_text()) {
    state.change(Change::from_text);
  } else if (reading.value != value && !(is_number(value) && is_number(reading.value))) {
    state.change(Change::converted);
  }
  return known.is_taken = true;
}

void ToolCounter::count_beyond(std::size_t place, const ParamProbe::Reading& reading) {
  ParamCounts& counts = counts_.params[place].second;
  const double sent = as_double(reading.converted);
  ++(sent < as_double(reading.value) ? counts.below : counts.above);
  if (keeps_values_) counts.include(sent);
}

void ToolCounter::examine_needs(Examination& state) const {
  if (!spec_.actions().empty() && !state.action) {
    if (state.is_action_refused) return;
    if (!spec_.default_action() || spec_.action(*spec_.default_action()) == nullptr) {
      return state.problem(Problem::missing);
    }
    state.action = spec_.action(*spec_.default_action())->name;
    state.change(Change::default_action);
  }
  for (std::size_t i = 0; i < state.state.size(); ++i) {
    Examination::Param& known = state.state[i];
    known.is_missing = !known.is_given && spec_.params()[i].required_by(state.action);
    if (known.is_missing) state.problem(Problem::missing);
  }
}

UnknownName ToolCounter::named(std::string_view name) const {
  UnknownName unknown;
  if (const auto near = nearest_name(name, names_)) unknown.nearest = spec_.param(*near)->name;
  return unknown;
}

void ToolCounter::count_unknown(const Examination& state, std::string_view name,
                                const Value& value) {
  const UnknownName* known = counts_.unknown_names.find(name);
  UnknownName one = known != nullptr ? UnknownName{.nearest = known->nearest} : named(name);
  one.count = 1;
  for (std::size_t i = 0; i < state.state.size(); ++i) {
    const std::string& param = spec_.params()[i].name;
    if (state.state[i].is_said || !(state.state[i].is_missing || one.nearest == param)) continue;
    const auto result = probes_[i].read(value).result;
    const bool fits = result == ParamProbe::Result::taken || result == ParamProbe::Result::clamped;
    one.candidates[param] = {.missing = 1, .fits = fits ? 1U : 0U};
  }
  counts_.unknown_names.add(name, one);
}

Counter::Counter(bool calls_only, bool keeps_values)
    : lines_(calls_only), keeps_values_(keeps_values) {
  for (const ToolSpec& spec : TOOLS) tool_names_.push_back(spec.name());
}

void Counter::count(std::string_view line) {
  ++report_.lines;
  const std::vector<Call>& calls = lines_.read(line);
  if (calls.empty()) ++report_.skipped;
  for (const Call& call : calls) count_call(call);
}

void Counter::count_call(const Call& call) {
  ++report_.requests;
  if (call.error) {
    ++report_.refused;
    ++report_.request_errors;
    return;
  }
  const ToolSpec* spec = TOOLS.find(*call.tool);
  if (spec != nullptr) {
    tools_.try_emplace(spec, *spec, keeps_values_).first->second.count(call.arguments);
    return;
  }
  ++report_.refused;
  ++report_.unknown_tool;
  UnknownTool one{.count = 1};
  if (const UnknownTool* known = report_.unknown_tools.find(*call.tool)) {
    one.nearest = known->nearest;
  } else if (const auto near = nearest_name(*call.tool, tool_names_)) {
    one.nearest = *near;
  }
  report_.unknown_tools.add(*call.tool, one);
}

Report Counter::report() const {
  Report report = report_;
  for (const ToolSpec& spec : TOOLS) {
    const auto counter = tools_.find(&spec);
    const ToolCounts& counts = report.tools[spec.name()] =
        counter != tools_.end() ? counter->second.counts() : ToolCounter(spec, false).counts();
    Outcomes sum = counts;
    report.as_sent += sum.as_sent;
    report.changed += sum.changed;
    report.refused += sum.refused;
  }
  return report;
}

}  // namespace tool_binding::tool_admit
