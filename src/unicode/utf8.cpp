#include "unicode/utf8.hpp"

#include <bit>

namespace tool_binding {
namespace {

// The least code point that needs a sequence of so many bytes.
constexpr char32_t least_of_size[] = {0, 0, 0x80, 0x800, 0x10000};

}  // namespace

namespace beyond_ascii {

CodePoint first_code_point(std::string_view text) noexcept {
  const auto lead = static_cast<unsigned char>(text.front());
  const CodePoint stray{0xDC00U + lead, 1};
  const auto size = static_cast<std::uint8_t>(std::countl_one(lead));
  if (size < 2 || size > 4 || size > text.size()) return stray;
  char32_t value = lead & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80) return stray;
    value = value << 6 | (byte & 0x3FU);
  }
  if (value < least_of_size[size] || value > 0x10FFFF) return stray;
  return {value, size};
}

// The first byte of a sequence is never inside another one, so what ends here and reads as one
// sequence is read as one from the front of the text too.
CodePoint last_code_point(std::string_view text) noexcept {
  for (std::size_t size = 2; size <= 4 && size <= text.size(); ++size) {
    const CodePoint head = tool_binding::first_code_point({text.data() + text.size() - size, size});
    if (head.size == size) return head;
  }
  return {0xDC00U + static_cast<unsigned char>(text.back()), 1};
}

}  // namespace beyond_ascii

void append_utf8(std::string& out, char32_t code_point) {
  if (code_point < 0x80) {
    out += static_cast<char>(code_point);
    return;
  }
  unsigned rest = code_point < 0x800 ? 1 : code_point < 0x10000 ? 2 : 3;  // bytes after the first
  const unsigned lead_mark = 0x7F80U >> rest;  // its low byte has a bit set for each byte
  out += static_cast<char>(lead_mark | (code_point >> (6 * rest)));
  while (rest-- > 0) out += static_cast<char>(0x80U | ((code_point >> (6 * rest)) & 0x3FU));
}

std::size_t count_code_points(std::string_view text) noexcept {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(first_code_point(text).size);
  return count;
}

std::u32string code_points(std::string_view text) {
  std::u32string read;
  read.reserve(text.size());
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    read += head.value;
    text.remove_prefix(head.size);
  }
  return read;
}

}  // namespace tool_binding
