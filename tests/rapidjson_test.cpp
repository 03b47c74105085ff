// What parse_json reads and refuses, against RapidJSON.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "every_text.hpp"
#include "print_values.hpp"
#include "rapidjson_reading.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

// How many of this one text are JSON.
std::size_t compared(JsonReader& reader, const std::string& text) {
  std::optional<Value> ours;
  try {
    ours = reader.read(text);
  } catch (const JsonError& error) {
    EXPECT_LE(error.byte(), text.size() + 1);
    EXPECT_GE(error.byte(), 1U);
  }
  const auto [is_known, theirs] = rapidjson_reading(text);
  if (!is_known) return 0;
  EXPECT_EQ(ours.has_value(), theirs.has_value()) << testing::PrintToString(text);
  if (ours && theirs) {
    EXPECT_EQ(*ours, *theirs) << testing::PrintToString(text);
  }
  return ours ? 1 : 0;
}

TEST(ParseJson, AgreesWithRapidjsonOnEveryShortText) {
  const struct {
    int length;
    std::vector<std::string_view> pieces;
  } alphabets[] = {
      {4, {"[", "]", "{\"a\":", "}", ",", "0", "-7", ".5", "e", " ", "\"", "\\", "null"}},
      {5, {"[", "]", "{", "}", "\"a\"", "\"b\"", ":", ",", "1"}},
      {6, {"0", "17", "-", "+", ".", "e"}},
  };
  JsonReader reader;
  std::size_t valid = 0;
  for (const auto& [length, pieces] : alphabets) {
    for_every_text(pieces, length,
                   [&](const std::string& text) { valid += compared(reader, text); });
  }
  EXPECT_GT(valid, 800U);
}

// Behind more and less plain text.
TEST(ParseJson, AgreesWithRapidjsonOnUtf8) {
  const std::string_view bytes =
      "a\x7f\x80\x8f\x90\x9f\xa0\xbf\xc0\xc1\xc2\xdf\xe0\xe1\xec\xed\xee\xef\xf0\xf3\xf4\xf5\xff";
  JsonReader reader;
  std::size_t tried = 0;
  std::size_t valid = 0;
  for_every_text(bytes, 4, [&](const std::string& text) {
    valid += compared(reader, '"' + std::string(tried++ % 9, 'x') + text + '"');
  });
  EXPECT_GT(valid, 1000U);
}

// What stands between the spaces.
std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> found(1);
  for (const char c : text) c == ' ' ? found.emplace_back() : found.back() += c;
  return found;
}

// Around what 64 bits, the exact arithmetic and the floats hold, each with every end.
TEST(ParseJson, AgreesWithRapidjsonOnNumbersAtTheirLimits) {
  const std::string zeros(330, '0');
  const std::string nines(330, '9');
  const std::vector<std::string> digits = words(
      "0 1 7 999999999999999999 1000000000000000000 9223372036854775807 9223372036854775808 "
      "18446744073709551615 18446744073709551616 9007199254740991 9007199254740992 "
      "9007199254740993 9007199254740994 17976931348623157 17976931348623159 4940656458412465 "
      "2470328229206232 2470328229206233 22250738585072011 22250738585072014 1" +
      zeros + ' ' + nines + ' ' + zeros);
  const std::vector<std::string> fractions =
      words(" .0 .5 .1 .9999999999999999 . ." + zeros + "1 ." + nines);
  const std::vector<std::string> exponents = words(
      " e0 e22 E-22 e23 e-23 e+292 e293 e294 e308 e309 e-323 e-324 e-339 e-340 e-341 e e- "
      "e+_1 e1.0 e99999999999999999999 e-99999999999999999999");
  JsonReader reader;
  std::size_t valid = 0;
  for (const std::string& whole : digits) {
    for (const std::string& fraction : fractions) {
      for (const std::string& exponent : exponents) {
        valid += compared(reader, whole + fraction + exponent);
        valid += compared(reader, "[-" + whole + fraction + exponent + "]");
      }
    }
  }
  EXPECT_GT(valid, 3000U);
}

}  // namespace
}  // namespace tool_binding
