#ifndef TOOL_BINDING_TESTS_SAMPLE_REQUESTS_HPP_
#define TOOL_BINDING_TESTS_SAMPLE_REQUESTS_HPP_

// Tools, requests to them that between them come to every outcome, and all that the library
// answers to a request, as text to compare.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {

inline ToolTable sample_tools() {
  const ToolSpec search(
      "search", {},
      {{.name = "query", .synonyms = {"q", "pattern"}, .required = true},
       {.name = "limit",
        .synonyms = {"n"},
        .type = "integer",
        .minimum = 1,
        .maximum = 100,
        .default_ = 10},
       {.name = "ratio", .type = "number", .minimum = 0, .maximum = 1.5},
       {.name = "deep", .type = "boolean"},
       {.name = "kind", .enum_ = {"Any", "file", "FILE", "\u03bb\u03cc\u03b3\u03bf\u03c2", " x"}},
       {.name = "tags", .type = "array", .items_type = "string"},
       {.name = "ids", .type = "array", .items_type = "integer"},
       {.name = "modes", .type = "array", .enum_ = {"fast", "slow"}},
       {.name = "level", .type = "integer", .enum_ = {"1", "2"}},
       {.name = "note", .blank_is_value = true}});
  const ToolSpec branches(
      "branches", {{"list", {"ls"}}, {"create", {"new", "add"}}, {"delete", {}}},
      {{.name = "name", .synonyms = {"branch"}, .required_for = {"create", "delete"}},
       {.name = "base",
        .required_for = {"create"},
        .default_ = "main",
        .action_defaults = {{"create", "HEAD"}, {"list", "x"}, {"list", "all"}}},
       {.name = "force", .type = "boolean", .default_ = false}},
      "list");
  std::vector<ParamSpec> params;
  for (int i = 0; i < 20; ++i) params.push_back({.name = "parameter" + std::to_string(i)});
  return ToolTable({search, branches, ToolSpec("run", {{"go", {}}, {"stop", {}}}),
                    ToolSpec("status"), ToolSpec("wide", {}, std::move(params))});
}

struct Request {
  std::string tool;
  Mapping arguments;
};

inline std::vector<Request> sample_requests() {
  constexpr std::pair<const char*, std::string_view> given[] = {
      {"search", R"({"query": "main", "limit": 20})"},
      {"search", R"({"q": "@", "pattern": 1, "n": "500", "ratio": -1, "deep": " YES"})"},
      {"search", R"({"query": "@", "kind": "FILE", "level": 2.0, "note": "", "repo": 1})"},
      {"search", R"({"query": 1e300, "tags": "a, 'b, @', c", "modes": ["FAST", "slow"],
                     "ids": "[1, 12345678901234567890123, {\"@\": [null, 2.5]}, \"@\"]"})"},
      {"search", R"({"query": "@", "tags": [[[[["@"], {"@": "@"}]]], "@"], "ids": [[["@"]]]})"},
      {"search", R"({"query": [["@"]], "limit": "1@", "ratio": [1], "deep": "maybe", "kind": "@",
                     "modes": ["@", 5], "ids": {"@": []}, "lmit": 1, "action": "@"})"},
      {"branches", "{}"},
      {"branches", R"({"action": " LS\n", "force": 0})"},
      {"branches", R"({"action": "add", "branch": " ", "brunch": 1})"},
      {"branches", R"({"action": "creat", "force": "x"})"},
      {"run", "{}"},
      {"serch", R"({"query": "@"})"},
  };
  const std::string text(40, 'x');
  std::vector<Request> requests;
  for (const auto& [tool, json] : given) {
    std::string filled;
    for (const char c : json) filled += c == '@' ? text : std::string(1, c);
    requests.push_back({tool, parse_json(filled).as_mapping()});
  }
  requests.push_back(
      {"search", {{"query", text}, {"ids", std::string(129, '[') + std::string(129, ']')}}});
  Mapping wide;
  for (int i = 0; i < 20; ++i) wide.set("parameter" + std::to_string(i), text);
  for (const char* tool : {"status", "wide"}) requests.push_back({tool, wide});
  return requests;
}

// What admission makes of a request, as one line.
template <class Arguments>
std::string admission(ToolRef tool, Arguments&& arguments) {
  try {
    const NormalizedArguments admitted =
        normalize_arguments(tool, std::forward<Arguments>(arguments));
    std::string text = display_form(admitted.arguments());
    for (const std::string& note : admitted.notes()) text += " | " + note;
    return text + (admitted.alias_hit() ? " (alias)" : "");
  } catch (const ArgumentError& error) {
    return "refused: " + std::string(error.message());
  }
}

inline std::string all_answers(const Request& request) try {
  const auto& [tool, arguments] = request;
  const ToolSpec spec = TOOLS.at(tool);
  const Handler handler{{{"repo"}, {"parameter1"}}, {}};
  std::string all = admission(tool, arguments) + admission(spec, Mapping(arguments)) +
                    display_form(bind_arguments(spec, arguments)) +
                    display_form(bind_arguments(tool, Mapping(arguments))) +
                    display_form(handler_kwargs(handler, arguments, {{"repo", arguments}})) +
                    display_form(effective_action(tool, arguments)) +
                    missing_arguments(tool, "create", arguments).value_or("");
  for (const ParamSpec& param : spec.params()) {
    all += text_form(action_default(tool, param.name, "create"));
  }
  return all;
} catch (const UnknownToolError& error) {
  return error.what();
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_SAMPLE_REQUESTS_HPP_
