// A server with a tool that does next to nothing: what is measured is the way to it and back.

#include <tool_binding/stdio.hpp>

namespace {

enum class Mode { literal, regex };
struct Search {
  std::string query;
  Mode mode = Mode::literal;
  std::int32_t limit = 0;
  std::vector<std::string> paths;
};

std::string answer(const Search& request) {
  return request.query + (request.mode == Mode::regex ? " regex " : " literal ") +
         std::to_string(request.limit) + ' ' + std::to_string(request.paths.size());
}

}  // namespace

int main() {
  using namespace tool_binding;
  StdioTransport stdio;
  const ToolService service({tool(
      "search", "Finds text in files.",
      {param<&Search::query>({.synonyms = {"q"}}), param<&Search::mode>({.default_ = "literal"}),
       param<&Search::limit>({.minimum = 1, .maximum = 200, .default_ = 20}),
       param<&Search::paths>({.default_ = List{}})},
      answer)});
  return stdio.serve(service, {.name = "bench", .version = "1.0"});
}
