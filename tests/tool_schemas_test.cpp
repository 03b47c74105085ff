#include "tool_binding/tool_schemas.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

// Errors, then warnings, each behind its mark.
Lines problems_of(const ToolProblems& reading) {
  Lines lines;
  for (const SchemaProblem& error : reading.errors) lines.push_back("E " + problem_line(error));
  for (const SchemaProblem& doubt : reading.warnings) lines.push_back("W " + problem_line(doubt));
  return lines;
}

TEST(ReadTools, TellsEveryProblemOfPublishedTools) {
  for (const DataCase& c : data_cases("schema_problems.txt")) {
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
}

// What published_tools.txt has under this title.
Value published_as(const std::string& title) {
  for (const DataCase& c : data_cases("published_tools.txt")) {
    if (c.section[0] == "== " + title) return parse_json(c.text());
  }
  throw std::out_of_range(title);
}

ToolTable sample_tools() { return ToolTable(read_tools(published_as("AreFlatSchemas")).tools); }

TEST(PublishedTools, AreFlatSchemas) {
  EXPECT_EQ(publish_tools(sample_tools()), published_as("AreFlatSchemas"));
}

TEST(ReadTools, KeepsTheFirstToolOfAName) {
  const ToolsReading reading =
      read_tools(parse_json(R"([{"name": "a", "description": "1"}, {"name": "a"}])"));
  EXPECT_EQ(problems_of(reading), Lines{"E a: another tool has this name too: choose another"});
  EXPECT_EQ(ToolTable(reading.tools), ToolTable({ToolSpec({.name = "a", .description = "1"})}));
}

// What no type expresses is kept whole, without what the parameter says beside it; so is what
// refers or is referred to, and what describes items and actions.
TEST(ReadTools, KeepsTheSchemasOfCustomKinds) {
  const Value file = published_as("KeepsTheSchemasOfCustomKinds");
  const ToolsReading reading = read_tools(file);
  ASSERT_EQ(reading.errors, std::vector<SchemaProblem>());
  const ToolSpec& tool = reading.tools.at(0);
  EXPECT_FALSE(tool.routing());
  EXPECT_EQ(tool.param("f")->custom->words, "an object");
  EXPECT_EQ(display_form(tool.param("f")->custom->schema),
            "{'type': 'object', 'properties': {'a': {'x-kept': [1]}}, 'required': ['a']}");
  EXPECT_EQ(tool.param("count")->custom->words, "one of: 1, 2, 2.5");
  EXPECT_EQ(tool.param("id")->default_, 0);
  const Value again = publish_tools(ToolTable(reading.tools));
  EXPECT_EQ(ToolTable(read_tools(again).tools), ToolTable(reading.tools));
  std::string expected = json_text(file);
  expected.erase(expected.find(R"(, "x-required-for": [])"), 22);
  EXPECT_EQ(json_text(again), expected);
}

// A declaration in C++ gets what a file would get, and what no file can contain.
TEST(CheckTool, ReportsWhatTheReaderReports) {
  const struct {
    ToolDefinition tool;
    Lines problems;
  } cases[] = {
      {{.name = "t",
        .actions = {{"go", {"run"}}},
        .params = {{.name = "p"}},
        .default_action = "go"},
       {}},
      {{.name = " "}, {"E  : the tool's name is blank"}},
      {{.name = "t", .actions = {"go", "go"}, .default_action = "Works on branches."},
       {"E t, 'action': 'go' is the name of an action already: choose another",
        "E t, 'action': the default 'Works on branches.' must be one of the tool's actions"}},
      {{.name = "t", .default_action = "go"},
       {"E t, 'action': the default 'go' must be one of the tool's actions"}},
      {{.name = "t", .params = {{.name = "p", .type = "int", .minimum = 5}, {.name = "p"}}},
       {"E t, 'p': its type must be integer, number, boolean, string or array, not 'int'",
        "E t: 'p' is the name of a parameter already: choose another"}},
      {{.name = "t", .params = {{.name = "action"}, {.name = "repo", .synonyms = {"repo_root"}}}},
       {"E t, 'action': is never filled: requests name the tool's action by it, so choose another "
        "name",
        "E t, 'repo': is never filled: requests name their repository by it, so choose another "
        "name, or declare that the tool has no routing",
        "W t, 'repo': the synonym 'repo_root' is never read, since requests use it otherwise: "
        "leave "
        "it out"}},
      {{.name = "t", .params = {{.name = "repo"}}, .routing = false}, {}},
      {{.name = "t",
        .params = {{.name = "p", .type = "integer", .minimum = std::nan(""), .maximum = "5"}}},
       {"E t, 'p': 'minimum' must be a finite number, not nan",
        "E t, 'p': 'maximum' must be a finite number, not '5'"}},
      {{.name = "t", .params = {{.name = "p", .custom = std::make_shared<CustomType>()}}},
       {"E t, 'p': its custom type has no 'read'"}},
      {{.name = "t", .params = {{.name = "p", .default_ = 3, .custom = one_of({1, 2})}}},
       {"W t, 'p': the default 3 must be one of: 1, 2: a client that sends it is refused"}},
  };
  for (const auto& c : cases) {
    const ToolProblems problems = check_tool(c.tool);
    EXPECT_EQ(problems_of(problems), c.problems) << c.tool.name;
  }
}

// Calls `visit` for `value` and for all that it contains.
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

// Whatever it contains, a tool is either refused or published as it was read.
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
      // As text, because NaN equals nothing.
      const Value first = publish_tools(ToolTable(reading.tools));
      const Value again = publish_tools(ToolTable(read_tools(first).tools));
      EXPECT_EQ(display_form(first), display_form(again));
      node = kept;
    }
  });
  EXPECT_GT(refused, 60U);
  EXPECT_EQ(ToolTable(read_tools(published).tools), ToolTable(unchanged.tools));
}

// What clients are shown.

TEST(WireSchema, SaysInSentencesWhatNoPlainKeywordCan) {
  const std::string title = "SaysInSentencesWhatNoPlainKeywordCan";
  const ToolSpec tool = read_tools(published_as(title)).tools.at(0);
  EXPECT_EQ(Value(wire_schema(tool)), published_as(title + ", to clients"));
  const Mapping strict =
      wire_schema(tool, {.forbids_additional_properties = true, .defaults = false});
  EXPECT_EQ(strict.at("additionalProperties"), Value(false));
  const Mapping& properties = strict.at("properties").as_mapping();
  EXPECT_EQ(json_text(properties.at("limit")),
            R"({"type": "integer", "minimum": 1, "description": "Default: 9."})");
  EXPECT_EQ(json_text(wire_tools(ToolTable({ToolSpec({.name = "ping"})}))),
            R"([{"name": "ping", "inputSchema": {"type": "object", "properties": {}}}])");
}

}  // namespace
}  // namespace tool_binding
