#include "output_queue.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <utility>

namespace tool_binding {
namespace {

bool wait_writable(int descriptor, int time) {
  pollfd writable{descriptor, POLLOUT, 0};
  return poll(&writable, 1, time) == 1;
}

// Removes what is written. Returns zero, or the errno after which nothing can be written any more.
int write_some(int descriptor, std::string_view& bytes) {
  const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
  if (written < 0) return errno == EAGAIN || errno == EINTR ? 0 : errno;
  bytes.remove_prefix(static_cast<std::size_t>(written));
  return 0;
}

int write_all(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    if (const int error = write_some(descriptor, bytes)) return error;
    // The client may have made its end, and so ours, non-blocking.
    if (!bytes.empty()) wait_writable(descriptor, -1);
  }
  return 0;
}

}  // namespace

void OutputQueue::push(std::string_view line, bool is_alone) {
  std::unique_lock lock(mutex_);
  writable_.wait(lock, [&] { return error_ != 0 || lines_.size() <= limit_; });
  add(std::move(lock), line, is_alone);
}

void OutputQueue::push_if_room(std::string_view line) {
  std::unique_lock lock(mutex_);
  if (lines_.size() <= limit_) add(std::move(lock), line, false);
}

// Where others wait or are written already, who writes them takes this one too.
void OutputQueue::add(std::unique_lock<std::mutex> lock, std::string_view line, bool is_alone) {
  if (closed_ || error_ != 0) return;
  const bool is_first = lines_.empty() && !is_writing_;
  lines_.append(line) += '\n';
  if (!is_first) return;
  if (is_alone) write_at_once(lock);
  const bool has_more = !lines_.empty() || closed_ || error_ != 0;
  lock.unlock();
  if (has_more) readable_.notify_one();
}

// A pipe that is writable takes PIPE_BUF bytes without waiting.
void OutputQueue::write_at_once(std::unique_lock<std::mutex>& lock) {
  if (lines_.size() > PIPE_BUF) return;
  const std::string lines = start_writing(lock);
  std::string_view rest = lines;
  const int error = wait_writable(descriptor_, 0) ? write_some(descriptor_, rest) : 0;
  end_writing(lock, error);
  lines_.insert(0, rest);
}

void OutputQueue::write() {
  std::unique_lock lock(mutex_);
  while (true) {
    readable_.wait(lock,
                   [&] { return error_ != 0 || (!is_writing_ && (closed_ || !lines_.empty())); });
    if (error_ != 0 || lines_.empty()) return;
    const std::string lines = start_writing(lock);
    const int error = write_all(descriptor_, lines);
    end_writing(lock, error);
  }
}

std::string OutputQueue::start_writing(std::unique_lock<std::mutex>& lock) {
  std::string lines = std::exchange(lines_, {});
  is_writing_ = true;
  lock.unlock();
  writable_.notify_all();
  return lines;
}

void OutputQueue::end_writing(std::unique_lock<std::mutex>& lock, int error) {
  if (error != 0) break_off(error);
  lock.lock();
  is_writing_ = false;
}

void OutputQueue::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  readable_.notify_all();
}

void OutputQueue::break_off(int error) {
  const std::lock_guard lock(mutex_);
  if (error_ == 0) error_ = error;
  lines_ = std::string();
  readable_.notify_all();
  writable_.notify_all();
}

int OutputQueue::error() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

}  // namespace tool_binding
