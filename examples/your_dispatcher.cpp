// Tools behind a dispatcher that is there already, which speaks nlohmann::json.

#include <functional>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <tool_binding/nlohmann_json.hpp>
#include <tool_binding/tool_service.hpp>

using namespace tool_binding;
using nlohmann::json;

// What is there already: tools by name, each a description for clients and a function.
struct Dispatcher {
  struct Entry {
    json description;
    std::function<json(const json& arguments)> call;
  };
  std::map<std::string, Entry> tools;
};

// [glue]
json result_of(ToolAnswer answer) {
  for (std::string& note : answer.notes) answer.content.push_back(TextContent{std::move(note)});
  return json_from_value<json>(answer_mapping({.content = std::move(answer.content),
                                               .structured = std::move(answer.structured),
                                               .is_error = answer.is_error()}));
}

void plug_in(Dispatcher& dispatcher, const ToolService& service) {
  for (const Value& tool : service.wire_tools()) {
    const std::string name(tool.as_mapping().at("name").as_text());
    const auto call = [service, name](const json& arguments) {
      Value given = value_from_json(arguments);
      if (given.is_none()) given = Mapping();
      if (!given.is_mapping()) {
        return result_of({Outcome::refused, {TextContent{"arguments must be an object"}}});
      }
      return result_of(service.call(name, std::move(given).as_mapping()));
    };
    dispatcher.tools[name] = {json_from_value<json>(tool), call};
  }
}
// [glue]

struct Read {
  std::string path;
  std::optional<int> lines;
};

int main() {
  Dispatcher dispatcher;
  plug_in(dispatcher,
          ToolService({tool(
              "read", "Reads a file.",
              {param<&Read::path>({.synonyms = {"file"}}), param<&Read::lines>({.minimum = 1})},
              [](const Read& request) {
                return std::to_string(request.lines.value_or(100)) + " lines of " + request.path;
              })}));
  const auto& [description, call] = dispatcher.tools.at("read");
  std::cout << description["inputSchema"]["required"] << '\n'
            << call(json{{"file", "README.md"}, {"lines", "5"}}) << '\n'
            << call(json{{"path", "README.md"}, {"lines", "few"}}) << '\n';
}
