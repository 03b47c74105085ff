// What the documentation shows of the examples is what is compiled and run.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace tool_binding {
namespace {

std::string read(const std::string& path) {
  std::ifstream file(TOOL_BINDING_TEST_DATA "/../" + path);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

// The text between two places; what is searched goes on behind the second.
std::string between(const std::string& text, const std::string& first, const std::string& second,
                    std::size_t& from) {
  const std::size_t start = text.find(first, from);
  if (start == text.npos) return {};
  from = text.find(second, start + first.size());
  return text.substr(start + first.size(), from - start - first.size());
}

// "<!-- FILE -->" or "<!-- FILE, PART -->" before a block: the whole file, or what is between two
// lines "// [PART]".
TEST(Docs, ShowExamplesAsTheyRun) {
  const std::string guide = read("docs/guide.md");
  std::size_t shown = 0;
  for (std::size_t at = 0; guide.find("<!-- examples/", at) != guide.npos; ++shown) {
    const std::string name = "examples/" + between(guide, "<!-- examples/", " -->", at);
    const std::string block = between(guide, "```cpp\n", "```\n", at);
    const std::size_t comma = name.find(", ");
    std::string file = read(name.substr(0, comma));
    if (comma != name.npos) {
      const std::string mark = "// [" + name.substr(comma + 2) + "]\n";
      std::size_t from = 0;
      file = between(file, mark, mark, from);
      file.resize(file.find_last_of('\n') + 1);  // without the second mark's indentation
    }
    EXPECT_EQ(block, file) << name;
  }
  EXPECT_EQ(shown, 5U);
}

}  // namespace
}  // namespace tool_binding
