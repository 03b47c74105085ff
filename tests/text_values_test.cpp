#include "tool_binding/utils/text_values.hpp"

#include <gtest/gtest.h>

#include <string>

#include "print_values.hpp"

namespace tool_binding {
namespace {

TEST(ParseBool, TakesItsWordsInAnyCase) {
  for (const char* word : {"true", " YES\n", "On", "1", "y", "\u3000T"}) {
    EXPECT_TRUE(parse_bool(word)) << word;
  }
  for (const char* word : {"false", "No", "OFF", "0", "n", "f\x1c"}) {
    EXPECT_FALSE(parse_bool(word)) << word;
  }
  for (const char* word : {"", " ", "2", "tru e", "yes.", "\u200btrue", "1.0"}) {
    EXPECT_THROW(static_cast<void>(parse_bool(word)), std::invalid_argument) << word;
  }
}

// The fuzz target tries many more texts, against a plainer reading.
TEST(SplitCsv, ReadsLiteralsAndCommaSeparatedText) {
  const struct {
    std::string_view text;
    std::string_view shown;
  } cases[] = {
      {" a, b ,,c", "['a', 'b', 'c']"},
      {"it's, ok", "[\"it's\", 'ok']"},
      {"\"a, b\",c", "['a, b', 'c']"},
      {"'it''s',\"\"\"q\"\"\",''", "[\"it's\", '\"q\"', '']"},
      {" [1, 2.0, \"a\\u00e9\\ud83d\\ude00\\n\", [true], null, {\"k\": -0}]\n",
       "[1, 2.0, 'a\u00e9\U0001f600\\n', [True], None, {'k': 0}]"},
      {"[123456789012345678901234567890, 1e400, -1E-400]",
       "[123456789012345678901234567890, inf, -0.0]"},
      // What other languages print.
      {"['x', 'it\\'s', None, True, (1, (2,)), ()]", "['x', \"it's\", None, True, [1, [2]], []]"},
      {"[{'id': 'HAT136', 'n': 2, 3: \"a\\x41\\U0001f600\\a\", on: False,},]",
       "[{'id': 'HAT136', 'n': 2, '3': 'aA\U0001f600\\x07', 'on': False}]"},
      // Brackets around words.
      {"[a, b]", "['a', 'b']"},
      {"[1, two]", "['1', 'two']"},
      {"[\"a]\", b]", "['a]', 'b']"},
      {"[f(x, y), g[1, 2]]", "['f(x', 'y)', 'g[1, 2]']"},
      {"[,]", "[]"},
      // Literals but for one character.
      {"[1, \"\x1f\"]", "['1', '\\x1f']"},
      {"[1, \"\\udc00\"]", "['1', '\\\\udc00']"},
      {"[1, '\\q']", "['1', '\\\\q']"},
      {"[01, 1.]", "['01', '1.']"},
      // Brackets that are part of the items.
      {"src/*.{ts,tsx}, lib", "['src/*.{ts,tsx}', 'lib']"},
      {"[bug], [feature]", "['[bug]', '[feature]']"},
      {"[WIP] fix, docs", "['[WIP] fix', 'docs']"},
      {"{a, 'b'}, c", "[\"{a, 'b'}\", 'c']"},
      {"{a, b", "['{a', 'b']"},
      {"{a, '[b', c]", "['{a', '[b', 'c]']"},
      {"x[y, {], z}], w", "['x[y, {], z}]', 'w']"},
      {"a]", "['a]']"},
      {"\"{\", }x", "['{', '}x']"},
  };
  for (const auto& c : cases) EXPECT_EQ(display_form(split_csv(c.text)), c.shown) << c.text;
}

TEST(SplitCsv, RefusesWhatItWouldGarble) {
  for (const char* text :
       {"[3, 16, 60", "[\"a\", \"b\"", "[a, [b, c]]", "[{a, b}]", "{\"a\": 1}", "{}", "['tis, ok]",
        "[", "[a [b, c]", "[{ ]]", "[a, {'b': 1}]", "['a', 'b\\q\"]"}) {
    EXPECT_THROW(static_cast<void>(split_csv(text)), std::invalid_argument) << text;
  }
}

TEST(SplitCsv, ReadsLiteralsToADepthOf128) {
  const auto literal = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_EQ(display_form(split_csv(literal(128))), literal(128));
  EXPECT_THROW(static_cast<void>(split_csv(literal(129))), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(split_csv(literal(1'000'000))), std::invalid_argument);
  EXPECT_EQ(split_csv("[x" + literal(1000) + "]").size(), 1u);  // no literal, so no depth
}

// Hours, if each item were to look again for what no other found.
TEST(SplitCsv, TakesLinearTimeForQuotesAndBracketsThatCloseNothing) {
  for (const std::string piece : {"\"a,", "'a,\"b,", "[,", "{,", "[{,", "x],"}) {
    std::string text = "x,";
    for (int i = 0; i < 500'000; ++i) text += piece;
    EXPECT_GE(split_csv(text).size(), 500'000u) << piece;
  }
}

}  // namespace
}  // namespace tool_binding
