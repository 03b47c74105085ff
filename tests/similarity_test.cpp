#include "text/similarity.hpp"

#include <gtest/gtest.h>

#include <string>

#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

TEST(Similarity, CountsAnyNumberOfBlocks) {
  std::string candidate, given;
  for (char32_t block = 0x4E00; block < 0x4E00 + 1000; ++block) {
    append_utf8(candidate += 'x', block);
    append_utf8(given += 'y', block);
  }
  EXPECT_EQ(similarity(candidate, given), 0.5);
}

// The fuzz target tries many more, and the cutoffs, against the plain rules.
TEST(Similarity, IsWhatTheRulesSay) {
  const std::string a99(99, 'a'), a100(100, 'a');
  const struct {
    std::string candidate, given;
    double expected;
  } cases[] = {
      {"", "", 1},
      {"", "a", 0},
      {"q", "qq", 2.0 / 3},
      {"query", "Query", 0.8},
      {"qq" + a99, "qq", 4.0 / 103},
      {"abcde", "abcxy", 0.6},
      {"ab", "bacb", 2.0 / 3},
      {"bacb", "ab", 1.0 / 3},
      {"\xC3\xA9", "\xC3\xA8", 0},
      {"\xFF", "\xED\xB3\xBF", 1},  // U+DCFF both
      {"x" + a99 + a100, a99 + a100, 398.0 / 399},
      {"x" + a100 + a100, a100 + a100, 0},                 // no block is searched
      {"bx" + a100, a100 + "x" + a100, 2 * 101.0 / 303},   // x is, and grows forwards
      {a100 + "xb", a100 + "x" + a100, 2 * 101.0 / 303},   // and backwards
      {"xaaa", "aaa" + std::string(197, 'b'), 6.0 / 204},  // searched yet
      {"xaaaa", "aaaa" + std::string(196, 'b'), 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.candidate + " to " + c.given);
    EXPECT_EQ(similarity(c.candidate, c.given), c.expected);
  }
}

}  // namespace
}  // namespace tool_binding
