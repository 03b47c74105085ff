#include "calls.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
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
  const std::lock_guard lock(mutex_);
  return !std::exchange(ended_, true);
}

bool CallRecord::ended() const {
  const std::lock_guard lock(mutex_);
  return ended_;
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

bool Calls::add(const Record& record) {
  const std::lock_guard lock(mutex_);
  if (by_id_.size() >= limit_) return false;
  by_id_.emplace(record->id, record);
  return true;
}

bool Calls::end(const Record& record) {
  if (!record->end()) return false;
  forget(record);
  return true;
}

void Calls::forget(const Record& record) {
  const std::lock_guard lock(mutex_);
  const auto [first, last] = by_id_.equal_range(record->id);
  const auto found =
      std::find_if(first, last, [&](const auto& entry) { return entry.second == record; });
  if (found != last) by_id_.erase(found);
}

std::vector<Calls::Record> Calls::cancel(std::string_view id) {
  std::vector<Record> found;
  {
    const std::lock_guard lock(mutex_);
    const auto [first, last] = by_id_.equal_range(id);
    std::transform(first, last, std::back_inserter(found),
                   [](const auto& entry) { return entry.second; });
  }
  std::erase_if(found, [&](const Record& record) { return !end(record); });
  // Outside every lock: who waits for the stop runs here.
  for (const Record& record : found) record->stop.request_stop();
  return found;
}

void Calls::cancel_all() {
  std::vector<Record> found;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, record] : by_id_) found.push_back(record);
    by_id_.clear();
  }
  for (const Record& record : found) {
    if (record->end()) record->stop.request_stop();
  }
}

std::size_t Calls::size() const {
  const std::lock_guard lock(mutex_);
  return by_id_.size();
}

}  // namespace tool_binding
