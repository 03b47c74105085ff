#include "tool_binding/handlers.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {
namespace {

enum class Mode { literal, regex };
enum class Letters : std::int8_t { keep = -1, ignore = 100 };
enum class Unnamed { one = 64 };

struct Date {
  int year;
};
struct Anything {};

class Repository {};
struct Engine {};

}  // namespace

template <>
inline constexpr auto enum_names<Letters> = std::to_array<EnumName<Letters>>(
    {{Letters::keep, "keep-case"}, {Letters::ignore, "ignore-case"}});

template <>
struct ParameterReader<Date> {
  static constexpr std::string_view words = "a date, such as 2024-05-31";
  static std::optional<Date> read(const Value& value) {
    if (value.as_text().size() != 10) return std::nullopt;
    return Date{std::stoi(std::string(value.get_text().substr(0, 4)))};
  }
  static Mapping schema() { return {{"type", "string"}, {"format", "date"}}; }
};

// Of no type word, so that any declaration agrees with it.
template <>
struct ParameterReader<Anything> {
  static constexpr std::string_view words = "anything";
  static std::optional<Anything> read(const Value&) { return Anything(); }
  static Mapping schema() { return {}; }
};

namespace {

// Names from the compiler.

template <class T>
struct Template {
  struct Inner {
    T item;
  };
};
struct Base {
  int depth;
};
struct Derived : Base {
  int own;
};

static_assert(detail::member_name<&Date::year>() == "year");
static_assert(detail::member_name<&Derived::own>() == "own");
static_assert(detail::member_name<&Derived::depth>() == "depth");
static_assert(detail::member_name<&Template<std::pair<int, Mode>>::Inner::item>() == "item");

template <class E>
std::string enumerators_of() {
  std::string all;
  for (const auto& [name, value] : detail::enumerators<E>()) {
    all.append(name).append(" ").append(std::to_string(value)).append(";");
  }
  return all;
}

template <class>
auto local_enumeration() {
  enum class Local : bool { no, yes9 };
  return Local::no;
}

TEST(CompilerNames, AreFoundWhereverAnEnumerationStands) {
  struct Here {
    int local_member;
  };
  static_assert(detail::member_name<&Here::local_member>() == "local_member");
  enum class Gaps : unsigned char { first = 1, last = 63, beyond = 64 };
  EXPECT_EQ(enumerators_of<Mode>(), "literal 0;regex 1;");
  EXPECT_EQ(enumerators_of<Gaps>(), "first 1;last 63;");
  EXPECT_EQ(enumerators_of<decltype(local_enumeration<std::pair<Mode, int>>())>(), "no 0;yes9 1;");
  EXPECT_EQ(enumerators_of<Unnamed>(), "");
  EXPECT_EQ(enumerators_of<Letters>(), "keep-case 0;ignore-case 1;");
}

// Mistakes that are found when a handler is bound.

std::string without(std::string text, std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) {
    for (std::size_t at; (at = text.find(part)) != text.npos;) text.erase(at, part.size());
  }
  return text;
}

// The types of this file by their names alone.
template <class Make>
std::string problems_of(Make make) {
  try {
    static_cast<void>(make());
    return {};
  } catch (const HandlerError& error) {
    return without(error.what(), {"tool_binding::", "(anonymous namespace)::", "{anonymous}::"});
  }
}

template <class F, std::size_t Count>
std::string problems_of(const ToolSpec& spec, const Context& context, const Ignored& left_out,
                        const std::string_view (&names)[Count], F function) {
  return problems_of([&] { return bind_handler(spec, context, function, names, left_out); });
}
std::string problems_of(const ToolSpec& spec, const Ignored& left_out) {
  const auto nothing = [] {};
  return problems_of([&] { return bind_handler(spec, {}, nothing, left_out); });
}
std::string problems_of(const Tool& tool, const Context& context = {}) {
  return problems_of([&] { return bind_handler(tool, context); });
}

// The cases of a section of handler_mistakes.txt.
Lines mistakes(const std::string& section) {
  Lines all;
  for (const DataCase& c : data_cases("handler_mistakes.txt")) {
    if (c.section[0] == "== " + section) all.push_back(c.text());
  }
  return all;
}

// Every C++ type with every declaration.

template <class... T>
struct Types {};
using AllTypes =
    Types<bool, std::int8_t, std::uint8_t, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t,
          long long, double, float, std::string, std::string_view, std::filesystem::path, Mode,
          Letters, Value, List, Mapping, Date, std::vector<bool>, std::vector<std::uint8_t>,
          std::vector<std::int64_t>, std::vector<double>, std::vector<std::string>,
          std::vector<std::filesystem::path>, std::vector<Mode>, std::vector<Value>,
          std::vector<Mapping>, std::vector<Date>>;

std::string short_name(const detail::CppType& type) {
  const std::string name =
      without(std::string(type.name), {"std::", "filesystem::", "tool_binding::", "_t",
                                       "(anonymous namespace)::", "{anonymous}::"});
  return type.is_vector ? "[" + name + "]" : name;
}

// The types that agree with a declaration, by themselves and as std::optional.
template <class... T>
std::pair<std::string, std::string> agreeing(const ParamSpec& param, Types<T...>) {
  const ToolSpec spec({.name = "t", .params = {param}});
  std::pair<std::string, std::string> names;
  const auto add = [&spec]<class Taken>(std::string& to, std::type_identity<Taken>) {
    const auto bind = [&] { return bind_handler(spec, {}, [](const Taken&) {}, {"p"}); };
    if (problems_of(bind).empty()) to += short_name(detail::cpp_type<Taken>) + " ";
  };
  (add(names.first, std::type_identity<T>()), ...);
  (add(names.second, std::type_identity<std::optional<T>>()), ...);
  return names;
}

// A tool whose parameter 'p' is published like this, and required.
ToolSpec tool_with(const std::string& property) {
  const std::string tools = R"([{"name": "t", "inputSchema": {"properties": {"p": )" + property +
                            R"(}, "required": ["p"]}}])";
  return read_tools(parse_json(tools)).tools.at(0);
}

// Every case of handler_types.txt, and what no file declares.
TEST(Types, AgreeWithWhatIsDeclaredOrAreAMistake) {
  std::vector<std::pair<ParamSpec, std::string>> cases = {
      {{.name = "p", .type = "integer", .required = true, .default_ = "5"}, "Value "},
      {{.name = "p", .enum_ = {"regex", "literal"}, .required = true, .default_ = "Regex"},
       "string string_view path Value "},
      {{.name = "p", .required = true, .custom = custom_type<Date>()},
       "string string_view path Value Date "},
      {{.name = "p", .required = true, .custom = custom_type<std::vector<Date>>()},
       "Value List [string] [path] [Mode] [Value] [Date] "},
      {{.name = "p",
        .required = true,
        .custom = std::make_shared<CustomType>(
            CustomType{"a list", any_type()->read, {{"type", "array"}}})},
       "Value List [bool] [uint8] [int64] [double] [string] [path] [Mode] [Value] [Mapping] "
       "[Date] "},
  };
  for (const DataCase& c : data_cases("handler_types.txt")) {
    cases.emplace_back(tool_with(c.lines[0]).params()[0], c.lines.at(1) + " ");
  }
  for (const auto& [param, agree] : cases) {
    SCOPED_TRACE(testing::Message()
                 << param.type << ' ' << param.items_type << ' ' << display_form(param.default_));
    // Nothing is left out that has a default, and what is required needs no std::optional.
    EXPECT_EQ(agreeing(param, AllTypes()), std::pair(agree, agree));
    EXPECT_EQ(agreeing(param, Types<Anything>()).first, "Anything ");
    if (!param.default_.is_none()) continue;
    ParamSpec may_be_none = param;
    may_be_none.required = false;
    EXPECT_EQ(agreeing(may_be_none, AllTypes()), std::pair(std::string("Value "), agree));
  }
}

TEST(Mistakes, AreAllInOneErrorThatSaysWhatToWrite) {
  const ToolSpec spec(
      {.name = "read",
       .params = {{.name = "path", .synonyms = {"file"}, .required = true},
                  {.name = "lines", .type = "integer", .minimum = -1, .default_ = 9},
                  {.name = "mode", .enum_ = {"fast"}, .default_ = "fast"},
                  {.name = "sizes", .type = "array", .default_ = List{}}}});
  const auto all = ignored("path", "lines", "mode", "sizes");
  Context context;
  context.provide("repository", std::make_shared<Repository>());
  context.provide("left", std::make_shared<const Engine>());
  Context twins;
  twins.provide("a", std::make_shared<Engine>()).provide("b", std::make_shared<Engine>());
  Context clash;
  clash.provide("lines", std::make_shared<Engine>());

  const Lines found = {
      problems_of(spec, context, {},
                  {"pth", "file", "path", "lines", "mode", "sizes", "repository"},
                  [](int, int, bool, std::uint16_t, Mode, std::vector<int>, std::string) {}),
      problems_of(spec, ignored("path", "mode", "sizes", "line")),
      problems_of(spec, {}, all, {"path", "path"}, [](Value, Value) {}),
      problems_of(spec, context, all, {"repository"}, [](Engine&) {}),
      problems_of(spec, context, all, {"engine"}, [](Engine&) {}),
      problems_of(spec, twins, all, {"engine"}, [](const Engine&) {}),
      problems_of(spec, {}, all, {"engine"}, [](std::shared_ptr<Engine>) {}),
      problems_of(spec, clash, all, {"engine"}, [](Engine*) {}),
      problems_of(spec, {}, all, {"path"}, [](std::string&) {}),
      problems_of(spec, context, all, {"repository"}, [](Engine*) {}),
      problems_of(tool("t", "", {}, [](Engine&) {}), twins),
      problems_of(ToolSpec({.name = "t"}), {}, {}, {"x"}, [](Value) {}),
      problems_of(ToolSpec({.name = "t", .params = {{.name = "p", .type = "text"}}}), {}, {}, {"p"},
                  [](Value) {}),
  };
  EXPECT_EQ(found, mistakes("names and types"));
}

enum class Action { list, create };

ToolSpec branches() {
  return ToolSpec({.name = "branches",
                   .actions = {{"list"}, {"create", {"new"}}},
                   .params = {{.name = "name", .required_for = {"create"}},
                              {.name = "base", .action_defaults = {{"create", "HEAD"}}},
                              {.name = "all",
                               .type = "boolean",
                               .action_defaults = {{"list", true}, {"create", false}}}},
                   .default_action = "list"});
}

TEST(Mistakes, OfActions) {
  const auto all = ignored("action", "name", "base", "all");
  const auto others = ignored("name", "base", "all");
  Context clash;
  clash.provide("action", std::make_shared<Engine>());
  const Lines found = {
      problems_of(branches(), {}, {}, {"action", "name", "base", "all"},
                  [](int, std::string, std::string, bool) {}),
      problems_of(branches(), others),
      problems_of(branches(), {}, others, {"action"}, [](Mode) {}),
      problems_of(branches(), {}, others, {"action"}, [](std::vector<std::string>) {}),
      problems_of(branches(), {}, others, {"action", "acton"}, [](Value, Value) {}),
      problems_of(branches(), {}, others, {"action"}, [](std::string&) {}),
      problems_of(branches(), clash, all, {"engine"}, [](Engine*) {}),
  };
  EXPECT_EQ(found, mistakes("actions"));
}

struct Request : Base {
  Action action;
  std::string query;
  std::vector<int> sizes;
  std::optional<Date> since;
  Mapping options;
  std::vector<Date> dates;
  Unnamed unnamed;
};

TEST(Mistakes, OfStructs) {
  const auto nothing = [](const Request&) {};
  const Lines found = {
      problems_of(tool("t", "", {}, nothing)),
      problems_of(tool("t", "", {param<&Request::query>(), param<&Request::query>()}, nothing)),
      problems_of(tool("t", "", {param<&Request::query>({.default_ = 5})}, nothing)),
      problems_of(tool("t", "", {param<&Request::sizes>({.default_ = List{1, "x"}})}, nothing)),
      problems_of(tool({.name = "t", .actions = {"list", "create"}},
                       {param<&Request::action>({.default_ = "list"}),
                        param<&Request::query>({.required_for = {"list"}})},
                       nothing)),
      problems_of(tool("t", "", {param<&Request::unnamed>()}, nothing)),
      problems_of(
          tool({.name = "t", .params = {{.name = "query"}}}, {param<&Request::query>()}, nothing)),
      problems_of(tool({.name = "t", .actions = {"list"}},
                       {param<&Request::sizes>({.action_defaults = {{"list", "1,2"}}})}, nothing)),
  };
  EXPECT_EQ(found, mistakes("structs"));
}

// What a struct declares.

TEST(Structs, DeclareWhatTheirTypesSay) {
  const Tool made = tool({.name = "t", .actions = {"list", "create"}, .default_action = "list"},
                         {param<&Request::action>(), param<&Request::depth>({.default_ = 3}),
                          param("q", &Request::query, {.synonyms = {"query"}, .enum_ = {"a", "b"}}),
                          param<&Request::sizes>(), param<&Request::since>(),
                          param<&Request::options>(), param<&Request::dates>({.default_ = List{}})},
                         [](const Request&) {});
  EXPECT_EQ(json_text(input_schema(made.spec())),
            R"({"type": "object", "properties": {)"
            R"("action": {"type": "string", "enum": ["list", "create"], "default": "list"}, )"
            R"("depth": {"type": "integer", "default": 3}, )"
            R"("q": {"type": "string", "enum": ["a", "b"], "x-synonyms": ["query"]}, )"
            R"("sizes": {"type": "array", "items": {"type": "integer"}}, )"
            R"("since": {"type": "string", "format": "date"}, "options": {"type": "object"}, )"
            R"("dates": {"type": "array", "items": {"type": "string", "format": "date"}, )"
            R"("default": []}}, "required": ["q", "sizes", "options"]})");
  EXPECT_EQ(bind_handler(made, {}).signature.size(), 7U);
}

// Calls.

Value admit_and_call(const ToolSpec& spec, const Handler& handler, const Mapping& request) {
  return handler.call(bind_arguments(spec, normalize_arguments(spec, request).arguments()));
}

template <class T>
Handler taking(const ToolSpec& spec) {
  const auto returned = [](const T& taken) {
    if constexpr (detail::cpp_type<T>.is_vector) {
      return List(taken.begin(), taken.end());
    } else {
      return Value(taken);
    }
  };
  return bind_handler(spec, {}, returned, {"p"});
}

// Every case of handler_values.txt, which says how it is laid out.
TEST(Calls, GetEveryTypeOfValueAndNothingElse) {
  const std::map<std::string, Handler (*)(const ToolSpec&)> types = {
      {"int8", taking<std::int8_t>},
      {"uint64", taking<std::uint64_t>},
      {"float", taking<float>},
      {"[uint8]", taking<std::vector<std::uint8_t>>},
      {"[bool]", taking<std::vector<bool>>},
      {"[double]", taking<std::vector<double>>},
      {"[string_view]", taking<std::vector<std::string_view>>},
      {"[Mapping]", taking<std::vector<Mapping>>},
  };
  for (const DataCase& c : data_cases("handler_values.txt")) {
    SCOPED_TRACE(c.section[0] + "\n" + c.lines[0]);
    const ToolSpec spec = tool_with(c.section.at(1));
    const Handler handler = types.at(c.section[0].substr(3))(spec);
    std::string answer;
    try {
      answer = display_form(admit_and_call(spec, handler, {{"p", parse_json(c.lines[0])}}));
    } catch (const ArgumentError& error) {
      answer = error.message();
    }
    EXPECT_EQ(answer, c.lines.at(1));
  }
}

// A handler of the layer can be called with anything.
TEST(Calls, RefuseWhatAdmissionWouldNotGive) {
  const ToolSpec spec({.name = "t", .params = {{.name = "p", .type = "array", .required = true}}});
  const auto refusal = [&spec](auto function, const Value& sent) {
    try {
      return display_form(bind_handler(spec, {}, function, {"p"}).call({{"p", sent}}));
    } catch (const ArgumentError& error) {
      return std::string(error.message());
    }
  };
  EXPECT_EQ(refusal([](const List&) {}, "a"),
            "Parameter 'p' of t must be a list (or comma-separated text), not 'a'");
  EXPECT_EQ(refusal([](const std::vector<Value>&) {}, 5),
            "Parameter 'p' of t must be a list (or comma-separated text), not 5");
  const Handler by_action = bind_handler(
      branches(), {}, [](Action, const std::optional<std::string>&) {}, {"action", "base"},
      ignored("name", "all"));
  try {
    by_action.call({{"action", "zzz"}, {"name", Value()}, {"base", Value()}, {"all", true}});
    ADD_FAILURE();
  } catch (const ArgumentError& error) {
    EXPECT_EQ(error.message(),
              "Parameter 'action' of branches must be one of: list, create, not 'zzz'");
  }
}

TEST(Calls, ResolveDefaultsByActionInBothSpellings) {
  struct Branches {
    Action action;
    std::optional<std::string> name;
    std::optional<std::string> base;
    bool all;
  };
  const auto answer = [](Action action, const std::optional<std::string>& name,
                         const std::optional<std::string>& base, bool all) {
    return List{action == Action::create, name ? Value(*name) : Value(),
                base ? Value(*base) : Value(), all};
  };
  const Tool from_struct = tool(
      {.name = "branches", .actions = {{"list"}, {"create", {"new"}}}, .default_action = "list"},
      {param<&Branches::action>(), param<&Branches::name>({.required_for = {"create"}}),
       param<&Branches::base>({.action_defaults = {{"create", "HEAD"}}}),
       param<&Branches::all>({.action_defaults = {{"list", true}, {"create", false}}})},
      [answer](const Branches& r) { return answer(r.action, r.name, r.base, r.all); });
  EXPECT_EQ(from_struct.spec(), branches());
  const Handler handlers[] = {
      bind_handler(branches(), {}, answer, {"action", "name", "base", "all"}),
      bind_handler(from_struct, {})};
  const std::pair<Mapping, List> cases[] = {
      {{}, {false, Value(), Value(), true}},
      {{{"action", "NEW"}, {"name", "fix"}}, {true, "fix", "HEAD", false}},
      {{{"base", "next"}, {"all", "no"}}, {false, Value(), "next", false}},
  };
  for (const Handler& handler : handlers) {
    for (const auto& [request, expected] : cases) {
      EXPECT_EQ(admit_and_call(branches(), handler, request), Value(expected));
    }
    // Arguments that are not bound yet, in another order, with what no handler takes.
    EXPECT_EQ(handler.call({{"other", 1}, {"name", "x"}, {"action", "create"}}),
              Value(List{true, "x", "HEAD", false}));
  }
}

TEST(Calls, TakeTheContextInEveryForm) {
  const auto repository = std::make_shared<Repository>();
  const auto engine = std::make_shared<const Engine>();
  Context context;
  context.provide("main", repository).provide("engine", engine);
  const ToolSpec spec({.name = "t"});
  const Handler handler = bind_handler(
      spec, context,
      [=](Repository& by_name, const Repository& by_type, std::shared_ptr<const Repository> shared,
          const std::shared_ptr<Repository>& same, const Engine* pointer, std::string* absent,
          Call& call, std::stop_token stop) {
        EXPECT_EQ(&by_name, repository.get());
        EXPECT_EQ(&by_type, repository.get());
        EXPECT_EQ(shared, repository);
        EXPECT_EQ(same, repository);
        EXPECT_EQ(pointer, engine.get());
        EXPECT_EQ(absent, nullptr);
        return call.tool() == "t" && !stop.stop_possible() && !call.wants_progress();
      },
      {"main", "other", "third", "fourth", "engine", "text"});
  EXPECT_EQ(handler.call({}), Value(true));
  EXPECT_TRUE(handler.signature.empty());
  EXPECT_THROW(context.provide("main", repository), std::invalid_argument);
  EXPECT_THROW(context.provide("null", std::shared_ptr<Engine>()), std::invalid_argument);
}

TEST(Calls, TakeATypeWithAReaderInBothSpellings) {
  struct Log {
    Date since;
    std::vector<Date> others;
  };
  const Tool from_struct = tool(
      "log", "",
      {param<&Log::since>({.default_ = "2024-05-31"}), param<&Log::others>({.default_ = List{}})},
      [](Log log) {
        int sum = log.since.year;
        for (const Date& other : log.others) sum += other.year;
        return sum;
      });
  const Handler by_struct = bind_handler(from_struct, {});
  const Handler by_name = bind_handler(
      from_struct.spec(), {}, [](const Date& since) { return since.year; }, {"since"},
      ignored("others"));
  EXPECT_EQ(admit_and_call(from_struct.spec(), by_struct, {}), Value(2024));
  EXPECT_EQ(admit_and_call(from_struct.spec(), by_name, {{"since", "1999-01-01"}}), Value(1999));
  EXPECT_EQ(admit_and_call(from_struct.spec(), by_struct, {{"others", "2000-01-01,2001-01-01"}}),
            Value(6025));
  try {
    admit_and_call(from_struct.spec(), by_struct,
                   {{"others", List{"2000-01-01", "soon-enough", 5}}});
    ADD_FAILURE();
  } catch (const ArgumentError& error) {
    EXPECT_EQ(error.message(),
              "Parameter 'others' of log, item 2, must be a date, such as 2024-05-31, not "
              "'soon-enough'; "
              "Parameter 'others' of log, item 3, must be a date, such as 2024-05-31, not 5");
  }
  for (const Value& since : {Value("soon"), Value("not a date"), Value(5)}) {
    EXPECT_FALSE(try_normalize_arguments(from_struct.spec(), {{"since", since}}));
  }
  EXPECT_FALSE(try_normalize_arguments(from_struct.spec(), {{"others", 5}}));
}

TEST(Calls, GiveEveryKindOfResult) {
  const ToolSpec spec({.name = "t"});
  const auto result = [&spec](auto function) { return bind_handler(spec, {}, function).call({}); };
  EXPECT_EQ(result([] {}), Value());
  EXPECT_EQ(result([] { return "text"; }), Value("text"));
  EXPECT_EQ(result([]() -> std::string_view { return "view"; }), Value("view"));
  EXPECT_EQ(result([] { return std::uint8_t{7}; }), Value(7));
  EXPECT_EQ(result([] { return List{1}; }), Value(List{1}));
  EXPECT_EQ(result([] { return Mapping{{"a", 1}}; }), Value(Mapping{{"a", 1}}));
  EXPECT_EQ(result(std::function<Value()>([] { return Value(2.5); })), Value(2.5));
  const Answer answer{.content = {TextContent{"t"}, ImageContent{"a", "i"}, AudioContent{"ab", "x"},
                                  EmbeddedResource{.uri = "u", .mime_type = "m", .text = "t"},
                                  EmbeddedResource{.uri = "u", .blob = "abc"},
                                  ResourceLink{.uri = "u", .name = "n", .size = 3}},
                      .structured = Mapping{{"a", 1}},
                      .is_error = true};
  EXPECT_EQ(display_form(result([&answer] { return answer; })),
            "{'content': [{'type': 'text', 'text': 't'}, "
            "{'type': 'image', 'data': 'YQ==', 'mimeType': 'i'}, "
            "{'type': 'audio', 'data': 'YWI=', 'mimeType': 'x'}, "
            "{'type': 'resource', 'resource': {'uri': 'u', 'mimeType': 'm', 'text': 't'}}, "
            "{'type': 'resource', 'resource': {'uri': 'u', 'blob': 'YWJj'}}, "
            "{'type': 'resource_link', 'uri': 'u', 'name': 'n', 'size': 3}], "
            "'structuredContent': {'a': 1}, 'isError': True}");
}

}  // namespace
}  // namespace tool_binding
