#include "tool_binding/tool_schemas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "random_values.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

using Lines = std::vector<std::string>;

// Errors, then warnings, each behind its mark.
Lines problems_of(const ToolsReading& reading) {
  Lines lines;
  for (const SchemaProblem& error : reading.errors) lines.push_back("E " + problem_line(error));
  for (const SchemaProblem& doubt : reading.warnings) lines.push_back("W " + problem_line(doubt));
  return lines;
}

std::vector<std::string> lines_of(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with('#')) lines.push_back(line);
  }
  lines.push_back("");
  return lines;
}

// Every case of schema_problems.txt, which says how it is laid out.
TEST(ReadTools, TellsEveryProblemOfPublishedTools) {
  std::string place;
  std::string around;
  std::string json;
  Lines problems;
  std::size_t cases = 0;
  for (const std::string& line : lines_of(TOOL_BINDING_TEST_DATA "/schema_problems.txt")) {
    if (line.starts_with("== ") || line == "==") {
      place = line.substr(std::min<std::size_t>(3, line.size())) + (line.size() > 3 ? " " : "");
      around.clear();
    } else if (around.empty()) {
      around = line;
    } else if (line.starts_with("E ") || line.starts_with("W ")) {
      problems.push_back(line.substr(0, 2) + place + line.substr(2));
    } else if (!line.empty()) {
      json = line;
    } else if (!json.empty()) {
      SCOPED_TRACE(json);
      const ToolsReading reading =
          read_tools(parse_json(std::string(around).replace(around.find('@'), 1, json)));
      EXPECT_EQ(problems_of(reading), problems);
      EXPECT_EQ(reading.tools.empty(), !reading.errors.empty());
      json.clear();
      problems.clear();
      ++cases;
    }
  }
  EXPECT_GT(cases, 70U);  // the file was found, and read to its end
}

ToolTable sample_tools() {
  return ToolTable({ToolSpec("file", {{"read", {"cat"}}, {"write"}},
                             {{.name = "path", .synonyms = {"file", "name"}, .required = true},
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
                             "read", "Files."),
                    ToolSpec("run", {{"now"}}, {{.name = "at", .type = "number"}}),
                    ToolSpec("status")});
}

TEST(PublishedTools, AreFlatSchemas) {
  EXPECT_EQ(json_text(published_tools(sample_tools())),
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
  EXPECT_EQ(ToolTable(reading.tools), ToolTable({ToolSpec("a", {}, {}, {}, "1")}));
}

// Random tools, of all that a schema can say.
class RandomTools {
 public:
  ToolTable table() {
    std::vector<ToolSpec> tools;
    for (const std::string& name : names(4)) {
      std::vector<ActionSpec> actions;
      for (const std::string& action : names(3)) actions.push_back({action, names(2)});
      std::vector<ParamSpec> params;
      for (const std::string& param : names(5)) params.push_back(this->param(param, actions));
      std::optional<std::string> first;
      if (!actions.empty() && coin()) first = actions[random_.below(actions.size())].name;
      tools.emplace_back(name, std::move(actions), std::move(params), first, random_.text());
    }
    return ToolTable(std::move(tools));
  }

 private:
  bool coin() { return random_.below(2) == 0; }

  std::vector<std::string> names(std::size_t at_most) {
    static const std::string all[] = {"q", "Q", "x-default", "type", "\xff", "n n", "enum"};
    std::vector<std::string> names;
    const std::size_t first = random_.below(std::size(all));
    for (std::size_t i = random_.below(at_most + 1); i > 0; --i) {
      names.push_back(all[(first + i) % std::size(all)]);
    }
    return names;
  }

  Value bound() {
    const Value bounds[] = {Value(), random_.finite_float(),
                            Value::integer_of(random_.decimal_integer())};
    return bounds[random_.below(std::size(bounds))];
  }

  ParamSpec param(const std::string& name, const std::vector<ActionSpec>& actions) {
    static const std::string types[] = {"integer", "number", "boolean", "string", "array"};
    ParamSpec param{.name = name, .synonyms = names(3), .type = types[random_.below(5)]};
    if (param.type == "array" && coin()) param.items_type = coin() ? "string" : "object";
    for (std::size_t i = random_.below(4); i > 0; --i) param.enum_.push_back(random_.text());
    if (coin() && !param.synonyms.empty()) param.synonyms.push_back(param.synonyms.front());
    param.minimum = bound();
    param.maximum = bound();
    param.blank_is_value = coin();
    param.required = coin();
    param.default_ = random_.value();
    param.description = random_.text();
    for (const ActionSpec& action : actions) {
      if (coin()) param.required_for.push_back(action.name);
      if (coin()) param.action_defaults.emplace_back(action.name, random_.value());
    }
    return param;
  }

  RandomValues random_{7};
};

TEST(PublishedTools, ReadBackAsTheSameTools) {
  RandomTools random;
  for (int round = 0; round < 500; ++round) {
    const ToolTable tools = random.table();
    const Value published = published_tools(tools);
    SCOPED_TRACE(json_text(published));
    ToolsReading again = read_tools(published);
    ASSERT_EQ(again.errors, std::vector<SchemaProblem>());
    ASSERT_EQ(ToolTable(std::move(again.tools)), tools);
  }
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
  Value published = published_tools(sample_tools());
  const ToolsReading unchanged = read_tools(published);
  std::size_t refused = 0;
  for_each_node(published, [&](Value& node) {
    for (const Value& replacement : odd) {
      const Value kept = std::exchange(node, replacement);
      const ToolsReading reading = read_tools(published);
      refused += reading.errors.empty() ? 0U : 1U;
      // As text, because a not-a-number equals nothing.
      const Value first = published_tools(ToolTable(reading.tools));
      const Value again = published_tools(ToolTable(read_tools(first).tools));
      EXPECT_EQ(display_form(first), display_form(again));
      node = kept;
    }
  });
  EXPECT_GT(refused, 100U);
  EXPECT_EQ(ToolTable(read_tools(published).tools), ToolTable(unchanged.tools));
}

}  // namespace
}  // namespace tool_binding
