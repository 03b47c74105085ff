#ifndef TOOL_BINDING_TESTS_SAMPLE_SERVICE_HPP_
#define TOOL_BINDING_TESTS_SAMPLE_SERVICE_HPP_

// A service of tools in both spellings, and calls that between them come to every outcome.

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tool_binding/json.hpp"
#include "tool_binding/tool_service.hpp"

namespace tool_binding {

enum class SampleMode { literal, regex };
struct SampleSearch {
  std::string query;
  SampleMode mode;
  std::vector<std::int32_t> lines;
  std::optional<Mapping> options;
};

inline ToolService sample_service() {
  Context context;
  context.provide("root", std::make_shared<const std::string>("/srv/a/rather/long/path"));
  return ToolService(
      {tool("search", "",
            {param<&SampleSearch::query>({.synonyms = {"q"}}),
             param<&SampleSearch::mode>({.default_ = "literal"}),
             param<&SampleSearch::lines>({.default_ = List{}}), param<&SampleSearch::options>()},
            [](const SampleSearch& request, const std::shared_ptr<const std::string>& root,
               Call& call) {
              call.note("searched " + *root);
              return Mapping{{"query", request.query},
                             {"lines", List(request.lines.begin(), request.lines.end())},
                             {"options", request.options ? Value(*request.options) : Value()}};
            }),
       tool(ToolSpec({.name = "read", .params = {{.name = "path", .required = true}}}),
            [](std::string_view path) { return "read " + std::string(path); }, {"path"}),
       tool("sorry", "", {}, [] { throw ToolError("there is no such branch: send another"); }),
       tool("broken", "", {}, [] { throw std::runtime_error("a text beyond fifteen bytes"); })},
      context, {.log = [](const HandlerFault&) {}});
}

inline std::vector<std::pair<std::string, Mapping>> sample_calls() {
  return {{"search", {{"q", std::string(40, 'x')}, {"mode", "REGEX"}, {"lines", "1,2"}}},
          {"search", {{"query", "x"}, {"options", "{'a': [1]}"}}},
          {"search", {{"query", "x"}, {"lines", List{1, "x", 1LL << 40}}}},
          {"search", {{"qury", "x"}}},
          {"read", {{"path", std::string(40, 'x')}}},
          {"sorry", {}},
          {"broken", {}},
          {"serach", {}}};
}

inline std::string shown(const ToolAnswer& answer) {
  std::string all = std::to_string(static_cast<int>(answer.outcome));
  for (const Content& block : answer.content) append_json(all, content_mapping(block));
  append_json(all, answer.structured);
  for (const std::string& note : answer.notes) all += "; " + note;
  return all;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_SAMPLE_SERVICE_HPP_
