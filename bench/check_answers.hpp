#ifndef TOOL_BINDING_BENCH_CHECK_ANSWERS_HPP_
#define TOOL_BINDING_BENCH_CHECK_ANSWERS_HPP_

namespace tool_binding::bench {

// Whether the layer and the limit give the same answers and refusals, to requests that they read
// and to requests handed over: for every case, and for those of many random requests to the two
// tools that the limit covers; and whether every road's answer to every case is the layer's. The
// first difference is written to standard error.
[[nodiscard]] bool answers_agree();

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_CHECK_ANSWERS_HPP_
