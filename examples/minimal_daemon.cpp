// The whole road of a request, in the smallest daemon: a registry, two handlers, four requests.

#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tool_binding/tool_binding.hpp>

using namespace tool_binding;

namespace {

// What the daemon itself supplies: opaque to the library, known to the handlers.
class Repository : public Object {
 public:
  explicit Repository(std::string root) : Object("Repository"), root_(std::move(root)) {}
  [[nodiscard]] const std::string& root() const { return root_; }

 private:
  std::string root_;
};

ToolTable tools() {
  const ToolSpec search(
      {.name = "search",
       .params = {
           {.name = "query", .synonyms = {"q", "pattern"}, .required = true},
           {.name = "limit", .type = "integer", .minimum = 1, .maximum = 100, .default_ = 20},
           {.name = "paths", .type = "array", .items_type = "string"}}});
  const ToolSpec branches({.name = "branches",
                           .actions = {{"list", {"ls"}}, {"create", {"new"}}},
                           .params = {{.name = "name", .required_for = {"create"}},
                                      {.name = "base", .action_defaults = {{"create", "HEAD"}}}},
                           .default_action = "list"});
  return ToolTable({search, branches});
}

// Takes the repository from the daemon's context, because its signature names it.
Value search(const Mapping& arguments) {
  const auto repository =
      std::dynamic_pointer_cast<Repository>(arguments.at("repository").as_object());
  return "searching " + repository->root() + " for " + display_form(arguments.at("query")) +
         ", at most " + display_form(arguments.at("limit"));
}

// A default that differs by action is bound to none: the handler asks for the one of its action.
Value branches(const Mapping& arguments) {
  const std::string_view action = arguments.at("action").as_text();
  Value base = arguments.at("base");
  if (base.is_none()) base = action_default("branches", "base", action);
  return text_form(action) + " branches from " + display_form(base);
}

const std::map<std::string, Handler, std::less<>>& handlers() {
  static const std::map<std::string, Handler, std::less<>> all = {
      {"search", {{{"query"}, {"limit"}, {"paths"}, {"repository"}}, search}},
      {"branches", {{{"action"}, {"name"}, {"base"}}, branches}},
  };
  return all;
}

void serve(const std::string& tool, Mapping request, const Mapping& context) {
  std::cout << tool << ' ' << display_form(request) << '\n';
  try {
    NormalizedArguments admitted = normalize_arguments(tool, std::move(request));
    for (const std::string& note : admitted.notes()) std::cout << "  note: " << note << '\n';
    Mapping bound = bind_arguments(tool, std::move(admitted).arguments());
    const Handler& handler = handlers().at(tool);
    std::cout << "  " << text_form(handler.call(handler_kwargs(handler, std::move(bound), context)))
              << '\n';
  } catch (const ArgumentError& error) {
    std::cout << "  refused: " << error.message() << '\n';
  } catch (const UnknownToolError& error) {
    std::cout << "  no such tool: " << error.what() << '\n';
  } catch (const std::overflow_error& error) {
    std::cout << "  refused: " << error.what() << '\n';
  }
}

}  // namespace

int main() {
  set_tools(tools());
  const Mapping context{{"repository", std::make_shared<Repository>("/srv/code")}};
  serve("search", {{"q", "main"}, {"limit", "500"}, {"paths", "src, tests"}}, context);
  serve("branches", {{"action", "NEW"}, {"name", "fix"}}, context);
  serve("search", {{"qurey", "main"}, {"limit", "ten"}}, context);
  serve("serch", {{"query", "main"}}, context);
}
