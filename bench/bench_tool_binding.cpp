// Times a request to the layer, to the limit and to other libraries: from a mapping to a mapping,
// and as a whole road from a line of JSON (wire), and to the answer's JSON (wire_answer).
//
//   bench_tool_binding [Google Benchmark's options]
//   bench_tool_binding --answer WAY CASE COUNT    answers one case so often, for an instruction
//   count bench_tool_binding --cases                    the search tool and its requests as JSON
//
// A way that ends in _move is handed a request of its own each time. These copies are made and
// destroyed in batches while no time is taken; the clock is read twice a batch.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cases.hpp"
#include "check_answers.hpp"
#include "counting_new.hpp"
#include "limit.hpp"
#include "rapidjson_peer.hpp"
#include "roads.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

using benchmark::DoNotOptimize;
using benchmark::State;

// The tool is given by name, as a daemon has it.
struct AdmitBind {
  template <class Request>
  static void answer(const std::string& tool, Request&& request) {
    NormalizedArguments admitted = normalize_arguments(tool, std::forward<Request>(request));
    const Mapping bound = bind_arguments(tool, std::move(admitted).arguments());
    DoNotOptimize(&admitted);
    DoNotOptimize(&bound);
  }
};

// Refusals are returned.
struct TryAdmitBind {
  template <class Request>
  static void answer(const std::string& tool, Request&& request) {
    Admission admitted = try_normalize_arguments(tool, std::forward<Request>(request));
    DoNotOptimize(&admitted);
    if (!admitted) return;
    const Mapping bound = bind_arguments(tool, (*std::move(admitted)).arguments());
    DoNotOptimize(&bound);
  }
};

struct Limit {
  static void answer(const std::string& tool, const Mapping& request) {
    const Answer answered = limit(tool, request);
    DoNotOptimize(&answered);
  }
};

struct TryLimit {
  static void answer(const std::string& tool, const Mapping& request) {
    const Answer answered = try_limit(tool, request);
    DoNotOptimize(&answered);
  }
};

// Out of line, so that a profiler can count what happens within.
template <class Way, class Request>
[[gnu::noinline]] void answer_once(const std::string& tool, Request&& request) {
  try {
    Way::answer(tool, std::forward<Request>(request));
  } catch (const ArgumentError& error) {
    DoNotOptimize(error.message());
  }
}

[[gnu::noinline]] void answer_once(Road& road, std::string* out) { road.answer(out); }

class ToolsInUse {
 public:
  explicit ToolsInUse(const Case& c) { set_tools(c.tools); }
  ~ToolsInUse() { set_tools(cases().front().tools); }
  ToolsInUse(const ToolsInUse&) = delete;
  ToolsInUse& operator=(const ToolsInUse&) = delete;
};

template <class Run>
void count_allocations(State& state, const Run& run) {
  const Allocations before = allocations();
  run();
  const Allocations after = allocations();
  state.counters["allocations"] = static_cast<double>(after.count - before.count);
  state.counters["heap_bytes"] = static_cast<double>(after.bytes - before.bytes);
}

template <class Way>
void measure(State& state, const Case& c) {
  const ToolsInUse tools(c);
  for (auto _ : state) answer_once<Way>(c.tool, c.request);
  count_allocations(state, [&c] { answer_once<Way>(c.tool, c.request); });
}

template <class Way>
void measure_threads(State& state, const Case& c) {
  for (auto _ : state) answer_once<Way>(c.tool, c.request);
  state.SetItemsProcessed(state.iterations());
}

void measure_road(State& state, const Case& c, const RoadKind& kind, bool with_answer) {
  const ToolsInUse tools(c);
  const std::unique_ptr<Road> road = kind.make(line_of(c));
  std::string text;
  std::string* const out = with_answer ? &text : nullptr;
  for (auto _ : state) answer_once(*road, out);
  count_allocations(state, [&] { answer_once(*road, out); });
}

// Each thread has a road of its own.
void measure_road_threads(State& state, const Case& c, const RoadKind& kind) {
  const std::unique_ptr<Road> road = kind.make(line_of(c));
  std::string out;
  for (auto _ : state) answer_once(*road, &out);
  state.SetItemsProcessed(state.iterations());
}

// So many copies of a request as stay in the nearest caches.
std::size_t batch_size(const Mapping& request) {
  std::size_t values = request.size();
  for (const Mapping::Entry& entry : request) {
    if (const List* items = entry.value.if_list()) values += items->size();
  }
  return std::clamp<std::size_t>(640 / values, 1, 64);
}

template <class Way>
void measure_move(State& state, const Case& c) {
  using Clock = std::chrono::steady_clock;
  const ToolsInUse tools(c);
  const std::size_t batch = batch_size(c.request);
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
    std::vector<Mapping> requests(batch, c.request);
    const Clock::time_point start = Clock::now();
    for (Mapping& request : requests) answer_once<Way>(c.tool, std::move(request));
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  Mapping request = c.request;
  count_allocations(state, [&] { answer_once<Way>(c.tool, std::move(request)); });
}

void measure_rapidjson_validate(State& state, const Case& c) {
  RapidJsonPeer peer(c);
  for (auto _ : state) DoNotOptimize(peer.validate());
}

void measure_rapidjson_bind(State& state, const Case& c) {
  RapidJsonPeer peer(c);
  for (auto _ : state) {
    if (!peer.validate()) return state.SkipWithError("the request is not valid");
    const Mapping bound = peer.bound();
    DoNotOptimize(&bound);
  }
}

template <class Measure, class... Args>
benchmark::internal::Benchmark* add(std::string_view way, const Case& c, const Measure& measure,
                                    const Args&... args) {
  const std::string name = std::string(way) + '/' + c.name;
  return benchmark::RegisterBenchmark(name.c_str(), measure, std::cref(c), args...);
}

void register_roads() {
  for (const Case& c : cases()) {
    for (const RoadKind& kind : road_kinds()) {
      if (!kind.covers(c)) continue;
      add(std::string(kind.name) + "wire", c, measure_road, std::cref(kind), false);
      add(std::string(kind.name) + "wire_answer", c, measure_road, std::cref(kind), true);
    }
  }
}

// Alone and with a second thread, which takes some time to find its processor.
template <class Measure, class... Args>
void add_threads(std::string_view way, const char* case_name, const Measure& measure,
                 const Args&... args) {
  for (const int threads : {1, 2}) {
    add(way, case_named(case_name), measure, args...)
        ->Threads(threads)
        ->UseRealTime()
        ->MinTime(0.05)
        ->Repetitions(31);
  }
}

void register_threads() {
  add_threads("threads", "clean", measure_threads<AdmitBind>);
  add_threads("threads", "refused", measure_threads<AdmitBind>);
  add_threads("threads_try", "refused", measure_threads<TryAdmitBind>);
  add_threads("threads_wire", "clean", measure_road_threads, std::cref(road_kinds().front()));
}

void register_benchmarks() {
  for (const Case& c : cases()) {
    add("admit_bind", c, measure<AdmitBind>);
    add("admit_bind_move", c, measure_move<AdmitBind>)->UseManualTime();
    if (c.has_limit) add("limit", c, measure<Limit>);
  }
  add("try_admit_bind", case_named("refused"), measure<TryAdmitBind>);
  add("try_limit", case_named("refused"), measure<TryLimit>);
  register_roads();
  register_threads();
  for (const char* name : {"clean", "refused", "list/10", "list/100", "list/1000", "list/10000"}) {
    add("rapidjson_validate", case_named(name), measure_rapidjson_validate);
  }
  for (const char* name : {"clean", "list/10", "list/100", "list/1000", "list/10000"}) {
    add("rapidjson_bind", case_named(name), measure_rapidjson_bind);
  }
}

template <class Way>
void answer_often(const Case& c, bool move, long count) {
  const ToolsInUse tools(c);
  try {
    Way::answer(c.tool, c.request);  // what is made on first use is not counted
  } catch (const ArgumentError&) {
  }
  for (; count > 0; --count) {
    if (!move) {
      answer_once<Way>(c.tool, c.request);
    } else {
      Mapping request = c.request;
      answer_once<Way>(c.tool, std::move(request));
    }
  }
}

void answer_often(const Case& c, const RoadKind& kind, bool with_answer, long count) {
  const ToolsInUse tools(c);
  const std::unique_ptr<Road> road = kind.make(line_of(c));
  std::string out;
  road->answer(&out);
  for (; count > 0; --count) answer_once(*road, with_answer ? &out : nullptr);
}

// False when there is no such way.
bool answer_often(std::string_view way, const Case& c, long count) {
  for (const RoadKind& kind : road_kinds()) {
    for (const bool with_answer : {false, true}) {
      const std::string name = std::string(kind.name) + (with_answer ? "wire_answer" : "wire");
      if (way == name) return answer_often(c, kind, with_answer, count), true;
    }
  }
  if (way == "admit_bind") return answer_often<AdmitBind>(c, false, count), true;
  if (way == "admit_bind_move") return answer_often<AdmitBind>(c, true, count), true;
  if (way == "try_admit_bind") return answer_often<TryAdmitBind>(c, false, count), true;
  if (way == "limit") return answer_often<Limit>(c, false, count), true;
  if (way == "try_limit") return answer_often<TryLimit>(c, false, count), true;
  return false;
}

int run_benchmarks(int argc, char** argv) {
  if (!answers_agree()) return 1;
  register_benchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

int run(int argc, char** argv) {
  const std::string_view first = argc > 1 ? argv[1] : "";
  if (first == "--answer" && argc == 5) {
    return answer_often(argv[2], case_named(argv[3]), std::stol(argv[4])) ? 0 : 2;
  }
  if (first == "--cases") {
    write_cases(std::cout);
    return 0;
  }
  return run_benchmarks(argc, argv);
}

}  // namespace
}  // namespace tool_binding::bench

int main(int argc, char** argv) {
  try {
    return tool_binding::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_tool_binding: %s\n", error.what());
    return 2;
  }
}
