// A tool server over one directory, read-only: what a program on tool_binding::server looks like.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <tool_binding/stdio.hpp>
#include <tool_binding/tool_service.hpp>
#include <tool_binding/version.hpp>

#include "root.hpp"
#include "tools.hpp"

int main(int argc, char** argv) {
  CLI::App app(
      "Serves the files and the git history of a directory to clients of the Model Context "
      "Protocol, read-only, over standard input and output.");
  const std::string version = std::to_string(TOOL_BINDING_VERSION_MAJOR) + '.' +
                              std::to_string(TOOL_BINDING_VERSION_MINOR) + '.' +
                              std::to_string(TOOL_BINDING_VERSION_PATCH);
  std::string root = ".";
  app.add_option("--root", root, "The directory; no path leads out of it")->type_name("DIRECTORY");
  app.set_version_flag("--version", version);
  CLI11_PARSE(app, argc, argv);
  try {
    tool_binding::StdioTransport stdio;
    tool_binding::Context context;
    const auto directory = std::make_shared<const repo_server::Root>(root);
    if (!repo_server::confine_to(*directory)) {
      std::cerr << "repo_server: this kernel has no Landlock: links inside .git are followed\n";
    }
    context.provide("root", directory);
    const tool_binding::ToolService service(repo_server::tools(), context);
    for (const tool_binding::SchemaProblem& warning : service.warnings()) {
      std::cerr << "repo_server: " << tool_binding::problem_line(warning) << '\n';
    }
    return stdio.serve(service, {.name = "repo_server", .version = version});
  } catch (const std::exception& error) {
    std::cerr << "repo_server: " << error.what() << '\n';
    return 2;
  }
}
