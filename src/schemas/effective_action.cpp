#include "schemas/effective_action.hpp"

#include <functional>
#include <memory>

#include "text/trim.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {

namespace {

const std::string* action_of(const ToolSpec& spec, const Value* given) {
  if (given == nullptr || given->is_none() || (given->is_text() && is_blank(given->get_text()))) {
    return spec.default_action() ? &*spec.default_action() : nullptr;
  }
  const ActionSpec* action = spec.action(*given);
  return action != nullptr ? &action->name : nullptr;
}

bool is_in_tools(const ToolSpec& spec) noexcept {
  const ToolSpec* first = std::to_address(TOOLS.begin());
  return !std::less<>()(&spec, first) && std::less<>()(&spec, first + TOOLS.size());
}

}  // namespace

Value effective_action(std::string_view tool, const Mapping& arguments) {
  const ToolSpec* spec = TOOLS.find(tool);
  if (spec == nullptr) return {};
  const std::string* action = action_of(*spec, arguments.find(ACTION_PARAM));
  return action != nullptr ? Value(*action) : Value();
}

const std::string* effective_action_(const ToolSpec& spec, const Value* given) {
  const ToolSpec* registered = is_in_tools(spec) ? &spec : TOOLS.find(spec.name());
  return action_of(registered != nullptr ? *registered : spec, given);
}

}  // namespace tool_binding
