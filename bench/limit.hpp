#ifndef TOOL_BINDING_BENCH_LIMIT_HPP_
#define TOOL_BINDING_BENCH_LIMIT_HPP_

// The limit that the layer's speed is measured against: admission and binding in one pass, written
// by hand for exactly the tools of cases.hpp. There is no registry and no look-up: names are told
// apart by their length and characters, and each value goes straight to its place in the answer.
//
// It gives the layer's answers and refusals, word for word. What no request that is measured holds
// it leaves out, which can only make it faster: characters beyond ASCII in names, numbers and white
// space, integers beyond 64 bits, underscores between digits, floats out of range, keys that are no
// text, and for the wide tools all but integers under declared names.

#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/value.hpp"

namespace tool_binding::bench {

struct Answer {
  Mapping bound;
  std::vector<std::string> notes = {};
  bool alias_hit = false;

  friend bool operator==(const Answer&, const Answer&) = default;
};

// Throws ArgumentError as normalize_arguments does, and std::out_of_range for another tool. The
// second form moves values out of `request`.
[[nodiscard]] Answer limit(std::string_view tool, const Mapping& request);
[[nodiscard]] Answer limit(std::string_view tool, Mapping&& request);

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_LIMIT_HPP_
