#ifndef TOOL_BINDING_SERVER_WORKERS_HPP_
#define TOOL_BINDING_SERVER_WORKERS_HPP_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "tool_binding/server.hpp"

namespace tool_binding {

// Threads that run calls in the order in which they are pushed, and a deadline for each. For one
// other thread, which looks after the deadlines.
class Workers {
 public:
  using Clock = std::chrono::steady_clock;
  using Run = std::function<void(const ServerCall&)>;

  // `run` is called on all threads at the same time and must not throw. A time limit of zero: none.
  Workers(std::size_t count, std::chrono::milliseconds time_limit, Run run);
  // Waits for the threads: call it when wait_for_end() was true.
  ~Workers() = default;
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  void push(ServerCall call);
  // The calls that have run for too long since it was last asked, and those that have waited for as
  // long, while no thread took any. A thread that goes on with one is replaced.
  [[nodiscard]] std::vector<ServerCall> take_overdue();
  // How long take_overdue() returns nothing, if no call is pushed; nothing: for ever. Cheap, as
  // take_overdue() is before that time.
  [[nodiscard]] std::optional<Clock::duration> time_to_next() const;
  // No call is pushed any more.
  void close();
  // Waits until close() has ended every thread. False when it takes longer than this.
  [[nodiscard]] bool wait_for_end(std::chrono::milliseconds time);

 private:
  struct Waiting {
    ServerCall call;
    Clock::time_point deadline;
  };
  struct Worker {
    std::optional<ServerCall> call = {};
    Clock::time_point deadline = {};
    bool is_replaced = false;  // and to end when its call returns
    std::jthread thread = {};
  };

  void start_one();
  void work(Worker& worker);
  [[nodiscard]] bool take_next(Worker& worker);
  [[nodiscard]] Clock::time_point first_deadline() const;
  void set_next_look();

  const std::size_t most_threads_;
  const std::chrono::milliseconds time_limit_;
  const Run run_;
  // No call is overdue before. For the one other thread.
  std::optional<Clock::time_point> look_at_;
  std::mutex mutex_;
  std::condition_variable pushed_;
  std::condition_variable ended_;
  std::deque<Waiting> waiting_;
  Clock::time_point moved_ = {};  // when a thread was last there for a call
  std::size_t swept_ = 0;         // how many waited when those that are over were last removed
  bool closed_ = false;
  std::size_t running_ = 0;    // threads
  std::list<Worker> workers_;  // destroyed, and so joined, first
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_WORKERS_HPP_
