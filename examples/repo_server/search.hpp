#ifndef REPO_SERVER_SEARCH_HPP_
#define REPO_SERVER_SEARCH_HPP_

#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "root.hpp"

namespace repo_server {

// The text of a file; nothing for one that is binary (it holds a zero byte). Throws ToolError where
// it is a directory, longer than `most` bytes or cannot be read.
[[nodiscard]] std::optional<std::string> text_of(const Descriptor& file, const std::string& shown,
                                                 std::size_t most);

// The entries of a directory in order, without `.` and `..`.
[[nodiscard]] std::vector<std::string> names_in(const Descriptor& directory);

enum class Mode { literal, regex };

struct Search {
  std::string query;
  Mode mode = Mode::literal;
  bool case_sensitive = true;
  std::vector<std::string> paths;
  std::vector<std::string> globs;
  int limit = 50;
  int context = 0;
};

// Lines "PATH:LINE:TEXT", context lines as "PATH-LINE-TEXT". It looks at no more than 20,000 files
// of at most 1 MiB in ten seconds, follows no link, passes over .git, and says in the last lines
// what it passed over and where it stopped short. Regular expressions are RE2's: linear time.
// Throws ToolError for an expression or a glob that is none.
[[nodiscard]] std::string search(const Root& root, const Search& request,
                                 const std::stop_token& stop);

}  // namespace repo_server

#endif  // REPO_SERVER_SEARCH_HPP_
