#ifndef TOOL_BINDING_SRC_JSON_PLAIN_TEXT_HPP_
#define TOOL_BINDING_SRC_JSON_PLAIN_TEXT_HPP_

#include <bit>
#include <cstdint>
#include <cstring>

namespace tool_binding {

// Whether a byte of a string is itself, with nothing to check or to escape.
[[nodiscard]] inline bool is_plain_in_string(char c, char quote) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != quote && c != '\\';
}

// The first byte from `next` on that is not a plain one: a control character, the quote, a
// backslash or a byte beyond ASCII; `end` where there is none.
//
// Eight bytes at a time: subtracting makes the top bit of a byte appear where the byte was smaller,
// and the lowest such byte is never a false one, since a borrow only moves upwards. The last eight
// overlap what was looked at before, which is plain.
[[nodiscard]] inline const char* end_of_plain(const char* next, const char* end,
                                              char quote) noexcept {
  constexpr std::uint64_t ones = 0x0101010101010101U;
  constexpr std::uint64_t tops = ones << 7;
  if constexpr (std::endian::native == std::endian::little) {
    const std::uint64_t quotes = ones * static_cast<unsigned char>(quote);
    const auto first_other = [&quotes](const char* from) {
      std::uint64_t word;
      std::memcpy(&word, from, sizeof word);
      const std::uint64_t found = (((word ^ quotes) - ones) | ((word ^ (ones * '\\')) - ones) |
                                   (word - ones * 0x20) | word) &
                                  tops;
      return found != 0 ? std::countr_zero(found) / 8 : 8;
    };
    if (end - next >= 8) {
      for (; end - next >= 8; next += 8) {
        if (const int place = first_other(next); place < 8) return next + place;
      }
      return end - 8 + first_other(end - 8);
    }
  }
  while (next != end && is_plain_in_string(*next, quote)) ++next;
  return next;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_JSON_PLAIN_TEXT_HPP_
