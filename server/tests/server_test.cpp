#include "tool_binding/server.hpp"

#include <gtest/gtest.h>

#include <thread>

#include "fixture_tools.hpp"
#include "messages.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

const ServerOptions options{.name = "fixture",
                            .version = "1.0",
                            .title = "Fixture",
                            .instructions = "For tests.",
                            .tools_ttl = std::chrono::seconds(5),
                            .cache_scope = CacheScope::public_};

std::string modern(std::string_view request) {
  constexpr std::string_view meta =
      R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",)"
      R"("io.modelcontextprotocol/clientCapabilities":{}})";
  std::string message(request);
  const std::size_t place = message.find("$modern");
  return place == message.npos ? message : message.replace(place, 7, meta);
}

std::string initialize(std::string_view revision) {
  return json_text(Mapping{{"jsonrpc", "2.0"},
                           {"id", 0},
                           {"method", "initialize"},
                           {"params", Mapping{{"protocolVersion", revision}}}});
}

// All that comes of a message, its calls run at once.
Lines answers_to(ServerSession& session, std::string_view message) {
  Received received = session.receive(message);
  Lines lines = std::move(received.answers);
  for (const ServerCall& call : received.calls) {
    std::string answer = session.run(call, [&](std::string line) { lines.push_back(line); });
    if (!answer.empty()) lines.push_back(std::move(answer));
  }
  return lines;
}

bool text_matches(std::string_view found, std::string_view wanted) {
  constexpr std::string_view has = "$has ";
  constexpr std::string_view lacks = "$lacks ";
  if (wanted.starts_with(has)) return found.find(wanted.substr(has.size())) != found.npos;
  if (wanted.starts_with(lacks)) return found.find(wanted.substr(lacks.size())) == found.npos;
  return found == wanted;
}

// Whether `found` has everything that `wanted` has, as messages.txt says.
bool matches(const Value& found, const Value& wanted) {
  if (wanted.is_text() && found.is_text()) return text_matches(found.get_text(), wanted.get_text());
  if (const List* items = wanted.if_list()) {
    const List* others = found.if_list();
    return others != nullptr &&
           std::equal(others->begin(), others->end(), items->begin(), items->end(), matches);
  }
  if (!wanted.is_mapping()) return found == wanted;
  if (!found.is_mapping()) return false;
  for (const auto& [name, value] : wanted.get_mapping()) {
    const Value* member = found.get_mapping().find(name);
    const bool is_right =
        value.is_none() ? member == nullptr : member != nullptr && matches(*member, value);
    if (!is_right) return false;
  }
  return true;
}

TEST(ServerSession, AnswersAsTheProtocolSays) {
  for (const DataCase& data : data_cases("messages.txt")) {
    ServerSession session(fixture_service(), options);
    std::string message;
    Lines answers;
    const auto expect_no_more = [&] {
      EXPECT_TRUE(answers.empty()) << message << "\nalso: " << answers.front();
    };
    for (const std::string& line : data.lines) {
      if (line.starts_with('>')) {
        expect_no_more();
        message = line.substr(2);
        message = message[0] == '$' ? initialize(message.substr(1)) : modern(message);
        answers = answers_to(session, message);
        continue;
      }
      ASSERT_FALSE(answers.empty()) << message << "\nno answer like: " << line;
      EXPECT_TRUE(matches(parse_json(answers.front()), parse_json(line.substr(2))))
          << message << "\nanswer: " << answers.front() << "\nwanted: " << line;
      EXPECT_EQ(answers.front().find('\n'), std::string::npos);
      answers.erase(answers.begin());
    }
    expect_no_more();
    EXPECT_EQ(session.calls(), 0U);
  }
}

TEST(ServerSession, EndsACallOnce) {
  ServerSession session(fixture_service(), options);
  const auto start = [&](int id) {
    return session.receive(call_line(id, "echo", {{"text", "x"}})).calls.at(0);
  };
  const ServerCall cancelled = start(1);
  EXPECT_EQ(session.calls(), 1U);
  EXPECT_TRUE(session.receive(cancel_line(1)).answers.empty());
  EXPECT_TRUE(cancelled.is_over() && cancelled.stop_token().stop_requested());
  EXPECT_EQ(session.run(cancelled, {}), "");
  EXPECT_EQ(session.expire(cancelled, std::chrono::seconds(1)), "");

  const ServerCall expired = start(2);
  EXPECT_NE(session.expire(expired, std::chrono::milliseconds(1500)).find("within 1.5 seconds"),
            std::string::npos);
  EXPECT_TRUE(expired.stop_token().stop_requested());
  EXPECT_EQ(session.run(expired, {}), "");

  const ServerCall answered = start(3);
  EXPECT_NE(session.run(answered, {}), "");
  EXPECT_EQ(session.run(answered, {}), "");
  EXPECT_TRUE(session.receive(cancel_line(3)).answers.empty());
  EXPECT_FALSE(answered.stop_token().stop_requested());

  const ServerCall left = start(4);
  session.cancel_all();
  EXPECT_TRUE(left.is_over());
  EXPECT_EQ(session.calls(), 0U);
}

// A batch is answered when its last call has ended, however it ends.
TEST(ServerSession, AnswersABatchWithoutItsCancelledCalls) {
  ServerSession session(fixture_service(), options);
  (void)session.receive(initialize("2025-03-26"));
  const std::string_view batch =
      R"([{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"list"}},)"
      R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"list"}}])";
  const std::vector<ServerCall> calls = session.receive(batch).calls;
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(session.run(calls[0], {}), "");
  const Lines answers = session.receive(cancel_line(2)).answers;
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_EQ(parse_json(answers[0]).as_list().size(), 1U);
  for (const ServerCall& call : session.receive(batch).calls) (void)call;
  EXPECT_TRUE(session.receive(cancel_line(1)).answers.empty());
  EXPECT_TRUE(session.receive(cancel_line(2)).answers.empty());
}

TEST(ServerSession, KeepsItsLimits) {
  Lines log;
  ServerOptions narrow = options;
  narrow.depth_limit = 20;
  narrow.call_limit = 2;
  narrow.call_bytes_limit = 1000;
  narrow.log = [&](std::string_view line) { log.emplace_back(line); };
  ServerSession session(fixture_service(), narrow);
  const auto error_of = [&](const std::string& message) {
    const Lines lines = session.receive(message).answers;
    return lines.empty() ? Value()
                         : parse_json(lines[0]).as_mapping().at("error").as_mapping().at("code");
  };
  EXPECT_EQ(error_of(std::string(21, '[')), Value(-32700));
  EXPECT_EQ(error_of(std::string(20, '[') + std::string(20, ']')), Value(-32600));
  EXPECT_EQ(parse_json(session.too_long(8)).as_mapping().contains("id"), false);
  for (int id = 1; id <= 2; ++id) (void)session.receive(call_line(id, "list", {}));
  EXPECT_EQ(error_of(call_line(3, "list", {})), Value(-32603));
  (void)session.receive(cancel_line(1));
  EXPECT_EQ(error_of(call_line(4, "echo", {{"text", std::string(1000, 'x')}})), Value(-32603));
  EXPECT_EQ(error_of(call_line(4, "list", {})), Value());
  session.cancel_all();
  EXPECT_EQ(error_of(call_line(5, "echo", {{"text", std::string(1000, 'x')}})), Value());
  (void)session.receive(cancel_line(5));
  for (int id = 6; id <= 7; ++id) EXPECT_EQ(error_of(call_line(id, "list", {})), Value());
  (void)session.receive("{\"password\":\"hunter2\",\"number\":hunter2}");
  EXPECT_EQ(log.size(), 4U);
  for (const std::string& line : log) {
    EXPECT_LT(line.size(), 300U);
    EXPECT_EQ(line.find("hunter2"), line.npos);
  }
}

TEST(ServerSession, SendsUtf8WhateverAHandlerReturns) {
  const ToolService service({tool("bytes", "", {}, [] { return "caf\xe9 \\udce9 \xed\xa0\x80"; })});
  ServerSession session(service, options);
  const Lines answers = answers_to(session, call_line(1, "bytes", {}));
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_NE(answers[0].find("caf\xEF\xBF\xBD \\\\udce9 \xEF\xBF\xBD\""), std::string::npos)
      << answers[0];
  EXPECT_NO_THROW((void)parse_json(answers[0]));
}

// A client that uses one id for all: what each message costs must not grow with their number.
TEST(ServerSession, TakesOneIdForManyCalls) {
  ServerSession session(fixture_service(), options);
  constexpr std::size_t count = 60'000;
  for (std::size_t i = 0; i < count; ++i) (void)session.receive(call_line(1, "list", {}));
  EXPECT_EQ(session.calls(), count);
  EXPECT_TRUE(session.receive(cancel_line(1)).answers.empty());
  EXPECT_EQ(session.calls(), 0U);
}

// Reports of progress and the answer on threads of their own: none after the answer.
TEST(ServerSession, SendsNoProgressAfterTheEnd) {
  ServerSession session(fixture_service(), options);
  for (int round = 0; round < 100; ++round) {
    const ServerCall call =
        session.receive(call_line(round, "test_tool_with_progress", {}, 1)).calls.at(0);
    std::jthread runner([&] {
      (void)session.run(
          call, [&](const std::string&) { EXPECT_FALSE(call.stop_token().stop_requested()); });
    });
    (void)session.receive(cancel_line(round));
  }
}

TEST(ServerSession, RefusesOptionsThatClientsWouldNotTake) {
  const ToolService service({tool("no spaces", "", {}, [] {})});
  EXPECT_THROW(ServerSession(service, options), std::invalid_argument);
  EXPECT_THROW(ServerSession(fixture_service(), {}), std::invalid_argument);
}

}  // namespace
}  // namespace tool_binding
