#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "program.hpp"
#include "tool_binding/version.hpp"

namespace {

using tool_binding::tool_admit::Options;

constexpr const char* purpose =
    "Admits tool requests, one JSON object a line, and answers each with its arguments as a\n"
    "handler gets them, or with what is wrong with them.";

constexpr const char* footer = R"(A request:   {"tool": NAME, "arguments": {...}}
             "name" is read where "tool" is absent; "arguments" may be left out;
             other members are ignored, and so are blank lines
Its answer:  {"tool": NAME, "arguments": {...}, "notes": [...], "alias_hit": BOOLEAN,
              "bound": {...}}
         or  {"tool": NAME, "error": {"type": TYPE, "message": TEXT}}
             TYPE is ArgumentError, KeyError (no such tool), OverflowError, RequestError
             (the line is no request) or RegistryError (the tool is badly declared)
Exit status: 0 when all requests were admitted, 1 when some were refused, 2 for wrong usage,
             a file that cannot be read, and a tools file with errors)";

std::string version() {
  return "tool_admit " + std::to_string(TOOL_BINDING_VERSION_MAJOR) + '.' +
         std::to_string(TOOL_BINDING_VERSION_MINOR) + '.' +
         std::to_string(TOOL_BINDING_VERSION_PATCH);
}

void add_options(CLI::App& app, Options& options) {
  app.set_version_flag("--version", version(), "Show the version and exit");
  app.set_help_flag("-h,--help", "Show this help and exit");
  CLI::Option* requests = app.add_option("REQUESTS", options.requests,
                                         "A file of requests; standard input when it is left out")
                              ->type_name("FILE");
  CLI::Option* tools =
      app.add_option("--tools", options.tools,
                     "A file of tools as a tools/list answer carries them; built-in ones when it "
                     "is left out")
          ->type_name("FILE");
  CLI::Option* skip = app.add_flag("--skip-unsupported", options.skip_unsupported,
                                   "Serve the tools of the file that have no error")
                          ->needs(tools);
  CLI::Option* display = app.add_flag("--display", options.display,
                                      "Answer mappings as text, as messages show values");
  CLI::Option* schema =
      app.add_flag("--schema", options.schema, "Write the tools as a tools/list array and exit");
  schema->excludes(requests)->excludes(display);
  app.add_flag("--wire", options.wire, "Write them as clients are shown them, without x- keywords")
      ->needs(schema);
  app.add_flag("--check", options.check, "Tell the errors and warnings of the tools file and exit")
      ->needs(tools)
      ->excludes(requests)
      ->excludes(skip)
      ->excludes(display)
      ->excludes(schema);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(purpose, "tool_admit");
  app.footer(footer);
  Options options;
  add_options(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : tool_binding::tool_admit::failed;
  }
  try {
    return tool_binding::tool_admit::run(options);
  } catch (const std::exception& error) {
    std::cerr << "tool_admit: " << error.what() << '\n';
    return tool_binding::tool_admit::failed;
  }
}
