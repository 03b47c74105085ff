#ifndef TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_
#define TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace tool_binding {

// Lines from any thread to a descriptor, each whole and in the order in which they are pushed. They
// are left to the thread in write(), which writes all that wait at once. A thread that pushes a
// line alone may write it itself, where nothing waits and the descriptor takes it without waiting.
class OutputQueue {
 public:
  OutputQueue(int descriptor, std::size_t limit) noexcept
      : descriptor_(descriptor), limit_(limit) {}

  // Adds a line and its line break. Waits while more than `limit` bytes wait. Does nothing once the
  // queue is closed or broken. `is_alone`: no other line is soon to come.
  void push(std::string_view line, bool is_alone = false);
  // Drops the line instead of waiting.
  void push_if_room(std::string_view line);
  // Writes what waits until the queue is closed and all is written, or it is broken.
  void write();
  // Nothing more will be pushed.
  void close();
  // Nothing can be written any more, for this reason.
  void break_off(int error);
  // The errno of what broke the queue first; zero: nothing has.
  [[nodiscard]] int error() const;

 private:
  void add(std::unique_lock<std::mutex> lock, std::string_view line, bool is_alone);
  void write_at_once(std::unique_lock<std::mutex>& lock);
  // What waits, with the lock given up for the time of writing.
  [[nodiscard]] std::string start_writing(std::unique_lock<std::mutex>& lock);
  void end_writing(std::unique_lock<std::mutex>& lock, int error);

  const int descriptor_;
  const std::size_t limit_;
  mutable std::mutex mutex_;
  std::condition_variable readable_;
  std::condition_variable writable_;
  std::string lines_;
  bool is_writing_ = false;  // one thread does, without the lock
  bool closed_ = false;
  int error_ = 0;  // not zero: broken
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_
