#ifndef TOOL_BINDING_TOOL_ADMIT_TERMINAL_HPP_
#define TOOL_BINDING_TOOL_ADMIT_TERMINAL_HPP_

// What a person types and reads.

#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/tool_registry.hpp"

namespace tool_binding::tool_admit {

// Whether standard output is a terminal whose user has not set NO_COLOR.
[[nodiscard]] bool is_colored();

struct TypedAnswer {
  std::string page;
  bool is_admitted;
};

// Admits the request that the words type, for one of TOOLS:
//
//   {"search", "q=main", "max_results:=500"}
//
// The first names the tool; NAME=TEXT gives text, NAME:=JSON any value. The page says what was
// read as what, every note or every problem, and what the handler gets.
// Throws std::runtime_error for words that are neither, and UnknownToolError.
[[nodiscard]] TypedAnswer typed_call(const std::vector<std::string>& words, bool colored);

// The tools as a person reads them.
[[nodiscard]] std::string tool_list(const ToolTable& tools, bool colored);

// What can complete the words of a typed call, one candidate a line: the tools' names for none or
// an empty one, the parameters' and the action's for a tool, each with a '='.
[[nodiscard]] std::string completions(const ToolTable& tools,
                                      const std::vector<std::string>& words);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_TERMINAL_HPP_
