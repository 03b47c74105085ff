// The smallest daemon: two tools in both spellings, a context, four requests.

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tool_binding/tool_service.hpp>
#include <vector>

using namespace tool_binding;

namespace {

// What the daemon itself supplies: no client can, and no schema shows it.
struct Repository {
  std::string root;
};

// A struct whose members are the parameters.
struct Search {
  std::string query;
  int limit;
  std::vector<std::string> paths;
};

std::string search(const Search& request, const Repository& repository) {
  return "searching " + std::to_string(request.paths.size()) + " paths of " + repository.root +
         " for " + request.query + ", at most " + std::to_string(request.limit);
}

// Names beside a function, for a specification that is there already.
// [names]
enum class Action { list, create };

std::string branches(Action action, const std::optional<std::string>& name,
                     const std::optional<std::string>& base) {
  if (action == Action::list) return "all branches";
  if (*name == "main") throw ToolError("There is a branch 'main' already: send another name.");
  return "branch " + *name + " from " + base.value_or("nothing");
}

const ToolSpec branches_spec({.name = "branches",
                              .description = "Lists or creates branches.",
                              .actions = {{"list", {"ls"}}, {"create", {"new"}}},
                              .params = {{.name = "name", .required_for = {"create"}},
                                         {.name = "base", .action_defaults = {{"create", "HEAD"}}}},
                              .default_action = "list"});
// [names]

void serve(const ToolService& service, std::string_view tool, const Mapping& request) {
  const ToolAnswer answer = service.call(tool, request);
  std::cout << tool << ' ' << display_form(request) << '\n'
            << (answer.is_error() ? "  error: " : "  ") << answer.text() << '\n';
  for (const std::string& note : answer.notes) std::cout << "  note: " << note << '\n';
}

}  // namespace

int main() {
  // [service]
  Context context;
  context.provide("repository", std::make_shared<const Repository>(Repository{"/srv/code"}));
  const ToolService service(
      {tool("search", "Finds text in files.",
            {param<&Search::query>({.synonyms = {"q", "pattern"}}),
             param<&Search::limit>({.minimum = 1, .maximum = 100, .default_ = 20}),
             param<&Search::paths>({.default_ = List{}})},
            search),
       tool(branches_spec, branches, {"action", "name", "base"})},
      context);
  // [service]
  serve(service, "search", {{"q", "main"}, {"limit", "500"}, {"paths", "src, tests"}});
  serve(service, "branches", {{"action", "NEW"}, {"name", "fix"}});
  serve(service, "branches", {{"action", "create"}, {"name", "main"}});
  serve(service, "search", {{"qurey", "main"}, {"limit", "ten"}});
  serve(service, "serch", {{"query", "main"}});
}
