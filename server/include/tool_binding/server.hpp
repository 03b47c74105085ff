#ifndef TOOL_BINDING_SERVER_HPP_
#define TOOL_BINDING_SERVER_HPP_

// The Model Context Protocol of a server of tools, as messages in and messages out. Most programs
// need nothing of this header but ServerOptions: stdio.hpp serves a ToolService over standard input
// and output. ServerSession is for those who bring a transport of their own.
//
//   ServerSession session(service, {.name = "search_server", .version = "1.0"});
//   Received received = session.receive(line);  // one JSON-RPC message
//   for (const std::string& answer : received.answers) send(answer);
//   for (const ServerCall& call : received.calls) {      // here or on other threads
//     const std::string answer = session.run(call, send);  // send takes reports of progress
//     if (!answer.empty()) send(answer);
//   }
//
// Both eras of the protocol are served side by side, per request. A request whose params._meta
// names io.modelcontextprotocol/protocolVersion is answered as revision 2026-07-28 has it, without
// any handshake. `initialize` opens the older era for the session, of the revisions 2024-11-05,
// 2025-03-26, 2025-06-18 and 2025-11-25.
//
// What a client gets wrong is answered, never thrown. Arguments that are refused, and a handler's
// own error, are results with "isError": true, so that a model can read them and try again.
// Protocol errors are for what a model cannot correct: -32700 not JSON, -32600 no request, -32601
// unknown method, -32602 invalid params or unknown tool, -32603 too many requests at once, -32021 a
// capability the client lacks, -32022 an unsupported revision.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/tool_schemas.hpp"
#include "tool_binding/tool_service.hpp"

namespace tool_binding {

// Who may share a kept list of tools: everybody, or only the user who asked for it.
enum class CacheScope : std::uint8_t { public_, private_ };

// What a server says of itself, and its limits.
struct ServerOptions {
  // What clients show and log. Neither may be empty.
  std::string name;
  std::string version;
  // For people; empty: not said.
  std::string title = {};
  // For the model: how the tools work together.
  std::string instructions = {};
  WireOptions wire = {};
  // How long a client may keep the list of tools, and whether other users may share it. Said to
  // clients of revision 2026-07-28 alone. 0: it should ask again each time.
  std::chrono::milliseconds tools_ttl{0};
  CacheScope cache_scope = CacheScope::private_;
  // A message nested deeper is not read.
  std::size_t depth_limit = 1000;
  // Calls that run or wait at once. What comes on top is answered with error -32603 at once.
  std::size_t call_limit = 1 << 16;
  // The bytes of their messages in all, with the same answer; a call alone may have any size.
  std::size_t call_bytes_limit = std::size_t{64} << 20;
  // Gets one line of at most some 500 bytes for each fault, without a line break, and never an
  // argument's value, unless a handler has put one into its exception. That comes here where
  // ServiceOptions::log is empty. Called on the thread that found the fault. None: the transport's
  // own log.
  std::function<void(std::string_view line)> log = {};
};

struct CallRecord;  // private

// One call of a tool that waits for its handler. Copies denote the same call, and may outlive the
// session. Its members may be called on any thread.
class TOOL_BINDING_EXPORT ServerCall {
 public:
  // Valid as long as any copy of the call.
  [[nodiscard]] std::string_view tool() const noexcept;
  // Asked to stop when the client cancels the call and when it expires.
  [[nodiscard]] std::stop_token stop_token() const noexcept;
  // Whether nothing is to be sent for it any more: it is answered, cancelled or expired.
  [[nodiscard]] bool is_over() const;

 private:
  friend class ServerSession;
  explicit ServerCall(std::shared_ptr<CallRecord> record) noexcept : record_(std::move(record)) {}

  std::shared_ptr<CallRecord> record_;
};

// The result of one message. Both are empty for a notification, and for a response, which nobody
// has asked for.
struct Received {
  std::vector<std::string> answers;  // lines to be sent now
  std::vector<ServerCall> calls;     // each to be run once, here or on another thread
};

// One client's side of a conversation. Every answer is one line of JSON, without its line break.
//
// Of a service with a tool "ping", after `initialize`:
//
//   session.receive(R"({"jsonrpc":"2.0","id":1,"method":"drop"})").answers[0] ==
//       R"({"jsonrpc":"2.0","id":1,"error":{"code": -32601, "message": )"
//       R"("there is no method 'drop'"}})"
//   const Received received = session.receive(
//       R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"ping"}})");
//   session.run(received.calls[0], {}) ==
//       R"({"jsonrpc":"2.0","id":2,"result":{"content": [{"type": "text", "text": "pong"}]}})"
//
// Threads: receive() is for one thread at a time; all others may be called on any thread at any
// time. Neither looks at a clock, starts a thread or waits for anything but a handler.
class TOOL_BINDING_EXPORT ServerSession {
 public:
  using Notify = std::function<void(std::string line)>;

  // Throws std::invalid_argument, with every fault in its message, for a tool whose name clients do
  // not take (other than [A-Za-z0-9_.-]{1,128}), an empty name or version, a negative tools_ttl.
  ServerSession(ToolService service, ServerOptions options);
  ~ServerSession();
  ServerSession(const ServerSession&) = delete;
  ServerSession& operator=(const ServerSession&) = delete;

  // Takes one message, a JSON text; line breaks around it do no harm. Throws nothing for what a
  // client sends. Cost: linear in the message.
  [[nodiscard]] Received receive(std::string_view message);
  // The answer to a message that the transport did not keep: one of more than `limit` bytes.
  [[nodiscard]] std::string too_long(std::size_t limit);

  // Calls the tool's handler on this thread and returns the answer's line: empty when the call was
  // cancelled or expired meanwhile, and when others of its batch are still to be answered.
  // `notify` gets lines with the handler's reports of progress, where the client asked for them; a
  // report that does not rise, or comes after the end, is dropped. It is called under a lock of the
  // call, and so must not use the session.
  [[nodiscard]] std::string run(const ServerCall& call, const Notify& notify);
  // The answer to a call that has run, or waited to run, for too long, or nothing when it is over.
  // Asks its handler to stop; one that has not run will not. `limit` is for the answer's text.
  [[nodiscard]] std::string expire(const ServerCall& call, std::chrono::milliseconds limit);
  // Ends all calls without an answer and asks their handlers to stop: the client is gone. Waits for
  // none of them; their run() returns an empty line.
  void cancel_all();

  // How many calls run or wait.
  [[nodiscard]] std::size_t calls() const;

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_HPP_
