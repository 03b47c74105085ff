#include "line_buffer.hpp"

#include <utility>

namespace tool_binding {

void LineBuffer::append(std::string_view bytes) {
  constexpr std::size_t kept_capacity = std::size_t{1} << 20;
  bytes_.erase(0, start_);
  scanned_ -= start_;
  start_ = 0;
  if (bytes_.empty() && bytes_.capacity() > kept_capacity) bytes_ = std::string();
  bytes_ += bytes;
}

std::optional<LineBuffer::Line> LineBuffer::next() {
  const std::size_t end = bytes_.find('\n', scanned_);
  const std::size_t size = (end == bytes_.npos ? bytes_.size() : end) - start_;
  if (size > limit_) dropping_ = true;
  if (end == bytes_.npos) {
    if (dropping_) start_ = bytes_.size();
    scanned_ = bytes_.size();
    return std::nullopt;
  }
  const std::string_view text = std::string_view(bytes_).substr(start_, size);
  start_ = scanned_ = end + 1;
  const bool was_dropped = std::exchange(dropping_, false);
  return Line{was_dropped ? std::string_view() : text, was_dropped};
}

std::optional<LineBuffer::Line> LineBuffer::rest() {
  if (!dropping_ && start_ == bytes_.size()) return std::nullopt;
  return Line{dropping_ ? std::string_view() : std::string_view(bytes_).substr(start_), dropping_};
}

}  // namespace tool_binding
