#ifndef TOOL_BINDING_SRC_HANDLERS_MATCH_TYPE_HPP_
#define TOOL_BINDING_SRC_HANDLERS_MATCH_TYPE_HPP_

// Whether a declared parameter and a C++ type say the same.

#include <string>
#include <vector>

#include "tool_binding/handlers.hpp"

namespace tool_binding::detail {

// The reasons why a parameter that is declared as `param` cannot be a `type`: its type word, its
// enumeration, its bounds, its defaults, and none where no value may be. Empty: they agree.
[[nodiscard]] std::vector<std::string> type_mismatches(const ToolSpec& spec, const ParamSpec& param,
                                                       const CppType& type);
// The reasons why the action cannot be a `type`.
[[nodiscard]] std::vector<std::string> action_mismatches(const ToolSpec& spec, const CppType& type);

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_SRC_HANDLERS_MATCH_TYPE_HPP_
