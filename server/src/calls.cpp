#include "calls.hpp"

#include <cmath>
#include <utility>

#include "messages.hpp"

namespace tool_binding {
void Batch::add(std::string_view answer) {
  const std::lock_guard lock(mutex_);
  append(answer);
}

void Batch::expect_one() {
  const std::lock_guard lock(mutex_);
  ++open_;
}

std::string Batch::finish_one(std::string_view answer) {
  const std::lock_guard lock(mutex_);
  append(answer);
  if (--open_ > 0 || answers_.empty()) return {};
  return std::move(answers_) + ']';
}

void Batch::append(std::string_view answer) {
  if (!answer.empty()) answers_.append(answers_.empty() ? "[" : ",").append(answer);
}

bool CallRecord::end() {
  Mapping dropped;  // after the lock
  const std::lock_guard lock(mutex_);
  dropped = std::exchange(arguments, {});
  return !std::exchange(ended_, true);
}

bool CallRecord::ended() const {
  const std::lock_guard lock(mutex_);
  return ended_;
}

bool CallRecord::started() const {
  const std::lock_guard lock(mutex_);
  return started_;
}

std::optional<Mapping> CallRecord::start() {
  const std::lock_guard lock(mutex_);
  if (ended_) return std::nullopt;
  started_ = true;
  return std::exchange(arguments, {});
}

void CallRecord::report(const Progress& progress, const ServerSession::Notify& notify) {
  Mapping params{{"progressToken", progress_token}, {"progress", progress.progress}};
  if (progress.total && std::isfinite(*progress.total)) params.set("total", *progress.total);
  if (!progress.message.empty()) params.set("message", progress.message);
  const std::lock_guard lock(mutex_);
  const bool rises = std::isfinite(progress.progress) && progress.progress > progress_;
  if (ended_ || !rises) return;
  progress_ = progress.progress;
  notify(notification_line("notifications/progress", params));
}

bool Calls::ById::operator()(const Record& left, const Record& right) const noexcept {
  const int order = left->id.compare(right->id);
  return order != 0 ? order < 0 : left < right;
}
bool Calls::ById::operator()(const Record& left, std::string_view id) const noexcept {
  return left->id < id;
}
bool Calls::ById::operator()(std::string_view id, const Record& right) const noexcept {
  return id < right->id;
}

bool Calls::add(const Record& record) {
  const std::lock_guard lock(mutex_);
  const bool has_room = records_.empty() || bytes_ + record->bytes <= byte_limit_;
  if (records_.size() >= limit_ || !has_room) return false;
  records_.insert(record);
  bytes_ += record->bytes;
  return true;
}

bool Calls::end(const Record& record) {
  if (!record->end()) return false;
  const std::lock_guard lock(mutex_);
  if (records_.erase(record) != 0) bytes_ -= record->bytes;
  return true;
}

std::vector<Calls::Record> Calls::cancel(std::string_view id) {
  std::vector<Record> found;
  {
    const std::lock_guard lock(mutex_);
    const auto [first, last] = records_.equal_range(id);
    found.assign(first, last);
  }
  std::erase_if(found, [&](const Record& record) { return !end(record); });
  // Outside every lock: who waits for the stop runs here.
  for (const Record& record : found) record->stop.request_stop();
  return found;
}

void Calls::cancel_all() {
  std::set<Record, ById> found;
  {
    const std::lock_guard lock(mutex_);
    found.swap(records_);
    bytes_ = 0;
  }
  for (const Record& record : found) {
    if (record->end()) record->stop.request_stop();
  }
}

std::size_t Calls::size() const {
  const std::lock_guard lock(mutex_);
  return records_.size();
}

}  // namespace tool_binding
