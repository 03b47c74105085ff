#include "root.hpp"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <tool_binding/handlers.hpp>

namespace repo_server {
namespace {

using tool_binding::ToolError;

constexpr int reading = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

int open_by_rule(int root, const std::string& path) {
  open_how how = {};
  how.flags = reading;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  int opened = -1;
  do {  // EAGAIN: something was renamed meanwhile
    opened = static_cast<int>(syscall(SYS_openat2, root, path.c_str(), &how, sizeof how));
  } while (opened < 0 && errno == EAGAIN);
  return opened;
}

// Name by name, and no link is followed.
int open_step_by_step(int root, const std::string& path) {
  Descriptor current(fcntl(root, F_DUPFD_CLOEXEC, 0));
  for (const std::filesystem::path& name : std::filesystem::path(path)) {
    if (name.empty() || name == ".") continue;
    if (name == ".." || name.is_absolute()) {
      errno = EXDEV;
      return -1;
    }
    current = Descriptor(openat(current.get(), name.c_str(), reading | O_NOFOLLOW));
    if (!current) return -1;
  }
  return fcntl(current.get(), F_DUPFD_CLOEXEC, 0);
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
  const std::string name(path.empty() ? "." : path);
  const std::string shown = shown_name(name);
  if (name.find('\0') != name.npos) throw ToolError("There is no path " + shown + ".");
  int opened = open_by_rule(descriptor(), name);
  if (opened < 0 && (errno == ENOSYS || errno == EPERM)) {
    opened = open_step_by_step(descriptor(), name);
  }
  if (opened >= 0) return Descriptor(opened);
  if (errno == EXDEV || errno == ELOOP) {
    throw ToolError("The path " + shown +
                    " leads out of the root: send a path relative to it, without '..'.");
  }
  throw ToolError("Cannot open " + shown + ": " + std::generic_category().message(errno) + ".");
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
