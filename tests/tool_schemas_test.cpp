#include "tool_binding/tool_schemas.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

// Errors, then warnings, each behind its mark.
Lines problems_of(const ToolsReading& reading) {
  Lines lines;
  for (const SchemaProblem& error : reading.errors) lines.push_back("E " + problem_line(error));
  for (const SchemaProblem& doubt : reading.warnings) lines.push_back("W " + problem_line(doubt));
  return lines;
}

TEST(ReadTools, TellsEveryProblemOfPublishedTools) {
  const std::vector<DataCase> cases = data_cases("schema_problems.txt");
  for (const DataCase& c : cases) {
    SCOPED_TRACE(c.lines[0]);
    std::string tools = c.section.at(1);
    tools.replace(tools.find('@'), 1, c.lines[0]);
    const ToolsReading reading = read_tools(parse_json(tools));
    Lines problems(c.lines.begin() + 1, c.lines.end());
    const std::string place = c.section[0].size() > 3 ? c.section[0].substr(3) + " " : "";
    for (std::string& problem : problems) problem.insert(2, place);
    EXPECT_EQ(problems_of(reading), problems);
    EXPECT_EQ(reading.tools.empty(), !reading.errors.empty());
  }
  EXPECT_GT(cases.size(), 70U);
}

ToolTable sample_tools() {
  return ToolTable(
      {ToolSpec({.name = "file",
                 .description = "Files.",
                 .actions = {{"read", {"cat"}}, {"write"}},
                 .params = {{.name = "path", .synonyms = {"file", "name"}, .required = true},
                            {.name = "lines",
                             .type = "integer",
                             .minimum = 1,
                             .maximum = 2.5,
                             .default_ = 2,
                             .action_defaults = {{"read", Value()}, {"write", 1}}},
                            {.name = "text", .blank_is_value = true, .required_for = {"write"}},
                            {.name = "flags",
                             .type = "array",
                             .items_type = "string",
                             .enum_ = {"a", "b"},
                             .default_ = List{"a"},
                             .description = "d"}},
                 .default_action = "read"}),
       ToolSpec(
           {.name = "run", .actions = {{"now"}}, .params = {{.name = "at", .type = "number"}}}),
       ToolSpec({.name = "status"})});
}

TEST(PublishedTools, AreFlatSchemas) {
  EXPECT_EQ(json_text(publish_tools(sample_tools())),
            R"([{"name": "file", "description": "Files.", "inputSchema": {"type": "object", )"
            R"("properties": {"action": {"type": "string", "enum": ["read", "write"], )"
            R"("default": "read", "x-synonyms": {"read": ["cat"]}}, )"
            R"("path": {"type": "string", "x-synonyms": ["file", "name"]}, )"
            R"("lines": {"type": "integer", "minimum": 1, "maximum": 2.5, )"
            R"("x-action-defaults": {"read": null, "write": 1}, "x-default": 2}, )"
            R"("text": {"type": "string", "x-blank-is-value": true, "x-required-for": ["write"]}, )"
            R"("flags": {"type": "array", "description": "d", )"
            R"("items": {"type": "string", "enum": ["a", "b"]}, "default": ["a"]}}, )"
            R"("required": ["path"]}}, )"
            R"({"name": "run", "inputSchema": {"type": "object", "properties": {)"
            R"("action": {"type": "string", "enum": ["now"]}, "at": {"type": "number"}}, )"
            R"("required": ["action"]}}, )"
            R"({"name": "status", "inputSchema": {"type": "object", "properties": {}}}])");
}

TEST(ReadTools, KeepsTheFirstToolOfAName) {
  const ToolsReading reading =
      read_tools(parse_json(R"([{"name": "a", "description": "1"}, {"name": "a"}])"));
  EXPECT_EQ(problems_of(reading), Lines{"E a: another tool has this name too"});
  EXPECT_EQ(ToolTable(reading.tools), ToolTable({ToolSpec({.name = "a", .description = "1"})}));
}

// Calls `visit` for `value` and for all that stands in it.
template <class Visit>
void for_each_node(Value& value, const Visit& visit) {
  visit(value);
  if (List* list = value.if_list()) {
    for (Value& item : *list) for_each_node(item, visit);
  } else if (Mapping* mapping = value.if_mapping()) {
    for (Mapping::Entry& entry : *mapping) for_each_node(entry.value, visit);
  }
}

Value nested(int depth) {
  Value value = Mapping{{"type", "string"}};
  for (; depth > 0; --depth) {
    List list;
    list.push_back(std::move(value));
    value = Mapping();
    value.get_mapping().set("anyOf", std::move(list));
  }
  return value;
}

TEST(ReadTools, FollowsUnionsAsDeepAsTheyAreNested) {
  const Mapping schema{{"properties", Mapping{{"p", nested(200000)}}}};
  const Value tools = List{Mapping{{"name", "a"}, {"inputSchema", schema}}};
  const ToolsReading reading = read_tools(tools);
  EXPECT_EQ(problems_of(reading), Lines());
  ASSERT_EQ(reading.tools.size(), 1U);
  EXPECT_EQ(reading.tools[0].params()[0], ParamSpec{.name = "p"});
}

// Whatever stands where, a tool is either refused or published as it was read.
TEST(ReadTools, TakesAnyValueAnywhere) {
  List odd =
      parse_json(R"([null, true, 5, -1, 2.5, "", "a", "null", [], ["a"], {"type": "string"}])")
          .get_list();
  odd.insert(odd.end(), {std::numeric_limits<double>::infinity(), std::nan(""), nested(5000),
                         std::make_shared<Object>("O"), Mapping()});
  odd.back().get_mapping().set(5, Value());
  odd.back().get_mapping().set(Value(), "a");
  Value published = publish_tools(sample_tools());
  const ToolsReading unchanged = read_tools(published);
  std::size_t refused = 0;
  for_each_node(published, [&](Value& node) {
    for (const Value& replacement : odd) {
      const Value kept = std::exchange(node, replacement);
      const ToolsReading reading = read_tools(published);
      refused += reading.errors.empty() ? 0U : 1U;
      // As text, because a not-a-number equals nothing.
      const Value first = publish_tools(ToolTable(reading.tools));
      const Value again = publish_tools(ToolTable(read_tools(first).tools));
      EXPECT_EQ(display_form(first), display_form(again));
      node = kept;
    }
  });
  EXPECT_GT(refused, 100U);
  EXPECT_EQ(ToolTable(read_tools(published).tools), ToolTable(unchanged.tools));
}

}  // namespace
}  // namespace tool_binding
