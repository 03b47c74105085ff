#ifndef TOOL_BINDING_SERVER_TESTS_FIXTURE_TOOLS_HPP_
#define TOOL_BINDING_SERVER_TESTS_FIXTURE_TOOLS_HPP_

#include "tool_binding/tool_service.hpp"

namespace tool_binding {

// Tools for tests: well and badly behaved ones, and those that the protocol's conformance suite
// calls, under the names that it calls them by.
[[nodiscard]] ToolService fixture_service();

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_TESTS_FIXTURE_TOOLS_HPP_
