#ifndef TOOL_BINDING_TOOL_ADMIT_BLOCKS_HPP_
#define TOOL_BINDING_TOOL_ADMIT_BLOCKS_HPP_

// Lines in large blocks, from a file or standard input, as they are or compressed by gzip.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tool_binding::tool_admit {

// What a read from `path` failed with, from errno.
[[noreturn]] void throw_unreadable(const std::string& path);

// Writes all of it to standard output. Throws std::runtime_error.
void write_out(std::string_view bytes);

// Whole lines at a time:
//
//   BlockReader reader(path);
//   for (std::string block; reader.next(block);) for_each_line(block, answer);
//
// Memory: a block, or the longest line if that is longer. From a terminal or a pipe, a block ends
// where nothing more is waiting, so that what it asks can be answered at once.
// Throws std::runtime_error, which names the file, when it cannot be read, when compressed data is
// faulty or ends too early, or when there is no memory for a line; the whole lines before that come
// first.
class BlockReader {
 public:
  // Nothing: standard input.
  explicit BlockReader(const std::optional<std::string>& path);
  BlockReader(const BlockReader&) = delete;
  BlockReader& operator=(const BlockReader&) = delete;
  ~BlockReader();

  // Replaces `block` by the next lines, each with its line feed except perhaps the last of all.
  // False at the end.
  [[nodiscard]] bool next(std::string& block);

  // Of a regular file; otherwise 0.
  [[nodiscard]] std::uintmax_t size() const noexcept { return size_; }
  // How much of the file has been read, before decompression. Any thread may ask.
  [[nodiscard]] std::uintmax_t position() const noexcept { return position_; }

 private:
  class Gzip;

  [[nodiscard]] std::size_t read_file(char* to, std::size_t size);
  [[nodiscard]] std::size_t read_more(std::string& block);
  [[nodiscard]] std::string too_long_line(std::size_t size) const;
  [[nodiscard]] bool is_more_waiting() const;
  void find_format();

  std::string name_;
  int descriptor_;
  std::uintmax_t size_ = 0;
  std::atomic<std::uintmax_t> position_ = 0;
  bool is_regular_ = false;
  std::string head_;  // read to tell the format, not yet handed on
  std::unique_ptr<Gzip> gzip_;
  std::string rest_;  // the beginning of a line whose end has not been read
  bool is_at_end_ = false;
  std::exception_ptr failure_;
};

// Calls `use` with each line that is not blank, without its line feed.
template <class Use>
void for_each_line(std::string_view block, const Use& use) {
  while (!block.empty()) {
    const std::size_t size = block.find('\n');
    const std::string_view line = block.substr(0, size);
    if (line.find_first_not_of(" \t\r") != line.npos) use(line);
    if (size == block.npos) break;
    block.remove_prefix(size + 1);
  }
}

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_BLOCKS_HPP_
