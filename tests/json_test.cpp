#include "tool_binding/json.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include "every_text.hpp"
#include "print_values.hpp"
#include "test_data.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

const double infinity = std::numeric_limits<double>::infinity();

// RapidJSON's reading says more of numbers.
TEST(ParseJson, ReadsEveryKindExactly) {
  const std::string nines(400, '9');
  const struct {
    std::string text;
    Value value;
  } cases[] = {
      {"\xef\xbb\xbf[]", List()},  // byte order mark
      {nines + "e-399", 10.0},
      {"0." + std::string(400, '0') + "1e401", 1.0},
      {R"("\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00")", "\"\\/\b\f\n\r\t\u00e9\U0001f600"},
      {R"("12 \" 1e999 \\")", "12 \" 1e999 \\"},  // digits in text are not a number
      {R"({"a": 1, "b": 2, "a": [3]})", Mapping{{"a", List{3}}, {"b", 2}}},
      {R"({"a": 1, "b": 2, "a": 3, "b": 4, "a": 5, "b": "a text of its own"})",
       Mapping{{"a", 5}, {"b", "a text of its own"}}},
      {R"({"": {"1": "1", "a\u0000b": null}})",
       Mapping{{"", Mapping{{"1", "1"}, {std::string_view("a\0b", 3), Value()}}}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 60));
    EXPECT_EQ(parse_json(c.text), c.value);
  }
}

void expect_error(const std::string& text, std::size_t byte, const std::string& reason) {
  try {
    ADD_FAILURE() << display_form(parse_json(text));
  } catch (const JsonError& error) {
    EXPECT_EQ(error.byte(), byte);
    EXPECT_EQ(error.what(), "invalid JSON at byte " + std::to_string(byte) + ": " + reason);
  }
}

// Every case of json_errors.txt, which says how it is laid out.
TEST(ParseJson, SaysWhatIsWrongAndWhere) {
  const std::vector<DataCase> cases = data_cases("json_errors.txt");
  for (const DataCase& c : cases) {
    SCOPED_TRACE(c.lines[0]);
    std::size_t digits = 0;
    const std::size_t byte = std::stoul(c.lines.at(1), &digits);
    expect_error(std::string(parse_json(c.lines[0]).as_text()), byte,
                 c.lines[1].substr(digits + 2));
  }
  EXPECT_EQ(cases.size(), 28U);
  expect_error("\"\xff\"", 2, "invalid string: ill-formed UTF-8 byte 0xff");
  expect_error("\"\xed\xa0\x80\"", 2, "invalid string: ill-formed UTF-8 byte 0xed");  // half a pair
  expect_error("\"\xc3\xa9\xc0\xaf\"", 4,
               "invalid string: ill-formed UTF-8 byte 0xc0");  // overlong
  const std::string nines(400, '9');
  // Numbers of any length leave the position right.
  expect_error("[" + nines + ", x]", 404, "unexpected 'x'; expected a value");
  expect_error("[" + nines + " x]", 403, "unexpected 'x'; expected ',' or ']'");
  EXPECT_THROW((void)parse_json(nines + "." + nines), JsonError);
  EXPECT_EQ(parse_json("[1]", {.bytes = 3}), Value(List{1}));
  try {
    ADD_FAILURE() << display_form(parse_json("[12]", {.bytes = 3}));
  } catch (const JsonError& error) {
    EXPECT_STREQ(error.what(), "invalid JSON at byte 4: longer than 3 bytes");
  }
}

TEST(JsonText, WritesEveryKind) {
  const struct {
    Value value;
    std::string_view text;
  } cases[] = {
      {Value(), "null"},
      {true, "true"},
      {-7, "-7"},
      {Value::integer_of("-12345678901234567890123"), "-12345678901234567890123"},
      {2.0, "2.0"},
      {-0.0, "-0.0"},
      {1e16, "1e+16"},
      {5e-324, "5e-324"},
      {infinity, "null"},
      {-infinity, "null"},
      {std::numeric_limits<double>::quiet_NaN(), "null"},
      {std::make_shared<Object>("Repo \"x\""), R"("<Repo \"x\">")"},
      {List(), "[]"},
      {List{1, Value(List{}), Mapping{}, "a"}, R"([1, [], {}, "a"])"},
      {Mapping{{"a", 1}, {"b", List{2}}}, R"({"a": 1, "b": [2]})"},
      {"\"\\/\b\f\n\r\t\x01\x7f", R"("\"\\/\b\f\n\r\t\u0001)"
                                  "\x7f\""},
      {"\u00e9\u2028\U0010ffff", "\"\u00e9\u2028\U0010ffff\""},
      {"a\xff\x80z", R"("a\udcff\udc80z")"},              // stray bytes
      {"\xed\xa0\x80\xed\xbf\xbf", R"("\ud800\udfff")"},  // surrogates in three bytes
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(json_text(c.value), c.text);
  }
  Mapping odd;
  odd.set(1, "one");
  odd.set(Value(), "none");
  odd.set(std::make_shared<Object>("Engine"), 2.5);
  EXPECT_EQ(json_text(odd), R"({"1": "one", "None": "none", "<Engine>": 2.5})");
}

// Every text of up to four of these bytes, against the core's own reading of UTF-8.
TEST(JsonText, EscapesExactlyWhatIsNoUtf8) {
  const std::string_view bytes =
      "a\x7f\x80\x8f\x90\x9f\xa0\xbf\xc0\xc1\xc2\xdf\xe0\xe1\xec\xed\xee\xf0\xf3\xf4\xf5\xff";
  for_every_text(bytes, 4, [](const std::string& text) {
    std::string expected = "\"";
    for (std::string_view rest = text; !rest.empty();) {
      const CodePoint head = first_code_point(rest);
      char escape[7];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(head.value));
      const bool is_surrogate = head.value >= 0xD800 && head.value <= 0xDFFF;
      expected += is_surrogate ? std::string_view(escape) : rest.substr(0, head.size);
      rest.remove_prefix(head.size);
    }
    ASSERT_EQ(json_text(text), expected + '"');
  });
}

TEST(Json, DepthAndLengthAreBoundedByMemoryAlone) {
  const std::size_t depth = 1'000'000;
  const std::string lists = std::string(depth, '[') + std::string(depth, ']');
  std::string mappings;
  for (std::size_t i = 0; i < depth; ++i) mappings += "{\"a\": ";
  mappings += "1" + std::string(depth, '}');
  const std::string digits = "[" + std::string(depth, '7') + "]";
  for (const std::string& text : {lists, mappings, digits}) {
    EXPECT_EQ(json_text(parse_json(text)), text);
  }
  EXPECT_THROW((void)parse_json(std::string(depth, '[')), JsonError);

  Mapping wide;
  for (int i = 0; i < 100'000; ++i) wide.set("name" + std::to_string(i), i);
  EXPECT_EQ(parse_json(json_text(wide)), Value(wide));
}

}  // namespace
}  // namespace tool_binding
