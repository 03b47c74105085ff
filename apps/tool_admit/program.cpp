#include "program.hpp"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "answer.hpp"
#include "blocks.hpp"
#include "builtin_tools.hpp"
#include "counting.hpp"
#include "jobs.hpp"
#include "report.hpp"
#include "requests.hpp"
#include "terminal.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::tool_admit {
namespace {

std::string content_of(const std::optional<std::string>& path) {
  BlockReader reader(path);
  std::string content;
  for (std::string block; reader.next(block);) content += block;
  return content;
}

// The tools file.

Value parse_content(const std::string& path, std::string_view content) {
  try {
    return parse_json(content);
  } catch (const JsonError& error) {
    const std::string_view before = content.substr(0, error.byte() - 1);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    throw std::runtime_error(path + ":" + std::to_string(line) + ":" + std::to_string(column) +
                             ": " + error.what());
  }
}

Value parse_file(const std::string& path) { return parse_content(path, content_of(path)); }

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

ToolTable load_tools(const Options& options, const Value& published) {
  const std::string& path = *options.tools;
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

// How much of a long file has been read, on a terminal that shows nothing else meanwhile. Any
// thread may show it.
class Progress {
 public:
  Progress(const BlockReader& reader, bool is_alone) : reader_(reader) {
    constexpr std::uintmax_t long_file = 1 << 20;
    is_shown_ = reader.size() > long_file && isatty(STDERR_FILENO) && is_alone;
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (is_shown_) std::cerr << "\r     \r";
  }

  void show() {
    if (!is_shown_) return;
    const std::lock_guard lock(mutex_);
    const std::uintmax_t percent = reader_.position() * 100 / reader_.size();
    if (percent != std::exchange(percent_, percent)) std::cerr << '\r' << percent << " %";
  }

 private:
  const BlockReader& reader_;
  std::mutex mutex_;
  std::uintmax_t percent_ = 0;
  bool is_shown_;
};

ExitStatus serve(const Options& options) {
  BlockReader reader(options.requests);
  Progress progress(reader, isatty(STDOUT_FILENO) == 0);
  std::atomic<bool> are_admitted = true;
  const auto make_work = [&]() -> BlockWork {
    return [&, answerer = std::make_shared<Answerer>(options.calls_only, options.display)](
               std::string_view block, std::string& out) {
      out.clear();
      bool is_block_admitted = true;  // one write to what the threads share
      for_each_line(block, [&](std::string_view line) {
        is_block_admitted = answerer->answer(line, out) && is_block_admitted;
      });
      if (!is_block_admitted) are_admitted = false;
    };
  };
  work_on_blocks(reader, options.jobs, make_work, [&](std::string_view answers) {
    write_out(answers);
    progress.show();
  });
  return are_admitted ? succeeded : some_refused;
}

// Reports.

// By TOOLS, each thread into a report of its own.
Report counted_requests(const Options& options) {
  BlockReader reader(options.requests);
  Progress progress(reader, true);
  std::vector<std::shared_ptr<Counter>> counters;
  const auto make_work = [&]() -> BlockWork {
    counters.push_back(std::make_shared<Counter>(options.calls_only, options.values));
    return [&progress, counter = counters.back()](std::string_view block, std::string&) {
      for_each_line(block, [&](std::string_view line) { counter->count(line); });
      progress.show();
    };
  };
  work_on_blocks(reader, options.jobs, make_work, nullptr);
  Report report;
  for (const auto& counter : counters) report.add(counter->report());
  return report;
}

// Counts the log once more, by the tools with the proposals, which TOOLS then are.
std::optional<Measured> write_proposals(const Options& options, Value published,
                                        const Report& report) {
  const Value changed = with_proposals(std::move(published), proposals(report));
  std::ofstream file(*options.propose, std::ios::binary);
  file << json_text(changed) << '\n';
  if (!file.flush()) throw std::runtime_error("cannot write " + *options.propose);
  if (!options.requests || !std::filesystem::is_regular_file(*options.requests)) {
    std::cerr << "tool_admit: what the proposals admit is measured only on a file of requests, "
                 "which can be read again\n";
    return std::nullopt;
  }
  set_tools(ToolTable(read_tools(changed).tools));
  Options again = options;
  again.values = false;
  const Report after = counted_requests(again);
  return Measured{report.requests, report.refused, after.refused};
}

std::string written(const Report& report, const std::optional<Measured>& measured,
                    const std::string& format) {
  if (format == "html") return report_html(report, measured);
  if (format == "text") return report_text(report, measured);
  return json_text(report_object(report, measured)) + '\n';
}

ExitStatus report_requests(const Options& options, Value published) {
  std::error_code none;
  if (options.propose && options.requests &&
      std::filesystem::equivalent(*options.propose, *options.requests, none)) {
    throw std::runtime_error("--propose would overwrite the requests, " + *options.requests);
  }
  const Report report = counted_requests(options);
  std::optional<Measured> measured;
  if (options.propose) measured = write_proposals(options, std::move(published), report);
  write_out(written(report, measured, *options.report));
  return succeeded;
}

// A report in a file of its own, or one on each line, as mappers write them; "-": standard input.
void add_reports(const std::string& path, Report& whole) {
  const bool is_stream = path == "-";  // a reducer's may be empty; a file is what a mapper left
  const std::string content = content_of(is_stream ? std::nullopt : std::optional(path));
  if (content.find_first_not_of(" \t\r\n") == content.npos) {
    if (is_stream) return;
    throw RequestError("no report: it is empty");
  }
  // A report that is laid out over several lines has none of its members on the first.
  const bool is_laid_out = content.find_first_not_of(" \t\r\n{") > content.find('\n');
  if (is_laid_out) return whole.add(read_report(parse_content(path, content)));
  for_each_line(content,
                [&](std::string_view line) { whole.add(read_report(parse_content(path, line))); });
}

ExitStatus merge_reports(const Options& options) {
  Report whole;
  for (const std::string& path : options.merge) {
    try {
      add_reports(path, whole);
    } catch (const RequestError& error) {
      throw std::runtime_error(path + " is " + error.what());
    }
  }
  write_out(written(whole, std::nullopt, options.report.value_or("json")));
  return succeeded;
}

ExitStatus answer_typed_call(const Options& options) {
  const TypedAnswer answer = typed_call(options.call, is_colored());
  write_out(answer.page);
  return answer.is_admitted ? succeeded : some_refused;
}

ExitStatus run_mode(const Options& options) {
  if (options.check) return check_tools(*options.tools);
  if (!options.merge.empty()) return merge_reports(options);
  const Value published = options.tools ? parse_file(*options.tools) : Value();
  set_tools(options.tools ? load_tools(options, published) : builtin_tools());
  if (!options.call.empty()) return answer_typed_call(options);
  if (options.report) {
    return report_requests(options, options.tools ? published : publish_tools(TOOLS));
  }
  if (options.schema) {
    write_out((options.wire ? json_text(wire_tools(TOOLS)) : json_text(publish_tools(TOOLS))) +
              '\n');
  } else if (options.list) {
    write_out(tool_list(TOOLS, is_colored()));
  } else if (!options.complete.empty()) {
    write_out(completions(TOOLS, options.complete));
  } else {
    return serve(options);
  }
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
