#ifndef TOOL_BINDING_BENCH_LIMIT_NAMES_HPP_
#define TOOL_BINDING_BENCH_LIMIT_NAMES_HPP_

#include <span>
#include <string_view>

namespace tool_binding::bench {

// A name that could have been meant, and the name to offer in its place: of a synonym, the
// parameter's own. Of lower-case letters and underscores, up to `longest_candidate` of them.
struct Candidate {
  std::string_view name;
  std::string_view offer;
};
inline constexpr std::size_t longest_candidate = 14;

// What to offer for a name in ASCII that is none of the candidates', or nothing: of the candidates
// with a Ratcliff/Obershelp ratio of at least 0.6 the most similar, of equally similar ones the
// greatest.
[[nodiscard]] std::string_view nearest(std::string_view given,
                                       std::span<const Candidate> candidates) noexcept;

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_LIMIT_NAMES_HPP_
