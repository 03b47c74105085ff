// The Unicode tables and lower-casing against another implementation of them.

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <sstream>
#include <string>
#include <string_view>
#include <tuple>

#include "every_text.hpp"
#include "text/lower_case.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

std::string lower_cased_by_icu(const std::string& text) {
  std::string lower;
  return icu::UnicodeString::fromUTF8(text).toLower(icu::Locale::getRoot()).toUTF8String(lower);
}

class Icu : public testing::Test {
 protected:
  void SetUp() override {
    UVersionInfo version;
    u_getUnicodeVersion(version);
    std::ostringstream text;
    text << +version[0] << '.' << +version[1] << '.' << +version[2];
    if (text.str() != unicode_version()) {
      GTEST_SKIP() << "the tables are of Unicode " << unicode_version() << ", ICU of "
                   << text.str();
    }
  }
};

TEST_F(Icu, AgreesOnEveryCodePoint) {
  constexpr std::uint32_t hidden = U_GC_C_MASK | U_GC_Z_MASK;
  for (UChar32 each = 0; each <= UCHAR_MAX_VALUE; ++each) {
    const auto ours = static_cast<char32_t>(each);
    ASSERT_EQ(std::tuple(is_white_space(ours), is_printable(ours), decimal_digit_value(ours),
                         is_cased(ours), is_case_ignorable(ours), UChar32(lower_case_of(ours))),
              std::tuple(u_isUWhiteSpace(each) != 0 || (each >= 0x1C && each <= 0x1F),
                         each == ' ' || (U_GET_GC_MASK(each) & hidden) == 0, u_charDigitValue(each),
                         u_hasBinaryProperty(each, UCHAR_CASED) != 0,
                         u_hasBinaryProperty(each, UCHAR_CASE_IGNORABLE) != 0, u_tolower(each)))
        << std::hex << each;
    std::string text;
    append_utf8(text, ours);
    ASSERT_EQ(lower_cased(text), U_IS_SURROGATE(each) ? text : lower_cased_by_icu(text));
  }
}

// Every text of up to six pieces: each place that a sigma can have beside every kind of character.
TEST_F(Icu, AgreesOnWhereASigmaIsFinal) {
  constexpr std::string_view stray = "\xff";
  constexpr std::string_view stand_in = "\ufffd";  // neither cased nor case-ignorable either
  constexpr std::string_view pieces[] = {
      "\u03a3", "A",   "\u0130",  // cased
      "\u0301",                   // case-ignorable
      "\u0345",                   // both
      " ",      stray,            // neither
  };
  const auto replaced = [](std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
    return text;
  };
  for_every_text(pieces, 6, [&](const std::string& text) {
    ASSERT_EQ(lower_cased(text),
              replaced(lower_cased_by_icu(replaced(text, stray, stand_in)), stand_in, stray))
        << testing::PrintToString(text);
  });
}

}  // namespace
}  // namespace tool_binding
