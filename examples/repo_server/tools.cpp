#include "tools.hpp"

#include <fcntl.h>

#include <algorithm>
#include <ctime>
#include <optional>
#include <stop_token>
#include <string>

#include "git.hpp"
#include "root.hpp"
#include "search.hpp"

namespace repo_server {
namespace {

using namespace tool_binding;

constexpr std::size_t most_shown = std::size_t{1} << 20;

enum class FileAction { list, read, stat };

struct Files {
  FileAction action;
  std::string path;
  int start;
  int lines;
};

std::string list_directory(const Root& root, const Files& request) {
  const Descriptor directory = root.open(request.path);
  if (!S_ISDIR(status_of(directory).st_mode)) {
    throw ToolError(shown_name(request.path) + " is not a directory: use the action 'read'.");
  }
  std::string listed;
  std::vector<std::string> names = names_in(directory);
  std::erase(names, ".git");
  const auto count = std::min(names.size(), static_cast<std::size_t>(request.lines));
  for (std::size_t i = 0; i < count; ++i) {
    struct stat status = {};
    const bool is_found =
        fstatat(directory.get(), names[i].c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    listed += shown_name(names[i]) + (is_found && S_ISDIR(status.st_mode) ? "/\n" : "\n");
  }
  if (count < names.size()) listed += "[and " + std::to_string(names.size() - count) + " more]\n";
  return listed;
}

std::string read_lines(const Root& root, const Files& request) {
  const std::string shown = shown_name(request.path);
  const auto text = text_of(root.open(request.path), shown, most_shown);
  if (!text) throw ToolError(shown + " is binary: it is not shown.");
  std::string_view rest = *text;
  std::string read;
  int line = 1;
  for (; !rest.empty() && line - request.start < request.lines; ++line) {
    const std::size_t end = std::min(rest.find('\n'), rest.size() - 1) + 1;
    if (line >= request.start) read += rest.substr(0, end);
    rest.remove_prefix(end);
  }
  if (!rest.empty()) read += "[there is more: send 'start' " + std::to_string(line) + "]\n";
  if (read.empty()) read = "[the file has " + std::to_string(line - 1) + " lines]\n";
  return read;
}

std::string describe(const Root& root, const Files& request) {
  const struct stat status = root.status(request.path);
  std::tm time = {};
  gmtime_r(&status.st_mtime, &time);
  char shown_time[32];
  std::strftime(shown_time, sizeof shown_time, "%Y-%m-%dT%H:%M:%SZ", &time);
  const char* kind = S_ISDIR(status.st_mode)   ? "directory"
                     : S_ISREG(status.st_mode) ? "file"
                                               : "something else";
  return shown_name(request.path) + ": " + kind + ", " + std::to_string(status.st_size) +
         " bytes, changed " + shown_time + "\n";
}

std::string answer_files(const Files& request, const Root& root) {
  switch (request.action) {
    case FileAction::list:
      return list_directory(root, request);
    case FileAction::read:
      return read_lines(root, request);
    default:
      return describe(root, request);
  }
}

Tool files_tool() {
  return tool({.name = "files",
               .description =
                   "Lists a directory, reads a text file, or shows a path's kind and size.",
               .actions = {{"list", {"ls", "dir"}},
                           {"read", {"cat", "show", "open"}},
                           {"stat", {"info"}}},
               .default_action = "list"},
              {param<&Files::action>(),
               param<&Files::path>(
                   {.synonyms = {"file", "file_path", "filename", "directory", "dir"},
                    .required_for = {"read", "stat"},
                    .default_ = ".",
                    .description = "Relative to the root."}),
               param<&Files::start>({.synonyms = {"offset", "start_line", "line"},
                                     .minimum = 1,
                                     .default_ = 1,
                                     .description = "The first line that is read."}),
               param<&Files::lines>({.synonyms = {"limit", "max_lines", "count"},
                                     .minimum = 1,
                                     .maximum = 5000,
                                     .default_ = 500,
                                     .description = "The most lines, or entries of a directory."})},
              answer_files)
      .with({.title = "Files", .annotations = {.read_only = true, .open_world = false}});
}

Tool search_tool() {
  return tool("search", "Finds lines of text files.",
              {param<&Search::query>({.synonyms = {"q", "pattern", "text", "regex"},
                                      .description = "What a line contains."}),
               param<&Search::mode>({.default_ = "literal"}),
               param<&Search::case_sensitive>({.default_ = true}),
               param<&Search::paths>({.synonyms = {"path", "directory", "dir", "include_paths"},
                                      .default_ = List{},
                                      .description = "Files or directories; all without them."}),
               param<&Search::globs>({.synonyms = {"glob", "include", "file_pattern"},
                                      .default_ = List{},
                                      .description = "Which files, such as *.cpp or src/**."}),
               param<&Search::limit>({.synonyms = {"max_results", "max", "count"},
                                      .minimum = 1,
                                      .maximum = 500,
                                      .default_ = 50,
                                      .description = "The most matching lines."}),
               param<&Search::context>({.synonyms = {"context_lines"},
                                        .minimum = 0,
                                        .maximum = 10,
                                        .default_ = 0,
                                        .description = "Lines before and after each."})},
              [](const Search& request, const Root& root, std::stop_token stop) {
                return search(root, request, stop);
              })
      .with({.title = "Search", .annotations = {.read_only = true, .open_world = false}});
}

enum class HistoryAction { log, show, blame, diff };

struct History {
  HistoryAction action;
  std::optional<std::string> path;
  std::string revision;
  std::string base;
  int limit;
};

std::string answer_history(const History& request, const Root& root, std::stop_token stop) {
  const std::string commit = commit_hash(root, request.revision, stop);
  std::vector<std::string> arguments;
  switch (request.action) {
    case HistoryAction::log:
      arguments = {"log",
                   "--no-ext-diff",
                   "--date=iso-strict",
                   "--format=%h %ad %an: %s",
                   "--max-count=" + std::to_string(request.limit),
                   commit};
      break;
    case HistoryAction::show:
      arguments = {"show", "--no-ext-diff", "--no-textconv", "--stat", "--patch", commit};
      break;
    case HistoryAction::diff:
      arguments = {"diff", "--no-ext-diff", "--no-textconv", commit_hash(root, request.base, stop),
                   commit};
      break;
    default:  // of a commit: the working tree's filters would be programs
      arguments = {"blame", "--no-textconv", "--no-ignore-revs-file", "--date=short", commit};
  }
  arguments.emplace_back("--");
  if (request.path) arguments.push_back(*request.path);
  const std::string output = run_git(root, std::move(arguments), stop);
  return output.empty() ? "Nothing.\n" : output;
}

Tool history_tool() {
  return tool({.name = "history",
               .description =
                   "Shows the git history: commits, one commit, who wrote a file's lines, "
                   "or what differs between two commits.",
               .actions = {{"log", {"commits", "list"}},
                           {"show", {"commit"}},
                           {"blame", {"annotate"}},
                           {"diff", {"compare"}}},
               .default_action = "log"},
              {param<&History::action>(),
               param<&History::path>({.synonyms = {"file", "file_path", "filename"},
                                      .required_for = {"blame"},
                                      .description = "Only what concerns this path."}),
               param<&History::revision>(
                   {.synonyms = {"commit", "rev", "ref", "sha", "branch", "head"},
                    .default_ = "HEAD",
                    .description = "A branch, a tag or a hash."}),
               param<&History::base>({.synonyms = {"from", "since"},
                                      .default_ = "HEAD~1",
                                      .description = "For diff: the commit to compare with."}),
               param<&History::limit>({.synonyms = {"max_count", "count", "n"},
                                       .minimum = 1,
                                       .maximum = 200,
                                       .default_ = 20,
                                       .description = "For log: the most commits."})},
              answer_history)
      .with({.title = "History", .annotations = {.read_only = true, .open_world = false}});
}

}  // namespace

std::vector<Tool> tools() { return {files_tool(), search_tool(), history_tool()}; }

}  // namespace repo_server
