#include "jobs.hpp"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace tool_binding::tool_admit {
namespace {

// Blocks by number between the thread that reads and those that work. Each worker writes its own
// answers when it is their turn, so that a reader that waits for input delays none.
class Queue {
 public:
  explicit Queue(std::size_t capacity) : capacity_(capacity) {}

  struct Block {
    std::uint64_t number;
    std::string lines;
  };

  // False when a worker has failed.
  [[nodiscard]] bool push(std::string lines) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return blocks_.size() < capacity_ || error_; });
    if (error_) return false;
    blocks_.push_back({pushed_++, std::move(lines)});
    changed_.notify_all();
    return true;
  }
  [[nodiscard]] std::optional<Block> pop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !blocks_.empty() || is_closed_ || error_; });
    if (blocks_.empty() || error_) return std::nullopt;
    Block block = std::move(blocks_.front());
    blocks_.pop_front();
    changed_.notify_all();
    return block;
  }
  // Waits until all blocks before this one have been written.
  void write_in_turn(std::uint64_t number, const std::function<void()>& write) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return written_ == number || error_; });
    if (error_) return;
    lock.unlock();  // no other number is in turn until it counts as written
    write();
    lock.lock();
    ++written_;
    changed_.notify_all();
  }
  void close() {
    const std::lock_guard lock(mutex_);
    is_closed_ = true;
    changed_.notify_all();
  }
  void fail(std::exception_ptr error) {
    const std::lock_guard lock(mutex_);
    if (!error_) error_ = std::move(error);
    changed_.notify_all();
  }
  void rethrow_failure() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t capacity_;
  std::deque<Block> blocks_;
  std::uint64_t pushed_ = 0;
  std::uint64_t written_ = 0;
  bool is_closed_ = false;
  std::exception_ptr error_;
};

void work_until_closed(Queue& queue, const BlockWork& work,
                       const std::function<void(std::string_view)>& write) {
  try {
    std::string out;
    while (const auto block = queue.pop()) {
      work(block->lines, out);
      if (write) queue.write_in_turn(block->number, [&] { write(out); });
    }
  } catch (...) {
    queue.fail(std::current_exception());
  }
}

// What was read before a failure is still answered, and no worker waits for more.
class Closing {
 public:
  explicit Closing(Queue& queue) : queue_(queue) {}
  Closing(const Closing&) = delete;
  Closing& operator=(const Closing&) = delete;
  ~Closing() { queue_.close(); }

 private:
  Queue& queue_;
};

void work_alone(BlockReader& reader, const BlockWork& work,
                const std::function<void(std::string_view)>& write) {
  std::string out;
  for (std::string block; reader.next(block);) {
    work(block, out);
    if (write) write(out);
  }
}

}  // namespace

void work_on_blocks(BlockReader& reader, std::size_t jobs,
                    const std::function<BlockWork()>& make_work,
                    const std::function<void(std::string_view)>& write) {
  if (jobs <= 1) return work_alone(reader, make_work(), write);
  Queue queue(jobs);
  {
    std::vector<std::jthread> workers;
    const Closing closing(queue);
    for (std::size_t i = 0; i < jobs; ++i) {
      workers.emplace_back(
          [&queue, &write, work = make_work()] { work_until_closed(queue, work, write); });
    }
    std::string block;
    while (reader.next(block) && queue.push(std::move(block))) block.clear();
  }
  queue.rethrow_failure();
}

}  // namespace tool_binding::tool_admit
