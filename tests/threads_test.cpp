// Many threads over one registry and the same requests; the thread sanitizer watches.

#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "sample_requests.hpp"
#include "sample_service.hpp"

namespace tool_binding {
namespace {

// What the work gives on each of so many threads, by their numbers. Nothing is atomic but the
// start: more would order what could race.
template <class Work>
auto results_of_threads(std::size_t count, const Work& work) {
  std::vector<decltype(work(0))> results(count);
  std::latch start(static_cast<std::ptrdiff_t>(count));
  {
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < count; ++t) {
      threads.emplace_back([&, t] {
        start.arrive_and_wait();
        results[t] = work(t);
      });
    }
  }
  return results;
}

TEST(Threads, GetTheAnswersOfOneThread) {
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
  const auto results = results_of_threads(8, [&](std::size_t t) {
    const std::vector<std::string> first_answers = answers(t);
    int changed = 0;
    for (int i = 0; i < 20; ++i) changed += answers(t) != first_answers ? 1 : 0;
    return std::pair(first_answers, changed);
  });
  const std::vector<std::string> alone = answers(0);
  for (const auto& result : results) EXPECT_EQ(result, std::pair(alone, 0));
}

TEST(Threads, CallOneService) {
  const ToolService service = sample_service();
  const auto answers = [copy = service] {
    std::string all;
    for (const auto& [tool, arguments] : sample_calls()) all += shown(copy.call(tool, arguments));
    return all + json_text(copy.wire_tools());
  };
  const auto found = results_of_threads(4, [&](std::size_t) {
    std::string last;
    for (int i = 0; i < 50; ++i) last = answers();
    return last;
  });
  for (const std::string& each : found) EXPECT_EQ(each, answers());
}

}  // namespace
}  // namespace tool_binding
