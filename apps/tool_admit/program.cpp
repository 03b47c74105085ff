#include "program.hpp"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "answer.hpp"
#include "blocks.hpp"
#include "builtin_tools.hpp"
#include "jobs.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::tool_admit {
namespace {

std::string content_of(const std::string& path) {
  BlockReader reader(path);
  std::string content;
  for (std::string block; reader.next(block);) content += block;
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

// How much of a long file has been read, on a terminal that shows nothing else.
class Progress {
 public:
  explicit Progress(const BlockReader& reader) : reader_(reader) {
    constexpr std::uintmax_t long_file = 1 << 20;
    is_shown_ = reader.size() > long_file && isatty(STDERR_FILENO) && !isatty(STDOUT_FILENO);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (is_shown_) std::cerr << "\r     \r";
  }

  void show() {
    if (!is_shown_) return;
    const std::uintmax_t percent = reader_.position() * 100 / reader_.size();
    if (percent != std::exchange(percent_, percent)) std::cerr << '\r' << percent << " %";
  }

 private:
  const BlockReader& reader_;
  std::uintmax_t percent_ = 0;
  bool is_shown_;
};

ExitStatus serve(const Options& options) {
  BlockReader reader(options.requests);
  Progress progress(reader);
  std::atomic<bool> are_admitted = true;
  const auto make_work = [&]() -> BlockWork {
    return [&, answerer = std::make_shared<Answerer>(options.calls_only, options.display)](
               std::string_view block, std::string& out) {
      out.clear();
      for_each_line(block, [&](std::string_view line) {
        if (!answerer->answer(line, out)) are_admitted = false;
      });
    };
  };
  work_on_blocks(reader, options.jobs, make_work, [&](std::string_view answers) {
    write_out(answers);
    progress.show();
  });
  return are_admitted ? succeeded : some_refused;
}

ExitStatus run_mode(const Options& options) {
  if (options.check) return check_tools(*options.tools);
  set_tools(load_tools(options));
  if (!options.schema) return serve(options);
  std::cout << json_text(publish_tools(TOOLS)) << '\n';
  return succeeded;
}

}  // namespace

ExitStatus run(const Options& options) {
  std::ios::sync_with_stdio(false);
  const ExitStatus status = run_mode(options);
  if (!std::cout.flush()) throw std::runtime_error("cannot write to standard output");
  return status;
}

}  // namespace tool_binding::tool_admit
