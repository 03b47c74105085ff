#ifndef TOOL_BINDING_SRC_SCHEMAS_EFFECTIVE_ACTION_HPP_
#define TOOL_BINDING_SRC_SCHEMAS_EFFECTIVE_ACTION_HPP_

#include <string>

#include "tool_binding/tool_registry.hpp"

namespace tool_binding {

// The action that a request runs, or null: as the tool says that TOOLS holds under the spec's name,
// else the spec itself. `given` is the action in a request's arguments, or null. No look-up is
// needed when TOOLS holds the spec itself.
[[nodiscard]] const std::string* effective_action_(const ToolSpec& spec, const Value* given);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_SCHEMAS_EFFECTIVE_ACTION_HPP_
