#include "text/lower_case.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

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

TEST(LowerCased, MapsEveryCodePointAlone) {
  for (char32_t each = 0; each <= 0x10FFFF; ++each) {
    std::string text;
    append_utf8(text, each);
    std::string expected;
    append_utf8(expected, lower_case_of(each));
    if (each == 0x0130) expected = "i\u0307";
    ASSERT_EQ(lower_cased(text), expected) << static_cast<unsigned long>(each);
  }
}

// The first character that is not case-ignorable, going from `at` by `step`, is cased.
bool is_cased_beyond(std::u32string_view characters, std::size_t at, std::size_t step) {
  do at += step;
  while (at < characters.size() && is_case_ignorable(characters[at]));
  return at < characters.size() && is_cased(characters[at]);
}

// The rule as it is worded: each sigma looks around for itself.
std::string plainly_lower_cased(std::string_view text) {
  constexpr std::size_t back = static_cast<std::size_t>(-1);
  const std::u32string characters = code_points(text);
  std::string lower;
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const std::string_view bytes = text.substr(0, first_code_point(text).size);
    text.remove_prefix(bytes.size());
    if (characters[i] == 0x03A3) {
      const bool is_final =
          is_cased_beyond(characters, i, back) && !is_cased_beyond(characters, i, 1);
      lower += is_final ? "\u03C2" : "\u03C3";
    } else {
      lower += lower_cased(bytes);
    }
  }
  return lower;
}

constexpr std::array<std::string_view, 11> pieces = {
    "\u03A3", "A",      "\u03C3", "\u0130",  // cased
    "'",      "\u0301",                      // case-ignorable
    "\u0345",                                // both
    " ",      "\u4E00",                      // neither
    "\xCE",   "\xA3",                        // stray alone, a sigma together
};

TEST(LowerCased, AgreesWithThePlainRuleOnRandomTexts) {
  std::mt19937 random(15);
  for (int round = 0; round < 100000; ++round) {
    std::string text;
    while (random() % 8 != 0) text += pieces[random() % pieces.size()];
    ASSERT_EQ(lower_cased(text), plainly_lower_cased(text)) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace tool_binding
