#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "answer.hpp"
#include "builtin_tools.hpp"
#include "print_values.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::tool_admit {
namespace {

using namespace std::string_view_literals;

class AnswerLine : public testing::Test {
 protected:
  void SetUp() override { set_tools(builtin_tools()); }
  void TearDown() override { set_tools(ToolTable()); }
};

TEST_F(AnswerLine, AdmitsRequests) {
  const struct {
    bool display;
    std::string_view line;
    std::string_view answer;
  } cases[] = {
      {false, R"({"tool": "status"})",
       R"({"tool": "status", "arguments": {}, "notes": [], "alias_hit": false, "bound": {}})"},
      {false,
       R"( {"id": 7, "arguments": null, "tool": null, "name": "status"})"
       "\r",
       R"({"tool": "status", "arguments": {}, "notes": [], "alias_hit": false, "bound": {}})"},
      {false,
       R"({"tool": "read_file", "arguments": {"from": "90000000000000000000000", "file": "é"}})",
       R"({"tool": "read_file", "arguments": {"start_line": 90000000000000000000000, "path": "é"}, )"
       R"("notes": ["'from' was read as 'start_line'", "'file' was read as 'path'"], )"
       R"("alias_hit": true, "bound": {"path": "é", "start_line": 90000000000000000000000, )"
       R"("end_line": null, "revision": "HEAD"}})"},
      {true, R"({"tool": "branches", "arguments": {"action": "NEW", "name": "it's", "force": 1}})",
       R"({"tool": "branches", )"
       R"("arguments": "{'action': 'create', 'branch': \"it's\", 'force': True}", )"
       R"("notes": ["the action 'NEW' was read as 'create'", "'name' was read as 'branch'"], )"
       R"("alias_hit": true, "bound": "{'action': 'create', 'branch': \"it's\", )"
       R"('new_name': None, 'from': 'HEAD', 'force': True}"})"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    const Answer answer = answer_line(c.line, c.display);
    EXPECT_TRUE(answer.is_admitted);
    EXPECT_EQ(answer.line, c.answer);
  }
}

struct Refusal {
  std::string line;
  Value tool;
  std::string_view type;
  std::string_view message;
};

void expect_refused(const Refusal& c) {
  SCOPED_TRACE(c.line.substr(0, 80));
  const Answer answer = answer_line(c.line, false);
  EXPECT_FALSE(answer.is_admitted);
  EXPECT_EQ(parse_json(answer.line),
            Value(Mapping{{"tool", c.tool},
                          {"error", Mapping{{"type", c.type}, {"message", c.message}}}}));
}

TEST_F(AnswerLine, SaysWhatIsWrongAndGoesOn) {
  const Refusal cases[] = {
      {R"({"tool": "issues", "arguments": {"number": [1]}})", "issues", "ArgumentError",
       "Parameter 'number' of issues must be a whole number, not [1]; "
       "issues needs an 'action': one of list, create, edit, comment, close"},
      {R"({"tool": "status", "arguments": {"a\u0000b": 1, "c": 2}})", "status", "ArgumentError",
       "Unknown parameter 'a\0b' for status. It takes none.; "
       "Unknown parameter 'c' for status. It takes none."sv},
      {R"({"tool": "serach"})", "serach", "KeyError",
       "there is no tool named 'serach'. Did you mean 'search'?"},
      {R"({"tool": "diff", "arguments": {"similarity": 1)" + std::string(400, '0') + "}}", "diff",
       "OverflowError", "the integer is too large for a float"},
      {"[]",
       {},
       "RequestError",
       R"(the request is of kind list: send an object, {"tool": NAME, "arguments": {...}})"},
      {R"({"method": "search"})",
       {},
       "RequestError",
       R"(the request names no tool: send {"tool": NAME, "arguments": {...}})"},
      {R"({"tool": 1, "name": "status"})",
       {},
       "RequestError",
       R"("tool" is of kind integer: send the tool's name as text)"},
      {R"({"tool": "status", "arguments": "{}"})", "status", "RequestError",
       R"("arguments" is of kind text: send an object, {PARAMETER: VALUE, ...})"},
      {R"({"tool": "status"} {})",
       {},
       "RequestError",
       "invalid JSON at byte 20: unexpected '{'; expected end of input"},
  };
  for (const Refusal& c : cases) expect_refused(c);
}

TEST_F(AnswerLine, AnswersFaultsOfTheRegistry) {
  set_tools(ToolTable({ToolSpec("odd", {},
                                {{.name = "colour", .type = "colour"},
                                 {.name = "size", .type = "integer", .minimum = "small"},
                                 {.name = "depth", .type = "integer", .maximum = -1.0 / 0.0}})}));
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
    ASSERT_TRUE(nlohmann::json::accept(answer.line)) << changed << '\n' << answer.line;
    ASSERT_EQ(answer.line.find('\n'), std::string::npos);
    admitted += answer.is_admitted ? 1 : 0;
  }
  EXPECT_GT(admitted, 100);
}

TEST_F(AnswerLine, DeepNestingIsAnswered) {
  const std::size_t depth = 1'000'000;
  const std::string nested = std::string(depth, '[') + std::string(depth, ']');
  const Answer admitted =
      answer_line(R"({"tool": "list_files", "arguments": {"paths": [)" + nested + "]}}", false);
  EXPECT_TRUE(admitted.is_admitted);
  EXPECT_GT(admitted.line.size(), 4 * depth);
  expect_refused({R"({"tool": "list_files", "arguments": {"glob": )" + nested + "}}", "list_files",
                  "ArgumentError", "Parameter 'glob' of list_files must be text, not " + nested});
}

TEST(BuiltinTools, ReadBackFromTheirSchemaWithoutADoubt) {
  const ToolsReading reading = read_tools(published_tools(builtin_tools()));
  EXPECT_TRUE(reading.errors.empty() && reading.warnings.empty());
  EXPECT_EQ(ToolTable(reading.tools), builtin_tools());
}

}  // namespace
}  // namespace tool_binding::tool_admit
