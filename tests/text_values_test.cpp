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

// The fuzz target tries many more texts.
TEST(SplitCsv, SplitsTextAndReadsJsonArrays) {
  const struct {
    std::string_view text;
    std::string_view shown;
  } cases[] = {
      {" a, b ,,c", "['a', 'b', 'c']"},
      {"'it''s',\"\"\"q\"\"\"", "[\"it's\", '\"q\"']"},
      {" [1, 2.0, \"a\\u00e9\\ud83d\\ude00\\n\", [true], null, {\"k\": -0}]\n",
       "[1, 2.0, 'a\u00e9\U0001f600\\n', [True], None, {'k': 0}]"},
      {"[123456789012345678901234567890, 1e400, -1E-400]",
       "[123456789012345678901234567890, inf, -0.0]"},
      {"[1, 2,]", "['1', '2']"},
      {"[1, \"\x1f\"]", "['1', '\\x1f']"},  // no JSON, as the next
      {"[1, \"\\udc00\"]", "['1', '\\\\udc00']"},
  };
  for (const auto& c : cases) EXPECT_EQ(display_form(split_csv(c.text)), c.shown) << c.text;
}

TEST(SplitCsv, ReadsArraysToADepthOf128) {
  const auto array = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_EQ(display_form(split_csv(array(128))), array(128));
  EXPECT_THROW(static_cast<void>(split_csv(array(129))), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(split_csv(array(1'000'000))), std::invalid_argument);
  EXPECT_EQ(split_csv("[x" + array(1000) + "]").size(), 1u);  // no JSON, so no depth
}

}  // namespace
}  // namespace tool_binding
