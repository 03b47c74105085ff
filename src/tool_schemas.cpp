#include "tool_binding/tool_schemas.hpp"

#include "text/trim.hpp"

namespace tool_binding {

Value effective_action(std::string_view tool, const Mapping& arguments) {
  const ToolSpec* spec = TOOLS.find(tool);
  if (spec == nullptr) return {};
  const Value* given = arguments.find(ACTION_PARAM);
  if (given == nullptr || given->is_none() || (given->is_text() && is_blank(given->get_text()))) {
    return spec->default_action() ? Value(*spec->default_action()) : Value();
  }
  const ActionSpec* action = spec->action(*given);
  return action != nullptr ? Value(action->name) : Value();
}

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
