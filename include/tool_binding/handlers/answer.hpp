#ifndef TOOL_BINDING_HANDLERS_ANSWER_HPP_
#define TOOL_BINDING_HANDLERS_ANSWER_HPP_

// What a handler returns, and what it can ask and say while it runs. Included by handlers.hpp.
//
//   [](const Search& request, Call& call) -> Answer {
//     const auto hits = find(request.query);
//     if (hits.empty()) throw ToolError("No hit for '" + request.query + "': try fewer words.");
//     call.note("the index is an hour old");
//     return {.content = {TextContent{lines_of(hits)}}, .structured = list_of(hits)};
//   }

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// One block of an answer. `data` and `blob` are the bytes themselves: whoever sends them encodes
// them. Text is UTF-8; any other bytes in it are escaped as json_text escapes them, which strict
// clients refuse. URIs and MIME types are passed on unchecked.
struct TextContent {
  std::string text;
  friend bool operator==(const TextContent&, const TextContent&) = default;
};
struct ImageContent {
  std::string data;
  std::string mime_type;  // "image/png"
  friend bool operator==(const ImageContent&, const ImageContent&) = default;
};
struct AudioContent {
  std::string data;
  std::string mime_type;  // "audio/wav"
  friend bool operator==(const AudioContent&, const AudioContent&) = default;
};
// A resource with its content: text, or else bytes.
struct EmbeddedResource {
  std::string uri;
  std::string mime_type = {};  // empty: not said
  std::string text = {};
  std::optional<std::string> blob = {};  // where given, it is sent in place of the text
  friend bool operator==(const EmbeddedResource&, const EmbeddedResource&) = default;
};
// A resource that the client may read by itself.
struct ResourceLink {
  std::string uri;
  std::string name;
  std::string title = {};
  std::string description = {};
  std::string mime_type = {};
  std::optional<std::uint64_t> size = {};  // bytes
  friend bool operator==(const ResourceLink&, const ResourceLink&) = default;
};
using Content =
    std::variant<TextContent, ImageContent, AudioContent, EmbeddedResource, ResourceLink>;

// The full form of a handler's result, an aggregate for designated initializers.
//
//   return Answer{.content = {TextContent{"2 hits"}}, .structured = Mapping{{"hits", 2}}};
//   return Answer{.content = {TextContent{"The index is being built."}}, .is_error = true};
//
// A service adds the JSON of structured content as the first block, unless there is a text already.
struct Answer {
  std::vector<Content> content = {};
  // A mapping or a list; none: there is no structured content. Any other kind is a fault of the
  // handler (std::invalid_argument).
  Value structured = {};
  // The client is to take the answer as an error.
  bool is_error = false;

  friend bool operator==(const Answer&, const Answer&) = default;
};

// A block of content in the form in which the protocol sends it, bytes in base64.
//
//   content_mapping(ImageContent{"\x89PNG", "image/png"}) ==
//       Mapping{{"type", "image"}, {"data", "iVBORw=="}, {"mimeType", "image/png"}}
[[nodiscard]] TOOL_BINDING_EXPORT Mapping content_mapping(const Content& content);

// The answer as one value, in the form in which the protocol sends it, bytes in base64. Nothing is
// checked or added: structured content of any kind is taken over, and gets no block of text.
//
//   answer_mapping({.content = {TextContent{"2 hits"}}, .structured = Mapping{{"hits", 2}}}) ==
//       Mapping{{"content", List{Mapping{{"type", "text"}, {"text", "2 hits"}}}},
//               {"structuredContent", Mapping{{"hits", 2}}}}
//   answer_mapping({.is_error = true}) == Mapping{{"content", List{}}, {"isError", true}}
[[nodiscard]] TOOL_BINDING_EXPORT Mapping answer_mapping(const Answer& answer);

// A handler's error whose text is meant for the client: say what to send instead. Any other
// exception of a handler is hidden from the client. What the text repeats of the request is shown
// as it is: display_form() makes it one printable line.
//
//   throw ToolError("There is no branch " + display_form(name) + ". Branches: main, next.");
//   // the client reads: There is no branch 'mian'. Branches: main, next.
class TOOL_BINDING_EXPORT ToolError : public std::runtime_error {
 public:
  explicit ToolError(std::string message);
  ~ToolError() override;

  // The whole text, zero bytes included, where what() ends. Valid as long as this error or a copy.
  [[nodiscard]] std::string_view message() const noexcept { return *message_; }

 private:
  std::shared_ptr<const std::string> message_;
};

// How far a handler has come, in units of its own.
struct Progress {
  double progress = 0;
  std::optional<double> total = {};  // nothing: not known
  std::string message = {};
};

struct HandlerFault;  // tool_service.hpp

// What a caller gives along with a request. All of it may be left out. The functions are called on
// the thread of the call, during it alone, except that a handler may report progress from another
// thread of its own.
struct CallOptions {
  // The request's id, where the transport has one.
  Value request_id = {};
  // Asks the handler to stop. A handler that does not look runs to its end.
  std::stop_token stop = {};
  // Takes each report of progress, on the thread that reports it. What it throws, the handler's
  // call to Call::progress throws.
  std::function<void(const Progress&)> progress = {};
  // Called instead of ServiceOptions::log where that is empty, so that a transport can log what a
  // service has no log for. What it throws is dropped.
  std::function<void(const HandlerFault&)> log = {};
};

// The request that a handler answers. A handler takes it as `Call&`.
//
//   [](const Search& request, Call& call) {
//     call.note("the index is an hour old");
//     call.progress(1, 3);
//     if (call.stop_requested()) throw ToolError("stopped");
//     ...
//
// A test calls the function with one of its own:
//
//   Call call;
//   search({.query = "main"}, call);
//   call.notes() == std::vector<std::string>{"the index is an hour old"}
//
// Valid until the handler returns; to be used by one thread at a time. stop_token() may be handed
// to other threads.
class TOOL_BINDING_EXPORT Call {
 public:
  // For tests of a function that takes one: no id, nothing that stops it or takes its progress.
  Call() noexcept;
  // `options` are referred to.
  explicit Call(std::string_view tool, const CallOptions& options) noexcept
      : tool_(tool), options_(&options) {}
  Call(std::string_view tool, CallOptions&&) = delete;
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  [[nodiscard]] std::string_view tool() const noexcept { return tool_; }
  // None where the transport has none.
  [[nodiscard]] const Value& request_id() const noexcept { return options_->request_id; }
  [[nodiscard]] const std::stop_token& stop_token() const noexcept { return options_->stop; }
  [[nodiscard]] bool stop_requested() const noexcept { return options_->stop.stop_requested(); }

  // A line for the client apart from the result, after the notes of admission. Notes of a handler
  // that is called through a Handler record are dropped.
  void note(std::string line) { notes_.push_back(std::move(line)); }
  [[nodiscard]] const std::vector<std::string>& notes() const& noexcept { return notes_; }
  [[nodiscard]] std::vector<std::string> notes() && noexcept { return std::move(notes_); }

  // Whether the client takes reports of progress. Where it does not, reporting costs nothing.
  [[nodiscard]] bool wants_progress() const noexcept { return options_->progress != nullptr; }
  // `progress` should rise from call to call: a transport may drop a report that does not. Throws
  // what CallOptions::progress throws.
  void progress(double progress, std::optional<double> total = {}, std::string message = {}) const;

 private:
  std::string_view tool_;
  const CallOptions* options_;
  std::vector<std::string> notes_;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_HANDLERS_ANSWER_HPP_
