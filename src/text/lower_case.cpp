#include "text/lower_case.hpp"

#include <cstddef>

#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

constexpr char32_t capital_i_with_dot = 0x0130;
constexpr char32_t capital_sigma = 0x03A3;
// The small sigmas, "\xCF\x83" and at the end of a word "\xCF\x82", differ in their last byte.
constexpr char inner_sigma_end = '\x83';
constexpr char final_sigma_end = '\x82';

bool is_ascii(std::string_view text) noexcept {
  unsigned char bits = 0;  // no branch in the loop, so that compilers may use wide instructions
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

std::string ascii_lower_cased(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  return lower;
}

// `bytes` are those that `code_point` was read from.
void append_lower(std::string& out, char32_t code_point, std::string_view bytes) {
  if (code_point == capital_i_with_dot) {
    out += "i\xCC\x87";
    return;
  }
  const char32_t lower = lower_case_of(code_point);
  if (lower == code_point) {
    out += bytes;
  } else {
    append_utf8(out, lower);
  }
}

}  // namespace

// One pass: a sigma after a cased character is written as final, and mended once the next character
// that is not case-ignorable turns out to be cased.
std::string lower_cased(std::string_view text) {
  if (is_ascii(text)) return ascii_lower_cased(text);
  constexpr std::size_t none = std::string::npos;
  std::string lower;
  lower.reserve(text.size());
  bool after_cased = false;
  std::size_t open_sigma = none;  // the place of the last byte of a sigma that may need mending
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    append_lower(lower, head.value, text.substr(0, head.size));
    text.remove_prefix(head.size);
    if (is_case_ignorable(head.value)) continue;
    const bool cased = is_cased(head.value);
    if (open_sigma != none && cased) lower[open_sigma] = inner_sigma_end;
    open_sigma = none;
    if (head.value == capital_sigma && after_cased) {
      lower.back() = final_sigma_end;
      open_sigma = lower.size() - 1;
    }
    after_cased = cased;
  }
  return lower;
}

}  // namespace tool_binding
