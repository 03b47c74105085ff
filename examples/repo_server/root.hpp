#ifndef REPO_SERVER_ROOT_HPP_
#define REPO_SERVER_ROOT_HPP_

// A directory that no path leads out of.

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace repo_server {

// Owns a descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor();

  [[nodiscard]] int get() const noexcept { return number_; }
  [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }

 private:
  int number_;
};

// Everything is opened beneath a descriptor of the root, by the kernel's own rule where it has one
// (openat2), so that no `..`, no absolute path and no symbolic link leads out of it, not even one
// that is made while a path is followed. Links inside the root are followed only by that rule.
class Root {
 public:
  // Throws std::system_error when it is not a directory that can be read.
  explicit Root(const std::filesystem::path& path);

  [[nodiscard]] int descriptor() const noexcept { return directory_.get(); }
  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

  // The file or directory at a path relative to the root, opened for reading. Throws ToolError,
  // with the path in it, when there is none, it leads out of the root or into a .git, or it is
  // anything else: a pipe or a device is not even opened.
  [[nodiscard]] Descriptor open(std::string_view path) const;
  // Of whatever is there. Throws as open() does.
  [[nodiscard]] struct stat status(std::string_view path) const;

 private:
  [[nodiscard]] Descriptor open(std::string_view path, int flags) const;

  std::filesystem::path path_;
  Descriptor directory_;
};

// The kernel's own rule (Landlock) for this thread and all that it starts: nothing is read but what
// is beneath the root and what programs need to run, and nothing is written. So git follows nothing
// that a repository names outside of the root. False where the kernel has no such rule
// (before 5.13).
[[nodiscard]] bool confine_to(const Root& root);

[[nodiscard]] struct stat status_of(const Descriptor& file);

// A name as it is, or quoted and escaped where it holds anything that is not printable.
[[nodiscard]] std::string shown_name(std::string_view name);

}  // namespace repo_server

#endif  // REPO_SERVER_ROOT_HPP_
