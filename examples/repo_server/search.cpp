#include "search.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <re2/re2.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <string_view>
#include <system_error>
#include <tool_binding/handlers.hpp>

namespace repo_server {
namespace {

using tool_binding::ToolError;
using Clock = std::chrono::steady_clock;

constexpr std::size_t most_files = 20'000;
constexpr std::size_t most_file_size = std::size_t{1} << 20;
constexpr std::size_t most_output = std::size_t{256} << 10;
constexpr std::size_t longest_line = 500;
constexpr std::chrono::seconds most_time{10};

std::unique_ptr<RE2> compiled(const std::string& expression, bool is_case_sensitive,
                              const std::string& what) {
  RE2::Options options;
  options.set_log_errors(false);
  options.set_case_sensitive(is_case_sensitive);
  auto made = std::make_unique<RE2>(expression, options);
  if (!made->ok()) throw ToolError("The " + what + " cannot be read: " + made->error() + ".");
  return made;
}

// `**` spans directories, `*` and `?` do not; {a,b} is either.
std::string expression_of(std::string_view glob) {
  std::string expression;
  int open = 0;
  for (std::size_t i = 0; i < glob.size(); ++i) {
    const std::string_view rest = glob.substr(i);
    if (rest.starts_with("**/")) {
      expression += "(?:.*/)?";
      i += 2;
    } else if (rest.starts_with("**")) {
      expression += ".*";
      i += 1;
    } else if (glob[i] == '*') {
      expression += "[^/]*";
    } else if (glob[i] == '?') {
      expression += "[^/]";
    } else if (glob[i] == '{') {
      expression += "(?:";
      ++open;
    } else if (glob[i] == '}' && open > 0) {
      expression += ')';
      --open;
    } else if (glob[i] == ',' && open > 0) {
      expression += '|';
    } else {
      expression += RE2::QuoteMeta(glob.substr(i, 1));
    }
  }
  return expression;
}

// Globs without a slash are for the name alone.
class Globs {
 public:
  explicit Globs(const std::vector<std::string>& globs) {
    for (const std::string& glob : globs) {
      all_.push_back({glob.find('/') == glob.npos,
                      compiled(expression_of(glob), true, "glob " + shown_name(glob))});
    }
  }
  [[nodiscard]] bool take(std::string_view path) const {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return all_.empty() || std::any_of(all_.begin(), all_.end(), [&](const Glob& glob) {
             return RE2::FullMatch(glob.is_for_name ? name : path, *glob.expression);
           });
  }

 private:
  struct Glob {
    bool is_for_name;
    std::unique_ptr<RE2> expression;
  };
  std::vector<Glob> all_;
};

class Searching {
 public:
  Searching(const Root& root, const Search& request, const std::stop_token& stop)
      : root_(root),
        request_(request),
        stop_(stop),
        globs_(request.globs),
        expression_(
            compiled(request.mode == Mode::literal ? RE2::QuoteMeta(request.query) : request.query,
                     request.case_sensitive, "regular expression")) {
    if (request.query.find('\n') == std::string::npos) return;
    throw ToolError("Lines are searched one by one: send a query without a line break.");
  }

  std::string run() {
    std::vector<std::string> starts = request_.paths;
    if (starts.empty()) starts.emplace_back(".");
    for (const std::string& start : starts) {
      static_cast<void>(root_.open(start));  // a wrong path is an error; one that vanishes is not
      pending_.push_back(std::filesystem::path(start).lexically_normal().generic_string());
    }
    std::reverse(pending_.begin(), pending_.end());
    while (!pending_.empty() && !is_over()) {
      std::string path = std::move(pending_.back());
      pending_.pop_back();
      look_at(path);
    }
    return std::move(*this).answer();
  }

 private:
  bool is_over() {
    if (!reason_.empty()) return true;
    if (stop_.stop_requested()) reason_ = "the request was cancelled";
    if (Clock::now() > end_) reason_ = "ten seconds are over";
    if (files_ >= most_files) reason_ = "20,000 files were searched";
    if (output_.size() > most_output) reason_ = "there is more than 256 KiB";
    return !reason_.empty();
  }

  void look_at(const std::string& path) {
    try {
      const Descriptor file = root_.open(path);
      const mode_t mode = status_of(file).st_mode;
      S_ISDIR(mode) ? add_entries(file, path) : search_file(file, path);
    } catch (const ToolError&) {
      pass_over(path);
    }
  }

  void add_entries(const Descriptor& directory, const std::string& path) {
    std::vector<std::string> names = names_in(directory);
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
      struct stat status = {};
      const int found = fstatat(directory.get(), name->c_str(), &status, AT_SYMLINK_NOFOLLOW);
      if (found != 0 || *name == ".git") continue;
      const bool is_here = path == "." || path.empty();
      std::string below = is_here ? *name : path + (path.ends_with('/') ? "" : "/") + *name;
      const bool is_wanted =
          S_ISDIR(status.st_mode) || (S_ISREG(status.st_mode) && globs_.take(below));
      if (is_wanted) pending_.push_back(std::move(below));
    }
  }

  void search_file(const Descriptor& file, const std::string& path) {
    ++files_;
    const auto text = text_of(file, shown_name(path), most_file_size);
    if (!text) return pass_over(path);
    const std::vector<std::string_view> lines = lines_of(*text);
    std::size_t written = 0;  // up to here lines are in the output
    for (std::size_t i = 0; i < lines.size() && !is_over(); ++i) {
      if (!RE2::PartialMatch(lines[i], *expression_)) continue;
      const auto context = static_cast<std::size_t>(request_.context);
      const std::size_t last = std::min(i + context + 1, lines.size());
      for (std::size_t n = std::max(written, i - std::min(i, context)); n < last; ++n) {
        add_line(path, n, lines[n], n == i || RE2::PartialMatch(lines[n], *expression_));
      }
      written = std::max(written, last);
      if (++hits_ >= request_.limit) reason_ = "the limit is reached";
    }
  }

  void pass_over(const std::string& path) {
    constexpr std::size_t most_named = 10;
    if (passed_over_++ < most_named)
      not_searched_ += (not_searched_.empty() ? "" : ", ") + shown_name(path);
    if (passed_over_ == most_named + 1) not_searched_ += ", ...";
  }

  static std::vector<std::string_view> lines_of(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      std::string_view line = text.substr(0, end);
      if (line.ends_with('\r')) line.remove_suffix(1);
      lines.push_back(line);
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
  }

  void add_line(const std::string& path, std::size_t index, std::string_view line, bool is_hit) {
    const char mark = is_hit ? ':' : '-';
    output_ += shown_name(path) + mark + std::to_string(index + 1) + mark;
    output_ += line.substr(0, longest_line);
    output_ += line.size() > longest_line ? " [...]\n" : "\n";
  }

  std::string answer() && {
    if (hits_ == 0) output_ += "No line matches.\n";
    if (!reason_.empty()) output_ += "[stopped short: " + reason_ + "]\n";
    if (passed_over_ > 0) {
      output_ += "[passed over " + std::to_string(passed_over_) +
                 ", binary, larger than 1 MiB or not readable: " + not_searched_ + "]\n";
    }
    return std::move(output_);
  }

  const Root& root_;
  const Search& request_;
  const std::stop_token& stop_;
  const Clock::time_point end_ = Clock::now() + most_time;
  Globs globs_;
  std::unique_ptr<RE2> expression_;
  std::vector<std::string> pending_;
  std::string output_;
  std::string reason_;
  std::size_t files_ = 0;
  std::size_t passed_over_ = 0;
  std::string not_searched_;
  int hits_ = 0;
};

}  // namespace

std::optional<std::string> text_of(const Descriptor& file, const std::string& shown,
                                   std::size_t most) {
  const struct stat status = status_of(file);
  if (S_ISDIR(status.st_mode)) throw ToolError(shown + " is a directory: use the action 'list'.");
  std::string text;
  std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t count = read(file.get(), buffer.data(), buffer.size());
    if (count < 0) {
      throw ToolError("Cannot read " + shown + ": " + std::generic_category().message(errno) + ".");
    }
    if (count == 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(count));
    if (text.find('\0', text.size() - static_cast<std::size_t>(count)) != text.npos) {
      return std::nullopt;
    }
    if (text.size() > most) {
      throw ToolError(shown + " has " + std::to_string(status.st_size) +
                      " bytes, more than can be shown: " + std::to_string(most) + ".");
    }
  }
}

std::vector<std::string> names_in(const Descriptor& directory) {
  const int copy = openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* entries = copy >= 0 ? fdopendir(copy) : nullptr;
  if (entries == nullptr) throw ToolError("The directory cannot be read.");
  std::vector<std::string> names;
  while (const dirent* entry = readdir(entries)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  closedir(entries);
  std::sort(names.begin(), names.end());
  return names;
}

std::string search(const Root& root, const Search& request, const std::stop_token& stop) {
  return Searching(root, request, stop).run();
}

}  // namespace repo_server
