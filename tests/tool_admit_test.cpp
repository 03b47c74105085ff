#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "answer.hpp"
#include "builtin_tools.hpp"
#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_registry.hpp"

namespace tool_binding::tool_admit {
namespace {

struct Answer {
  std::string line;
  bool is_admitted;
};

// The answers to a line.
Answer answer_line(std::string_view line, bool display) {
  Answerer answerer(false, display);
  std::string out;
  const bool is_admitted = answerer.answer(line, out);
  out.pop_back();
  return {std::move(out), is_admitted};
}

class AnswerLine : public testing::Test {
 protected:
  void SetUp() override { set_tools(builtin_tools()); }
  void TearDown() override { set_tools(ToolTable()); }
};

// Every case of tool_admit_cases.txt, which says how it is laid out.
TEST_F(AnswerLine, IsAsWritten) {
  for (const DataCase& c : data_cases("tool_admit_cases.txt")) {
    SCOPED_TRACE(c.lines[0]);
    const Answer answer = answer_line(c.lines[0], c.section[0] == "== --display");
    const std::string expected = c.text(1);
    EXPECT_EQ(answer.line, expected);
    EXPECT_EQ(answer.is_admitted, expected.find("\"error\": {\"type\"") == expected.npos);
  }
}

TEST_F(AnswerLine, AnswersFaultsOfTheRegistry) {
  set_tools(ToolTable(
      {ToolSpec({.name = "odd",
                 .params = {{.name = "colour", .type = "colour"},
                            {.name = "size", .type = "integer", .minimum = "small"},
                            {.name = "depth", .type = "integer", .maximum = -1.0 / 0.0}}})}));
  for (const std::string name : {"colour", "size", "depth"}) {
    const Value answer = parse_json(
        answer_line(R"({"tool": "odd", "arguments": {")" + name + "\": 1}}", false).line);
    EXPECT_EQ(answer.as_mapping().at("error").as_mapping().at("type"),
              name == "depth" ? "OverflowError" : "RegistryError");
  }
}

TEST_F(AnswerLine, EveryLineHasAnAnswerOfOneLine) {
  const std::string_view line =
      R"({"tool": "issues", "arguments": {"action": "edit", "id": "7", "labels": "bug,FEATURE", "body": "[1, é]"}})";
  std::mt19937_64 random(7);
  int admitted = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string changed(line);
    for (std::size_t n = random() % 3 + 1; n > 0; --n) {
      const char any = static_cast<char>(random());
      changed[random() % line.size()] = random() % 4 == 0 ? any : line[random() % line.size()];
    }
    const Answer answer = answer_line(changed, i % 2 == 0);
    ASSERT_NO_THROW(static_cast<void>(parse_json(answer.line))) << changed << '\n' << answer.line;
    ASSERT_EQ(answer.line.find('\n'), std::string::npos);
    admitted += answer.is_admitted ? 1 : 0;
  }
  EXPECT_GT(admitted, 100);
}

}  // namespace
}  // namespace tool_binding::tool_admit
