#include "tool_binding/stdio.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "line_buffer.hpp"
#include "output_queue.hpp"
#include "workers.hpp"

namespace tool_binding {
namespace {

// A copy that child processes do not inherit; -1 where the descriptor is closed.
int private_copy(int descriptor) {
  constexpr int first_free = 3;
  const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, first_free);
  if (copy < 0 && errno != EBADF) throw std::system_error(errno, std::generic_category(), "fcntl");
  return copy;
}

void point_to_nothing(int descriptor) {
  const int nothing = open("/dev/null", O_RDWR);
  if (nothing < 0) throw std::system_error(errno, std::generic_category(), "/dev/null");
  if (nothing == descriptor) return;
  dup2(nothing, descriptor);
  close(nothing);
}

// Nobody may read standard error: a line that cannot be written at once is dropped.
void log_to_standard_error(const std::string& server, std::string_view line) {
  pollfd standard_error{STDERR_FILENO, POLLOUT, 0};
  if (poll(&standard_error, 1, 0) != 1 || (standard_error.revents & POLLOUT) == 0) return;
  const std::string text = server + ": " + std::string(line) + '\n';
  [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), text.size());
}

int poll_time(std::optional<Workers::Clock::duration> time) {
  if (!time) return -1;
  const auto whole = std::chrono::ceil<std::chrono::milliseconds>(*time).count();
  return static_cast<int>(std::clamp<std::int64_t>(whole, 0, std::numeric_limits<int>::max()));
}

// The threads around a session: this one reads, the workers call handlers, another one writes. A
// worker writes its answer itself where no other call runs.
class Loop {
 public:
  Loop(int input, int output, const ToolService& service, ServerOptions options,
       const StdioOptions& stdio)
      : input_(input),
        output_(output),
        stdio_(stdio),
        log_(options.log),
        session_(service, std::move(options)),
        lines_(stdio.line_limit),
        answers_(output, stdio.output_limit),
        workers_(stdio.workers, stdio.time_limit, [this](const ServerCall& call) { run(call); }),
        writer_([this] { write(); }) {}

  // Returns the exit status.
  [[nodiscard]] int serve();

 private:
  enum class Event : std::uint8_t { input, end, nobody_reads, deadline };

  [[nodiscard]] Event serve_until_end();
  [[nodiscard]] Event wait(int time);
  [[nodiscard]] bool read_some();
  void take(const LineBuffer::Line& line);
  void run(const ServerCall& call) noexcept;
  void expire_overdue();
  void write();
  [[nodiscard]] int end(bool has_reader, int status);
  [[nodiscard]] bool could_write() const;

  const int input_;
  const int output_;
  const StdioOptions stdio_;
  const std::function<void(std::string_view line)> log_;
  ServerSession session_;
  LineBuffer lines_;
  OutputQueue answers_;
  Workers workers_;
  std::mutex written_mutex_;
  std::condition_variable written_;
  bool has_written_ = false;
  std::jthread writer_;
};

// Nothing waits for the threads where an exception leaves.
int Loop::serve() {
  Event event = Event::nobody_reads;
  int status = EXIT_SUCCESS;
  try {
    event = serve_until_end();
  } catch (const std::exception& error) {
    log_(std::string("the server cannot go on: ") + error.what());
    status = EXIT_FAILURE;
  }
  return end(event == Event::end, status);
}

Loop::Event Loop::serve_until_end() {
  Event event = Event::deadline;
  while (event == Event::deadline || event == Event::input) {
    event = wait(poll_time(workers_.time_to_next()));
    expire_overdue();
    if (event == Event::input && !read_some()) event = Event::end;
  }
  if (event == Event::end) {
    if (const auto line = lines_.rest()) take(*line);
  }
  return event;
}

// What a client has sent before it went away is not read: nobody would read the answers.
Loop::Event Loop::wait(int time) {
  std::array<pollfd, 2> polled = {{{input_, POLLIN, 0}, {output_, 0, 0}}};
  if (output_ < 0 || answers_.error() != 0) return Event::nobody_reads;
  if (input_ < 0) return Event::end;
  if (poll(polled.data(), polled.size(), time) < 0) return Event::deadline;  // a signal
  if (polled[1].revents != 0) return Event::nobody_reads;
  return polled[0].revents != 0 ? Event::input : Event::deadline;
}

bool Loop::read_some() {
  std::array<char, std::size_t{64} << 10> bytes;
  const ssize_t count = read(input_, bytes.data(), bytes.size());
  if (count < 0) return errno == EINTR || errno == EAGAIN;
  lines_.append({bytes.data(), static_cast<std::size_t>(count)});
  while (const auto line = lines_.next()) take(*line);
  return count > 0;
}

void Loop::take(const LineBuffer::Line& line) {
  if (line.is_too_long) return answers_.push(session_.too_long(stdio_.line_limit));
  if (line.text.find_first_not_of(" \t\r") == line.text.npos) return;
  Received received = session_.receive(line.text);
  for (const std::string& answer : received.answers) answers_.push(answer);
  for (ServerCall& call : received.calls) workers_.push(std::move(call));
}

void Loop::run(const ServerCall& call) noexcept {
  const std::string answer =
      session_.run(call, [this](const std::string& line) { answers_.push_if_room(line); });
  if (!answer.empty()) answers_.push(answer, session_.calls() == 0);
}

void Loop::expire_overdue() {
  for (const ServerCall& call : workers_.take_overdue()) {
    const std::string answer = session_.expire(call, stdio_.time_limit);
    if (!answer.empty()) answers_.push(answer);
  }
}

void Loop::write() {
  answers_.write();
  const std::lock_guard lock(written_mutex_);
  has_written_ = true;
  written_.notify_all();
}

// Threads that do not end in time still use what would be destroyed, here and in the program.
int Loop::end(bool has_reader, int status) {
  workers_.close();
  bool has_ended = has_reader && workers_.wait_for_end(stdio_.drain_time);
  session_.cancel_all();
  if (!has_reader) answers_.break_off(EPIPE);
  has_ended = has_ended || workers_.wait_for_end(stdio_.stop_time);
  answers_.close();
  std::unique_lock lock(written_mutex_);
  const bool is_done = written_.wait_for(lock, stdio_.stop_time, [&] { return has_written_; });
  if (!could_write()) status = EXIT_FAILURE;
  if (!has_ended || !is_done) std::_Exit(status);
  return status;
}

// A client that is gone is the usual end.
bool Loop::could_write() const {
  const int error = answers_.error();
  if (error == 0 || error == EPIPE || error == ECONNRESET) return true;
  log_("the output cannot be written: " + std::generic_category().message(error));
  return false;
}

}  // namespace

StdioTransport::StdioTransport()
    : input_(private_copy(STDIN_FILENO)), output_(private_copy(STDOUT_FILENO)) {
  // Where it is closed, the next file that the program opens would get what is printed.
  if (fcntl(STDERR_FILENO, F_GETFD) < 0) point_to_nothing(STDERR_FILENO);
  if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    throw std::system_error(errno, std::generic_category(), "dup2");
  }
  point_to_nothing(STDIN_FILENO);
  std::signal(SIGPIPE, SIG_IGN);
}

StdioTransport::~StdioTransport() {
  for (const int descriptor : {input_, output_}) {
    if (descriptor >= 0) close(descriptor);
  }
}

int StdioTransport::serve(const ToolService& service, ServerOptions options,
                          const StdioOptions& stdio) {
  if (!options.log) {
    options.log = [name = options.name](std::string_view line) {
      log_to_standard_error(name, line);
    };
  }
  return Loop(input_, output_, service, std::move(options), stdio).serve();
}

int serve_stdio(const ToolService& service, ServerOptions options, const StdioOptions& stdio) {
  return StdioTransport().serve(service, std::move(options), stdio);
}

}  // namespace tool_binding
