#include "tool_binding/json.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include "print_values.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

const double infinity = std::numeric_limits<double>::infinity();

TEST(ParseJson, ReadsEveryKindExactly) {
  const std::string nines(400, '9');
  const struct {
    std::string text;
    Value value;
  } cases[] = {
      {"\xef\xbb\xbf[]", List()},  // byte order mark
      {"-0", 0},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
      {"18446744073709551616", Value::integer_of("18446744073709551616")},
      {"-9223372036854775809", Value::integer_of("-9223372036854775809")},
      {nines, Value::integer_of(nines)},
      {"[-" + nines + " ,1]", List{Value::integer_of("-" + nines), 1}},
      {"0.1234567890123456789012345678901234567890", 0.12345678901234568},
      {nines + "e-399", 10.0},
      {"0." + std::string(400, '0') + "1e401", 1.0},
      {"1e-400", 0.0},
      {R"("\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00")", "\"\\/\b\f\n\r\t\u00e9\U0001f600"},
      {R"("12 \" 1e999 \\")", "12 \" 1e999 \\"},  // digits in text are not a number
      {R"({"a": 1, "b": 2, "a": [3]})", Mapping{{"a", List{3}}, {"b", 2}}},
      {R"({"": {"1": "1", "a\u0000b": null}})",
       Mapping{{"", Mapping{{"1", "1"}, {std::string_view("a\0b", 3), Value()}}}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 60));
    EXPECT_EQ(parse_json(c.text), c.value);
  }
}

TEST(ParseJson, SaysWhatIsWrongAndWhere) {
  const std::string nines(400, '9');
  const struct {
    std::string_view text;
    std::size_t byte;
    std::string reason;
  } cases[] = {
      {"", 1, "unexpected end of input; expected a value"},
      {"[1, 2", 6, "unexpected end of input; expected ',' or ']'"},
      {"{'a': 1}", 2, "unexpected \"'\"; expected a string in double quotes"},
      {R"({"a": 1,})", 9, "unexpected '}'; expected a string in double quotes"},
      {R"({"a" 1})", 6, "unexpected '1'; expected ':'"},
      {R"(["abc)", 6, "invalid string: missing closing quote"},
      {"[True]", 2, "unexpected 'True'; expected a value"},
      {"[1,]", 4, "unexpected ']'; expected a value"},
      {"[1 2 \t\r\n ]", 4, "unexpected '2'; expected ',' or ']'"},
      {R"({"a": 1 "b": 2})", 9, "unexpected '\"'; expected ',' or '}'"},
      {"\xef\xbb\xbfnul", 4, "unexpected 'nul'; expected a value"},
      {" [1]  \t\n  x", 11, "unexpected 'x'; expected end of input"},
      {std::string_view("1\0", 2), 2, "unexpected byte 0x00; expected end of input"},
      {std::string_view("\0", 1), 1, "unexpected byte 0x00; expected a value"},
      {"[\xc3\xa9]", 2, "unexpected byte 0xc3; expected a value"},
      {std::string_view("[\"a\0\"]", 6), 4,
       "invalid string: control character 0x00 must be escaped"},
      {"[01]", 2, "malformed number 01"},
      {"-", 1, "malformed number -"},
      {"1.5.3", 1, "malformed number 1.5.3"},
      {"[1.e5]", 2, "malformed number 1.e5"},
      {"[1e400]", 2, "the number 1e400 is beyond the range of floats"},
      {"-1e99999999999999999999", 1,
       "the number -1e99999999999999999999 is beyond the range of floats"},
      {R"("a\x41")", 3,
       R"(invalid string: no such escape; expected one of \" \\ \/ \b \f \n \r \t \u)"},
      {R"("\u12g4")", 2, "invalid string: \\u needs four hex digits"},
      {R"("\ud800")", 8,
       "invalid string: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF"},
      {R"("\udc00")", 2, "invalid string: surrogate U+DC00..U+DFFF must follow U+D800..U+DBFF"},
      {"\"\xff\"", 2, "invalid string: ill-formed UTF-8 byte 0xff"},
      {"\"\xed\xa0\x80\"", 2, "invalid string: ill-formed UTF-8 byte 0xed"},      // half a pair
      {"\"\xc3\xa9\xc0\xaf\"", 4, "invalid string: ill-formed UTF-8 byte 0xc0"},  // overlong
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    try {
      ADD_FAILURE() << display_form(parse_json(c.text));
    } catch (const JsonError& error) {
      EXPECT_EQ(error.byte(), c.byte);
      EXPECT_EQ(error.what(), "invalid JSON at byte " + std::to_string(c.byte) + ": " + c.reason);
    }
  }
  // Numbers of any length leave the position right, and a message short.
  for (const std::string& text : {"[" + nines + ", x]", "[" + nines + " x]"}) {
    try {
      ADD_FAILURE() << display_form(parse_json(text));
    } catch (const JsonError& error) {
      EXPECT_EQ(error.byte(), text.find('x') + 1);
    }
  }
  EXPECT_THROW((void)parse_json(nines + "." + nines), JsonError);
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
  const std::size_t count = bytes.size() * bytes.size() * bytes.size() * bytes.size();
  for (std::size_t number = 0; number < count; ++number) {
    std::string text;
    for (std::size_t rest = number; rest > 0; rest /= bytes.size()) {
      text += bytes[rest % bytes.size()];
    }
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
  }
}

TEST(Json, DepthAndLengthAreBoundedByMemoryAlone) {
  const std::size_t depth = 1'000'000;
  const std::string lists = std::string(depth, '[') + std::string(depth, ']');
  const Value nested = parse_json(lists);
  EXPECT_EQ(json_text(nested), lists);

  std::string mappings;
  for (std::size_t i = 0; i < depth; ++i) mappings += "{\"a\": ";
  mappings += "1" + std::string(depth, '}');
  const Value nested_mappings = parse_json(mappings);
  EXPECT_EQ(json_text(nested_mappings), mappings);

  const std::string digits(depth, '7');
  EXPECT_EQ(json_text(parse_json("[" + digits + "]")), "[" + digits + "]");
  EXPECT_THROW((void)parse_json(std::string(depth, '[')), JsonError);

  Mapping wide;
  for (int i = 0; i < 100'000; ++i) wide.set("name" + std::to_string(i), i);
  EXPECT_EQ(parse_json(json_text(wide)), Value(wide));
}

}  // namespace
}  // namespace tool_binding
