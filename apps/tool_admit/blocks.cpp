#include "blocks.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tool_binding::tool_admit {
namespace {

// Large enough that a system call is nothing beside it, small enough that a block and its answers
// stay in a processor's own cache.
constexpr std::size_t block_size = 1 << 16;

constexpr std::string_view gzip_magic = "\x1f\x8b";

}  // namespace

void throw_unreadable(const std::string& path) {
  throw std::runtime_error("cannot read " + path + ": " + std::generic_category().message(errno));
}

void write_out(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw std::runtime_error("cannot write to standard output");
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// The bytes that compressed ones stand for; members one after the other are one text.
class BlockReader::Gzip {
 public:
  explicit Gzip(BlockReader& file) : file_(file), compressed_(1 << 16, '\0') {
    constexpr int largest_window_and_gzip_header = 15 + 16;
    if (inflateInit2(&stream_, largest_window_and_gzip_header) != Z_OK) throw std::bad_alloc();
  }
  Gzip(const Gzip&) = delete;
  Gzip& operator=(const Gzip&) = delete;
  ~Gzip() { inflateEnd(&stream_); }

  [[nodiscard]] std::size_t read(char* to, std::size_t size) {
    stream_.next_out = reinterpret_cast<Bytef*>(to);
    stream_.avail_out = static_cast<uInt>(size);
    while (stream_.avail_out == size) {
      if (stream_.avail_in == 0 && !fill()) {
        if (is_within_member_) fail("the compressed data ends too early");
        return 0;
      }
      inflate_some();
    }
    return size - stream_.avail_out;
  }

 private:
  [[noreturn]] void fail(const std::string& reason) const {
    throw std::runtime_error("cannot read " + file_.name_ + ": " + reason);
  }

  [[nodiscard]] bool fill() {
    stream_.avail_in = static_cast<uInt>(file_.read_file(compressed_.data(), compressed_.size()));
    stream_.next_in = reinterpret_cast<Bytef*>(compressed_.data());
    return stream_.avail_in > 0;
  }

  void inflate_some() {
    if (!is_within_member_ && is_after_member_ && skip_padding()) return;
    is_within_member_ = true;
    const int status = inflate(&stream_, Z_NO_FLUSH);
    if (status == Z_STREAM_END) {
      is_within_member_ = false;
      is_after_member_ = true;
      inflateReset(&stream_);
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
      fail("the compressed data is faulty");
    }
  }

  // Zero bytes that fill up a tape's or a file system's block. Whether nothing follows them so far.
  [[nodiscard]] bool skip_padding() {
    while (stream_.avail_in > 0 && *stream_.next_in == 0) {
      --stream_.avail_in;
      ++stream_.next_in;
    }
    return stream_.avail_in == 0;
  }

  BlockReader& file_;
  std::string compressed_;
  z_stream stream_ = {};
  bool is_within_member_ = false;
  bool is_after_member_ = false;
};

BlockReader::BlockReader(const std::optional<std::string>& path)
    : name_(path.value_or("standard input")),
      descriptor_(path ? ::open(path->c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO) {
  struct stat facts = {};
  if (descriptor_ < 0 || fstat(descriptor_, &facts) != 0) throw_unreadable(name_);
  is_regular_ = S_ISREG(facts.st_mode);
  if (is_regular_) size_ = static_cast<std::uintmax_t>(facts.st_size);
}

BlockReader::~BlockReader() {
  gzip_.reset();
  if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
}

std::size_t BlockReader::read_file(char* to, std::size_t size) {
  if (!head_.empty()) {
    const std::size_t taken = std::min(size, head_.size());
    std::memcpy(to, head_.data(), taken);
    head_.erase(0, taken);
    return taken;
  }
  while (true) {
    const ssize_t count = ::read(descriptor_, to, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw_unreadable(name_);
    position_ += static_cast<std::uintmax_t>(count);
    return static_cast<std::size_t>(count);
  }
}

void BlockReader::find_format() {
  std::string head(gzip_magic.size(), '\0');
  std::size_t size = 0;
  while (size < head.size()) {
    const std::size_t count = read_file(head.data() + size, head.size() - size);
    if (count == 0 || head[0] != gzip_magic[0]) {
      size += count;
      break;
    }
    size += count;
  }
  head.resize(size);
  head_ = head;
  if (head_ == gzip_magic) gzip_ = std::make_unique<Gzip>(*this);
}

// A failure ends the input: what was read before it is handed on first.
std::size_t BlockReader::read_more(std::string& block) {
  const std::size_t size = block.size();
  std::size_t count = 0;
  try {
    block.resize(size + std::max(block_size, size));
    if (position_ == 0) find_format();
    char* const to = block.data() + size;
    count = gzip_ ? gzip_->read(to, block.size() - size) : read_file(to, block.size() - size);
  } catch (const std::runtime_error&) {
    failure_ = std::current_exception();
  } catch (const std::bad_alloc&) {
    failure_ = std::make_exception_ptr(std::runtime_error(too_long_line(size)));
  }
  block.resize(size + count);
  return count;
}

std::string BlockReader::too_long_line(std::size_t size) const {
  return "cannot read " + name_ + ": there is no memory left for a line of more than " +
         std::to_string(size >> 20) +
         " MiB: shorten it, raise the limit on memory or use fewer --jobs";
}

bool BlockReader::is_more_waiting() const {
  if (is_regular_ || gzip_) return true;
  pollfd waiting = {.fd = descriptor_, .events = POLLIN, .revents = 0};
  return ::poll(&waiting, 1, 0) > 0;
}

bool BlockReader::next(std::string& block) {
  block.swap(rest_);
  rest_.clear();
  std::size_t end = 0;  // of the last whole line
  while (!is_at_end_ && (end == 0 || (block.size() < block_size && is_more_waiting()))) {
    const std::size_t size = block.size();
    is_at_end_ = read_more(block) == 0;
    const std::size_t line_feed = std::string_view(block).substr(size).rfind('\n');
    if (line_feed != block.npos) end = size + line_feed + 1;
  }
  if (failure_) block.resize(end);  // the line that it cut off is no line
  if (is_at_end_ && block.empty() && failure_) std::rethrow_exception(failure_);
  if (is_at_end_) return !block.empty();
  rest_.assign(block, end);
  block.resize(end);
  return true;
}

}  // namespace tool_binding::tool_admit
