#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <initializer_list>
#include <iostream>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "program.hpp"
#include "tool_binding/utils/nearest_name.hpp"
#include "tool_binding/version.hpp"

namespace {

using tool_binding::tool_admit::Options;

constexpr const char* purpose =
    "Admits tool requests, one JSON object a line, and answers each with its arguments as a\n"
    "handler gets them, or with what is wrong with them.";

constexpr const char* footer = R"(A request:   {"tool": NAME, "arguments": {...}}
             "input" is read where "arguments" is absent; both may be left out; other members
             are ignored, and so are blank lines
         or  {"name": NAME, "arguments": {...} or JSON TEXT}
         or  {"function": {"name": NAME, "arguments": {...} or JSON TEXT}}
         or  {"method": "tools/call", "params": {"name": NAME, "arguments": {...}}}
         or  {"tool_calls": [REQUEST, ...]}, {"content": [BLOCK, ...]}: each request in turn
Its answer:  {"tool": NAME, "arguments": {...}, "notes": [...], "alias_hit": BOOLEAN,
              "bound": {...}}
         or  {"tool": NAME, "error": {"type": TYPE, "message": TEXT}}
             TYPE is ArgumentError, KeyError (no such tool), OverflowError, RequestError
             (the line is not a request) or RegistryError (the tool is badly declared)
Exit status: 0 when all requests were admitted or a report was written, 1 when some were
             refused, 2 for wrong usage, a file that cannot be read, and a tools file with
             errors)";

// The help says what an option takes, not with which others it goes: a wrong combination's error
// does.
class HelpFormatter : public CLI::Formatter {
 public:
  [[nodiscard]] std::string make_option_opts(const CLI::Option* option) const override {
    const std::string& type = option->get_type_name();
    return type.empty() ? "" : ' ' + type;
  }
};

std::string version() {
  return "tool_admit " + std::to_string(TOOL_BINDING_VERSION_MAJOR) + '.' +
         std::to_string(TOOL_BINDING_VERSION_MINOR) + '.' +
         std::to_string(TOOL_BINDING_VERSION_PATCH);
}

void add_input_options(CLI::App& app, Options& options) {
  app.add_option("REQUESTS", options.requests,
                 "A file of requests, perhaps compressed by gzip; standard input when it is left "
                 "out")
      ->type_name("FILE");
  CLI::Option* tools =
      app.add_option("--tools", options.tools,
                     "A file of tools as a tools/list answer carries them; built-in ones when it "
                     "is left out")
          ->type_name("FILE");
  app.add_flag("--skip-unsupported", options.skip_unsupported,
               "Serve the tools of the file that have no error")
      ->needs(tools);
  app.add_flag("--display", options.display, "Answer mappings as text, as messages show values");
  app.add_option("--jobs", options.jobs, "How many threads answer or count; the order is kept")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  app.add_flag("--calls-only", options.calls_only,
               "Skip lines that are not calls: answers, notifications, other text");
}

// What the program does instead of answering; one of them at a time.
constexpr const char* modes[] = {"--report", "--call",  "--list",
                                 "--schema", "--check", "--complete"};

void add_modes(CLI::App& app, Options& options) {
  app.add_option("--report", options.report,
                 "Count what the requests come to, instead of answering them")
      ->type_name("text|json|html")
      ->check(CLI::IsMember({"text", "json", "html"}).description(""));
  app.add_option("--call", options.call,
                 "Admit one typed request: a tool, then NAME=TEXT or NAME:=JSON for each argument")
      ->type_name("TOOL [NAME=TEXT]");
  app.add_flag("--list", options.list, "Show the tools and exit");
  app.add_flag("--schema", options.schema, "Write the tools as a tools/list array and exit");
  app.add_flag("--check", options.check, "Show the errors and warnings of the tools file and exit")
      ->needs(app.get_option("--tools"));
  app.add_option("--complete", options.complete)->group("");
}

void add_mode_options(CLI::App& app, Options& options) {
  app.add_flag("--values", options.values,
               "Let the report show values of arguments, which may be private")
      ->needs(app.get_option("--report"));
  app.add_option("--propose", options.propose,
                 "Write the tools with what the report proposes, and measure on the same file of "
                 "requests what that admits")
      ->type_name("FILE")
      ->needs(app.get_option("--report"));
  app.add_option("--merge", options.merge,
                 "Add up reports that --report json wrote, one a file or one a line; - is standard "
                 "input")
      ->type_name("REPORT...");
  app.add_flag("--wire", options.wire,
               "With --schema: as clients of a server are shown the tools, without x- keywords")
      ->needs(app.get_option("--schema"));
}

void exclude(CLI::App& app, const char* name, std::initializer_list<const char*> others) {
  for (const char* other : others) app.get_option(name)->excludes(app.get_option(other));
}

void exclude_each_other(CLI::App& app) {
  for (std::size_t i = 0; i < std::size(modes); ++i) {
    for (std::size_t j = i + 1; j < std::size(modes); ++j) exclude(app, modes[i], {modes[j]});
    if (i == 0) continue;  // the report
    exclude(app, modes[i], {"REQUESTS", "--display", "--jobs", "--calls-only", "--merge"});
  }
  exclude(app, "--report", {"--display"});
  exclude(app, "--check", {"--skip-unsupported"});
  exclude(app, "--merge",
          {"REQUESTS", "--tools", "--display", "--jobs", "--calls-only", "--values", "--propose"});
}

void add_options(CLI::App& app, Options& options) {
  app.set_version_flag("--version", version(), "Show the version and exit");
  app.set_help_flag("-h,--help", "Show this help and exit");
  add_input_options(app, options);
  add_modes(app, options);
  add_mode_options(app, options);
  exclude_each_other(app);
}

// "; did you mean --tools?" for an option that there is not.
std::string nearest_option(const CLI::App& app, int argc, char** argv) {
  std::vector<std::string_view> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back(name);
  }
  for (int i = 1; i < argc; ++i) {
    std::string_view word = argv[i];
    if (!word.starts_with('-')) continue;
    word = word.substr(0, word.find('='));
    word.remove_prefix(std::min(word.find_first_not_of('-'), word.size()));
    const bool is_option = std::find(names.begin(), names.end(), word) != names.end();
    if (is_option && std::string_view(argv[i]).starts_with("--")) continue;
    if (const auto near = tool_binding::nearest_name(word, names)) {
      return "Did you mean --" + std::string(*near) + "?\n";
    }
  }
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(purpose, "tool_admit");
  app.footer(footer);
  app.formatter(std::make_shared<HelpFormatter>());
  Options options;
  add_options(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool is_wanted = app.exit(error) == 0;  // the help
    if (is_wanted && std::cout.flush()) return 0;
    if (is_wanted) std::cerr << "tool_admit: cannot write to standard output\n";
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
      std::cerr << nearest_option(app, argc, argv);
    }
    return tool_binding::tool_admit::failed;
  }
  try {
    return tool_binding::tool_admit::run(options);
  } catch (const std::bad_alloc&) {
    std::cerr << "tool_admit: there is no memory left: raise the limit on it, or send smaller "
                 "requests and use fewer --jobs\n";
    return tool_binding::tool_admit::failed;
  } catch (const std::exception& error) {
    std::cerr << "tool_admit: " << error.what() << '\n';
    return tool_binding::tool_admit::failed;
  }
}
