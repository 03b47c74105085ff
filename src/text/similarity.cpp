#include "text/similarity.hpp"

#include <algorithm>
#include <bit>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tool_binding {
namespace {

// A part of the candidate, from `c` up to `c_end`, and the part of the given name beside it.
struct Pair {
  std::size_t c, c_end;
  std::size_t g, g_end;

  std::size_t shorter() const noexcept { return std::min(c_end - c, g_end - g); }
};

struct Block {
  std::size_t c, g;
  std::size_t size;
};

double ratio(std::size_t matched, std::size_t total) noexcept {
  return total == 0 ? 1 : 2 * static_cast<double>(matched) / static_cast<double>(total);
}

// The ratio of two texts, or a number that is below the threshold too. `possible` starts as if all
// of the shorter text matched, and loses what each block leaves over; in the end it is what
// matched. The smaller part goes first: so what is treated halves with each part that waits, and no
// text is long enough to fill `waiting`.
template <typename LongestBlock>
double ratio_of(const Pair& texts, double threshold, const LongestBlock& longest_block) {
  const std::size_t total = texts.c_end + texts.g_end;
  std::size_t possible = texts.shorter();
  std::array<Pair, 64> waiting;
  std::size_t count = 0;
  if (possible > 0) waiting[count++] = texts;
  const double least = NearestName::least_matched(threshold, static_cast<double>(total));
  while (count > 0 && static_cast<double>(possible) >= least) {
    const Pair pair = waiting[--count];
    const Block block = longest_block(pair);
    possible -= pair.shorter() - block.size;
    if (block.size == 0) continue;
    Pair larger{pair.c, block.c, pair.g, block.g};
    Pair smaller{block.c + block.size, pair.c_end, block.g + block.size, pair.g_end};
    if (larger.c_end - larger.c < smaller.c_end - smaller.c) std::swap(larger, smaller);
    possible += larger.shorter() + smaller.shorter();
    if (larger.shorter() > 0) waiting[count++] = larger;
    if (smaller.shorter() > 0) waiting[count++] = smaller;
  }
  return ratio(possible, total);
}

// rows[i] has the positions in the given name, as bits, of character i of the candidate. The blocks
// that start at one character are all measured at once.
Block longest_short_block(const Pair& pair, std::span<const std::uint64_t> rows) noexcept {
  const std::uint64_t within = ~std::uint64_t{0} >> (64 - (pair.g_end - pair.g)) << pair.g;
  Block best{pair.c, pair.g, 0};
  for (std::size_t c = pair.c; c + best.size < pair.c_end; ++c) {
    std::uint64_t starts = ~std::uint64_t{0};
    std::size_t size = 0;
    for (; c + size < pair.c_end; ++size) {
      const std::uint64_t longer = starts & ((rows[c + size] & within) >> size);
      if (longer == 0) break;
      starts = longer;
    }
    if (size > best.size) best = {c, static_cast<std::size_t>(std::countr_zero(starts)), size};
  }
  return best;
}

// A candidate and the given name, of any length.
struct LongTexts {
  std::u32string_view c;
  std::u32string_view g;
  // For each character of the candidate its positions in the given name, ascending; none for a
  // popular one.
  std::vector<std::span<const std::size_t>> rows;

  bool equal(std::size_t i, std::size_t j) const noexcept { return c[i] == g[j]; }
  bool searched(std::size_t i, std::size_t j) const noexcept {
    return equal(i, j) && !rows[i].empty();
  }
  Block longest_searched(const Pair& pair) const noexcept;
  Block longest_block(const Pair& pair) const noexcept;
};

// A block is measured only from where it cannot start earlier, so that all of them together cost no
// more than the pairs of equal characters.
Block LongTexts::longest_searched(const Pair& pair) const noexcept {
  Block best{pair.c, pair.g, 0};
  for (std::size_t i = pair.c; i + best.size < pair.c_end; ++i) {
    auto position = std::lower_bound(rows[i].begin(), rows[i].end(), pair.g);
    for (; position != rows[i].end() && *position < pair.g_end; ++position) {
      const std::size_t j = *position;
      if (i > pair.c && j > pair.g && searched(i - 1, j - 1)) continue;
      std::size_t size = 1;
      while (i + size < pair.c_end && j + size < pair.g_end && searched(i + size, j + size)) ++size;
      if (size > best.size) best = {i, j, size};
    }
  }
  return best;
}

Block LongTexts::longest_block(const Pair& pair) const noexcept {
  auto [i, j, size] = longest_searched(pair);
  while (i > pair.c && j > pair.g && equal(i - 1, j - 1)) {
    --i;
    --j;
    ++size;
  }
  while (i + size < pair.c_end && j + size < pair.g_end && equal(i + size, j + size)) ++size;
  return {i, j, size};
}

bool less_by_code_point(std::string_view left, std::string_view right) noexcept {
  while (!left.empty() && !right.empty()) {
    const CodePoint l = first_code_point(left);
    const CodePoint r = first_code_point(right);
    if (l.value != r.value) return l.value < r.value;
    left.remove_prefix(l.size);
    right.remove_prefix(r.size);
  }
  return left.empty() && !right.empty();
}

}  // namespace

// A popular character has no positions.
struct NearestName::Whole {
  explicit Whole(std::string_view given) : characters(code_points(given)) {
    const std::size_t size = characters.size();
    for (std::size_t i = 0; i < size; ++i) positions[characters[i]].push_back(i);
    if (size < 200) return;
    for (auto& [character, found] : positions) {
      if (found.size() > size / 100 + 1) found.clear();
    }
  }

  std::u32string characters;
  std::unordered_map<char32_t, std::vector<std::size_t>> positions;
};

NearestName::~NearestName() = default;

// Not inline: where GCC knows how much there is, it clears with an instruction that takes three
// times as long as std::memset.
[[gnu::noinline]] void NearestName::clear(std::span<Positions> positions) noexcept {
  std::fill(positions.begin(), positions.end(), 0);
}

NearestName::NearestName(std::string_view given, double cutoff) noexcept : given_(given) {
  clear(ascii_positions_);
  std::size_t size = 0;
  for (Positions bit = 1; !given.empty() && bit != 0; bit <<= 1, ++size) {
    const CodePoint head = first_code_point(given);
    if (head.value < 128) ascii_positions_[head.value] |= bit;
    given.remove_prefix(head.size);
  }
  size_ = static_cast<double>(given.empty() ? size : size + count_code_points(given));
  set_threshold(cutoff);
}

void NearestName::set_threshold(double threshold) noexcept {
  threshold_ = threshold;
  const double least = least_matched(threshold, 1);
  least_size_ = size_ * least / (1 - least);
  most_size_ = size_ * (1 - least) / least;  // not a number, which rules nothing out, at worst
}

bool NearestName::compare(std::string_view candidate) {
  const double similarity = similarity_to(candidate);
  if (!(similarity >= threshold_)) return false;
  if (best_ && similarity == threshold_ && !less_by_code_point(*best_, candidate)) return false;
  best_ = candidate;
  set_threshold(similarity);
  return true;
}

double NearestName::similarity_to(std::string_view candidate) {
  if (size_ > short_size) return similarity_to_long(candidate);
  std::array<Positions, short_size> rows;
  std::size_t count = 0;
  for (std::string_view rest = candidate; !rest.empty(); ++count) {
    if (count == short_size) return similarity_to_long(candidate);
    const CodePoint head = first_code_point(rest);
    rows[count] = positions_of(head.value);
    rest.remove_prefix(head.size);
  }
  return ratio_of({0, count, 0, static_cast<std::size_t>(size_)}, threshold_,
                  [&rows](const Pair& pair) { return longest_short_block(pair, rows); });
}

NearestName::Positions NearestName::positions_beyond_ascii(char32_t character) const noexcept {
  Positions positions = 0;
  Positions bit = 1;
  for (std::string_view rest = given_; !rest.empty(); bit <<= 1) {
    const CodePoint head = first_code_point(rest);
    if (head.value == character) positions |= bit;
    rest.remove_prefix(head.size);
  }
  return positions;
}

double NearestName::similarity_to_long(std::string_view candidate) {
  const std::u32string characters = code_points(candidate);
  if (whole_ == nullptr) whole_ = std::make_unique<Whole>(given_);
  const Pair whole{0, characters.size(), 0, whole_->characters.size()};
  LongTexts texts{characters, whole_->characters, {}};
  texts.rows.reserve(characters.size());
  for (const char32_t character : characters) {
    const auto found = whole_->positions.find(character);
    texts.rows.emplace_back();
    if (found != whole_->positions.end()) texts.rows.back() = found->second;
  }
  return ratio_of(whole, threshold_,
                  [&texts](const Pair& pair) { return texts.longest_block(pair); });
}

double similarity(std::string_view candidate, std::string_view given) {
  NearestName nearest(given, 0);
  nearest.offer(candidate);
  return nearest.best_similarity();
}

}  // namespace tool_binding
