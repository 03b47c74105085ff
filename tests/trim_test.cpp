#include "text/trim.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

TEST(Trimmed, StripsBothEndsAndNothingElse) {
  struct Case {
    std::string_view text;
    std::string_view expected;
  };
  constexpr Case cases[] = {
      {"", ""},
      {" \t\r\n\x1C", ""},
      {"\xC2\xA0\xE3\x80\x80", ""},
      {"  a b\xE2\x80\x83", "a b"},
      {"\xC2\xA0x\xC2\xA0", "x"},
      {"\xE2\x80\x8B", "\xE2\x80\x8B"},  // the zero-width space
      {"\xA0x\xA0", "\xA0x\xA0"},        // stray bytes
      {" \xE2\x80 ", "\xE2\x80"},        // a sequence that is cut off
      {"\xC2\xC2\xA0", "\xC2"},          // a stray byte before white space
      {"\xC2\xA0\x85", "\x85"},          // U+0085 without its first byte
      {"\xC0\xA0 ", "\xC0\xA0"},         // an overlong space
      {std::string_view(" \0 ", 3), std::string_view("\0", 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.text)));
    EXPECT_EQ(trimmed(c.text), c.expected);
    EXPECT_EQ(is_blank(c.text), c.expected.empty());
  }
}

TEST(Trimmed, StripsTheWhiteSpaceAmongAllCodePoints) {
  for (char32_t each = 0; each <= 0x10FFFF; ++each) {
    std::string padded;
    append_utf8(padded, each);
    const std::string alone = padded;
    padded += "x" + padded;
    ASSERT_EQ(trimmed(padded), is_white_space(each) ? "x" : padded);
    ASSERT_EQ(is_blank(alone), is_white_space(each));
  }
}

}  // namespace
}  // namespace tool_binding
