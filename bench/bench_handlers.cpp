// Times typed handlers beside the same function called by hand. Both take turns within one
// benchmark, whose counter "ratio" is the best round of ours over the best round by hand.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tool_binding/tool_service.hpp"

namespace tool_binding::bench {
namespace {

enum class Mode { literal, regex, word };

struct Index {
  std::size_t entries = 0;
};

// What every tool here does: a little with each value, and a text.
std::string found(const Index& index, std::string_view query, Mode mode, std::int32_t limit,
                  const std::vector<std::string>& paths, bool hidden) {
  std::string text(query);
  for (const std::string& path : paths) text.append(" ").append(path);
  text += static_cast<char>('a' + limit % 20 + static_cast<int>(mode) + (hidden ? 1 : 0));
  text += static_cast<char>('a' + index.entries % 20);
  return text;
}

struct Search {
  std::string query;
  Mode mode;
  std::int32_t limit;
  std::vector<std::string> paths;
  bool hidden;
};

std::string found(const Index& index, const Search& request) {
  return found(index, request.query, request.mode, request.limit, request.paths, request.hidden);
}

Tool by_struct() {
  return tool(
      "search", "",
      {param<&Search::query>({.synonyms = {"q"}}), param<&Search::mode>({.default_ = "literal"}),
       param<&Search::limit>({.minimum = 1, .maximum = 200, .default_ = 20}),
       param<&Search::paths>({.default_ = List{}}), param<&Search::hidden>({.default_ = false})},
      [](const Search& request, const Index& index) {
        return found(index, request.query, request.mode, request.limit, request.paths,
                     request.hidden);
      });
}

Tool by_names() {
  return tool(by_struct().spec(),
              [](const Index& index, std::string_view query, Mode mode, std::int32_t limit,
                 const std::vector<std::string>& paths,
                 bool hidden) { return found(index, query, mode, limit, paths, hidden); },
              {"index", "query", "mode", "limit", "paths", "hidden"});
}

const Context& context() {
  static const Context all = Context().provide("index", std::make_shared<Index>());
  return all;
}

// The conversion that each author of a handler wrote: by name, every kind looked at.

Mode mode_of(const Value& value) {
  const std::string_view name = value.as_text();
  if (name == "literal") return Mode::literal;
  if (name == "regex") return Mode::regex;
  if (name == "word") return Mode::word;
  throw std::invalid_argument("mode");
}

std::int32_t limit_of(const Value& value) {
  const std::int64_t number = value.as_int64();
  if (!std::in_range<std::int32_t>(number)) throw std::invalid_argument("limit");
  return static_cast<std::int32_t>(number);
}

std::vector<std::string> texts_of(const Value& value) {
  const List& items = value.as_list();
  std::vector<std::string> texts;
  texts.reserve(items.size());
  for (const Value& item : items) texts.emplace_back(item.as_text());
  return texts;
}

Search search_by_hand(const Mapping& bound) {
  return {std::string(bound.at("query").as_text()), mode_of(bound.at("mode")),
          limit_of(bound.at("limit")), texts_of(bound.at("paths")),
          bound.at("hidden").as_boolean()};
}

std::string converted_by_hand(const Index& index, const Mapping& bound, bool as_struct) {
  if (as_struct) return found(index, search_by_hand(bound));

  return found(index, bound.at("query").as_text(), mode_of(bound.at("mode")),
               limit_of(bound.at("limit")), texts_of(bound.at("paths")),
               bound.at("hidden").as_boolean());
}

Handler handler_by_hand(bool as_struct) {
  return {{{"query"}, {"mode"}, {"limit"}, {"paths"}, {"hidden"}},
          [index = std::make_shared<Index>(), as_struct](Mapping bound) -> Value {
            return converted_by_hand(*index, bound, as_struct);
          }};
}

struct HandAnswer {
  bool is_error = false;
  std::string text;
  std::vector<std::string> notes;
};

template <class Arguments>
HandAnswer answered_by_hand(const ToolTable& tools, std::string_view tool, const Handler& handler,
                            Arguments&& arguments) {
  const ToolSpec* spec = tools.find(tool);
  if (spec == nullptr) return {true, "no such tool", {}};
  Admission admission = try_normalize_arguments(*spec, std::forward<Arguments>(arguments));
  if (!admission) return {true, admission.error(), {}};
  NormalizedArguments request = *std::move(admission);
  std::vector<std::string> notes = std::move(request).notes();
  Mapping bound = bind_arguments(*spec, std::move(request).arguments());
  return {false, std::string(handler.call(std::move(bound)).as_text()), std::move(notes)};
}

// Requests.

Mapping plain() {
  return {{"query", "main"}, {"limit", 50}, {"paths", Value(List{"src", "include/tool_binding"})}};
}
Mapping lenient() {
  return {{"q", "a query beyond fifteen bytes"},
          {"limit", "500"},
          {"mode", "Regex"},
          {"paths", "src, tests"},
          {"hidden", "yes"}};
}

// Taking turns.

using Clock = std::chrono::steady_clock;

// A round is short, so that some of many are undisturbed; two threads need longer ones to meet.
constexpr int round_calls = 50;
constexpr int rounds = 4000;
constexpr int long_round_calls = 5000;
constexpr int long_rounds = 300;

template <class Call>
double seconds(const Call& call, int calls = round_calls) {
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < calls; ++i) benchmark::DoNotOptimize(call());
  return std::chrono::duration<double>(Clock::now() - start).count() / calls;
}

template <class Ours, class Peer>
void compare(benchmark::State& state, const Ours& ours, const Peer& peer) {
  double best_ours = std::numeric_limits<double>::max();
  double best_peer = best_ours;
  for (auto _ : state) {
    best_peer = std::min(best_peer, seconds(peer));
    best_ours = std::min(best_ours, seconds(ours));
  }
  state.counters["ours_ns"] = best_ours * 1e9;
  state.counters["hand_ns"] = best_peer * 1e9;
  state.counters["ratio"] = best_ours / best_peer;
}

struct Spelling {
  const char* name;
  Tool tool;
  bool as_struct;
};

void typed_call(benchmark::State& state, const Spelling& spelling, const Mapping& request) {
  const Tool& tool = spelling.tool;
  const Handler typed = bind_handler(tool, context());
  const Handler by_hand = handler_by_hand(spelling.as_struct);
  const Mapping bound =
      bind_arguments(tool.spec(), normalize_arguments(tool.spec(), request).arguments());
  compare(
      state, [&] { return typed.call(bound); }, [&] { return by_hand.call(bound); });
}

void service_call(benchmark::State& state, const Spelling& spelling, const Mapping& request,
                  bool moves) {
  const ToolService service({spelling.tool}, context());
  const Handler by_hand = handler_by_hand(spelling.as_struct);
  if (moves) {
    compare(
        state, [&] { return service.call("search", Mapping(request)); },
        [&] { return answered_by_hand(service.tools(), "search", by_hand, Mapping(request)); });
  } else {
    compare(
        state, [&] { return service.call("search", request); },
        [&] { return answered_by_hand(service.tools(), "search", by_hand, request); });
  }
}

// How many times as many calls two threads answer as one does.
void two_threads(benchmark::State& state) {
  const ToolService service({by_struct()}, context());
  const Mapping request = lenient();
  const auto call = [&] {
    return seconds([&] { return service.call("search", request); }, long_round_calls);
  };
  // A process that has never had a second thread counts references and allocates without locks.
  std::thread([] {}).join();
  double alone = std::numeric_limits<double>::max();
  double calls_of_two = 0;
  for (auto _ : state) {
    alone = std::min(alone, call());
    double other = 0;
    std::thread second([&] { other = call(); });
    const double mine = call();
    second.join();
    calls_of_two = std::max(calls_of_two, 1 / mine + 1 / other);
  }
  state.counters["speedup"] = calls_of_two * alone;
}

void register_all() {
  const Spelling spellings[] = {{"struct", by_struct(), true}, {"names", by_names(), false}};
  const std::pair<const char*, Mapping> requests[] = {{"plain", plain()}, {"lenient", lenient()}};
  const auto add = [](const std::string& name, auto run, int count = rounds) {
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(count);
  };
  for (const Spelling& spelling : spellings) {
    for (const auto& [kind, request] : requests) {
      std::string of = "/";
      of.append(spelling.name).append("/").append(kind);
      add("typed_call" + of, [s = spelling, r = request](auto& state) { typed_call(state, s, r); });
      for (const bool moves : {false, true}) {
        add("service_call" + of + (moves ? "/move" : "/copy"),
            [s = spelling, r = request, moves](auto& state) { service_call(state, s, r, moves); });
      }
    }
  }
  add("two_threads", two_threads, long_rounds);
}

}  // namespace
}  // namespace tool_binding::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  tool_binding::bench::register_all();
  benchmark::RunSpecifiedBenchmarks();
}
