#ifndef TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_
#define TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_

// Lines of a log, and their answers as lines of JSON.

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "requests.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding::tool_admit {

// The calls of a line, in the memory of the line before. Used by one thread at a time.
class LineReader {
 public:
  // With `calls_only`, a line that is not a call has no calls; otherwise it is one with an error.
  explicit LineReader(bool calls_only) noexcept : calls_only_(calls_only) {}

  // Valid until the next line. Never throws for what a line holds.
  [[nodiscard]] std::vector<Call>& read(std::string_view line);

 private:
  [[nodiscard]] LineKind read_line(std::string_view line, std::string& why);

  JsonReader reader_;
  std::vector<Call> calls_;
  bool calls_only_;
};

// What an error is called in answers, and what it says.
struct AnswerError {
  std::string_view type;
  std::string message;
};
[[nodiscard]] AnswerError answer_error(const std::exception& error);

// Admits and binds calls for TOOLS:
//
//   {"tool": NAME, "arguments": {...}, "notes": [...], "alias_hit": false, "bound": {...}}
//   {"tool": NAME, "error": {"type": TYPE, "message": "..."}}
//
// An error's tool is null when the call names none. Whatever is wrong with the line, the call or
// the registry is an error answer, never an exception. With `display`, arguments and bound are
// texts, the display_form of the mappings.
class Answerer {
 public:
  Answerer(bool calls_only, bool display) noexcept : lines_(calls_only), display_(display) {}

  // Appends a line for each call. Whether all were admitted.
  bool answer(std::string_view line, std::string& out);

 private:
  [[nodiscard]] bool answer_call(Call& call, std::string& out) const;
  [[nodiscard]] bool admit(Call& call, std::string& out) const;
  void append_shown(std::string& out, const Mapping& mapping) const;

  LineReader lines_;
  bool display_;
};

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_
