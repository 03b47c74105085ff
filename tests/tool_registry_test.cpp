#include "tool_binding/tool_registry.hpp"

#include <gtest/gtest.h>

#include "print_values.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {
namespace {

ToolSpec tickets() {
  return ToolSpec("tickets",
                  {{"list", {"ls", "all"}}, {"Open", {"new"}}, {"new", {"LS"}}, {"\u03a3top", {}}},
                  {{.name = "id", .synonyms = {"number", "title"}, .required_for = {"Open"}},
                   {.name = "title", .synonyms = {"id", "name", "number"}},
                   {.name = "state", .required = true}},
                  "list");
}

TEST(ToolSpec, FindsDeclaredNamesBeforeSynonymsAndEarlierOnesFirst) {
  const ToolSpec tool = tickets();
  const std::pair<const char*, const char*> names[] = {
      {"id", "id"}, {"title", "title"}, {"number", "id"}, {"name", "title"}, {"ID", nullptr}};
  for (const auto& [name, declared] : names) {
    const ParamSpec* param = tool.param(name);
    ASSERT_EQ(param != nullptr, declared != nullptr) << name;
    EXPECT_TRUE(param == nullptr || param->name == declared) << name;
  }
  const std::pair<Value, const char*> actions[] = {{"list", "list"},
                                                   {"ls", "list"},
                                                   {"new", "new"},  // a name before a synonym
                                                   {"LS", "new"},
                                                   {" Ls ", "list"},
                                                   {"OPEN", "Open"},
                                                   {"\u3000NEW\t", "new"},
                                                   {"\u03c3TOP", "\u03a3top"},
                                                   {"lis", nullptr},
                                                   {"", nullptr},
                                                   {1, nullptr},
                                                   {List{"list"}, nullptr}};
  for (const auto& [value, name] : actions) {
    const ActionSpec* action = tool.action(value);
    ASSERT_EQ(action != nullptr, name != nullptr) << display_form(value);
    EXPECT_TRUE(action == nullptr || action->name == name) << display_form(value);
  }
  EXPECT_THROW(ToolSpec("t", {}, {{.name = "p"}, {.name = "p"}}), std::invalid_argument);
  EXPECT_EQ(tool.unknown_action_error(List{"it's"}),
            "tickets has no action [\"it's\"]: it has list, Open, new, \u03a3top");
}

TEST(ParamSpec, IsRequiredAlwaysOrForItsActions) {
  const ToolSpec tool = tickets();
  const ParamSpec& id = *tool.param("id");
  EXPECT_TRUE(id.required_by("Open"));
  EXPECT_FALSE(id.required_by("open"));
  EXPECT_FALSE(id.required_by(std::nullopt));
  EXPECT_TRUE(tool.param("state")->required_by(std::nullopt));
}

TEST(ToolTable, KeepsOrderAndNamesWhatIsUnknown) {
  std::vector<ToolSpec> specs;
  for (int i = 0; i < 100; ++i) specs.emplace_back("tool" + std::to_string(i));
  const ToolTable table(specs);
  EXPECT_EQ(table.begin()[42].name(), "tool42");
  EXPECT_EQ(table.at("tool99").name(), "tool99");
  try {
    static_cast<void>(table.at("xol4"));
    FAIL() << "an unknown tool was found";
  } catch (const UnknownToolError& error) {
    EXPECT_EQ(error.tool(), "xol4");
    EXPECT_STREQ(error.what(), "there is no tool named 'xol4'. Did you mean 'tool4'?");
  }
  specs.emplace_back("tool7");
  EXPECT_THROW(static_cast<void>(ToolTable(specs)), std::invalid_argument);
}

TEST(EffectiveAction, IsTheNamedOneElseTheDefault) {
  set_tools(ToolTable({tickets(), ToolSpec("bare", {{"go", {}}}), ToolSpec("status")}));
  const struct {
    const char* tool;
    Mapping arguments;
    Value action;
  } cases[] = {
      {"tickets", {}, "list"},
      {"tickets", {{"action", Value()}}, "list"},
      {"tickets", {{"action", " \u3000"}}, "list"},
      {"tickets", {{"action", " OPEN "}}, "Open"},
      {"tickets", {{"action", "ls"}}, "list"},
      {"tickets", {{"action", "close"}}, Value()},
      {"tickets", {{"action", 5}}, Value()},
      {"bare", {}, Value()},
      {"bare", {{"action", "go"}}, "go"},
      {"status", {}, Value()},
      {"unknown", {}, Value()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(effective_action(c.tool, c.arguments), c.action)
        << c.tool << display_form(c.arguments);
  }
}

}  // namespace
}  // namespace tool_binding
