#ifndef TOOL_BINDING_TOOL_ADMIT_BUILTIN_TOOLS_HPP_
#define TOOL_BINDING_TOOL_ADMIT_BUILTIN_TOOLS_HPP_

// The tools that tool_admit serves without a tools file: those of a code repository. Together they
// use all that a registry can say, so that they are a model to write one's own from.

#include "tool_binding/tool_registry.hpp"

namespace tool_binding::tool_admit {

[[nodiscard]] ToolTable builtin_tools();

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_BUILTIN_TOOLS_HPP_
