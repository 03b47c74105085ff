#ifndef TOOL_BINDING_BENCH_ROADS_HPP_
#define TOOL_BINDING_BENCH_ROADS_HPP_

// The whole road of a request: from the bytes of its line to bound arguments, and to the bytes of
// the answer.
//
//   {"tool": NAME, "arguments": {...}}  ->  {"bound": {...}, "notes": [...]}  or  {"problems":
//   TEXT}
//
// An answer ends with what was parsed and bound being destroyed. A road keeps what it can use
// again: its line, its parser and its buffers.

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "cases.hpp"

namespace tool_binding::bench {

class Road {
 public:
  Road() = default;
  Road(const Road&) = delete;
  Road& operator=(const Road&) = delete;
  virtual ~Road() = default;
  // Binds the arguments. Where `out` is given, its text is replaced by the answer.
  virtual void answer(std::string* out) = 0;
};

struct RoadKind {
  std::string_view name;
  std::unique_ptr<Road> (*make)(const std::string& line);
  bool (*covers)(const Case& c);
};

// The layer's own road first.
[[nodiscard]] std::span<const RoadKind> road_kinds();

// simdjson On-Demand, then the dispatcher by hand; see limit.hpp.
[[nodiscard]] std::unique_ptr<Road> limit_road(const std::string& line);

// RapidJSON's parser, SchemaValidator, binding and writer, for the search tool.
[[nodiscard]] std::unique_ptr<Road> rapidjson_road(const std::string& line);

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_ROADS_HPP_
