#ifndef TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_
#define TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace tool_binding {

// Lines from any thread for one writer, which takes all that wait at once.
class OutputQueue {
 public:
  explicit OutputQueue(std::size_t limit) noexcept : limit_(limit) {}

  // Adds a line and its line break. Waits while more than `limit` bytes wait. Does nothing once the
  // queue is closed or broken.
  void push(std::string_view line);
  // Drops the line instead of waiting.
  void push_if_room(std::string_view line);
  // Swaps what waits with `lines`, which are written. Waits for something; false when nothing will
  // come any more.
  [[nodiscard]] bool take(std::string& lines);
  // Nothing more will be pushed.
  void close();
  // Nothing can be written any more.
  void break_off();
  [[nodiscard]] bool is_broken() const;

 private:
  void add(std::string_view line);

  const std::size_t limit_;
  mutable std::mutex mutex_;
  std::condition_variable readable_;
  std::condition_variable writable_;
  std::string lines_;
  bool closed_ = false;
  bool broken_ = false;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_OUTPUT_QUEUE_HPP_
