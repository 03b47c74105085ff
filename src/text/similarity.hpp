#ifndef TOOL_BINDING_SRC_TEXT_SIMILARITY_HPP_
#define TOOL_BINDING_SRC_TEXT_SIMILARITY_HPP_

// How alike two names are, and which of many is nearest to one that was given.
//
// The similarity of a candidate to the given name is the Ratcliff/Obershelp ratio: twice the
// characters that match, divided by the characters of both; 1 for two empty texts. What matches is
// the longest block of characters that is in both (of equally long ones the earliest in the
// candidate, then the earliest in the given name) and, found in the same way, what the parts before
// it and the parts after it have in common. The texts are not interchangeable: "ab" is similar to
// "bacb" by 2/3, "bacb" to "ab" by 1/3.
//
// In a given name of 200 characters or more, a character that occurs more than length / 100 + 1
// times is popular. Blocks are then searched among the other characters only; the block found, or
// an empty one where both parts begin, grows at both ends over all characters that are equal.
//
// Characters are code points; upper and lower case are different ones.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "unicode/utf8.hpp"

namespace tool_binding {

// The least similarity, from 0 to 1, at which a declared name is offered for one that is not.
inline constexpr double NEAR_NAME_CUTOFF_ = 0.6;

// A name that may be the nearest, and what is known of it beforehand. A view; made in linear time.
struct NameCandidate {
  NameCandidate(std::string_view name, std::string_view declared_name) noexcept
      : text(name),
        declared(declared_name),
        size(static_cast<double>(count_code_points(name))),
        is_ascii(std::all_of(name.begin(), name.end(), [](char c) { return (c & 0x80) == 0; })) {}
  NameCandidate(std::string_view name) noexcept : NameCandidate(name, name) {}
  NameCandidate(const std::string& name) noexcept : NameCandidate(std::string_view(name)) {}

  std::string_view text;
  std::string_view declared;  // what the name denotes
  double size;                // in characters
  bool is_ascii;
};

// Finds the best of the candidates offered to it:
//
//   NearestName nearest("qurey", 0.6);
//   for (const std::string_view name : {"limit", "query"}) nearest.offer(name);
//   nearest.best() == "query"
//
// The given name and the candidates must outlive it. Names of up to 64 characters take nothing from
// the heap, longer ones what is linear in their length.
class NearestName {
 public:
  // A candidate qualifies when its similarity is at least `cutoff`. Linear in the name.
  NearestName(std::string_view given, double cutoff) noexcept;
  ~NearestName();

  // Constant time where the lengths rule the candidate out, as those of a very long given name and
  // an ordinary candidate do; one pass over most other candidates that are not near. Between long
  // names, each block found costs at most the characters of the candidate times the most
  // occurrences in the given name of a character that is not popular. Whether it is the best now.
  bool offer(const NameCandidate& candidate) {
    return !ruled_out(candidate) && compare(candidate.text);
  }

  // The most similar candidate that qualifies, of equally similar ones the greatest by code point,
  // whatever the order of the offers.
  [[nodiscard]] std::optional<std::string_view> best() const noexcept { return best_; }
  // The similarity of the best, or the cutoff while there is none.
  [[nodiscard]] double best_similarity() const noexcept { return threshold_; }

  // If less than this matches of two texts of so many characters, they are less similar than the
  // threshold, by more than any rounding.
  [[nodiscard]] static double least_matched(double threshold, double total) noexcept {
    return threshold * (0.5 - 1e-9) * total;
  }

 private:
  // Bit i denotes character i of the given name, if that is short.
  using Positions = std::uint64_t;
  static constexpr std::size_t short_size = 64;

  // By two upper bounds: the lengths, and for an ASCII candidate the longest common subsequence,
  // which all that matches is one of. `open` loses one bit for each character of it (H. Hyyrö,
  // "Bit-parallel LCS-length computation revisited", 2004).
  [[nodiscard]] bool ruled_out(const NameCandidate& candidate) const noexcept {
    if (candidate.size < least_size_ || candidate.size > most_size_) return true;
    if (size_ > short_size || !candidate.is_ascii) return false;
    Positions open = ~Positions{0};
    for (const char character : candidate.text) {
      const Positions met = open & ascii_positions_[static_cast<unsigned char>(character)];
      open = (open + met) | (open - met);
    }
    int common = 0;
    for (Positions closed = ~open; closed != 0; closed &= closed - 1) ++common;
    return common < least_matched(threshold_, candidate.size + size_);
  }
  static void clear(std::span<Positions> positions) noexcept;
  void set_threshold(double threshold) noexcept;
  [[nodiscard]] bool compare(std::string_view candidate);
  // Both answer the similarity, or a number that is below the threshold too.
  [[nodiscard]] double similarity_to(std::string_view candidate);
  [[nodiscard]] double similarity_to_long(std::string_view candidate);
  [[nodiscard]] Positions positions_of(char32_t character) const noexcept {
    return character < 128 ? ascii_positions_[character] : positions_beyond_ascii(character);
  }
  [[nodiscard]] Positions positions_beyond_ascii(char32_t character) const noexcept;

  std::string_view given_;
  double size_;  // of the given name, in characters
  double threshold_;
  // The sizes of candidates that reach the threshold if all of the shorter name matches.
  double least_size_;
  double most_size_;
  std::optional<std::string_view> best_;

  // In the first characters of the given name, which are all of a short one.
  std::array<Positions, 128> ascii_positions_;

  // The whole given name, read when the first candidate needs it.
  struct Whole;
  std::unique_ptr<Whole> whole_;
};

// The similarity of one candidate, from 0 to 1.
[[nodiscard]] double similarity(std::string_view candidate, std::string_view given);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_SIMILARITY_HPP_
