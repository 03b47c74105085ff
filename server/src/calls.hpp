#ifndef TOOL_BINDING_SERVER_CALLS_HPP_
#define TOOL_BINDING_SERVER_CALLS_HPP_

// The calls that run or wait: each ends exactly once, by its answer, its cancellation or its
// expiry.

#include <cstddef>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "results.hpp"
#include "tool_binding/server.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// The answers to one batch, which are sent together when the last is there.
class Batch {
 public:
  void add(std::string_view answer);
  void expect_one();
  // Takes the answer to an expected part; nothing for one that was cancelled, and for the batch
  // itself, when all of it has been read. Returns the line once all are there: empty before, and
  // when no part has an answer.
  [[nodiscard]] std::string finish_one(std::string_view answer);

 private:
  void append(std::string_view answer);

  std::mutex mutex_;
  std::size_t open_ = 1;  // the expected ones, and the batch itself
  std::string answers_;
};

struct CallRecord {
  Value request_id;
  std::string id;  // as JSON
  Era era = Era::legacy;
  std::string tool;
  Mapping arguments;
  std::size_t bytes = 0;  // of the message
  Value progress_token;   // none: no progress is wanted
  std::shared_ptr<Batch> batch = {};
  std::stop_source stop = {};

  // Drops what has not been taken of the arguments. False when it had ended before.
  bool end();
  [[nodiscard]] bool ended() const;
  [[nodiscard]] bool started() const;
  // Takes the arguments for the handler: nothing when the call has ended.
  [[nodiscard]] std::optional<Mapping> start();
  // Sends a report that rises, unless the call has ended.
  void report(const Progress& progress, const ServerSession::Notify& notify);

 private:
  mutable std::mutex mutex_ = {};  // held while a report is sent, so that the end comes after it
  bool started_ = false;
  bool ended_ = false;
  double progress_ = -std::numeric_limits<double>::infinity();
};

class Calls {
 public:
  using Record = std::shared_ptr<CallRecord>;

  Calls(std::size_t limit, std::size_t byte_limit) noexcept
      : limit_(limit), byte_limit_(byte_limit) {}

  // False when there are as many, or as large ones, as there may be. One alone may have any size.
  [[nodiscard]] bool add(const Record& record);
  // Whether this was its end: false when it is over already.
  bool end(const Record& record);
  // Ends all calls of this id, and returns them; their handlers are asked to stop.
  std::vector<Record> cancel(std::string_view id);
  void cancel_all();
  [[nodiscard]] std::size_t size() const;

 private:
  // A client should not use an id twice at once; one that does gets two answers.
  struct ById {
    using is_transparent = void;
    bool operator()(const Record& left, const Record& right) const noexcept;
    bool operator()(const Record& left, std::string_view id) const noexcept;
    bool operator()(std::string_view id, const Record& right) const noexcept;
  };

  const std::size_t limit_;
  const std::size_t byte_limit_;
  mutable std::mutex mutex_;
  std::set<Record, ById> records_;
  std::size_t bytes_ = 0;  // of all records
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_CALLS_HPP_
