#ifndef TOOL_BINDING_TESTS_SAMPLE_REQUESTS_HPP_
#define TOOL_BINDING_TESTS_SAMPLE_REQUESTS_HPP_

// Tools, requests to them that between them come to every outcome, and all that the library
// answers to a request, as text to compare.

#include <string>
#include <utility>
#include <vector>

#include "test_data.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {

inline ToolTable sample_tools() {
  std::string json;
  for (const DataCase& tool : data_cases("sample_tools.txt")) json += tool.text();
  std::vector<ToolSpec> tools = read_tools(parse_json(json)).tools;
  std::vector<ParamSpec> params;
  for (int i = 0; i < 20; ++i) params.push_back({.name = "parameter" + std::to_string(i)});
  tools.push_back(ToolSpec({.name = "wide", .params = std::move(params)}));
  return ToolTable(std::move(tools));
}

struct Request {
  std::string tool;
  Mapping arguments;
};

inline std::vector<Request> sample_requests() {
  const std::string text(40, 'x');
  std::vector<Request> requests;
  for (const DataCase& c : data_cases("sample_requests.txt")) {
    std::string filled;
    for (const char each : c.lines.at(1)) filled += each == '@' ? text : std::string(1, each);
    requests.push_back({c.lines[0], parse_json(filled).as_mapping()});
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
