#include "jobs.hpp"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace tool_binding::tool_admit {
namespace {

// Workers that each read a block, work on it and write its answers when it is their turn: none
// waits for another to hand it lines, and a read that waits for input delays no answer.
class Workers {
 public:
  Workers(BlockReader& reader, const std::function<void(std::string_view)>& write)
      : reader_(reader), write_(write) {}

  // Until the end, or until a worker fails.
  void work(const BlockWork& work) noexcept {
    try {
      std::string block;
      std::string answers;
      while (const auto number = read(block)) {
        work(block, answers);
        if (write_) write_in_turn(*number, answers);
      }
    } catch (...) {
      fail(std::current_exception());
    }
  }
  void fail(std::exception_ptr error) noexcept {
    const std::lock_guard lock(mutex_);
    if (!error_) error_ = std::move(error);
    written_changed_.notify_all();
  }
  void rethrow_failure() const {
    if (error_) std::rethrow_exception(error_);
    if (read_error_) std::rethrow_exception(read_error_);
  }

 private:
  // The number of the block; nothing at the end. After a failure to read, the blocks before it are
  // still answered.
  std::optional<std::uint64_t> read(std::string& block) {
    const std::lock_guard lock(read_mutex_);
    if (is_at_end_ || has_failed()) return std::nullopt;
    try {
      is_at_end_ = !reader_.next(block);
    } catch (...) {
      is_at_end_ = true;
      read_error_ = std::current_exception();
    }
    if (is_at_end_) return std::nullopt;
    return read_++;
  }
  void write_in_turn(std::uint64_t number, std::string_view answers) {
    std::unique_lock lock(mutex_);
    written_changed_.wait(lock, [&] { return written_ == number || error_; });
    if (error_) return;
    lock.unlock();  // no other number is in turn until it counts as written
    write_(answers);
    lock.lock();
    ++written_;
    written_changed_.notify_all();
  }
  bool has_failed() {
    const std::lock_guard lock(mutex_);
    return error_ != nullptr;
  }

  BlockReader& reader_;
  const std::function<void(std::string_view)>& write_;

  std::mutex read_mutex_;  // of the reader and the next three
  std::uint64_t read_ = 0;
  bool is_at_end_ = false;
  std::exception_ptr read_error_;

  std::mutex mutex_;  // of the rest
  std::condition_variable written_changed_;
  std::uint64_t written_ = 0;
  std::exception_ptr error_;
};

}  // namespace

void work_on_blocks(BlockReader& reader, std::size_t jobs,
                    const std::function<BlockWork()>& make_work,
                    const std::function<void(std::string_view)>& write) {
  Workers workers(reader, write);
  std::vector<std::jthread> others;
  try {
    for (std::size_t i = 1; i < jobs; ++i) {
      others.emplace_back([&workers, work = make_work()] { workers.work(work); });
    }
    workers.work(make_work());
  } catch (...) {  // no thread can be started: those that run end
    workers.fail(std::current_exception());
  }
  others.clear();
  workers.rethrow_failure();
}

}  // namespace tool_binding::tool_admit
