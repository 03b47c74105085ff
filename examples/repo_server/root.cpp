#include "root.hpp"

#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/openat2.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <tool_binding/handlers.hpp>

namespace repo_server {
namespace {

using tool_binding::ToolError;

constexpr int reading = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int looking = O_PATH | O_CLOEXEC;

int open_by_rule(int root, const std::string& path, int flags) {
  open_how how = {};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  int opened = -1;
  do {  // EAGAIN: something was renamed meanwhile
    opened = static_cast<int>(syscall(SYS_openat2, root, path.c_str(), &how, sizeof how));
  } while (opened < 0 && errno == EAGAIN);
  return opened;
}

// Name by name, and no link is followed.
int open_step_by_step(int root, const std::string& path, int flags) {
  Descriptor current(fcntl(root, F_DUPFD_CLOEXEC, 0));
  for (const std::filesystem::path& name : std::filesystem::path(path)) {
    if (name.empty() || name == ".") continue;
    if (name == ".." || name.is_absolute()) {
      errno = EXDEV;
      return -1;
    }
    current = Descriptor(openat(current.get(), name.c_str(), flags | O_NOFOLLOW));
    if (!current) return -1;
  }
  return fcntl(current.get(), F_DUPFD_CLOEXEC, 0);
}

std::filesystem::path place_of(int descriptor) {
  std::error_code no_proc;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), no_proc);
}

// Whichever way the path led there. Without /proc, only the path's own words count.
bool is_in_git(int root, int opened, const std::string& path) {
  const std::filesystem::path place = place_of(opened);
  const std::filesystem::path inside =
      place.empty() ? std::filesystem::path(path) : place.lexically_relative(place_of(root));
  return std::find(inside.begin(), inside.end(), ".git") != inside.end();
}

// Below each, what `access` allows; a path that is not there needs no rule.
void allow(const Descriptor& rules, const char* path, std::uint64_t access) {
  const Descriptor top(::open(path, O_PATH | O_CLOEXEC));
  landlock_path_beneath_attr rule = {};
  rule.allowed_access = access;
  rule.parent_fd = top.get();
  if (top) syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

}  // namespace

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

Root::Root(const std::filesystem::path& path)
    : path_(std::filesystem::canonical(path)),
      directory_(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!directory_) throw std::system_error(errno, std::generic_category(), path_.string());
}

Descriptor Root::open(std::string_view path) const {
  const mode_t mode = status(path).st_mode;
  if (S_ISREG(mode) || S_ISDIR(mode)) return open(path, reading);
  throw ToolError(shown_name(path) + " is neither a file nor a directory.");
}

struct stat Root::status(std::string_view path) const {
  return status_of(open(path, looking));
}

Descriptor Root::open(std::string_view path, int flags) const {
  const std::string name(path.empty() ? "." : path);
  const std::string shown = shown_name(name);
  if (name.find('\0') != name.npos) throw ToolError("There is no path " + shown + ".");
  int opened = open_by_rule(descriptor(), name, flags);
  if (opened < 0 && (errno == ENOSYS || errno == EPERM)) {
    opened = open_step_by_step(descriptor(), name, flags);
  }
  if (Descriptor found(opened); found) {
    if (!is_in_git(descriptor(), opened, name)) return found;
    throw ToolError(shown + " is git's own and is not shown: use the tool 'history'.");
  }
  if (errno == EXDEV) {
    throw ToolError("The path " + shown +
                    " leads out of the root: send a path relative to it, without '..'.");
  }
  throw ToolError("Cannot open " + shown + ": " + std::generic_category().message(errno) + ".");
}

bool confine_to(const Root& root) {
  constexpr std::uint64_t reads = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
  constexpr std::uint64_t runs = reads | LANDLOCK_ACCESS_FS_EXECUTE;
  landlock_ruleset_attr known = {};
  known.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;  // all of its first version
  const Descriptor rules(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &known, sizeof known, 0)));
  if (!rules) return false;
  allow(rules, root.path().c_str(), reads);
  allow(rules, "/dev/null", LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE);
  for (const char* programs : {"/usr", "/bin", "/lib", "/lib64", "/opt", "/nix/store"}) {
    allow(rules, programs, runs);
  }
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

struct stat status_of(const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) throw std::system_error(errno, std::generic_category());
  return status;
}

std::string shown_name(std::string_view name) {
  std::string shown = tool_binding::display_form(tool_binding::Value(name));
  return shown.substr(1, shown.size() - 2) == name ? std::string(name) : shown;
}

}  // namespace repo_server
