#include "tool_binding/utils/text_values.hpp"

#include <gtest/gtest.h>

#include <string>

#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"

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
TEST(SplitCsv, ReadsLiteralsAndCommaSeparatedTextOrRefuses) {
  const std::vector<DataCase> cases = data_cases("split_csv_cases.txt");
  for (const DataCase& c : cases) {
    std::string shown;
    try {
      shown = display_form(split_csv(parse_json(c.lines[0]).as_text()));
    } catch (const std::invalid_argument&) {
      shown = "refused";
    }
    EXPECT_EQ(shown, c.lines.at(1)) << c.lines[0];
  }
  EXPECT_EQ(cases.size(), 42U);
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
