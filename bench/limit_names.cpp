#include "limit_names.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace tool_binding::bench {

// Not inline, as NearestName's is not.
[[gnu::noinline]] void clear(std::span<std::uint32_t> positions) noexcept {
  std::fill(positions.begin(), positions.end(), 0);
}

namespace {

// Bit i stands for character i of the given name.
using Bits = std::uint32_t;
using Rows = std::array<Bits, longest_candidate>;

// A ratio of 2 * longest_candidate / (longest_candidate + 33) is below 0.6: names that are longer
// than the bits have no candidate.
constexpr std::size_t longest_given = 32;
static_assert(20 * longest_candidate < 6 * (longest_candidate + longest_given + 1));

// Five bits tell lower-case letters and the underscore apart.
std::size_t slot(char c) noexcept { return static_cast<unsigned char>(c) & 31U; }

// Where the name has each of the characters that candidates are made of.
std::array<Bits, 32> positions_in(std::string_view given) noexcept {
  std::array<Bits, 32> positions;
  clear(positions);
  Bits bit = 1;
  for (const char c : given) {
    if ((c >= 'a' && c <= 'z') || c == '_') positions[slot(c)] |= bit;
    bit <<= 1;
  }
  return positions;
}

// What matches between the rows [from, to) and the bits of `within`. `ends[i]` holds the ends, in
// the given name, of the blocks of the present length that end at row i.
std::size_t matched(const Rows& rows, std::size_t from, std::size_t to, Bits within) noexcept {
  if (from >= to || within == 0) return 0;
  Rows ends;
  std::size_t last = to;
  for (std::size_t i = to; i-- > from;) {
    ends[i] = rows[i] & within;
    if (ends[i] != 0) last = i;
  }
  if (last == to) return 0;
  std::size_t size = 1;
  Bits end = ends[last] & -ends[last];
  for (std::size_t longer = last;; last = longer) {
    longer = to;
    for (std::size_t i = to; --i > from;) {
      ends[i] = (ends[i - 1] << 1) & rows[i] & within;
      if (ends[i] != 0) longer = i;
    }
    ends[from] = 0;
    if (longer == to) break;
    end = ends[longer] & -ends[longer];
    ++size;
  }
  const Bits before = (end >> (size - 1)) - 1;
  const Bits after = ~(end | (end - 1));
  return size + matched(rows, from, last + 1 - size, within & before) +
         matched(rows, last + 1, to, within & after);
}

}  // namespace

// Ratios are compared as fractions. Before one is worked out, two bounds of it must do: the shorter
// length, and the longest common subsequence, which takes a bit of `open` for each character.
std::string_view nearest(std::string_view given, std::span<const Candidate> candidates) noexcept {
  if (given.size() > longest_given) return {};
  const std::array<Bits, 32> positions = positions_in(given);
  const Candidate* best = nullptr;
  std::size_t best_matched = 3;  // the cutoff: 2 * 3 / 10
  std::size_t best_total = 10;
  const auto too_low = [&](std::size_t matched, std::size_t total) {
    return matched * best_total < best_matched * total;
  };
  for (const Candidate& candidate : candidates) {
    const std::size_t total = candidate.name.size() + given.size();
    if (too_low(std::min(candidate.name.size(), given.size()), total)) continue;
    Rows rows;
    Bits open = ~Bits{0};
    for (std::size_t i = 0; i < candidate.name.size(); ++i) {
      rows[i] = positions[slot(candidate.name[i])];
      const Bits met = open & rows[i];
      open = (open + met) | (open - met);
    }
    if (too_low(static_cast<std::size_t>(std::popcount(~open)), total)) continue;
    const std::size_t in_common = matched(rows, 0, candidate.name.size(), ~Bits{0});
    if (too_low(in_common, total)) continue;
    const bool equal = in_common * best_total == best_matched * total;
    if (best != nullptr && equal && candidate.name < best->name) continue;
    best = &candidate;
    best_matched = in_common;
    best_total = total;
  }
  return best != nullptr ? best->offer : std::string_view();
}

}  // namespace tool_binding::bench
