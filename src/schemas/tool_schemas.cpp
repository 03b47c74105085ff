#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {

std::string problem_line(const SchemaProblem& problem) {
  std::string line = problem.tool;
  if (!problem.parameter.empty()) {
    if (!line.empty()) line += ", ";
    line += "'" + problem.parameter + "'";
  }
  if (!line.empty()) line += ": ";
  return line + problem.reason;
}

}  // namespace tool_binding
