#ifndef TOOL_BINDING_BENCH_COUNTING_NEW_HPP_
#define TOOL_BINDING_BENCH_COUNTING_NEW_HPP_

#include <cstddef>

namespace tool_binding::bench {

struct Allocations {
  std::size_t count = 0;
  std::size_t bytes = 0;
};

// What this thread has taken by operator new since it started.
[[nodiscard]] Allocations allocations() noexcept;

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_COUNTING_NEW_HPP_
