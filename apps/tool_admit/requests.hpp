#ifndef TOOL_BINDING_TOOL_ADMIT_REQUESTS_HPP_
#define TOOL_BINDING_TOOL_ADMIT_REQUESTS_HPP_

// What a line of a log asks for: the calls of tools that it holds, in whatever form it was logged.
//
//   {"tool": NAME, "arguments": {...}}                     "input" for "arguments" is read too
//   {"name": NAME, "arguments": {...}}                     or the arguments as JSON text
//   {"function": {"name": NAME, "arguments": {...}}}       or the arguments as JSON text
//   {"jsonrpc": "2.0", "method": "tools/call", "params": {"name": NAME, "arguments": {...}}}
//   {"tool_calls": [CALL, ...]}
//   {"content": [BLOCK, ...]}                              of which some are calls

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tool_binding/value.hpp"

namespace tool_binding::tool_admit {

// A line of JSON that is not a request, or one that cannot be understood.
class RequestError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// One call; or why it is none, then with the tool's name if that could be read.
struct Call {
  std::optional<std::string> tool = {};
  Mapping arguments = {};
  std::optional<std::string> error = {};
};

enum class LineKind { calls, other };

// Replaces `calls` by the calls of a line, at least one. `other`, and no call, for a line that is
// none of the forms above and shows no sign of being meant as one: an answer, a notification,
// another method. `why` then says what the line lacks.
[[nodiscard]] LineKind read_calls(Value line, std::vector<Call>& calls, std::string& why);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_REQUESTS_HPP_
