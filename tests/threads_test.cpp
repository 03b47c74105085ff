// Many threads over one registry and the same requests; the thread sanitizer watches.

#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "sample_requests.hpp"
#include "sample_service.hpp"

namespace tool_binding {
namespace {

TEST(Threads, GetTheAnswersOfOneThread) {
  constexpr int rounds = 20;
  set_tools(sample_tools());
  const std::vector<Request> requests = sample_requests();
  const std::string definition = json_text(publish_tools(TOOLS));
  const auto answers = [&](std::size_t first) {
    std::vector<std::string> all(requests.size() + 1);
    for (std::size_t i = first; i < first + requests.size(); ++i) {
      all[i % requests.size()] = all_answers(requests[i % requests.size()]);
    }
    const ToolTable read(read_tools(parse_json(definition)).tools);
    all.back() = json_text(publish_tools(read));
    return all;
  };
  // Nothing is atomic but the start: more would order what could race.
  std::vector<std::vector<std::string>> first_answers(8);
  std::vector<int> changed(first_answers.size());
  std::latch start(8);
  {
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < first_answers.size(); ++t) {
      threads.emplace_back([&, t] {
        start.arrive_and_wait();
        first_answers[t] = answers(t);
        for (int i = 0; i < rounds; ++i) changed[t] += answers(t) != first_answers[t] ? 1 : 0;
      });
    }
  }
  const std::vector<std::string> alone = answers(0);
  for (std::size_t t = 0; t < first_answers.size(); ++t) {
    EXPECT_EQ(first_answers[t], alone);
    EXPECT_EQ(changed[t], 0);
  }
}

TEST(Threads, CallOneService) {
  const ToolService service = sample_service();
  const auto answers = [copy = service] {
    std::string all;
    for (const auto& [tool, arguments] : sample_calls()) all += shown(copy.call(tool, arguments));
    return all + json_text(copy.wire_tools());
  };
  std::vector<std::string> found(4);
  std::latch start(4);
  {
    std::vector<std::jthread> threads;
    for (std::string& mine : found) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; i < 50; ++i) mine = answers();
      });
    }
  }
  for (const std::string& each : found) EXPECT_EQ(each, answers());
}

}  // namespace
}  // namespace tool_binding
