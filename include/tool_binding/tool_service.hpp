#ifndef TOOL_BINDING_TOOL_SERVICE_HPP_
#define TOOL_BINDING_TOOL_SERVICE_HPP_

// Tools and context together: one call, one answer.
//
//   ToolService service({search, read}, context);         // or HandlerError: every mismatch of all
//   ToolAnswer answer = service.call("search", {{"q", "main"}, {"limit", "500"}});
//   answer.text()     // what the handler returned, or what to send instead
//   answer.is_error() // false
//   answer.notes      // 'q' was read as 'query', 'limit' 500 is above the maximum: 200 was used
//
// A call looks the tool up, admits the arguments, binds them and calls the function, all on the
// thread of the caller. It needs no set_tools; only the default action of a tool that TOOLS holds
// under the same name is taken from there (see bind_arguments).

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/handlers.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/tool_schemas.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// What became of a call. All but the first are errors to the client, and their text says what to
// send instead, except for the fixed text of an exception that is not a ToolError.
enum class Outcome : std::uint8_t {
  answered,      // the handler returned a result
  refused,       // the arguments were refused, and the handler was not called
  no_such_tool,  // no tool has that name; the text says the nearest one
  failed,        // the handler says so (ToolError, Answer::is_error), or threw something else
};

// The result of a call. All of it is meant for the client.
struct ToolAnswer {
  Outcome outcome = Outcome::answered;
  // Text first: the result, or the refusal. Empty where the handler returned nothing. Structured
  // content is here too, as JSON.
  std::vector<Content> content = {};
  // What a handler returned as a mapping or a list; none for everything else.
  Value structured = {};
  // What admission changed, then what the handler noted. They are not part of the content.
  std::vector<std::string> notes = {};

  [[nodiscard]] bool is_error() const noexcept { return outcome != Outcome::answered; }
  // The first block of text; empty where there is none. Valid as long as the content; of a
  // temporary, a copy.
  [[nodiscard]] TOOL_BINDING_EXPORT std::string_view text() const& noexcept;
  [[nodiscard]] std::string text() && { return std::string(std::as_const(*this).text()); }
};

// What a handler threw that was not meant for the client, which gets "search failed with an
// internal error". The views are valid during the call of the log.
struct HandlerFault {
  std::string_view tool;
  std::string_view kind;  // the type of what was thrown, "std::out_of_range"; "unknown" for others
  std::string_view text;  // what() of a std::exception, else empty
};

struct ServiceOptions {
  // Called on the thread of the call, from several at the same time. What it throws is dropped. The
  // library puts no argument's value into a fault; what a handler writes into what() is its own.
  std::function<void(const HandlerFault&)> log = {};
};

// Tools that are served together. Immutable: any number of threads may call it at the same time,
// whose handlers then run at the same time. Copies share one record, and moving copies.
//
//   struct Search { std::string query; std::int8_t limit; };
//   const ToolService service({tool(
//       "search", "Finds text.", {param<&Search::query>(), param<&Search::limit>()},
//       [](const Search& request) -> std::string {
//         if (request.query == "mian") throw ToolError("No 'mian'. Did you mean 'main'?");
//         return request.query.substr(10);
//       })});
//   service.call("search", {{"query", "a long enough text"}, {"limit", "5"}}).text() == "ugh text"
//   service.call("search", {{"query", "mian"}, {"limit", 1}}).text() ==
//       "No 'mian'. Did you mean 'main'?"                       // Outcome::failed
//   service.call("search", {{"query", "short"}, {"limit", 1}}).text() ==
//       "search failed with an internal error"     // failed; the log gets the std::out_of_range
//   service.call("search", {{"query", "x"}, {"limit", 500}}).text() ==
//       "Parameter 'limit' of search must be a whole number from -128 to 127, not 500"   // refused
//   service.call("serch", {}).text() ==
//       "there is no tool named 'serch'. Did you mean 'search'?"   // no_such_tool
class TOOL_BINDING_EXPORT ToolService {
 public:
  // Throws HandlerError with every mismatch of all tools, two tools of one name and the errors of
  // check_tool() among them. Its warnings throw nothing: see warnings(). Keeps what its handlers
  // take of the context, not the rest of it.
  explicit ToolService(std::vector<Tool> tools, const Context& context = {},
                       ServiceOptions options = {});
  ToolService(const ToolService&) = default;
  ToolService& operator=(const ToolService&) = default;
  ~ToolService() = default;

  // Never throws for what a client sent or a handler threw. The first form leaves the arguments
  // untouched, the second moves the values out of them. Arguments whose names are not all text are
  // refused. `options` are only read, until the call returns.
  //
  // Where memory runs out, the answer is `failed` like any other fault; where there is none for the
  // answer either, std::bad_alloc passes through. Nothing else does.
  //
  // Cost beside the handler's own: linear in the arguments and the tool's parameters.
  [[nodiscard]] ToolAnswer call(std::string_view tool, const Mapping& arguments,
                                const CallOptions& options = {}) const;
  [[nodiscard]] ToolAnswer call(std::string_view tool, Mapping&& arguments,
                                const CallOptions& options = {}) const;

  // The tools in the order given. They live, as does what info() points to, as long as any copy of
  // the service.
  [[nodiscard]] const ToolTable& tools() const noexcept;
  // What clients are shown of a tool beside its specification; null for an unknown name.
  [[nodiscard]] const ToolInfo* info(std::string_view tool) const noexcept;

  // What check_tool() finds doubtful about the tools, such as a default that admission would
  // refuse, to be looked at in a test or when the program starts. Cost: that of check_tool() each
  // time.
  [[nodiscard]] std::vector<SchemaProblem> warnings() const;

  // The tools file, with its x- keywords: publish_tools(tools()).
  [[nodiscard]] Value tools_file() const;
  // What a tools/list answer carries: for each tool wire_schema() with its name, description and
  // ToolInfo (title, annotations, outputSchema, icons).
  [[nodiscard]] List wire_tools(const WireOptions& options = {}) const;

 private:
  struct Record;

  std::shared_ptr<const Record> record_;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_TOOL_SERVICE_HPP_
