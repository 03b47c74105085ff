#include "tool_binding/tool_registry.hpp"

#include <gtest/gtest.h>

#include "print_values.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {
namespace {

ToolSpec tickets() {
  return ToolSpec(
      {.name = "tickets",
       .actions = {{"list", {"ls", "all"}}, {"Open", {"new"}}, {"new", {"LS"}}, {"\u03a3top", {}}},
       .params = {{.name = "id", .synonyms = {"number", "title"}, .required_for = {"Open"}},
                  {.name = "title", .synonyms = {"id", "name", "number"}},
                  {.name = "state", .required = true}},
       .default_action = "list"});
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
  EXPECT_THROW(ToolSpec({.name = "t", .params = {{.name = "p"}, {.name = "p"}}}),
               std::invalid_argument);
  EXPECT_EQ(tool.unknown_action_error(List{"it's"}),
            "tickets has no action [\"it's\"]: it has list, Open, new, \u03a3top");
}

TEST(ToolSpec, IsDeclaredByNamedFields) {
  const ToolSpec tool(
      {.name = "t", .description = "Works on branches.", .actions = {"list", "add"}});
  EXPECT_EQ(tool.action_names(), (std::vector<std::string>{"list", "add"}));
  EXPECT_EQ(tool.default_action(), std::nullopt);
  EXPECT_EQ((ActionList{"list", "add"}), (ActionList{{.name = "list"}, {"add"}}));
  EXPECT_EQ(ActionList{"go"}.size(), 1U);
  EXPECT_THROW(ToolSpec({.name = "t", .actions = {"go", "go"}}), std::invalid_argument);
  set_tools({tool, ToolSpec({.name = "u"})});
  EXPECT_EQ(TOOLS.size(), 2U);
  // There is no empty specification, whatever is moved.
  ToolSpec source = tool;
  const ToolSpec moved = std::move(source);
  EXPECT_EQ(source, moved);  // NOLINT(bugprone-use-after-move)
  static_assert(!std::is_constructible_v<ToolSpec, const char*, std::vector<ActionSpec>,
                                         std::vector<ParamSpec>, const char*>);
}

// Every field counts, the description too.
TEST(ToolSpec, IsEqualByItsDefinition) {
  const ToolDefinition definition = {.name = "t", .params = {{.name = "p"}}};
  const auto changed = [&definition](auto change) {
    ToolDefinition other = definition;
    change(other);
    return ToolSpec(other);
  };
  const ToolSpec tool = definition;
  EXPECT_EQ(tool, ToolSpec(definition));
  EXPECT_NE(tool, changed([](auto& d) { d.description = "x"; }));
  EXPECT_NE(tool, changed([](auto& d) { d.routing = false; }));
  EXPECT_NE(tool, changed([](auto& d) { d.params[0].description = "x"; }));
  EXPECT_NE(tool, changed([](auto& d) { d.params[0].custom = any_type(); }));
  const auto with = [&changed](auto custom) {
    return changed([&custom](auto& d) { d.params[0].custom = custom; });
  };
  EXPECT_EQ(with(one_of({1, 2})), with(one_of({1, 2})));
  EXPECT_NE(with(one_of({1, 2})), with(one_of({1, 3})));
}

TEST(ToolTable, KeepsOrderAndNamesWhatIsUnknown) {
  std::vector<ToolSpec> specs;
  for (int i = 0; i < 100; ++i) specs.push_back(ToolSpec({.name = "tool" + std::to_string(i)}));
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
  specs.push_back(ToolSpec({.name = "tool7"}));
  EXPECT_THROW(static_cast<void>(ToolTable(specs)), std::invalid_argument);
}

}  // namespace
}  // namespace tool_binding
