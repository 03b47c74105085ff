#include "tool_binding/tool_schemas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <span>
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

struct Case {
  std::string json;  // with ' for "
  Lines problems;    // in their order, without the place
};

Value parsed(std::string json) {
  std::replace(json.begin(), json.end(), '\'', '"');
  return parse_json(json);
}

// `before` and `after` stand around each case's text; `place` starts each line.
void expect_problems(std::span<const Case> cases, const std::string& before,
                     const std::string& after, const std::string& place) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.json);
    const ToolsReading reading = read_tools(parsed(before + c.json + after));
    Lines expected = c.problems;
    for (std::string& line : expected) line.insert(2, place);
    EXPECT_EQ(problems_of(reading), expected);
    EXPECT_EQ(reading.tools.empty(), !reading.errors.empty());
  }
}

// The property 'p' of a tool with the actions get and put.
void expect_property_problems(std::span<const Case> cases) {
  expect_problems(cases, "[{'name': 't', 'inputSchema': {'type': 'object', 'properties': {'p': ",
                  ", 'q': {'type': 'string'}, 'action': {'enum': ['get', 'put']}}}}]", "t, 'p': ");
}

TEST(ReadTools, TellsWhatNoTypeCanBe) {
  const std::string no_type = "E has no 'type': give it integer, number, boolean, string or array";
  const std::string must_be = "E 'type' must be integer, number, boolean, string or array, not ";
  const std::string is_object =
      "E type 'object' is not supported: take its members as parameters, or it as text";
  const std::string is_union = "E a union must be of one type and null";
  const std::string is_list = "E 'type' must be one type, or one and null";
  const std::string write_out = " is not supported here: write out what it stands for";
  const Case cases[] = {
      {"{'type': ['null', 'boolean'], 'default': null}", {}},
      {"{'type': ['string'], 'enum': ['a', null], 'default': 'a'}", {}},
      {"{'enum': ['a', 'b']}", {}},
      {"{'anyOf': [{'type': 'string'}, {'type': 'null'}], 'description': 'd'}", {}},
      {"{'oneOf': [{'anyOf': [{'not': {}}, {'type': 'array'}]}, {'type': 'null'}]}", {}},
      {"5", {"E must be an object with a 'type', not 5"}},
      {"{}", {no_type}},
      {"{'enum': [1]}", {no_type, "E 'enum' must hold texts alone, not 1"}},
      {"{'type': 'int'}", {must_be + "'int'"}},
      {"{'type': 'object', 'properties': {}}", {is_object}},
      {"{'type': ['string', 'integer']}", {is_list}},
      {"{'anyOf': [{'type': 'string'}, {'type': 'array'}]}", {is_union}},
      {"{'oneOf': []}", {is_union}},
      {"{'oneOf': [true, {'type': 'null'}]}", {is_union}},
      {"{'anyOf': [{'type': 'string'}], 'oneOf': [{'type': 'string'}]}", {"E 'oneOf'" + write_out}},
      {"{'$ref': '#/x'}", {"E '$ref'" + write_out}},
      {"{'anyOf': [{'allOf': []}, {'type': 'null'}]}", {"E 'allOf'" + write_out}},
  };
  expect_property_problems(cases);
}

TEST(ReadTools, TellsWhatKeywordsCannotHold) {
  const std::string huge = "1" + std::string(400, '0');
  const Case cases[] = {
      {"{'type': 'string', 'enum': []}", {"W 'enum' holds no text: any value is allowed"}},
      {"{'type': 'string', 'enum': 'a'}", {"E 'enum' must be a list of texts, not 'a'"}},
      {"{'type': 'integer', 'enum': [1, 2]}", {"E 'enum' must hold texts alone, not 1"}},
      {"{'type': 'array', 'enum': ['a'], 'items': {'enum': ['b']}}",
       {"E 'enum' stands in 'items' too: keep that one"}},
      {"{'type': 'integer', 'minimum': '1'}", {"E 'minimum' must be a finite number, not '1'"}},
      {"{'type': 'integer', 'maximum': " + huge + "}", {}},
      {"{'type': 'number', 'maximum': " + huge + "}",
       {"W 'maximum' is beyond the range of floats: to use it is an error"}},
      {"{'type': 'string', 'x-blank-is-value': 1}",
       {"E 'x-blank-is-value' must be true or false, not 1"}},
      {"{'type': 'string', 'x-synonyms': ['r', 'r', ' ']}",
       {"E 'x-synonyms' holds a blank name", "W 'x-synonyms' repeats 'r'"}},
      {"{'type': 'string', 'x-required-for': ['got']}",
       {"E 'x-required-for' names 'got', which is no action of the tool"}},
      {"{'type': 'string', 'x-action-defaults': {'got': 'a', 'put': null}}",
       {"E 'x-action-defaults' names 'got', which is no action of the tool"}},
      {"{'type': 'string', 'default': 'a', 'x-default': 'a'}",
       {"E has both 'default' and 'x-default': keep one"}},
  };
  expect_property_problems(cases);
}

TEST(ReadTools, WarnsOfWhatIsNotEnforced) {
  const Case cases[] = {
      {"{'type': 'number', 'title': 'P', 'enum': null, 'exclusiveMinimum': null}", {}},
      {"{'type': 'string', 'required': ['x'], 'additionalProperties': true}", {}},
      {"{'type': 'string', 'pattern': 'a', 'x-synonym': ['a'], 'required': true}",
       {"W 'pattern' is not enforced", "W 'x-synonym' is not read",
        "W 'required' is not enforced"}},
      {"{'anyOf': [{'type': 'integer', 'maximum': 5, 'const': 2}, {'type': 'null'}], 'maximum': 9}",
       {"W 'const' is not enforced",
        "W 'maximum' stands in the union and beside it: that beside it counts"}},
      {"{'oneOf': [{'anyOf': [{'type': 'array'}], 'minItems': 1}]}",
       {"W 'minItems' is not enforced"}},
      {"{'type': 'array', 'items': {'type': 'string', 'minLength': 1}}",
       {"W 'minLength' of its items is not enforced"}},
      {"{'type': 'array', 'items': {'$ref': '#/x'}}", {"W '$ref' of its items is not enforced"}},
      {"{'type': 'array', 'items': {'type': 'array', 'items': {'type': 'integer'}}}",
       {"W items of type 'array' are passed on unchecked"}},
      {"{'type': 'array', 'items': {'type': 'integer', 'enum': ['1']}}",
       {"W items of type 'integer' become the enum's text"}},
      {"{'type': 'array', 'items': {'type': ['string', 'null']}}",
       {"W items of several types are passed on unchecked"}},
      {"{'type': 'array', 'items': [{'type': 'string'}]}", {"W 'items' as a list is not enforced"}},
      {"{'type': 'string', 'items': {}, 'minimum': 1}",
       {"W 'items' has no effect on type 'string'", "W 'minimum' has no effect on type 'string'"}},
  };
  expect_property_problems(cases);
}

TEST(ReadTools, WarnsOfWhatIsDoubtful) {
  const Case cases[] = {
      {"{'type': 'integer', 'minimum': 1, 'maximum': 2.5, 'default': 1}", {}},
      {"{'type': 'string', 'enum': [''], 'x-blank-is-value': true}", {}},
      {"{'type': 'integer', 'minimum': 3, 'maximum': 2.5}",
       {"W the minimum 3 is above the maximum 2.5"}},
      {"{'type': 'number', 'default': 5}", {}},
      {"{'type': 'integer', 'default': 5.0}", {"W the default 5.0 is not of type 'integer'"}},
      {"{'type': 'boolean', 'default': 'no'}", {"W the default 'no' is not of type 'boolean'"}},
      {"{'type': 'string', 'enum': ['a'], 'default': 'A'}",
       {"W the default 'A' is not in the enum"}},
      {"{'type': 'integer', 'minimum': 1, 'maximum': 9, 'default': 0,"
       " 'x-action-defaults': {'put': 10, 'get': 9}}",
       {"W the default 0 is below the minimum", "W the default 10 for 'put' is above the maximum"}},
      {"{'type': 'array', 'items': {'type': 'string', 'enum': ['a']}, 'default': ['a']}", {}},
      {"{'type': 'array', 'default': 'a'}", {"W the default 'a' is not of type 'array'"}},
      {"{'type': 'array', 'items': {'type': 'string'}, 'default': [1]}",
       {"W the default a list holds what is no text"}},
      {"{'type': 'array', 'enum': ['a'], 'default': ['a', 'b']}",
       {"W the default a list holds what is not in the enum"}},
      {"{'type': 'string', 'enum': [' a', 'b', 'B', '']}",
       {"W the enum entry ' a' has white space around it",
        "W the enum entries 'b' and 'B' differ at most in letter case",
        "W the enum entry '' counts as left out: 'x-blank-is-value' true keeps it"}},
      {"{'type': 'integer', 'enum': ['1']}",
       {"W its enum makes every value text: write type 'string'"}},
      {"{'type': 'string', 'x-synonyms': ['q', 'repo', 'action', 'p']}",
       {"W the synonym 'repo' is never read: requests use it otherwise",
        "W the synonym 'action' is never read: requests use it otherwise",
        "W the synonym 'q' of 'p' is taken by 'q'", "W the synonym 'p' of 'p' is taken by 'p'"}},
  };
  expect_property_problems(cases);
}

TEST(ReadTools, TellsWhatIsWrongWithActions) {
  const Case cases[] = {
      {"{'type': ['string', 'null'], 'enum': ['a', 'b', null], 'default': 'b'}", {}},
      {"{'enum': ['a'], 'x-synonyms': {'a': ['b']}, 'description': 'd'}", {}},
      {"{'type': 'string'}", {"E needs an 'enum' of the tool's actions"}},
      {"{'type': 'string', 'enum': []}", {"E needs an 'enum' of the tool's actions"}},
      {"{'type': 'integer', 'enum': ['a']}", {"E 'type' must be 'string', not 'integer'"}},
      {"{'type': 'string', 'enum': ['a', ' ', 'a']}",
       {"E 'enum' holds a blank name", "E 'enum' repeats 'a'"}},
      {"{'enum': ['a'], 'default': 'A'}", {"E the default 'A' is not in the enum"}},
      {"{'enum': ['a'], 'x-synonyms': {'b': ['c'], 'a': 'c'}}",
       {"E 'x-synonyms' names 'b', which is no action of the tool",
        "E 'x-synonyms' must be a list of texts, not 'c'"}},
      {"{'enum': ['a', 'A', 'b'], 'x-synonyms': {'a': ['c', 'b'], 'b': ['c']}, 'items': {}}",
       {"W 'items' is not enforced", "W the enum entries 'a' and 'A' differ at most in letter case",
        "W the synonym 'b' of 'a' is taken by 'b'", "W the synonym 'c' of 'b' is taken by 'a'"}},
  };
  expect_problems(cases,
                  "[{'name': 't', 'inputSchema': {'required': ['action'], 'properties': "
                  "{'action': ",
                  "}}}]", "t, 'action': ");
}

TEST(ReadTools, TellsWhatIsWrongWithTools) {
  const std::string needs = "E needs a list of tools, or an object with one under 'tools'";
  const std::string repository = " is what requests name their repository by: choose another name";
  const Case cases[] = {
      {"{'tools': [{'name': 'a'}], '_meta': {}, 'nextCursor': 'x'}",
       {"W 'nextCursor' is not read"}},
      {"{'name': 'a'}", {needs}},
      {"null", {needs}},
      {"[{'name': 'a', 'inputSchema': null, 'parameters': {}, 'annotations': {}}]",
       {"W a: 'parameters' is not read"}},
      {"[5, {}, {'name': ' '}]",
       {"E tool 1: must be an object with 'name' and 'inputSchema', not 5",
        "E tool 2: needs a 'name': text that is not blank",
        "E tool 3: needs a 'name': text that is not blank"}},
      {"[{'name': 'a', 'description': 5, 'inputSchema': []}]",
       {"E a: 'description' must be text, not 5",
        "E a: 'inputSchema' must be an object, not a list"}},
      {"[{'name': 'a', 'inputSchema': {'type': 'array', 'properties': [], 'required': []}}]",
       {"E a: 'inputSchema.type' must be 'object', not 'array'",
        "E a: 'properties' must be an object, not a list"}},
      {"[{'name': 'a', 'inputSchema': {'anyOf': []}}]",
       {"E a: 'anyOf' is not supported here: write out what it stands for"}},
      {"[{'name': 'a', 'inputSchema': {'properties': {'p': {'type': 'string'}}, 'anyOf': [],"
       " 'additionalProperties': false, '$schema': 's'}}]",
       {"W a: 'anyOf' of 'inputSchema' is not enforced"}},
      {"[{'name': 'a', 'inputSchema': {'additionalProperties': true}}]",
       {"W a: 'additionalProperties' of 'inputSchema' is not enforced"}},
      {"[{'name': 'a', 'inputSchema': {'required': ['p', 'p', 5], 'properties': {}}}]",
       {"E a: 'required' must hold texts alone, not 5",
        "E a, 'p': is required but not among the properties", "W a: 'required' repeats 'p'"}},
      {"[{'name': 'a', 'inputSchema': {'properties': {'': {'type': 'string'},"
       " 'repo': {'type': 'string'}, 'repo_root': {'type': 'string'}}}}]",
       {"E a: a property's name must be text that is not blank, not ''",
        "E a, 'repo':" + repository, "E a, 'repo_root':" + repository}},
      // No error where the actions are unknown.
      {"[{'name': 'a', 'inputSchema': {'properties': {'action': 5,"
       " 'q': {'type': 'string', 'x-required-for': ['x']}}}}]",
       {"E a, 'action': must be an object with a 'type', not 5"}},
      // Wrong in five places at once.
      {"[{'name': 'a', 'inputSchema': {'required': ['z'], 'properties': {"
       "'action': {'type': 'string'}, 'p': {'type': 'array', 'enum': 1, 'minimum': '1'}}}}, {}]",
       {"E a, 'action': needs an 'enum' of the tool's actions",
        "E a, 'p': 'minimum' must be a finite number, not '1'",
        "E a, 'p': 'enum' must be a list of texts, not 1",
        "E a, 'z': is required but not among the properties",
        "E tool 2: needs a 'name': text that is not blank"}},
  };
  expect_problems(cases, "", "", "");
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
      parsed("[null, true, 5, -1, 2.5, '', 'a', 'null', [], ['a'], {'type': 'string'}]").get_list();
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
