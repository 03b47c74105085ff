// Messages to a server, in sequences of both eras: what is sent back is valid, and each request
// gets exactly one answer, unless it is cancelled; a notification gets none.
//
// Each line of an input is a message; its first byte says how: as it stands, inside a modern or an
// older request, as a cancellation, or as a moment when a waiting call runs.

#include "tool_binding/server.hpp"

#include <map>

#include "fuzz/check.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

struct Echo {
  std::string text;
};

ToolService service() {
  return ToolService({
      tool("echo", "", {param<&Echo::text>()}, [](const Echo& request) { return request.text; }),
      tool("report", "", {},
           [](Call& call) {
             for (const double progress : {0, 2, 1, 3}) call.progress(progress);
             return List{1, "two"};
           }),
      tool("fail", "", {}, []() -> std::string { throw ToolError("it fails"); }),
  });
}

constexpr std::string_view modern_meta =
    R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
    R"("io.modelcontextprotocol/clientCapabilities":{},"progressToken":"p"})";

// The message that a line of the input writes.
std::string message_of(std::string_view line) {
  const std::string rest(line.substr(std::min<std::size_t>(line.size(), 1)));
  const std::string head = R"({"jsonrpc":"2.0","id":)" + rest.substr(0, 1) + R"(,"method":)";
  const std::string tail = rest.substr(std::min<std::size_t>(rest.size(), 1));
  switch (line.empty() ? ' ' : line.front()) {
    case 'm':  // m, the id, the name of a tool
      return head + R"("tools/call","params":{"name":")" + tail + "\"," + std::string(modern_meta) +
             "}}";
    case 'l':  // l, the id, a method
      return head + '"' + tail + "\"}";
    case 'i':  // i, the id, a revision
      return head + R"("initialize","params":{"protocolVersion":")" + tail + "\"}}";
    case 'c':  // c, an id
      return R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":)" +
             rest + "}}";
    default:
      return std::string(line);
  }
}

bool is_object_with(const Value& value, std::string_view name) {
  return value.is_mapping() && value.get_mapping().contains(name);
}

// The conversation, and how many answers each id may still get.
class Conversation {
 public:
  void take(std::string_view line) {
    if (line.starts_with('r')) return run(line);
    const std::string message = message_of(line);
    expect(message);
    Received received = session_.receive(message);
    for (const std::string& answer : received.answers) check_answer(answer);
    for (ServerCall& call : received.calls) waiting_.push_back(std::move(call));
  }
  void end() {
    while (!waiting_.empty()) run("r");
    check(session_.calls() == 0, "no call is left");
    for (const auto& [id, counts] : by_id_) {
      check(counts.answers <= counts.requests, "no more answers than requests", id);
      check(counts.answers == counts.requests || counts.is_cancelled, "an answer to a request", id);
    }
  }

 private:
  struct Counts {
    int requests = 0;
    int answers = 0;
    bool is_cancelled = false;
  };

  // What the message asks for, read plainly.
  void expect(const std::string& message) {
    try {
      const Value value = parse_json(message, {.depth = 1000});
      if (value.is_list()) {
        for (const Value& one : value.get_list()) expect_one(one, may_batch_);
      } else {
        expect_one(value, true);
      }
    } catch (const JsonError&) {
      return;
    }
  }

  void expect_one(const Value& value, bool is_taken) {
    if (!value.is_mapping() || !is_taken) return;
    const Mapping& message = value.get_mapping();
    const Value* id = message.find("id");
    const Value* method = message.find("method");
    const Value* version = message.find("jsonrpc");
    if (method == nullptr || !method->is_text()) return;
    if (id == nullptr) return expect_cancelled(message);
    const bool is_request =
        (id->is_text() || id->is_integer()) && version != nullptr && *version == Value("2.0");
    if (is_request) ++by_id_[json_text(*id)].requests;
  }

  void expect_cancelled(const Mapping& message) {
    const Value* params = message.find("params");
    if (message.at("method") != Value("notifications/cancelled")) return;
    if (params == nullptr || !is_object_with(*params, "requestId")) return;
    by_id_[json_text(params->get_mapping().at("requestId"))].is_cancelled = true;
  }

  void run(std::string_view line) {
    if (waiting_.empty()) return;
    const std::size_t chosen = line.size() > 1 ? static_cast<unsigned char>(line[1]) : 0;
    const auto place = waiting_.begin() + static_cast<std::ptrdiff_t>(chosen % waiting_.size());
    const ServerCall call = *place;
    waiting_.erase(place);
    const bool was_over = call.is_over();
    const std::string answer = session_.run(call, [&](const std::string& report) {
      check(!was_over && parse_json(report).as_mapping().contains("method"), "a report");
    });
    check(!was_over || answer.empty(), "nothing after the end");
    if (!answer.empty()) check_answer(answer);
    check(session_.run(call, {}).empty(), "one answer");
  }

  void check_answer(const std::string& line) {
    check(line.find('\n') == line.npos, "one line", line);
    const Value answer = parse_json(line);
    if (!answer.is_list()) return check_one(answer);
    check(may_batch_ && !answer.get_list().empty(), "a batch where there may be one", line);
    for (const Value& one : answer.get_list()) check_one(one);
  }

  void check_one(const Value& answer) {
    check(is_object_with(answer, "jsonrpc"), "an answer is an object", answer);
    const Mapping& members = answer.get_mapping();
    check(members.contains("result") != members.contains("error"), "result or error", answer);
    if (const Value* id = members.find("id")) ++by_id_[json_text(*id)].answers;
    if (const Value* result = members.find("result")) {
      const Value* revision = result->as_mapping().find("protocolVersion");
      if (revision != nullptr) may_batch_ = *revision == Value("2025-03-26");
    }
  }

  ServerSession session_{service(), {.name = "fuzz", .version = "1"}};
  std::vector<ServerCall> waiting_;
  std::map<std::string, Counts> by_id_;
  bool may_batch_ = false;
};

}  // namespace
}  // namespace tool_binding

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  Conversation conversation;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    conversation.take(rest.substr(0, end));
    rest.remove_prefix(std::min(rest.size(), end + 1));
  }
  conversation.end();
  return 0;
}
