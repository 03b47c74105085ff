#ifndef TOOL_BINDING_SRC_UNICODE_UTF8_HPP_
#define TOOL_BINDING_SRC_UNICODE_UTF8_HPP_

// Reading and writing UTF-8, where every string of bytes is a text.
//
// Well-formed sequences read as their code points, a surrogate encoded in three bytes as that
// surrogate. Any other byte is stray and reads as the one code point U+DC00 + byte: each byte of an
// overlong form, of a number above U+10FFFF and of a sequence that is cut off.
//
//   code_points("\u00e9\xff") == U"\u00e9" followed by U+DCFF
//
// A stray byte and the surrogate of the same number in three bytes read alike; who must keep the
// bytes unchanged copies them. Functions are pure.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tool_binding {

struct CodePoint {
  char32_t value;
  std::uint8_t size;  // in bytes, 1 to 4
};

// What the two functions below answer for a text that begins or ends with a byte beyond ASCII.
namespace beyond_ascii {
[[nodiscard]] CodePoint first_code_point(std::string_view text) noexcept;
[[nodiscard]] CodePoint last_code_point(std::string_view text) noexcept;
}  // namespace beyond_ascii

// The text must not be empty.
[[nodiscard]] inline CodePoint first_code_point(std::string_view text) noexcept {
  const auto byte = static_cast<unsigned char>(text.front());
  return byte < 0x80 ? CodePoint{byte, 1} : beyond_ascii::first_code_point(text);
}

// The code point that reading from the front comes to last, found in constant time. The text must
// not be empty.
[[nodiscard]] inline CodePoint last_code_point(std::string_view text) noexcept {
  const auto byte = static_cast<unsigned char>(text.back());
  return byte < 0x80 ? CodePoint{byte, 1} : beyond_ascii::last_code_point(text);
}

// Writes one code point up to U+10FFFF, a surrogate in three bytes.
void append_utf8(std::string& out, char32_t code_point);

// Linear in the bytes.
[[nodiscard]] std::size_t count_code_points(std::string_view text) noexcept;
[[nodiscard]] std::u32string code_points(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_UNICODE_UTF8_HPP_
