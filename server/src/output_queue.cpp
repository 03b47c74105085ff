#include "output_queue.hpp"

namespace tool_binding {

void OutputQueue::push(std::string_view line) {
  std::unique_lock lock(mutex_);
  writable_.wait(lock, [&] { return broken_ || lines_.size() <= limit_; });
  add(line);
}

void OutputQueue::push_if_room(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (lines_.size() <= limit_) add(line);
}

void OutputQueue::add(std::string_view line) {
  if (closed_ || broken_) return;
  if (lines_.empty()) readable_.notify_one();
  lines_.append(line) += '\n';
}

bool OutputQueue::take(std::string& lines) {
  constexpr std::size_t kept_capacity = std::size_t{1} << 20;
  lines.clear();
  if (lines.capacity() > kept_capacity) lines = std::string();
  std::unique_lock lock(mutex_);
  readable_.wait(lock, [&] { return closed_ || broken_ || !lines_.empty(); });
  lines.swap(lines_);
  writable_.notify_all();
  return !broken_ && !lines.empty();
}

void OutputQueue::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  readable_.notify_all();
}

void OutputQueue::break_off() {
  const std::lock_guard lock(mutex_);
  broken_ = true;
  lines_ = std::string();
  readable_.notify_all();
  writable_.notify_all();
}

bool OutputQueue::is_broken() const {
  const std::lock_guard lock(mutex_);
  return broken_;
}

}  // namespace tool_binding
