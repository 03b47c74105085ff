#ifndef TOOL_BINDING_SRC_UNICODE_TABLES_HPP_
#define TOOL_BINDING_SRC_UNICODE_TABLES_HPP_

// What the library knows of single characters: white space, printability, digits and letter case.
//
// Every function is pure and takes any number: surrogates, unassigned code points and what lies
// beyond U+10FFFF are in no set and are their own lower case. ASCII is answered here, the rest by
// binary search.
//
// The data are tables.inc, which tools/generate_unicode_tables.py makes from the Unicode Character
// Database. Its rows are sorted ranges of code points from U+0080 on, both ends included:
//
//   Range       {first, last}               the members of a set. A range of decimal digits is one
//                                           or more runs from zero to nine.
//   LowerRange  {first, last, step, delta}  `first`, every `step`th after it and `last` have a
//   lower
//                                           case, which is `delta` further on.

#include <string_view>

#include "tool_binding/export.hpp"

namespace tool_binding {

// The same declaration is in tool_binding/value.hpp, for users of the library.
[[nodiscard]] TOOL_BINDING_EXPORT std::string_view unicode_version() noexcept;

// What the functions below answer for code points from U+0080 on.
namespace beyond_ascii {
[[nodiscard]] bool is_white_space(char32_t code_point) noexcept;
[[nodiscard]] bool is_printable(char32_t code_point) noexcept;
[[nodiscard]] int decimal_digit_value(char32_t code_point) noexcept;
[[nodiscard]] char32_t lower_case_of(char32_t code_point) noexcept;
[[nodiscard]] bool is_cased(char32_t code_point) noexcept;
[[nodiscard]] bool is_case_ignorable(char32_t code_point) noexcept;
}  // namespace beyond_ascii

[[nodiscard]] constexpr bool is_ascii(char32_t code_point) noexcept { return code_point < 0x80; }

// The property White_Space and the separators U+001C to U+001F: a fixed set of 29 characters, which
// no version of Unicode changes.
[[nodiscard]] inline bool is_white_space(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::is_white_space(code_point);
  return code_point == U' ' || (code_point >= 0x09 && code_point <= 0x0D) ||
         (code_point >= 0x1C && code_point <= 0x1F);
}

// Whether a message shows the character itself: U+0020, and every character that is not a
// separator, control, format, surrogate, private-use or unassigned one.
[[nodiscard]] inline bool is_printable(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::is_printable(code_point);
  return code_point >= U' ' && code_point <= U'~';
}

// 0 to 9 for a decimal digit of any script (general category Nd), else -1. Superscripts, fractions
// and numerals such as U+2163 are not decimal digits.
[[nodiscard]] inline int decimal_digit_value(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::decimal_digit_value(code_point);
  return code_point >= U'0' && code_point <= U'9' ? static_cast<int>(code_point - U'0') : -1;
}

// The simple lower case, one character for one; lower_cased() in text/lower_case.hpp is the full
// mapping of a text.
[[nodiscard]] inline char32_t lower_case_of(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::lower_case_of(code_point);
  return code_point >= U'A' && code_point <= U'Z' ? code_point + (U'a' - U'A') : code_point;
}

// The derived property Cased. A character may be both cased and case-ignorable.
[[nodiscard]] inline bool is_cased(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::is_cased(code_point);
  return (code_point >= U'A' && code_point <= U'Z') || (code_point >= U'a' && code_point <= U'z');
}

// The derived property Case_Ignorable: what may stand inside a word beside its letters.
[[nodiscard]] inline bool is_case_ignorable(char32_t code_point) noexcept {
  if (!is_ascii(code_point)) return beyond_ascii::is_case_ignorable(code_point);
  return code_point == U'\'' || code_point == U'.' || code_point == U':' || code_point == U'^' ||
         code_point == U'`';
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_UNICODE_TABLES_HPP_
