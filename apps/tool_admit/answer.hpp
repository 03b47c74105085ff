#ifndef TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_
#define TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_

// One request as a line of JSON, and its answer as another.

#include <string>
#include <string_view>

namespace tool_binding::tool_admit {

struct Answer {
  std::string line;
  bool is_admitted;
};

// Admits and binds the request for one of TOOLS:
//
//   {"tool": NAME, "arguments": {...}}
//   {"tool": NAME, "arguments": {...}, "notes": [...], "alias_hit": false, "bound": {...}}
//   {"tool": NAME, "error": {"type": TYPE, "message": "..."}}
//
// "name" is read where "tool" is absent or null, absent or null "arguments" are empty, and other
// members are ignored. An error's tool is null when the request names none. Whatever is wrong with
// the line, the request or the registry is an error answer, never an exception.
// With `display`, arguments and bound are texts, the display_form of the mappings.
[[nodiscard]] Answer answer_line(std::string_view line, bool display);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_ANSWER_HPP_
