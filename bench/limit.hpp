#ifndef TOOL_BINDING_BENCH_LIMIT_HPP_
#define TOOL_BINDING_BENCH_LIMIT_HPP_

// The limit that the layer's speed is measured against: admission and binding in one pass, written
// by hand for exactly the tools `code_search` and `branches` of cases.hpp. There is no registry and
// no look-up: names are told apart by their length and characters, and each value goes straight to
// its place in the answer.
//
// It covers what the measured requests contain, gives the layer's answers and refusals to that,
// word for word, and throws NotCovered on the rest.

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/value.hpp"

namespace tool_binding::bench {

struct Answer {
  Mapping bound;
  std::vector<std::string> notes = {};
  bool alias_hit = false;
  // What is wrong with the request; `bound` is of no use then.
  std::string problems = {};

  friend bool operator==(const Answer&, const Answer&) = default;
};

class NotCovered : public std::logic_error {
 public:
  NotCovered() : std::logic_error("the limit does not cover this request") {}
};

// An argument of a request for which no mapping is made.
struct Field {
  std::string_view key;
  Value value;

  [[nodiscard]] std::string_view name() const noexcept { return key; }
};

// The second form moves values out of the request, whose names are distinct. `limit` throws
// ArgumentError as normalize_arguments does, where `try_limit` returns the problems.
[[nodiscard]] Answer try_limit(std::string_view tool, const Mapping& request);
[[nodiscard]] Answer try_limit(std::string_view tool, std::span<Field> request);
[[nodiscard]] Answer limit(std::string_view tool, const Mapping& request);

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_LIMIT_HPP_
