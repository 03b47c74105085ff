#ifndef REPO_SERVER_TOOLS_HPP_
#define REPO_SERVER_TOOLS_HPP_

#include <tool_binding/handlers.hpp>
#include <vector>

namespace repo_server {

// files, search and history, over the Root that the context provides.
[[nodiscard]] std::vector<tool_binding::Tool> tools();

}  // namespace repo_server

#endif  // REPO_SERVER_TOOLS_HPP_
