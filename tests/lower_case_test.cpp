#include "text/lower_case.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tool_binding {
namespace {

TEST(LowerCased, MapsWords) {
  struct Case {
    std::string_view text;
    std::string_view expected;
  };
  constexpr Case cases[] = {
      {"", ""},
      {"Fast @[`{ Slow", "fast @[`{ slow"},
      {"STRASSE Stra\u00DFe \u1E9E", "strasse stra\u00DFe \u00DF"},
      {"I\u0130\u0131", "ii\u0307\u0131"},
      {"\u01C5 \u2126 \U00010400", "\u01C6 \u03C9 \U00010428"},
      {"\u03A3", "\u03C3"},
      {"A\u03A3", "a\u03C2"},
      {"A\u03A3 \u03A3", "a\u03C2 \u03C3"},
      {"\u03A3A", "\u03C3a"},
      {"A\u03A3\u03A3", "a\u03C3\u03C2"},
      {"A\u0301.\u03A3:\u0301", "a\u0301.\u03C2:\u0301"},
      {"A\u03A3:B", "a\u03C3:b"},
      {"\u0345\u03A3", "\u0345\u03C3"},  // cased and case-ignorable: passed over
      {"A\u03A3\u0345", "a\u03C2\u0345"},
      {"A\u03A31", "a\u03C21"},
      {"A\u03A3\xFF", "a\u03C2\xFF"},
      {"A\xCF\u03A3\xC3", "a\xCF\u03C3\xC3"},  // a stray byte ends the word
      {"A\xED\xA0\x80", "a\xED\xA0\x80"},      // a surrogate
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.text)));
    EXPECT_EQ(lower_cased(c.text), c.expected);
  }
}

}  // namespace
}  // namespace tool_binding
