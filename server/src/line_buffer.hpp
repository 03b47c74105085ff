#ifndef TOOL_BINDING_SERVER_LINE_BUFFER_HPP_
#define TOOL_BINDING_SERVER_LINE_BUFFER_HPP_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tool_binding {

// Cuts what is read into lines, and keeps no part of a line of more than `limit` bytes.
class LineBuffer {
 public:
  struct Line {
    std::string_view text;  // without its line break; valid until the next call
    bool is_too_long;       // the text was dropped
  };

  explicit LineBuffer(std::size_t limit) noexcept : limit_(limit) {}

  // What next() has not returned yet is kept.
  void append(std::string_view bytes);
  // Nothing: more has to be read.
  [[nodiscard]] std::optional<Line> next();
  // The last line, where no line break ends it. Call it once, at the end of input.
  [[nodiscard]] std::optional<Line> rest();

 private:
  const std::size_t limit_;
  std::string bytes_;
  std::size_t start_ = 0;    // of the line that comes next
  std::size_t scanned_ = 0;  // no line break comes before this place
  bool dropping_ = false;    // the line that comes next was too long
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_LINE_BUFFER_HPP_
