#include "text/trim.hpp"

#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

std::string_view without_leading_space(std::string_view text) noexcept {
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    if (!is_white_space(head.value)) break;
    text.remove_prefix(head.size);
  }
  return text;
}

std::string_view without_trailing_space(std::string_view text) noexcept {
  while (!text.empty()) {
    const CodePoint tail = last_code_point(text);
    if (!is_white_space(tail.value)) break;
    text.remove_suffix(tail.size);
  }
  return text;
}

}  // namespace

std::string_view any_ends::trimmed(std::string_view text) noexcept {
  return without_trailing_space(without_leading_space(text));
}

}  // namespace tool_binding
