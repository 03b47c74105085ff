#ifndef REPO_SERVER_GIT_HPP_
#define REPO_SERVER_GIT_HPP_

#include <stop_token>
#include <string>
#include <vector>

#include "root.hpp"

namespace repo_server {

// The output of `git ARGUMENTS`, run in the root without a shell, an input, or anything that a
// repository's configuration can make git execute. It takes at most ten seconds and 256 KiB: what
// is cut off is said in the last line. Throws ToolError with git's message where git fails.
//
// Arguments that a client chooses must come behind an option that ends the options, or be a hash.
[[nodiscard]] std::string run_git(const Root& root, std::vector<std::string> arguments,
                                  const std::stop_token& stop);

// The hash of the commit that a client names. Throws ToolError where there is none.
[[nodiscard]] std::string commit_hash(const Root& root, const std::string& revision,
                                      const std::stop_token& stop);

}  // namespace repo_server

#endif  // REPO_SERVER_GIT_HPP_
