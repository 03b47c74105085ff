#ifndef TOOL_BINDING_BENCH_CASES_HPP_
#define TOOL_BINDING_BENCH_CASES_HPP_

// The tools and requests that are measured.

#include <string>
#include <vector>

#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding::bench {

// A search with ten parameters, one of each kind that tools commonly have.
[[nodiscard]] ToolSpec code_search_tool();

// Four actions, one of them the default, with requirements and defaults of their own.
[[nodiscard]] ToolSpec branches_tool();

// "wide_N": the integer parameters p0, p1 and so on, N of them.
[[nodiscard]] ToolSpec wide_tool(std::size_t params);

struct Case {
  std::string name;
  std::string tool;
  Mapping request;
  // Where the tool is found.
  ToolTable tools;
  bool has_limit = true;
};

// Made on the first call.
[[nodiscard]] const std::vector<Case>& cases();

// Throws std::out_of_range when there is none.
[[nodiscard]] const Case& case_named(const std::string& name);

// A request as a client sends it, without a line break.
[[nodiscard]] std::string line_of(const Case& c);

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_CASES_HPP_
