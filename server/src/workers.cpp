#include "workers.hpp"

#include <algorithm>
#include <utility>

namespace tool_binding {

Workers::Workers(std::size_t count, std::chrono::milliseconds time_limit, Run run)
    : most_threads_(8 * std::max<std::size_t>(count, 1)),
      time_limit_(time_limit),
      run_(std::move(run)) {
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < most_threads_ / 8; ++i) start_one();
}

void Workers::start_one() {
  Worker& worker = workers_.emplace_back();
  worker.thread = std::jthread([this, &worker] { work(worker); });
  ++running_;
  moved_ = Clock::now();
}

void Workers::work(Worker& worker) {
  while (take_next(worker)) run_(*worker.call);
  const std::lock_guard lock(mutex_);
  --running_;
  ended_.notify_all();
}

bool Workers::take_next(Worker& worker) {
  std::unique_lock lock(mutex_);
  worker.call.reset();
  if (worker.is_replaced) return false;
  pushed_.wait(lock, [&] { return closed_ || !waiting_.empty(); });
  if (waiting_.empty()) return false;
  worker.call = std::move(waiting_.front().call);
  waiting_.pop_front();
  moved_ = Clock::now();
  worker.deadline = moved_ + time_limit_;
  return true;
}

void Workers::push(ServerCall call) {
  constexpr std::size_t few = 1000;
  const Clock::time_point deadline = Clock::now() + time_limit_;
  if (!look_at_ && time_limit_.count() != 0) look_at_ = deadline;
  std::unique_lock lock(mutex_);
  // Cancelled calls must not pile up behind handlers that take long.
  if (waiting_.size() >= 2 * swept_ + few) {
    std::erase_if(waiting_, [](const Waiting& waiting) { return waiting.call.is_over(); });
    swept_ = waiting_.size();
  }
  waiting_.push_back({std::move(call), deadline});
  lock.unlock();
  pushed_.notify_one();
}

std::vector<ServerCall> Workers::take_overdue() {
  const Clock::time_point now = Clock::now();
  if (!look_at_ || *look_at_ > now) return {};
  std::vector<ServerCall> overdue;
  const std::lock_guard lock(mutex_);
  for (Worker& worker : workers_) {
    if (!worker.call || worker.is_replaced || worker.deadline > now) continue;
    overdue.push_back(*worker.call);
    if (running_ >= most_threads_) {
      worker.deadline = now + time_limit_;
      continue;
    }
    worker.is_replaced = true;
    start_one();
  }
  for (; !waiting_.empty() && first_deadline() <= now; waiting_.pop_front()) {
    overdue.push_back(std::move(waiting_.front().call));
  }
  set_next_look();
  return overdue;
}

// Of the call that has waited longest: while others are taken, its turn will come.
Workers::Clock::time_point Workers::first_deadline() const {
  return std::max(waiting_.front().deadline, moved_ + time_limit_);
}

void Workers::set_next_look() {
  look_at_.reset();
  if (!waiting_.empty()) look_at_ = first_deadline();
  for (const Worker& worker : workers_) {
    if (!worker.call || worker.is_replaced) continue;
    look_at_ = std::min(look_at_.value_or(worker.deadline), worker.deadline);
  }
}

std::optional<Workers::Clock::duration> Workers::time_to_next() const {
  if (!look_at_) return std::nullopt;
  return *look_at_ - Clock::now();
}

void Workers::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  pushed_.notify_all();
}

bool Workers::wait_for_end(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return ended_.wait_for(lock, time, [&] { return running_ == 0; });
}

}  // namespace tool_binding
