// A server process of its own for each test, over pipes.

#include "tool_binding/stdio.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <map>
#include <set>
#include <thread>

#include "messages.hpp"

namespace tool_binding {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

struct Pipe {
  Pipe() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
  ~Pipe() {
    close_end(0);
    close_end(1);
  }
  void close_end(std::size_t end) {
    if (ends[end] >= 0) close(std::exchange(ends[end], -1));
  }
  std::array<int, 2> ends = {-1, -1};
};

// The fixture server as a child process.
class Server {
 public:
  using Environment = std::map<std::string, std::string>;

  explicit Server(const Environment& environment = {}, const char* output = nullptr) {
    std::signal(SIGPIPE, SIG_IGN);
    pid_ = fork();
    if (pid_ == 0) {
      for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
      dup2(in_.ends[0], 0);
      dup2(out_.ends[1], 1);
      if (output != nullptr) close(1);
      if (output != nullptr) (void)open(output, O_WRONLY);  // as descriptor 1
      dup2(error_.ends[1], 2);
      execl(FIXTURE_SERVER, FIXTURE_SERVER, nullptr);
      _exit(127);
    }
    in_.close_end(0);
    out_.close_end(1);
    error_.close_end(1);
  }
  ~Server() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  void send(const std::string& text) {
    std::string_view rest = text;
    while (!rest.empty()) {
      const ssize_t written = write(in_.ends[1], rest.data(), rest.size());
      ASSERT_GT(written, 0) << "the server does not read any more";
      rest.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  void end_input() { in_.close_end(1); }
  void stop_reading() { out_.close_end(0); }

  // The next line; empty when there is none within ten seconds, or no more.
  std::string line() {
    while (true) {
      if (const std::size_t end = buffer_.find('\n'); end != buffer_.npos) {
        std::string found = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return found;
      }
      if (!read_some(out_, buffer_)) return {};
    }
  }
  Mapping message() {
    const std::string text = line();
    return text.empty() ? Mapping() : parse_json(text).as_mapping();
  }
  std::string rest_of_errors() {
    std::string text;
    while (read_some(error_, text)) continue;
    return text;
  }
  // The exit status, or -1 where it runs on for `time`, or a signal ended it.
  int status_within(Clock::duration time) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      std::this_thread::sleep_for(5ms);
    }
    return -1;
  }

 private:
  static bool read_some(Pipe& from, std::string& to) {
    pollfd readable{from.ends[0], POLLIN, 0};
    if (poll(&readable, 1, 10'000) != 1) return false;
    std::array<char, 65536> bytes;
    const ssize_t count = read(from.ends[0], bytes.data(), bytes.size());
    if (count > 0) to.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
  }

  Pipe in_;
  Pipe out_;
  Pipe error_;
  pid_t pid_ = -1;
  std::string buffer_;
};

std::string call(int id, std::string_view tool, const Mapping& arguments = {}) {
  return call_line(id, tool, arguments) + '\n';
}

std::string wait_call(int id, std::string_view tool, int milliseconds) {
  return call(id, tool, {{"milliseconds", milliseconds}});
}

std::string cancel(int id) { return cancel_line(id) + '\n'; }

std::string text_of(const Mapping& message) {
  const Value* result = message.find("result");
  if (result == nullptr) return display_form(message);
  return std::string(
      result->as_mapping().at("content").as_list().at(0).as_mapping().at("text").as_text());
}

Value id_of(const Mapping& message) { return message.contains("id") ? message.at("id") : Value(); }

TEST(Stdio, AnswersWhileACallRunsAndDropsACancelledOne) {
  Server server;
  server.send(wait_call(1, "wait", 60'000) + call(2, "echo", {{"text", "x"}}));
  EXPECT_EQ(id_of(server.message()), Value(2));
  // Each ends a handler that would keep its worker for a minute.
  for (int id = 10; id < 20; ++id) server.send(wait_call(id, "wait", 60'000) + cancel(id));
  server.send(cancel(1) + call(3, "echo", {{"text", "y"}}));
  EXPECT_EQ(id_of(server.message()), Value(3));
  server.end_input();
  EXPECT_EQ(server.line(), "");
  EXPECT_EQ(server.status_within(2s), 0);
}

TEST(Stdio, GoesOnAfterBadLines) {
  Server server(Server::Environment{{"FIXTURE_LINE_LIMIT", "1000"}});
  server.send("no JSON\n\n \r\n\xff\xfe\n" + std::string(1'000'000, 'x') + "\n" +
              std::string(1000, '[') + "\n" + call(1, "echo", {{"text", "x"}}));
  for (const int code : {-32700, -32700, -32600, -32700}) {
    const Mapping message = server.message();
    EXPECT_EQ(message.at("error").as_mapping().at("code"), Value(code));
    EXPECT_FALSE(message.contains("id"));
  }
  EXPECT_EQ(id_of(server.message()), Value(1));
  server.end_input();
  EXPECT_EQ(server.status_within(2s), 0);
  EXPECT_NE(server.rest_of_errors().find("fixture_server: a message is longer than 1000 bytes\n"),
            std::string::npos);
}

// Whatever a handler or its child prints or reads, the messages stay whole.
TEST(Stdio, KeepsWhatIsPrintedOutOfTheMessages) {
  Server server;
  server.send(call(1, "print") + call(2, "print_in_child"));
  std::set<std::string> texts = {text_of(server.message()), text_of(server.message())};
  EXPECT_EQ(texts, (std::set<std::string>{"printed", "the child ended with 0"}));
  server.send(call(3, "fail"));
  EXPECT_EQ(id_of(server.message()), Value(3));
  server.end_input();
  EXPECT_EQ(server.status_within(2s), 0);
  const std::string errors = server.rest_of_errors();
  for (const char* printed :
       {"printed by a stream\n", "printed by stdio\n", "printed by a child\n",
        "fixture_server: the tool 'fail' failed: 'std::runtime_error': 'a secret'\n"}) {
    EXPECT_NE(errors.find(printed), errors.npos) << errors;
  }
}

TEST(Stdio, EndsWithItsInput) {
  {
    Server server;
    server.end_input();
    EXPECT_EQ(server.status_within(1s), 0);
  }
  Server piped;  // what was sent is answered, without a last line break too
  std::string last = wait_call(2, "stubborn", 200);
  last.pop_back();
  piped.send(call(1, "echo", {{"text", "x"}}) + last);
  piped.end_input();
  std::set<std::string> texts = {text_of(piped.message()), text_of(piped.message())};
  EXPECT_EQ(texts, (std::set<std::string>{"waited", "x"}));
  EXPECT_EQ(piped.status_within(1s), 0);
  for (const char* tool : {"wait", "stubborn"}) {
    Server server;
    server.send(wait_call(1, tool, 60'000));
    server.end_input();
    EXPECT_EQ(server.status_within(2500ms), 0) << tool;
  }
}

TEST(Stdio, EndsWithItsClient) {
  for (const char* tool : {"wait", "stubborn"}) {
    Server server;
    server.send(call(1, "echo", {{"text", "x"}}) + wait_call(2, tool, 60'000));
    EXPECT_EQ(id_of(server.message()), Value(1));
    server.stop_reading();  // as when it is killed, while the input may stay open elsewhere
    EXPECT_EQ(server.status_within(1500ms), 0) << tool;
    EXPECT_EQ(server.rest_of_errors(), "");
  }
  Server mute({}, "no such file");
  EXPECT_EQ(mute.status_within(1s), 0);
  Server full({}, "/dev/full");
  full.send(call(1, "echo", {{"text", "x"}}));
  full.end_input();
  EXPECT_EQ(full.status_within(1s), 1);
  EXPECT_NE(full.rest_of_errors().find(": the output cannot be written: "), std::string::npos);
}

TEST(Stdio, AnswersForAHandlerThatRunsTooLong) {
  Server server(Server::Environment{{"FIXTURE_TIME_LIMIT", "100"}});
  // More than there are workers: others take the place of those that go on, as far as they may.
  constexpr int count = 34;
  for (int id = 0; id < count; ++id) server.send(wait_call(id, "stubborn", 60'000));
  std::set<std::int64_t> ids;
  std::map<std::string, int> texts;
  for (int i = 0; i < count; ++i) {
    const Mapping message = server.message();
    ids.insert(id_of(message).as_int64());
    ++texts[text_of(message)];
  }
  EXPECT_EQ(ids.size(), static_cast<std::size_t>(count));
  EXPECT_GT(texts["'stubborn' was stopped after 0.1 seconds: ask for less at once"], 4);
  EXPECT_GE(texts["'stubborn' was not started within 0.1 seconds: send it again later"], 2);
  EXPECT_EQ(texts.size(), 2U);
}

// The client writes everything before it reads anything.
TEST(Stdio, TakesTenThousandRequestsFromASlowReader) {
  Server server;
  constexpr int count = 10'000;
  constexpr int count_alone = 40;
  for (int id = 0; id < count_alone; ++id) {  // answered at once each, until the pipe is full
    server.send(call(id, "echo", {{"text", std::string(3000, 'x')}}));
    std::this_thread::sleep_for(2ms);
  }
  std::string requests;
  for (int id = count_alone; id < count; ++id)
    requests += call(id, "echo", {{"text", std::string(500, 'x')}});
  server.send(requests);
  std::this_thread::sleep_for(100ms);
  std::set<std::int64_t> ids;
  for (int i = 0; i < count; ++i) ids.insert(id_of(server.message()).as_int64());
  EXPECT_EQ(ids.size(), static_cast<std::size_t>(count));
  server.end_input();
  EXPECT_EQ(server.line(), "");
  EXPECT_EQ(server.status_within(2s), 0);
}

// All handlers wait, and the requests with them.
TEST(Stdio, HoldsTenThousandRequestsInFlight) {
  Server server;
  constexpr int count = 10'000;
  std::string requests;
  for (int id = 0; id < count; ++id) requests += wait_call(id, "wait", 60'000);
  server.send(requests + R"({"jsonrpc":"2.0","id":"ping","method":"ping"})"
                         "\n");
  EXPECT_EQ(id_of(server.message()), Value("ping"));
  std::string cancels;
  for (int id = 0; id < count; ++id) cancels += cancel(id);
  server.send(cancels + call(count, "echo", {{"text", "x"}}));
  EXPECT_EQ(id_of(server.message()), Value(count));
}

}  // namespace
}  // namespace tool_binding
