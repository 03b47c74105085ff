#ifndef TOOL_BINDING_SRC_TEXT_TRIM_HPP_
#define TOOL_BINDING_SRC_TEXT_TRIM_HPP_

// White space at the ends of a text. Stray bytes are no white space. Pure functions, linear in the
// bytes of the white space that they pass.

#include <string_view>

namespace tool_binding {

// The text without the white space at either end: a view, valid as long as `text` is.
//   trimmed(" \u00a0x ") == "x"
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;

// Whether the text holds nothing but white space, or nothing at all.
[[nodiscard]] inline bool is_blank(std::string_view text) noexcept {
  // Most text begins with an ASCII character that is printed.
  if (!text.empty() && text.front() >= '!' && text.front() <= '~') return false;
  return trimmed(text).empty();
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_TRIM_HPP_
