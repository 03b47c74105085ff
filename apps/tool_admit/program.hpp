#ifndef TOOL_BINDING_TOOL_ADMIT_PROGRAM_HPP_
#define TOOL_BINDING_TOOL_ADMIT_PROGRAM_HPP_

// What the program does once its options are read.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tool_binding::tool_admit {

enum ExitStatus { succeeded = 0, some_refused = 1, failed = 2 };

struct Options {
  std::optional<std::string> tools = {};     // the tools file; nothing: the built-in tools
  std::optional<std::string> requests = {};  // the requests file; nothing: standard input
  bool skip_unsupported = false;
  std::size_t jobs = 1;
  bool calls_only = false;
  bool display = false;
  bool schema = false;
  bool wire = false;  // with schema: as clients are shown it
  bool check = false;
  bool list = false;
  std::optional<std::string> report = {};  // "text", "json" or "html"
  bool values = false;
  std::optional<std::string> propose = {};  // where the tools file with the proposals is written
  std::vector<std::string> merge = {};      // reports
  std::vector<std::string> call = {};       // a tool and its typed arguments
  std::vector<std::string> complete = {};   // the words of a typed request
};

// Writes to the standard streams. Sets TOOLS. Throws std::runtime_error, with a message for the
// user, when a file cannot be read or written.
[[nodiscard]] ExitStatus run(const Options& options);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_PROGRAM_HPP_
