#include "tool_binding/tool_binding.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
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

class ToolBinding : public testing::Test {
 protected:
  void SetUp() override { set_tools(sample_tools()); }
};

// What admission makes of a request, as one line; the same whether it is copied or handed over, and
// a request that is only read stays as it was.
std::string answer(ToolRef tool, const Mapping& request) {
  const Mapping before = request;
  const std::string line = admission(tool, request);
  EXPECT_EQ(line, admission(tool, Mapping(request)));
  EXPECT_EQ(display_form(request), display_form(before));
  return line;
}

struct Case {
  Mapping request;
  std::string_view answer;
};

template <std::size_t N>
void expect_answers(const char* tool, const Case (&cases)[N]) {
  for (const Case& c : cases) {
    SCOPED_TRACE(display_form(c.request));
    EXPECT_EQ(answer(tool, c.request), c.answer);
  }
}

TEST_F(ToolBinding, ReadsNamesSynonymsAndBlanks) {
  expect_answers(
      "search",
      {
          {{{"query", "x"}}, "{'query': 'x'}"},
          {{{"q", "x"}}, "{'query': 'x'} | 'q' was read as 'query' (alias)"},
          {{{"query", "a"}, {"q", "b"}},
           "{'query': 'a'} | 'q' was left out: 'query' was given too (alias)"},
          {{{"q", "b"}, {"deep", 1}, {"query", "a"}},
           "{'query': 'a', 'deep': True} | 'q' was read as 'query' (alias)"},
          {{{"q", "a"}, {"pattern", "b"}},
           "{'query': 'a'} | 'q' was read as 'query' | "
           "'pattern' was left out: 'query' was given too (alias)"},
          // The first synonym fails and the second is read, but not behind a declared name.
          {{{"q", true}, {"pattern", "b"}},
           "refused: Parameter 'query' of search must be text, not True"},
          {{{"query", true}, {"q", "b"}},
           "refused: Parameter 'query' of search must be text, not True; search needs 'query'"},
          // Blanks are left out before anything is read into them.
          {{{"query", " \u3000"}, {"q", "b"}}, "{'query': 'b'} | 'q' was read as 'query' (alias)"},
          {{{"query", "a"}, {"q", "\x1c"}}, "{'query': 'a'}"},
          {{{"query", "a"}, {"note", ""}, {"tags", List{}}, {"limit", " "}},
           "{'query': 'a', 'note': '', 'tags': []}"},
          {{{"query", "\u200b"}}, "{'query': '\\u200b'}"},
          {{{"query", "a"}, {"repo", 1}, {"repo_root", "x"}, {"bad", Value()}}, "{'query': 'a'}"},
          {{{"query", "a"}, {"action", " "}}, "{'query': 'a'}"},
          {{{"query", "a"}, {"action", "go"}}, "refused: search takes no 'action'"},
          {{{"query", Value()}}, "refused: search needs 'query'"},
      });
}

TEST_F(ToolBinding, SecondSynonymIsReadWhenTheFirstFails) {
  Normalizing_ state(TOOLS.at("search"));
  state.take("n", Value("ten"));
  state.take("limit", Value());
  state.take("n", Value("5"));
  EXPECT_EQ(display_form(state.arguments), "{'limit': 5}");
  EXPECT_EQ(state.problems, "Parameter 'limit' of search must be a whole number, not 'ten'");
  EXPECT_EQ(state.notes.size(), 2u);
}

TEST_F(ToolBinding, CoercesEachType) {
  const struct {
    const char* name;
    Value value;
    std::string_view outcome;  // as stored, or the end of the refusal
  } cases[] = {
      {"limit", " 7\n", "7"},
      {"limit", "1_0", "10"},
      {"limit", 5.0, "5"},
      {"limit", "5.0", "must be a whole number, not '5.0'"},
      {"limit", 5.5, "must be a whole number, not 5.5"},
      {"limit", infinity, "must be a whole number, not inf"},
      {"limit", true, "must be a whole number, not True"},
      {"limit", List{1}, "must be a whole number, not [1]"},
      {"limit", "it's\t\u202e", "must be a whole number, not \"it's\\t\\u202e\""},
      {"ratio", 1, "1.0"},
      {"ratio", "1e0", "1.0"},
      {"ratio", "nan", "nan"},
      {"ratio", true, "must be a number, not True"},
      {"ratio", "abc", "must be a number, not 'abc'"},
      {"ratio", Mapping{}, "must be a number, not {}"},
      {"deep", " YES", "True"},
      {"deep", 0, "False"},
      {"deep", 2, "must be true or false, not 2"},
      {"deep", 1.0, "must be true or false, not 1.0"},
      {"deep", "maybe", "must be true or false, not 'maybe'"},
      {"deep", Value::integer_of("1" + std::string(20, '0')),
       "must be true or false, not 100000000000000000000"},
      {"note", " as it is ", "' as it is '"},
      {"note", 5, "'5'"},
      {"note", 1e16, "'1e+16'"},
      {"note", false, "must be text, not False"},
      {"note", List{"a"}, "must be text, not ['a']"},
      {"tags", List{1, 2.5, true, Value(), List{"x"}}, "['1', '2.5', 'True', 'None', \"['x']\"]"},
      {"tags", "a, 'b, c'", "['a', 'b, c']"},
      {"tags", "[1, \"a\"]", "['1', 'a']"},
      {"ids", "1,2", "['1', '2']"},
      {"ids", "[1, [2]]", "[1, [2]]"},
      {"tags", 5, "must be a list (or comma-separated text), not 5"},
      {"kind", " ANY ", "'Any'"},
      {"kind", "FILE", "'file'"},  // the first of two that differ in case alone
      {"kind", "\u039b\u038c\u0393\u039f\u03a3", "'\u03bb\u03cc\u03b3\u03bf\u03c2'"},
      {"kind", " x",
       "must be one of: Any, file, FILE, \u03bb\u03cc\u03b3\u03bf\u03c2,  x; not ' x'"},
      {"level", 2.0, "'2'"},
      {"level", 3, "must be one of: 1, 2; not '3'"},
      {"modes", "FAST, Slow", "['fast', 'slow']"},
      {"modes", List{}, "[]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + display_form(c.value));
    const std::string line = answer("search", {{"query", "x"}, {c.name, c.value}});
    const std::string name = std::string("'") + c.name + "'";
    EXPECT_EQ(line, line.starts_with("refused")
                        ? "refused: Parameter " + name + " of search " + std::string(c.outcome)
                        : "{'query': 'x', " + name + ": " + std::string(c.outcome) + "}");
  }
}

TEST_F(ToolBinding, NamesEveryItemThatAnEnumerationRefuses) {
  EXPECT_EQ(answer("search", {{"query", "x"}, {"modes", List{"fast", "x", "Slow", 5}}}),
            "refused: Parameter 'modes' of search must each be one of: fast, slow; not 'x'; "
            "Parameter 'modes' of search must each be one of: fast, slow; not '5'");
}

TEST_F(ToolBinding, BringsNumbersWithinTheirBounds) {
  const Value big = Value::integer_of("1" + std::string(30, '0'));
  const struct {
    const char* type;
    Value minimum;
    Value maximum;
    Value value;
    std::string_view outcome;
  } cases[] = {
      {"integer", 1, 100, 1, "1"},
      {"integer", 1, 100, 100, "100"},
      {"integer", 1, 100, 500, "100 | 'p' 500 is above the maximum: 100 was used"},
      {"integer", 1, 100, "0", "1 | 'p' 0 is below the minimum: 1 was used"},
      {"integer",
       {},
       100,
       big,
       "100 | 'p' 1000000000000000000000000000000 is above the maximum: 100 was used"},
      {"integer", 2.5, {}, 1, "2 | 'p' 1 is below the minimum: 2 was used"},
      {"integer", 2.5, {}, 2, "2 | 'p' 2 is below the minimum: 2 was used"},
      {"integer", -2.5, -2.5, 0, "-2 | 'p' 0 is above the maximum: -2 was used"},
      {"integer", 9, 1, 5, "9 | 'p' 5 is below the minimum: 9 was used"},
      {"integer",
       {},
       9007199254740992.0,
       9007199254740993,
       "9007199254740992 | 'p' 9007199254740993 is above the maximum: 9007199254740992 was used"},
      {"integer",
       {},
       9223372036854775808.0,
       std::numeric_limits<std::int64_t>::max(),
       "9223372036854775807"},
      {"integer", {}, infinity, big, "1000000000000000000000000000000"},
      {"number", 0, {}, -1.5, "0.0 | 'p' -1.5 is below the minimum: 0.0 was used"},
      {"number", {}, 10, infinity, "10.0 | 'p' inf is above the maximum: 10.0 was used"},
      {"number", {}, 9007199254740993, 9007199254740992, "9007199254740992.0"},
      {"number", 1, 2, "nan", "nan"},
      {"number", {}, {}, -1e300, "-1e+300"},
      {"string", 1, 2, 500, "'500'"},
  };
  for (const auto& c : cases) {
    const ToolSpec tool(
        "t", {}, {{.name = "p", .type = c.type, .minimum = c.minimum, .maximum = c.maximum}});
    std::string expected(c.outcome);
    expected.insert(std::min(expected.find(" |"), expected.size()), "}");
    EXPECT_EQ(answer(tool, {{"p", c.value}}), "{'p': " + expected);
  }
}

// Faults of the registry end in an error, never in a line of the request's refusal.
TEST_F(ToolBinding, PassesRegistryFaultsOn) {
  const auto admit = [](std::string type, Value minimum, Value value) {
    const ToolSpec tool("t", {}, {{.name = "p", .type = std::move(type), .minimum = minimum}});
    static_cast<void>(normalize_arguments(tool, Mapping{{"p", value}}));
  };
  const Value big = Value::integer_of("1" + std::string(400, '0'));
  EXPECT_THROW(admit("integer", infinity, 1), std::overflow_error);
  EXPECT_THROW(admit("integer", std::numeric_limits<double>::quiet_NaN(), 1), std::overflow_error);
  EXPECT_THROW(admit("number", big, 1), std::overflow_error);
  EXPECT_THROW(admit("number", {}, big), std::overflow_error);
  EXPECT_THROW(admit("integer", "1", 1), TypeError);
  EXPECT_THROW(admit("integer", true, 1), TypeError);
  EXPECT_THROW(admit("date", {}, 1), std::out_of_range);
  EXPECT_THROW(static_cast<void>(normalize_arguments("stat", {{"x", 1}})), UnknownToolError);
}

TEST_F(ToolBinding, OffersTheNearestName) {
  expect_answers(
      "branches",
      {
          {{{"nam", ""}},
           "refused: Unknown parameter 'nam' for branches. Did you mean 'name'? "
           "It takes: name, base, force."},
          {{{"brunch", 1}},
           "refused: Unknown parameter 'brunch' for branches. "
           "Did you mean 'name'? It takes: name, base, force."},
          {{{"Xyz", 1}},
           "refused: Unknown parameter 'Xyz' for branches. "
           "It takes: name, base, force."},
          {{{"action", "creat"}, {"force", "x"}},
           "refused: branches has no action 'creat': it has list, create, delete. "
           "Did you mean 'create'?; Parameter 'force' of branches must be true or false, not 'x'"},
          {{{"action", List{"list"}}},
           "refused: branches has no action ['list']: it has list, create, delete. "
           "Did you mean 'list'?"},
          {{{"action", 5}}, "refused: branches has no action 5: it has list, create, delete"},
      });
  EXPECT_EQ(answer("status", {{"x", 1}}),
            "refused: Unknown parameter 'x' for status. It takes none.");
}

// What would break a line or turn its direction is escaped in whatever message shows a value.
// (Names stand as the client spelt them, and so does an action in the note that it was read.)
TEST_F(ToolBinding, EscapesWhatWouldBreakALine) {
  const auto told = [](const std::string& text) {
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
  const std::string pattern = told("a@b");
  EXPECT_EQ(std::count(pattern.begin(), pattern.end(), '@'), 11);
  constexpr std::pair<char32_t, char32_t> hidden[] = {
      {0, 0x1F}, {0x7F, 0x9F}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  for (const auto& [first, last] : hidden) {
    for (char32_t each = first; each <= last; ++each) {
      char escape[16];
      std::snprintf(escape, sizeof escape, each < 0x100 ? "\\x%02x" : "\\u%04x", unsigned(each));
      if (each == '\t' || each == '\n' || each == '\r') {
        std::snprintf(escape, sizeof escape, "\\%c", each == '\t' ? 't' : each == '\n' ? 'n' : 'r');
      }
      std::string character;
      append_utf8(character, each);
      std::string expected;
      for (const char c : pattern) expected += c == '@' ? std::string(escape) : std::string(1, c);
      ASSERT_EQ(told("a" + character + "b"), expected);
      const Mapping clamped{{"query", "x"}, {"limit", "500" + character}};
      ASSERT_EQ(answer("search", clamped).find(character), std::string::npos);
    }
  }
}

TEST_F(ToolBinding, SettlesTheActionAndWhatItNeeds) {
  expect_answers(
      "branches",
      {
          {{}, "{'action': 'list'}"},
          {{{"action", Value()}, {"force", "no"}}, "{'force': False, 'action': 'list'}"},
          {{{"action", "delete"}, {"branch", "x"}},
           "{'action': 'delete', 'name': 'x'} | 'branch' was read as 'name' (alias)"},
          {{{"name", "x"}, {"action", " LS "}},
           "{'name': 'x', 'action': 'list'} | the action ' LS ' was read as 'list' (alias)"},
          {{{"action", "add"}, {"brunch", 1}},
           "refused: Unknown parameter 'brunch' for branches. Did you mean 'name'? "
           "It takes: name, base, force.; branches 'create' needs 'name'; "
           "branches 'create' needs 'base'"},
      });
  EXPECT_EQ(answer("run", {}), "refused: run needs an 'action': one of go, stop");
  EXPECT_EQ(answer("run", {{"action", "jump"}, {"x", 1}}),
            "refused: run has no action 'jump': it has go, stop; "
            "Unknown parameter 'x' for run. It takes none.");
  // Two problems and a note in one request: the note is not told.
  EXPECT_EQ(answer("search", {{"n", 500}, {"lmit", 1}}),
            "refused: Unknown parameter 'lmit' for search. Did you mean 'limit'? It takes: query, "
            "limit, ratio, deep, kind, tags, ids, modes, level, note.; search needs 'query'");
}

TEST_F(ToolBinding, TellsWhatIsMissing) {
  EXPECT_EQ(missing_arguments("branches", "create", {{"name", " "}, {"branch", "x"}}),
            "branches 'create' needs 'name'; branches 'create' needs 'base'");
  EXPECT_EQ(missing_arguments("branches", "list", {}), std::nullopt);
  EXPECT_EQ(missing_arguments("search", std::nullopt, {{"query", Value()}}),
            "search needs 'query'");
  EXPECT_EQ(missing_arguments("search", "", {{"query", List{}}}), "search needs 'query'");
  for (const Value& given : {Value(false), Value(0), Value(Mapping{}), Value(List{""})}) {
    EXPECT_EQ(missing_arguments("search", std::nullopt, {{"query", given}}), std::nullopt);
  }
  EXPECT_THROW(static_cast<void>(missing_arguments("sea", std::nullopt, {})), UnknownToolError);
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
      {"status", {{"action", "x"}, {"repo", 1}}, "{}"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(display_form(bind_arguments(c.tool, c.arguments)), c.bound);
    Mapping handed_over = c.arguments;
    EXPECT_EQ(display_form(bind_arguments(c.tool, std::move(handed_over))), c.bound);
  }
  const ToolSpec alone("alone", {{"go", {}}}, {{.name = "p", .default_ = List{1}}}, "go");
  Mapping other_kinds{{"a name longer than fifteen bytes", 1}};
  for (const Value& key : {Value(), Value(1), Value(2.5)}) other_kinds.set(key, 1);
  EXPECT_EQ(display_form(bind_arguments(alone, other_kinds)), "{'action': None, 'p': [1]}");
}

TEST_F(ToolBinding, AnswersDefaultsByAction) {
  EXPECT_EQ(action_default("branches", "base", "create"), "HEAD");
  EXPECT_EQ(action_default("branches", "base", "list"), "all");
  EXPECT_EQ(action_default("branches", "base", "LIST"), "main");
  EXPECT_EQ(action_default("search", "n", "x"), 10);
  EXPECT_EQ(action_default("branches", "branch", "list"), Value());
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
  EXPECT_EQ(error.message(), std::string_view("a\0b", 3));
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
  Value deep = 1;
  for (int i = 0; i < 1'000'000; ++i) {
    List list;
    list.push_back(std::move(deep));
    deep = std::move(list);
  }
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
