#include "program.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "answer.hpp"
#include "builtin_tools.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::tool_admit {
namespace {

std::runtime_error unreadable(const std::string& path) {
  return std::runtime_error("cannot read " + path + ": " + std::generic_category().message(errno));
}

std::string content_of(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in.is_open()) throw unreadable(path);
  std::string content;
  std::vector<char> block(1 << 16);
  while (in.read(block.data(), static_cast<std::streamsize>(block.size())) || in.gcount() > 0) {
    content.append(block.data(), static_cast<std::size_t>(in.gcount()));
  }
  if (in.bad()) throw unreadable(path);
  return content;
}

// The tools file.

Value parse_file(const std::string& path) {
  const std::string content = content_of(path);
  try {
    return parse_json(content);
  } catch (const JsonError& error) {
    const std::string_view before = std::string_view(content).substr(0, error.byte() - 1);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    throw std::runtime_error(path + ":" + std::to_string(line) + ":" + std::to_string(column) +
                             ": " + error.what());
  }
}

void tell(const std::string& path, std::string_view severity,
          const std::vector<SchemaProblem>& problems) {
  for (const SchemaProblem& problem : problems) {
    std::cerr << path << ": " << severity << ": " << problem_line(problem) << '\n';
  }
}

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

ExitStatus check_tools(const std::string& path) {
  const ToolsReading reading = read_tools(parse_file(path));
  tell(path, "error", reading.errors);
  tell(path, "warning", reading.warnings);
  std::cout << path << ": " << counted(reading.tools.size(), "tool") << " without an error, "
            << counted(reading.errors.size(), "error") << ", "
            << counted(reading.warnings.size(), "warning") << '\n';
  return reading.errors.empty() ? succeeded : failed;
}

std::size_t count_of_tools(const Value& published) {
  const Value* tools = &published;
  if (const Mapping* answer = published.if_mapping()) tools = answer->find("tools");
  return tools != nullptr && tools->is_list() ? tools->get_list().size() : 0;
}

ToolTable load_tools(const Options& options) {
  if (!options.tools) return builtin_tools();
  const std::string& path = *options.tools;
  const Value published = parse_file(path);
  ToolsReading reading = read_tools(published);
  const std::size_t left_out = count_of_tools(published) - reading.tools.size();
  const bool serves_the_rest = options.skip_unsupported && !reading.tools.empty();
  if (!reading.errors.empty() && !serves_the_rest) {
    tell(path, "error", reading.errors);
    throw std::runtime_error(
        path + " has " + counted(reading.errors.size(), "error") +
        (reading.tools.empty() ? "" : "; --skip-unsupported serves the tools without one"));
  }
  if (left_out > 0) {
    std::cerr << path << ": " << counted(left_out, "tool") << " left out; --check says why\n";
  }
  if (!reading.warnings.empty()) {
    std::cerr << path << ": " << counted(reading.warnings.size(), "warning")
              << "; --check shows them\n";
  }
  return ToolTable(std::move(reading.tools));
}

// Requests and answers.

// How much of a long file has been answered, on a terminal that shows nothing else.
class Progress {
 public:
  explicit Progress(std::uintmax_t total) : total_(total) {
    constexpr std::uintmax_t long_file = 1 << 20;
    is_shown_ = total > long_file && isatty(STDERR_FILENO) && !isatty(STDOUT_FILENO);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (is_shown_) std::cerr << "\r     \r";
  }

  void add(std::size_t bytes) {
    done_ += bytes;
    if (!is_shown_ || done_ * 100 / total_ == percent_) return;
    percent_ = done_ * 100 / total_;
    std::cerr << '\r' << percent_ << " %";
  }

 private:
  std::uintmax_t total_;
  std::uintmax_t done_ = 0;
  std::uintmax_t percent_ = 0;
  bool is_shown_;
};

ExitStatus answer_lines(std::istream& in, bool display, bool flushes_each, Progress& progress) {
  ExitStatus status = succeeded;
  std::string line;
  while (std::cout && std::getline(in, line)) {
    progress.add(line.size() + 1);
    if (line.find_first_not_of(" \t\r") == line.npos) continue;
    const Answer answer = answer_line(line, display);
    if (!answer.is_admitted) status = some_refused;
    std::cout << answer.line << '\n';
    if (flushes_each) std::cout.flush();
  }
  return status;
}

ExitStatus serve(const Options& options) {
  const std::string name = options.requests.value_or("standard input");
  std::ifstream file;
  struct stat facts = {};
  if (options.requests) {
    file.open(name, std::ios::binary);
    if (!file.is_open() || stat(name.c_str(), &facts) != 0) throw unreadable(name);
  } else if (fstat(STDIN_FILENO, &facts) != 0) {
    throw unreadable(name);
  }
  std::istream& in = options.requests ? file : std::cin;
  const bool is_regular = S_ISREG(facts.st_mode);
  Progress progress(is_regular ? static_cast<std::uintmax_t>(facts.st_size) : 0);
  const ExitStatus status = answer_lines(in, options.display, !is_regular, progress);
  if (in.bad()) throw unreadable(name);
  return status;
}

ExitStatus run_mode(const Options& options) {
  if (options.check) return check_tools(*options.tools);
  set_tools(load_tools(options));
  if (!options.schema) return serve(options);
  std::cout << (options.wire ? json_text(wire_tools(TOOLS)) : json_text(publish_tools(TOOLS)))
            << '\n';
  return succeeded;
}

}  // namespace

ExitStatus run(const Options& options) {
  std::ios::sync_with_stdio(false);
  std::cin.tie(nullptr);
  const ExitStatus status = run_mode(options);
  if (!std::cout.flush()) throw std::runtime_error("cannot write to standard output");
  return status;
}

}  // namespace tool_binding::tool_admit
