#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "every_text.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

constexpr char32_t code_point_count = 0x110000;

TEST(UnicodeTables, WhiteSpaceIsOneFixedSet) {
  constexpr std::u32string_view white_space =
      U"\u0009\u000A\u000B\u000C\u000D\u001C\u001D\u001E\u001F\u0020\u0085\u00A0\u1680\u2000\u2001"
      U"\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u2028\u2029\u202F\u205F\u3000";
  static_assert(white_space.size() == 29);
  for (char32_t each = 0; each <= code_point_count; ++each) {
    ASSERT_EQ(is_white_space(each), white_space.find(each) != white_space.npos)
        << std::hex << static_cast<std::uint32_t>(each);
  }
}

void expect_same(CodePoint actual, CodePoint expected) {
  ASSERT_EQ(static_cast<std::uint32_t>(actual.value), static_cast<std::uint32_t>(expected.value));
  ASSERT_EQ(actual.size, expected.size);
}

TEST(Utf8, ReadsBackEveryCodePointFromBothEnds) {
  for (char32_t each = 0; each < code_point_count && !HasFatalFailure(); ++each) {
    std::string text;
    append_utf8(text, each);
    const CodePoint expected{each, static_cast<std::uint8_t>(text.size())};
    expect_same(first_code_point(text + "\x80"), expected);
    expect_same(last_code_point("\xC3" + text), expected);
  }
}

// What the first bytes of a text read as: a code point where they are just what it is written as.
CodePoint plainly_first(std::string_view text) {
  for (std::uint8_t size = 1; size <= 4 && size <= text.size(); ++size) {
    char32_t value = static_cast<unsigned char>(text[0]);
    if (size > 1) value &= 0x7FU >> size;
    for (const char c : text.substr(1, size - 1U)) value = value << 6 | (c & 0x3F);
    std::string written;
    if (value < code_point_count) append_utf8(written, value);
    if (written == text.substr(0, size)) return {value, size};
  }
  return {0xDC00U + static_cast<unsigned char>(text[0]), 1};
}

void expect_plain_reading(std::string_view text) {
  std::u32string expected;
  CodePoint last{};
  for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(last.size)) {
    last = plainly_first(rest);
    expected += last.value;
  }
  ASSERT_EQ(code_points(text), expected) << testing::PrintToString(std::string(text));
  ASSERT_EQ(count_code_points(text), expected.size());
  if (!text.empty()) expect_same(last_code_point(text), last);
}

// Bytes from both ends of every range that a second byte may have, leads of each, and bytes that no
// sequence holds. Five bytes show what follows the longest sequence.
TEST(Utf8, ReadsEveryShortStringOfBytes) {
  constexpr std::string_view alphabet =
      "A\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xE0\xED\xF0\xF1\xF4\xF8\xFF";
  for_every_text(alphabet, 5, [](const std::string& text) {
    const std::string followed = text + "\x80\x80\x80";  // what must not be read
    expect_plain_reading(std::string_view(followed).substr(0, text.size()));
  });
}

}  // namespace
}  // namespace tool_binding
