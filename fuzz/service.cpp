// Requests that the bytes choose, to a service of typed tools: every answer is of a documented
// kind, and no function is called with a value that its declaration does not allow.

#include <cmath>
#include <filesystem>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tool_binding/tool_service.hpp"

namespace tool_binding {
namespace {

enum class Mode { fast, slow };
struct Even {
  std::int64_t number;
};

}  // namespace

template <>
struct ParameterReader<Even> {
  static constexpr std::string_view words = "an even number";
  static std::optional<Even> read(const Value& value) {
    const std::int64_t number = value.as_int64();  // what it throws refuses the value
    return number % 2 == 0 ? std::optional(Even{number}) : std::nullopt;
  }
  static Mapping schema() { return {{"type", "integer"}, {"multipleOf", 2}}; }
};

namespace {

struct Limits {
  std::uint8_t query;
  std::optional<std::int32_t> limit;
  float type;
};
struct Lists {
  std::vector<std::uint16_t> query;
  std::vector<Mode> limit;
  std::vector<std::string> q;
  std::vector<Even> type;
};
struct Acting {
  Mode action;
  std::optional<std::string> query;
  std::int64_t limit;
};

void check_result(bool holds, const char* tool) { check(holds, "value within declaration", tool); }

template <class T>
Tool single(const char* name, ParamSpec param) {
  return tool(ToolSpec({.name = name, .params = {std::move(param)}}),
              [](const T&) { return "called"; }, {"query"});
}

std::vector<Tool> tools() {
  return {
      tool("limits", "",
           {param<&Limits::query>({.synonyms = {"q"}, .minimum = 3, .maximum = 200}),
            param<&Limits::limit>(), param<&Limits::type>({.minimum = -1, .default_ = 0.5})},
           [](const Limits& request) {
             check_result(request.query >= 3 && request.query <= 200 && !(request.type < -1),
                          "limits");
             return request.query;
           }),
      tool("lists", "",
           {param<&Lists::query>({.default_ = List{1}}), param<&Lists::limit>({.default_ = List{}}),
            param<&Lists::q>({.enum_ = {"a", "Fast"}, .default_ = List{}}),
            param<&Lists::type>({.default_ = List{}})},
           [](const Lists& request) {
             for (const Mode mode : request.limit) check_result(mode <= Mode::slow, "lists");
             for (const std::string& q : request.q) check_result(q == "a" || q == "Fast", "lists");
             for (const Even even : request.type) check_result(even.number % 2 == 0, "lists");
             return List(request.query.begin(), request.query.end());
           }),
      tool({.name = "acting", .actions = {{"fast", {"LS"}}, {"slow"}}, .default_action = "fast"},
           {param<&Acting::action>(), param<&Acting::query>({.required_for = {"slow"}}),
            param<&Acting::limit>({.action_defaults = {{"fast", 1}, {"slow", 2}}})},
           [](const Acting& request) {
             check_result(request.action == Mode::fast || request.query.has_value(), "acting");
             if (request.query) throw ToolError(*request.query);
             return request.limit;
           }),
      single<bool>("bool", {.name = "query", .type = "boolean", .required = true}),
      single<std::optional<double>>("number", {.name = "query", .type = "number"}),
      single<std::uint64_t>("uint64", {.name = "query", .type = "integer", .default_ = 7}),
      single<std::string_view>("text", {.name = "query", .blank_is_value = true, .default_ = ""}),
      single<std::optional<std::filesystem::path>>("path", {.name = "query"}),
      single<Mode>("mode", {.name = "query", .enum_ = {"slow", "fast"}, .required = true}),
      single<std::optional<Even>>("even", {.name = "query", .custom = custom_type<Even>()}),
      single<Value>("any", {.name = "query", .custom = any_type()}),
      single<std::optional<Mapping>>("object", {.name = "query", .custom = object_type()}),
      tool("thrower", "", {}, [] { throw std::runtime_error("hidden"); }),
  };
}

const ToolService& service() {
  static const ToolService& all = *new ToolService(tools());
  return all;
}

void check_answer(const ToolAnswer& answer, const std::string& tool) {
  const bool hides = tool != "thrower" || answer.outcome != Outcome::failed ||
                     answer.text() == "thrower failed with an internal error";
  check(hides, "nothing of an exception is shown", answer.text());
  check(tool == "thrower" || tool == "acting" || answer.outcome != Outcome::failed,
        "no tool fails that does not throw", tool, answer.text());
  check(answer.outcome == Outcome::answered || !answer.content.empty(), "an error has a text",
        tool);
  check(answer.structured.is_none() || tool == "lists", "only lists are structured", tool);
}

}  // namespace
}  // namespace tool_binding

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  static constexpr std::string_view names[] = {"query", "limit", "type", "q", "action", "Query"};
  Bytes bytes(data, size);
  while (!bytes.at_end()) {
    const std::size_t chosen = bytes.below(service().tools().size() + 1);
    const std::string tool = chosen < service().tools().size()
                                 ? service().tools().begin()[static_cast<long>(chosen)].name()
                                 : bytes.text();
    Mapping arguments;
    for (std::size_t count = bytes.below(5); count > 0; --count) {
      arguments.set(names[bytes.below(std::size(names))], bytes.value(2));
    }
    check_answer(service().call(tool, std::move(arguments)), tool);
  }
  return 0;
}
