// Times the reading and writing of JSON text: parse_json with a reader that is used again beside
// simdjson On-Demand into the same values, and json_text.

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "cases.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding::bench {
namespace {

namespace ondemand = simdjson::ondemand;

// By recursion, which a reader for clients could not do.
Value value_of(ondemand::value json) {
  switch (json.type()) {
    case ondemand::json_type::array: {
      List items;
      for (ondemand::value item : json.get_array()) items.push_back(value_of(item));
      return items;
    }
    case ondemand::json_type::object: {
      Mapping members;
      for (auto member : json.get_object()) {
        const std::string_view name = member.unescaped_key();
        members.set(name, value_of(member.value()));
      }
      return members;
    }
    case ondemand::json_type::string:
      return std::string_view(json.get_string());
    case ondemand::json_type::number: {
      const ondemand::number number = json.get_number();
      if (number.is_int64()) return number.get_int64();
      if (number.is_uint64()) return number.get_uint64();
      return number.get_double();
    }
    case ondemand::json_type::boolean:
      return bool(json.get_bool());
    default:
      return {};
  }
}

// A megabyte of records: names that repeat, short and long texts, escapes, numbers of every kind.
std::string mixed() {
  List records;
  for (int i = 0; i < 4500; ++i) {
    records.emplace_back(Mapping{{"id", 7'000'000 + i},
                                 {"name", "src/module_" + std::to_string(i) + "/file.cpp"},
                                 {"score", 0.25 + i / 7.0},
                                 {"open", i % 3 == 0},
                                 {"owner", Value()},
                                 {"labels", List{"bug", "r\u00e9sum\u00e9", i}},
                                 {"text", "a line\nand \"another\" of some forty characters"},
                                 {"at", Mapping{{"line", i % 900}, {"column", -i % 80}}}});
  }
  return json_text(records);
}

struct Text {
  std::string name;
  Value value;
  std::string text;
};

const std::vector<Text>& texts() {
  static const std::vector<Text> all = [] {
    std::vector<Text> made;
    for (const Case& c : cases()) {
      if (c.name != "clean" && c.name != "list/1000") continue;
      made.push_back({c.name, c.request, line_of(c)});
    }
    std::string text = mixed();
    Value value = parse_json(text);
    made.push_back({"mixed", std::move(value), std::move(text)});
    return made;
  }();
  return all;
}

void parse(benchmark::State& state, const Text& text) {
  JsonReader reader;
  for ([[maybe_unused]] auto _ : state) {
    Value value = reader.read(text.text);
    benchmark::DoNotOptimize(&value);
  }
}

void parse_by_simdjson(benchmark::State& state, const Text& text) {
  ondemand::parser parser;
  const simdjson::padded_string padded(text.text);
  ondemand::document first = parser.iterate(padded);
  if (value_of(first.get_value()) != parse_json(text.text)) return state.SkipWithError("differs");
  for ([[maybe_unused]] auto _ : state) {
    ondemand::document document = parser.iterate(padded);
    Value value = value_of(document.get_value());
    benchmark::DoNotOptimize(&value);
  }
}

void write_text(benchmark::State& state, const Text& text) {
  std::string out;
  for ([[maybe_unused]] auto _ : state) {
    out.clear();
    append_json(out, text.value);
    benchmark::DoNotOptimize(out.data());
  }
}

}  // namespace
}  // namespace tool_binding::bench

int main(int argc, char** argv) {
  using namespace tool_binding::bench;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  for (const Text& text : texts()) {
    benchmark::RegisterBenchmark(("parse_json/" + text.name).c_str(), parse, text);
    benchmark::RegisterBenchmark(("simdjson/" + text.name).c_str(), parse_by_simdjson, text);
    benchmark::RegisterBenchmark(("json_text/" + text.name).c_str(), write_text, text);
  }
  benchmark::RunSpecifiedBenchmarks();
}
