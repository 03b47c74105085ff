#include "tool_binding/tool_binding.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "print_values.hpp"
#include "sample_requests.hpp"
#include "tool_binding_private.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class ToolBinding : public testing::Test {
 protected:
  void SetUp() override { set_tools(sample_tools()); }
};

// What admission makes of a request, as one line; the same whether it is copied or moved, and
// a request that is only read stays as it was.
std::string answer(ToolRef tool, const Mapping& request) {
  const Mapping before = request;
  const std::string line = admission(tool, request);
  EXPECT_EQ(line, admission(tool, Mapping(request)));
  EXPECT_EQ(display_form(request), display_form(before));
  return line;
}

// Every case of admission_cases.txt, which says how it is laid out.
TEST_F(ToolBinding, AdmitsAndRefusesRequests) {
  for (const DataCase& c : data_cases("admission_cases.txt")) {
    SCOPED_TRACE(c.section[0] + "\n" + c.lines[0]);
    const std::string tool = c.section[0].substr(3);
    const ToolSpec spec =
        tool.starts_with('[') ? read_tools(parse_json(tool)).tools.at(0) : TOOLS.at(tool);
    EXPECT_EQ(answer(spec, parse_json(c.lines[0]).as_mapping()), c.lines.at(1));
  }
}

// What no JSON says: infinity, bounds that no file may declare, and faults of the declaration.
// These end admission, name the tool and the parameter, and are never a line of a refusal.
TEST_F(ToolBinding, AdmitsWhatNoJsonSaysAndPassesFaultsOnWithTheirPlace) {
  const auto outcome = [](const ParamSpec& param, const Value& value) -> std::string {
    try {
      return answer(ToolSpec({.name = "t", .params = {param}}), {{"p", value}});
    } catch (const std::overflow_error& error) {
      return std::string("overflow: ") + error.what();
    } catch (const std::out_of_range& error) {
      return std::string("out of range: ") + error.what();
    } catch (const TypeError& error) {
      return std::string("type: ") + error.what();
    }
  };
  const Value ten = Value::integer_of("1" + std::string(30, '0'));
  const Value big = Value::integer_of("1" + std::string(400, '0'));
  const Value none;
  const struct {
    std::string type;
    Value minimum, maximum, value;
    std::string_view outcome;
  } cases[] = {
      {"integer", none, none, infinity,
       "refused: Parameter 'p' of t must be a whole number, not inf"},
      {"integer", nan, nan, 5, "{'p': 5}"},
      {"number", nan, 1, 5, "{'p': 1.0} | 'p' 5.0 is above the maximum: 1.0 was used"},
      {"integer", none, infinity, ten, "{'p': 1000000000000000000000000000000}"},
      {"integer", infinity, none, 1,
       "overflow: the bound inf of parameter 'p' of t cannot be a value of its type: no integer is "
       "infinite or NaN"},
      {"number", none, none, big,
       "overflow: Parameter 'p' of t must be within the range of floats, not an integer of 401 "
       "digits"},
      {"integer", "1", none, 1,
       "type: the minimum of parameter 'p' of t must be a number, not text"},
      {"integer", none, true, 1,
       "type: the maximum of parameter 'p' of t must be a number, not boolean"},
      {"number", "1", none, infinity,
       "type: the minimum of parameter 'p' of t must be a number, not text"},
      {"number", none, "1", -infinity,
       "type: the maximum of parameter 'p' of t must be a number, not text"},
      {"date", none, none, 1,
       "out of range: Parameter 'p' of t cannot be admitted: no parameter type is named 'date'"},
  };
  for (const auto& c : cases) {
    const ParamSpec param{.name = "p", .type = c.type, .minimum = c.minimum, .maximum = c.maximum};
    EXPECT_EQ(outcome(param, c.value), c.outcome);
  }
  EXPECT_THROW(static_cast<void>(normalize_arguments("stat", {{"x", 1}})), UnknownToolError);
  Mapping numbered;
  numbered.set(1, "x");
  try {
    static_cast<void>(normalize_arguments("search", numbered));
    FAIL();
  } catch (const TypeError& error) {
    EXPECT_STREQ(error.what(), "an argument of search must be named by text, not by 1");
  }
}

// A refusal is a result: the text that would be thrown, and neither side reads as the other.
TEST_F(ToolBinding, AdmitsWithoutAnException) {
  const Mapping request{{"q", "x"}, {"limit", 500}};
  const Admission admitted = try_normalize_arguments("search", request);
  ASSERT_TRUE(admitted && admitted.has_value());
  EXPECT_EQ(*admitted, normalize_arguments("search", request));
  EXPECT_EQ(admitted->notes().size(), 2U);
  EXPECT_EQ(admitted.value().arguments(), admitted->arguments());
  std::vector<std::string> names;
  for (const auto& entry : (*try_normalize_arguments("search", Mapping(request))).arguments()) {
    names.emplace_back(entry.name());
  }
  EXPECT_EQ(names, (std::vector<std::string>{"query", "limit"}));
  Admission moved = try_normalize_arguments("search", request);
  EXPECT_EQ(std::move(*moved).arguments(), admitted->arguments());
  EXPECT_TRUE(moved->arguments().empty());

  const Admission refused = try_normalize_arguments("search", {{"limit", "many"}});
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(),
            "Parameter 'limit' of search must be a whole number, not 'many'; search needs 'query'");
  EXPECT_THROW(static_cast<void>(refused.value()), ArgumentError);
  try {
    static_cast<void>(Admission(refused).value());
    FAIL();
  } catch (const ArgumentError& error) {
    EXPECT_EQ(error.message(), refused.error());
  }
#ifndef NDEBUG
  EXPECT_DEATH(static_cast<void>(*refused), "has_value");
  EXPECT_DEATH(static_cast<void>(admitted.error()), "has_value");
#endif
}

TEST_F(ToolBinding, ReadsCustomKinds) {
  const auto even = std::make_shared<const CustomType>(CustomType{
      .words = "an even number", .read = [](const Value& sent) -> std::optional<Value> {
        const std::int64_t number = sent.is_text() ? std::stoll(text_form(sent)) : sent.as_int64();
        return number % 2 == 0 ? Value(number) : Value();
      }});
  const ToolSpec tool({.name = "t",
                       .params = {{.name = "even",
                                   .synonyms = {"e"},
                                   .type = "integer",
                                   .enum_ = {"ignored"},
                                   .maximum = 100,
                                   .custom = even}}});
  const struct {
    Mapping request;
    std::string_view outcome;
  } cases[] = {
      {{{"e", "8"}}, "{'even': 8} | 'e' was read as 'even' (alias)"},
      {{{"even", 102}}, "{'even': 100} | 'even' 102 is above the maximum: 100 was used"},
      {{{"even", 7}}, "refused: Parameter 'even' of t must be an even number, not 7"},
      {{{"even", "many"}}, "refused: Parameter 'even' of t must be an even number, not 'many'"},
      {{{"even", List{2}}}, "refused: Parameter 'even' of t must be an even number, not [2]"},
      {{{"even", "99999999999999999999"}},
       "refused: Parameter 'even' of t must be an even number, not '99999999999999999999'"},
      {{{"even", Value::integer_of("99999999999999999999")}},
       "refused: Parameter 'even' of t must be an even number, not 99999999999999999999"},
      {{{"even", " "}}, "{}"},
  };
  for (const auto& c : cases) EXPECT_EQ(answer(tool, c.request), c.outcome);
  EXPECT_THROW(static_cast<void>(one_of({})), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(one_of({1, Value()})), std::invalid_argument);
}

// An empty name is near to many, and no help.
TEST_F(ToolBinding, OffersNoEmptyName) {
  const ToolSpec tool(
      {.name = "t",
       .params = {{.name = "", .synonyms = {"x"}}, {.name = "long_name", .synonyms = {""}}}});
  EXPECT_EQ(answer(tool, {{"y", 1}}),
            "refused: Unknown parameter 'y' for t. It takes: , long_name.");
  EXPECT_EQ(answer(tool, {{"xx", 1}}),
            "refused: Unknown parameter 'xx' for t. It takes: , long_name.");
}

// What would break a line or turn its direction is escaped in whatever message shows a value.
// (Names stand as the client spelt them, and so does an action in the note that it was read.)
TEST_F(ToolBinding, EscapesWhatWouldBreakALine) {
  const auto noted = [](const std::string& text) {
    return answer("search", {{"limit", text},
                             {"ratio", text},
                             {"deep", text},
                             {"level", text},
                             {"kind", text},
                             {"modes", List{text}},
                             {"query", List{text}},
                             {"note", Mapping{{text, 1}}},
                             {"tags", Mapping{{"k", text}}}}) +
           answer("branches", {{"action", text}}) + answer("branches", {{"action", List{text}}});
  };
  const std::string pattern = noted("a@b");
  EXPECT_EQ(std::count(pattern.begin(), pattern.end(), '@'), 11);
  constexpr std::pair<char32_t, char32_t> hidden[] = {
      {0, 0x1F}, {0x7F, 0x9F}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  for (const auto& [first, last] : hidden) {
    for (char32_t each = first; each <= last; ++each) {
      std::string character;
      append_utf8(character, each);
      const std::string escaped = display_form("a" + character + "b");
      ASSERT_EQ(escaped.find(character), std::string::npos);
      std::string expected;
      for (const char c : pattern) {
        expected += c == '@' ? escaped.substr(2, escaped.size() - 4) : std::string(1, c);
      }
      ASSERT_EQ(noted("a" + character + "b"), expected);
      const Mapping clamped{{"query", "x"}, {"limit", "500" + character}};
      ASSERT_EQ(answer("search", clamped).find(character), std::string::npos);
    }
  }
}

TEST_F(ToolBinding, TellsWhatIsMissing) {
  EXPECT_EQ(missing_arguments("branches", "create", {{"name", " "}, {"branch", "x"}}),
            "branches 'create' needs 'name'; branches 'create' needs 'base'");
  for (const char* action : {"list", "CREATE"}) {
    EXPECT_EQ(missing_arguments("branches", action, {}), std::nullopt);
  }
  EXPECT_EQ(missing_arguments("search", std::nullopt, {{"query", Value()}}),
            "search needs 'query'");
  EXPECT_EQ(missing_arguments("search", "", {{"query", List{}}}), "search needs 'query'");
  for (const Value& given : {Value(false), Value(0), Value(Mapping{}), Value(List{""})}) {
    EXPECT_EQ(missing_arguments("search", std::nullopt, {{"query", given}}), std::nullopt);
  }
  EXPECT_THROW(static_cast<void>(missing_arguments("sea", std::nullopt, {})), UnknownToolError);
  const ToolSpec taken({.name = "t",
                        .actions = {{"list"}, {"create"}},
                        .params = {{.name = "action"}, {.name = "p", .required_for = {"create"}}},
                        .default_action = "list"});
  EXPECT_EQ(try_normalize_arguments(taken, {{"action", "create"}}).error(), "t 'create' needs 'p'");
  const ParamSpec blank{.name = "b", .blank_is_value = true};
  EXPECT_TRUE(_given(blank, "") && _given(blank, List{}) && !_given(blank, Value()));
}

TEST_F(ToolBinding, BindsEveryDeclaredParameter) {
  const struct {
    const char* tool;
    Mapping arguments;
    std::string_view bound;
  } cases[] = {
      {"branches", {}, "{'action': 'list', 'name': None, 'base': None, 'force': False}"},
      {"branches",
       {{"force", Value()}, {"branch", 1}, {"base", "x"}, {"action", "NEW"}},
       "{'action': 'create', 'name': None, 'base': 'x', 'force': None}"},
      {"branches",
       {{"action", "?"}},
       "{'action': None, 'name': None, 'base': None, 'force': False}"},
      {"branches",
       {{"action", " \u3000"}, {"force", 1}},
       "{'action': 'list', 'name': None, 'base': None, 'force': 1}"},
      {"branches",
       {{"action", Value()}},
       "{'action': 'list', 'name': None, 'base': None, 'force': False}"},
      {"run", {}, "{'action': None}"},
      {"run", {{"action", 5}}, "{'action': None}"},
      {"run", {{"action", " GO "}}, "{'action': 'go'}"},
      {"status", {{"action", "x"}, {"repo", 1}}, "{}"},
  };
  for (const auto& c : cases) {
    const Mapping bound = bind_arguments(c.tool, c.arguments);
    EXPECT_EQ(display_form(bound), c.bound);
    const Value* action = bound.find("action");
    EXPECT_EQ(effective_action(c.tool, c.arguments), action == nullptr ? Value() : *action);
    Mapping handed_over = c.arguments;
    EXPECT_EQ(display_form(bind_arguments(c.tool, std::move(handed_over))), c.bound);
  }
  const ToolSpec alone({.name = "alone",
                        .actions = {{"go", {}}},
                        .params = {{.name = "p", .default_ = List{1}}},
                        .default_action = "go"});
  Mapping other_kinds{{"a name longer than fifteen bytes", 1}};
  for (const Value& key : {Value(), Value(1), Value(2.5)}) other_kinds.set(key, 1);
  EXPECT_EQ(display_form(bind_arguments(alone, other_kinds)), "{'action': 'go', 'p': [1]}");
  EXPECT_EQ(effective_action("unknown", {}), Value());
  // Where TOOLS holds a tool of the name, that one says which action is the default.
  const ToolSpec namesake({.name = "branches", .actions = {{"go", {}}}, .default_action = "go"});
  EXPECT_EQ(display_form(bind_arguments(namesake, {})), "{'action': 'list'}");
}

TEST_F(ToolBinding, AnswersDefaultsByAction) {
  EXPECT_EQ(action_default("branches", "base", "create"), "HEAD");
  EXPECT_EQ(action_default("branches", "base", "list"), "all");
  EXPECT_EQ(action_default("branches", "base", "LIST"), "main");
  EXPECT_EQ(action_default("branches", "base", "crea"), "main");
  EXPECT_EQ(action_default(TOOLS.at("branches"), "base", "create"), "HEAD");
  EXPECT_EQ(action_default("search", "n", "x"), 10);
  EXPECT_EQ(action_default("branches", "branch", "list"), Value());
  const ParamSpec twice{.name = "p", .action_defaults = {{"go", 1}, {"go", 2}}};
  set_tools(ToolTable({ToolSpec({.name = "twice", .actions = {{"go"}}, .params = {twice}})}));
  EXPECT_EQ(action_default("twice", "p", "go"), 2);
  set_tools(sample_tools());
  try {
    static_cast<void>(action_default("search", "it's", "x"));
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "the registry's search tool declares no \"it's\"");
  }
  EXPECT_THROW(static_cast<void>(action_default("sea", "n", "x")), UnknownToolError);
}

TEST(HandlerKwargs, AddsTheContextThatTheHandlerTakes) {
  using enum ParameterKind;
  const Mapping bound{{"a", 1}, {"root", 2}};
  const Mapping context{{"engines", 3}, {"root", 4}, {"rest", 5}};
  const struct {
    std::vector<HandlerParameter> signature;
    std::string_view kwargs;
  } cases[] = {
      {{}, "{'a': 1, 'root': 2}"},
      {{{"a"}, {"rest", VAR_POSITIONAL}}, "{'a': 1, 'root': 2}"},
      {{{"root", positional_only}}, "{'a': 1, 'root': 4}"},
      {{{"rest", keyword_only}, {"engines"}}, "{'a': 1, 'root': 2, 'engines': 3, 'rest': 5}"},
      {{{"rest", VAR_POSITIONAL}, {"any", VAR_KEYWORD}},
       "{'a': 1, 'root': 4, 'engines': 3, 'rest': 5}"},
  };
  for (const auto& c : cases) {
    const Handler handler{c.signature, [](const Mapping& all) { return Value(all.size()); }};
    EXPECT_EQ(display_form(handler_kwargs(handler, bound, context)), c.kwargs);
    EXPECT_EQ(handler_kwargs(handler, bound), bound);
  }
}

TEST(ArgumentError, KeepsAMessageWithAZeroByteWhole) {
  const ArgumentError error(std::string("a\0b", 3));
  EXPECT_STREQ(error.what(), "a");
  const ArgumentError copy = error;
  EXPECT_EQ(copy.message(), std::string_view("a\0b", 3));
  static_assert(std::is_nothrow_copy_constructible_v<ArgumentError>);
}

TEST(NormalizedArguments, AreEqualByTheirFields) {
  const NormalizedArguments plain(Mapping{{"a", 1}});
  EXPECT_TRUE(plain.notes().empty() && !plain.alias_hit());
  EXPECT_EQ(plain, NormalizedArguments(Mapping{{"a", 1}}, {}, false));
  EXPECT_NE(plain, NormalizedArguments(Mapping{{"a", 1}}, {"note"}));
  EXPECT_NE(plain, NormalizedArguments(Mapping{{"a", 1}}, {}, true));
  static_assert(!std::is_copy_assignable_v<NormalizedArguments> &&
                !std::is_move_assignable_v<NormalizedArguments>);
}

// A request may hold anything, nested to any depth, and any number of anything.
TEST_F(ToolBinding, AdmitsOrRefusesDeepAndWideRequests) {
  const std::size_t depth = 1'000'000;
  const Value deep = parse_json(std::string(depth, '[') + std::string(depth, ']'));
  const NormalizedArguments admitted =
      normalize_arguments("search", Mapping{{"query", "x"}, {"ids", deep}});
  EXPECT_EQ(admitted.arguments().at("ids"), deep);
  EXPECT_THROW(static_cast<void>(normalize_arguments("search", Mapping{{"query", deep}})),
               ArgumentError);
  Mapping wide;
  for (int i = 0; i < 20'000; ++i) wide.set("unknown" + std::to_string(i), i);
  EXPECT_THROW(static_cast<void>(normalize_arguments("status", wide)), ArgumentError);
}

}  // namespace
}  // namespace tool_binding
