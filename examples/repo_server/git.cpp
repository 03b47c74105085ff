#include "git.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <tool_binding/handlers.hpp>

namespace repo_server {
namespace {

using tool_binding::ToolError;
using Clock = std::chrono::steady_clock;

constexpr std::size_t most_output = std::size_t{256} << 10;
constexpr std::chrono::seconds most_time{10};

void check(int error) {
  if (error != 0) throw std::system_error(error, std::generic_category(), "git");
}

// In a process group of its own, so that all of it can be ended.
class Child {
 public:
  Child(const Root& root, std::vector<std::string>& arguments,
        std::vector<std::string>& environment) {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) check(errno);
    output_ = Descriptor(ends[0]);
    const Descriptor input(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    check(posix_spawn_file_actions_init(&actions));
    check(posix_spawnattr_init(&attributes));
    check(posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0));
    check(posix_spawn_file_actions_adddup2(&actions, input.get(), 1));
    check(posix_spawn_file_actions_adddup2(&actions, input.get(), 2));
    check(posix_spawn_file_actions_addfchdir_np(&actions, root.descriptor()));
    check(posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP));
    const int error = posix_spawnp(&process_, "git", &actions, &attributes,
                                   pointers_to(arguments).data(), pointers_to(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error == ENOENT || error == EACCES)
      throw ToolError("The program git is not installed on this server.");
    check(error);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { wait(); }

  [[nodiscard]] const Descriptor& output() const noexcept { return output_; }
  void end() const noexcept { kill(-process_, SIGKILL); }
  int wait() noexcept {
    if (process_ == 0) return 0;
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    return status;
  }

 private:
  static std::vector<char*> pointers_to(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  }

  Descriptor output_;
  pid_t process_ = 0;
};

// Reads until the end, or until a limit is reached: the reason, else an empty text.
std::string read_output(const Child& child, std::string& output, const std::stop_token& stop) {
  constexpr int step_in_milliseconds = 50;
  const Clock::time_point end = Clock::now() + most_time;
  std::array<char, 16384> buffer;
  for (;;) {
    if (stop.stop_requested()) return "the request was cancelled";
    if (Clock::now() > end) return "git took more than ten seconds";
    if (output.size() > most_output) {
      output.resize(most_output);
      return "there is more than 256 KiB";
    }
    pollfd waiting = {child.output().get(), POLLIN, 0};
    if (poll(&waiting, 1, step_in_milliseconds) <= 0) continue;
    const ssize_t count = read(child.output().get(), buffer.data(), buffer.size());
    if (count == 0) return "";
    if (count > 0) output.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

// Instead of what a repository's configuration has: a format may ask for signatures, which a
// program checks, and a submodule has a configuration of its own.
constexpr const char* safe_settings[] = {"core.fsmonitor=false",    "core.hooksPath=/dev/null",
                                         "log.showSignature=false", "format.pretty=medium",
                                         "diff.submodule=short",    "color.ui=false"};

// What would make git run a program, or leave the root.
std::vector<std::string> safe_environment(const Root& root) {
  const char* path = std::getenv("PATH");
  return {std::string("PATH=") + (path != nullptr ? path : "/usr/bin:/bin"),
          "LC_ALL=C.UTF-8",
          "HOME=/nonexistent",
          "GIT_CONFIG_NOSYSTEM=1",
          "GIT_CONFIG_GLOBAL=/dev/null",
          "GIT_CEILING_DIRECTORIES=" + root.path().parent_path().string(),
          "GIT_OPTIONAL_LOCKS=0",
          "GIT_TERMINAL_PROMPT=0",
          "GIT_NO_LAZY_FETCH=1",
          "GIT_ALLOW_PROTOCOL=",
          "GIT_PAGER=cat"};
}

// A file or a link in its place names a repository elsewhere.
void check_is_inside(const Root& root) {
  struct stat status = {};
  const bool is_there =
      fstatat(root.descriptor(), ".git", &status, AT_SYMLINK_NOFOLLOW) == 0;  // a bare one has none
  if (!is_there || S_ISDIR(status.st_mode)) return;
  throw ToolError(
      "The root's .git is no directory: a history that is kept elsewhere is not shown.");
}

}  // namespace

std::string run_git(const Root& root, std::vector<std::string> arguments,
                    const std::stop_token& stop) {
  check_is_inside(root);
  std::vector<std::string> all = {"git", "--no-pager", "--literal-pathspecs"};
  for (const char* setting : safe_settings) all.insert(all.end(), {"-c", setting});
  all.insert(all.end(), std::make_move_iterator(arguments.begin()),
             std::make_move_iterator(arguments.end()));
  std::vector<std::string> environment = safe_environment(root);
  Child child(root, all, environment);
  std::string output;
  const std::string reason = read_output(child, output, stop);
  if (!reason.empty()) {
    child.end();
    return output + "\n[cut off: " + reason + "]";
  }
  const int status = child.wait();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw ToolError("git says: " + (output.empty() ? "nothing" : output));
  }
  return output;
}

std::string commit_hash(const Root& root, const std::string& revision,
                        const std::stop_token& stop) {
  std::string hash;
  try {
    hash =
        run_git(root, {"rev-parse", "--verify", "--end-of-options", revision + "^{commit}"}, stop);
  } catch (const ToolError& error) {
    const auto says = [&](std::string_view text) {
      return error.message().find(text) != std::string::npos;
    };
    if (says("not a git repository")) {
      throw ToolError("The root is not a git repository: it has no history.");
    }
    if (says("dubious ownership")) {
      throw ToolError("The repository belongs to another user: its history is not shown.");
    }
    if (!says("Needed a single revision")) throw;
    throw ToolError("There is no commit " + shown_name(revision) +
                    ": send a branch, a tag or a hash.");
  }
  hash.erase(hash.find_last_not_of('\n') + 1);
  hash.erase(0, hash.rfind('\n') + 1);
  return hash;
}

}  // namespace repo_server
