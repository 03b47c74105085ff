#include "printable.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "tool_binding/value.hpp"

namespace tool_binding::tool_admit {
namespace {

constexpr bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) >> 6) == 2; }

// Of the code point that the first byte announces, as far as there are bytes for it.
std::size_t code_point_size(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t most = 1U + (lead >= 0xC0) + (lead >= 0xE0) + (lead >= 0xF0);
  std::size_t size = 1;
  while (size < std::min(most, text.size()) && is_continuation(text[size])) ++size;
  return size;
}

std::string hex4(std::uint32_t unit) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string out = "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) out += digits[(unit >> shift) & 15];
  return out;
}

// One escape of display_form(), "\x1b", "\u202e", "\U000e0001" or "\n", as JSON writes it.
std::string json_escape(std::string_view escape) {
  if (escape[1] != 'x' && escape[1] != 'u' && escape[1] != 'U') return std::string(escape);
  std::uint32_t code_point = 0;
  std::from_chars(escape.data() + 2, escape.data() + escape.size(), code_point, 16);
  if (code_point < 0x10000) return hex4(code_point);
  code_point -= 0x10000;
  return hex4(0xD800 + (code_point >> 10)) + hex4(0xDC00 + (code_point & 0x3FF));
}

std::string json_escapes(std::string_view shown) {
  std::string out;
  while (!shown.empty()) {
    const std::size_t size = shown.find('\\', 1);
    out += json_escape(shown.substr(0, size));
    shown.remove_prefix(size == shown.npos ? shown.size() : size);
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::string_view code_point = text.substr(0, code_point_size(text));
    text.remove_prefix(code_point.size());
    if (code_point.size() == 1 && code_point[0] >= ' ' && code_point[0] < '\x7f') {
      out += code_point;
      continue;
    }
    const std::string quoted = display_form(Value(code_point));
    const std::string_view shown = std::string_view(quoted).substr(1, quoted.size() - 2);
    out += shown.starts_with('\\') ? json_escapes(shown) : code_point;
  }
  return out;
}

}  // namespace tool_binding::tool_admit
