#ifndef TOOL_BINDING_SRC_TEXT_TRIM_HPP_
#define TOOL_BINDING_SRC_TEXT_TRIM_HPP_

// White space at the ends of a text. Stray bytes are not white space. Pure functions, linear in the
// bytes of the white space that they pass.

#include <string_view>

namespace tool_binding {

namespace any_ends {
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;
}

// Most text begins and ends so.
[[nodiscard]] inline bool is_visible_ascii(char c) noexcept { return c >= '!' && c <= '~'; }

// The text without the white space at either end: a view, valid as long as `text` is.
//   trimmed(" \u00a0x ") == "x"
[[nodiscard]] inline std::string_view trimmed(std::string_view text) noexcept {
  if (text.empty()) return text;
  if (is_visible_ascii(text.front()) && is_visible_ascii(text.back())) return text;
  return any_ends::trimmed(text);
}

// Whether the text holds nothing but white space, or nothing at all.
[[nodiscard]] inline bool is_blank(std::string_view text) noexcept {
  if (!text.empty() && is_visible_ascii(text.front())) return false;
  return any_ends::trimmed(text).empty();
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_TRIM_HPP_
