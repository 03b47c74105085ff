#ifndef TOOL_BINDING_STDIO_HPP_
#define TOOL_BINDING_STDIO_HPP_

// A tool server over standard input and output, one message a line: the whole of a program is
//
//   int main() {
//     StdioTransport stdio;  // first of all: what is printed from here on cannot harm a message
//     ToolService service({search, read}, context);
//     return stdio.serve(service, {.name = "search_server", .version = "1.0"});
//   }
//
// The process ends with its client: at the end of input and when nobody reads its output any more.

#include <chrono>
#include <cstddef>

#include "tool_binding/export.hpp"
#include "tool_binding/server.hpp"
#include "tool_binding/tool_service.hpp"

namespace tool_binding {

// Limits of a transport. The defaults are for a server that one host starts for one user.
struct StdioOptions {
  // How many handlers run at once. Answers come in the order in which handlers finish.
  std::size_t workers = 4;
  // A longer line is read to its end without being kept, and answered with an error. Bytes.
  std::size_t line_limit = std::size_t{8} << 20;
  // When so many bytes wait for the client to read them, no further message is read, and reports of
  // progress are dropped.
  std::size_t output_limit = std::size_t{64} << 20;
  // A handler that runs for longer is asked to stop, and the client gets an error result. The
  // thread cannot be ended: one that goes on is replaced by another, up to eight for each worker.
  // When all of them go on and none takes a call for so long, those that have waited as long get
  // an error result and are not run. Zero: no limit.
  std::chrono::milliseconds time_limit = std::chrono::minutes(5);
  // After the end of input, how long calls go on before they are cancelled, so that requests piped
  // in from a file are answered; then, how long handlers have to stop and answers to be read. Hosts
  // give a server about two seconds in all.
  std::chrono::milliseconds drain_time = std::chrono::seconds(1);
  std::chrono::milliseconds stop_time = std::chrono::milliseconds(500);
};

// Standard input and output, taken over for the protocol. To be constructed before whatever may
// print, once in a process, while no other thread runs. Afterwards
//
// - descriptor 1 is descriptor 2, so that whatever the program, its libraries or its child
//   processes print, buffered text included, goes to standard error;
// - descriptor 0 is /dev/null, so that no child process reads the client's messages;
// - the client's two ends are private descriptors that child processes do not inherit;
// - SIGPIPE is ignored, also by child processes, unless they restore it.
//
// Destruction closes the private descriptors and restores nothing.
class TOOL_BINDING_EXPORT StdioTransport {
 public:
  // Throws std::system_error where descriptors cannot be duplicated. Input that is closed from the
  // start counts as ended.
  StdioTransport();
  ~StdioTransport();
  StdioTransport(const StdioTransport&) = delete;
  StdioTransport& operator=(const StdioTransport&) = delete;

  // Serves until the end of input, or until nobody reads the output, and returns the exit status:
  // 0, or 1 where the output cannot be written (a full disk, found out when more is read) or the
  // server cannot go on (no memory), which the log says. When a handler does not return within the
  // times of `stdio`, the process ends here, with that status and without destructors (std::_Exit),
  // since the handler's thread still uses what they would destroy. Throws std::invalid_argument as
  // ServerSession does, before anything is read. To be called once.
  [[nodiscard]] int serve(const ToolService& service, ServerOptions options,
                          const StdioOptions& stdio = {});

 private:
  int input_ = -1;
  int output_ = -1;
};

// StdioTransport and its serve() in one, for a program whose service prints nothing while it is
// made: that would be in the output before the first message.
[[nodiscard]] TOOL_BINDING_EXPORT int serve_stdio(const ToolService& service, ServerOptions options,
                                                  const StdioOptions& stdio = {});

}  // namespace tool_binding

#endif  // TOOL_BINDING_STDIO_HPP_
