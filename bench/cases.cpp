#include "cases.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tool_binding/json.hpp"
namespace tool_binding::bench {
namespace {

constexpr std::array<std::size_t, 4> sizes = {10, 100, 1000, 10000};

// Digits, with zeros before them.
std::string padded(std::size_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - digits.size(), '0') + digits;
}

// One argument of each type.
Mapping clean() {
  return {{"query", "def open_connection"},
          {"limit", 50},
          {"context", 2.5},
          {"case_sensitive", true},
          {"languages", List{"cpp", "python"}}};
}

Mapping clean_as_text() {
  return {{"query", "def open_connection"},
          {"limit", "50"},
          {"context", "2.5"},
          {"case_sensitive", "true"},
          {"languages", "cpp,python"}};
}

Mapping with_list(std::size_t count) {
  List texts;
  for (std::size_t i = 0; i < count; ++i) texts.emplace_back("language-" + padded(i, 15));
  return {{"query", "def open_connection"}, {"languages", Value(std::move(texts))}};
}

// Six of the stems are near a name that the tool takes.
Mapping with_unknown(std::size_t count) {
  constexpr std::array<std::string_view, 10> stems = {
      "qurey",  "max_results", "limt",     "recursive", "offest",
      "output", "regexp",      "filePath", "langs",     "sort_order"};
  Mapping request;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t round = i / stems.size();
    std::string name(stems[i % stems.size()]);
    if (round > 0) name += std::to_string(round);
    request.set(name, "value");
  }
  return request;
}

Mapping with_all_of(std::size_t params) {
  Mapping request;
  for (std::size_t i = 0; i < params; ++i) request.set("p" + std::to_string(i), i);
  return request;
}

ToolTable registry_of(std::size_t count) {
  std::vector<ToolSpec> tools = {code_search_tool()};
  while (tools.size() < count) {
    tools.push_back(ToolSpec({.name = "tool_" + padded(tools.size(), 4),
                              .params = {{.name = "path"}, {.name = "limit", .type = "integer"}}}));
  }
  return ToolTable(std::move(tools));
}

std::vector<Case> made_cases() {
  std::vector<ToolSpec> specs = {code_search_tool(), branches_tool()};
  for (const std::size_t n : {10U, 1000U}) specs.push_back(wide_tool(n));
  const ToolTable tools(std::move(specs));

  std::vector<Case> made = {
      {"clean", "code_search", clean(), tools},
      {"text", "code_search", clean_as_text(), tools},
      {"notes",
       "code_search",
       {{"q", "def open_connection"}, {"file", "src/net"}, {"limit", 5000}},
       tools},
      {"refused", "code_search", {{"qurey", "def open_connection"}, {"limit", "many"}}, tools},
      {"action", "branches", {{"action", "new"}, {"name", "fix/timeout"}, {"base", "main"}}, tools},
  };
  for (const std::size_t n : sizes) {
    made.push_back({"list/" + std::to_string(n), "code_search", with_list(n), tools});
  }
  for (const std::size_t n : sizes) {
    made.push_back({"unknown/" + std::to_string(n), "code_search", with_unknown(n), tools});
  }
  for (const std::size_t n : {10U, 1000U}) {
    made.push_back({"tools/" + std::to_string(n), "code_search", clean(), registry_of(n)});
  }
  for (const std::size_t n : {10U, 1000U}) {
    const std::string count = std::to_string(n);
    made.push_back({"wide/" + count, "wide_" + count, with_all_of(n), tools, false});
  }
  return made;
}

}  // namespace

ToolSpec code_search_tool() {
  return ToolSpec(
      {.name = "code_search",
       .params = {
           {.name = "query", .synonyms = {"q", "pattern"}, .required = true},
           {.name = "path", .synonyms = {"file"}},
           {.name = "limit", .type = "integer", .minimum = 1, .maximum = 1000, .default_ = 50},
           {.name = "offset", .type = "integer", .minimum = 0},
           {.name = "context", .type = "number", .minimum = 0, .maximum = 10, .default_ = 2},
           {.name = "case_sensitive", .type = "boolean", .default_ = true},
           {.name = "regex", .type = "boolean"},
           {.name = "kind",
            .enum_ = {"any", "function", "class", "variable", "file", "comment"},
            .default_ = "any"},
           {.name = "languages", .type = "array", .items_type = "string"},
           {.name = "since"}}});
}

ToolSpec branches_tool() {
  return ToolSpec({.name = "branches",
                   .actions = {{.name = "list", .synonyms = {"ls"}},
                               {.name = "create", .synonyms = {"new", "add"}},
                               {.name = "delete", .synonyms = {"remove"}},
                               {.name = "rename", .synonyms = {"move"}}},
                   .params = {{.name = "name", .required_for = {"create", "delete", "rename"}},
                              {.name = "new_name", .synonyms = {"to"}, .required_for = {"rename"}},
                              {.name = "base", .synonyms = {"from"}, .default_ = "HEAD"},
                              {.name = "force", .type = "boolean", .default_ = false},
                              {.name = "limit",
                               .type = "integer",
                               .minimum = 1,
                               .maximum = 500,
                               .action_defaults = {{"list", 100}}}},
                   .default_action = "list"});
}

ToolSpec wide_tool(std::size_t params) {
  std::vector<ParamSpec> specs;
  for (std::size_t i = 0; i < params; ++i) {
    specs.push_back({.name = "p" + std::to_string(i), .type = "integer"});
  }
  return ToolSpec({.name = "wide_" + std::to_string(params), .params = std::move(specs)});
}

const std::vector<Case>& cases() {
  static const std::vector<Case> made = made_cases();
  return made;
}

const Case& case_named(const std::string& name) {
  const auto found = std::find_if(cases().begin(), cases().end(),
                                  [&name](const Case& c) { return c.name == name; });
  if (found == cases().end()) throw std::out_of_range("there is no case " + name);
  return *found;
}

std::string line_of(const Case& c) {
  return json_text(Mapping{{"tool", c.tool}, {"arguments", c.request}});
}

}  // namespace tool_binding::bench
