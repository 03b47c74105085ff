#ifndef TOOL_BINDING_TOOL_ADMIT_COUNTING_HPP_
#define TOOL_BINDING_TOOL_ADMIT_COUNTING_HPP_

// Requests into a report.

#include <string_view>
#include <unordered_map>
#include <vector>

#include "answer.hpp"
#include "report.hpp"
#include "tool_binding/tool_registry.hpp"

namespace tool_binding::tool_admit {

// Blank text, or an empty list.
[[nodiscard]] bool is_blank(const Value& value);

// What admission makes of one value for one parameter, beside the rest of a request: asked of tools
// that have this parameter alone, so that what a message means need not be guessed from its text.
class ParamProbe {
 public:
  explicit ParamProbe(const ParamSpec& param);

  enum class Result { taken, clamped, wrong_type, not_in_enumeration };
  struct Reading {
    Result result;
    Value value;      // what the handler gets; none where it was refused
    Value converted;  // of the parameter's type, before the bounds; only where it was clamped
  };
  [[nodiscard]] Reading read(const Value& sent) const;
  // Whether a blank would be taken if it were a value.
  [[nodiscard]] bool takes_blank() const noexcept { return takes_blank_; }

 private:
  ToolSpec whole_;
  ToolSpec type_only_;
  bool takes_blank_;
};

// Counts the requests for one tool.
class ToolCounter {
 public:
  ToolCounter(const ToolSpec& spec, bool keeps_values);

  // Whether the request is admitted.
  bool count(const Mapping& arguments);
  [[nodiscard]] const ToolCounts& counts() const noexcept { return counts_; }

 private:
  struct Examination;
  void examine(Examination& state, std::string_view name, const Value& value);
  void examine_action(Examination& state, const Value& value) const;
  // Whether the value is taken.
  bool examine_value(Examination& state, std::size_t param, const Value& value, bool is_declared);
  void examine_needs(Examination& state) const;
  void count_blanks(const Examination& state);
  void count_beyond(std::size_t param, const ParamProbe::Reading& reading);
  void count_unknown(const Examination& state, std::string_view name, const Value& value);
  [[nodiscard]] UnknownName named(std::string_view name) const;

  const ToolSpec& spec_;
  bool keeps_values_;
  std::vector<ParamProbe> probes_;
  std::vector<std::string_view> names_;  // of parameters, synonyms too
  ToolCounts counts_;
};

// Counts the calls of lines for TOOLS, which must not change meanwhile. Used by one thread.
class Counter {
 public:
  // With `keeps_values`, the report shows values of arguments.
  Counter(bool calls_only, bool keeps_values);

  void count(std::string_view line);
  // Of every tool, called or not.
  [[nodiscard]] Report report() const;

 private:
  void count_call(const Call& call);

  LineReader lines_;
  bool keeps_values_;
  std::vector<std::string_view> tool_names_;
  std::unordered_map<const ToolSpec*, ToolCounter> tools_;
  Report report_;
};

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_COUNTING_HPP_
