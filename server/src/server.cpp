#include "tool_binding/server.hpp"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "calls.hpp"
#include "messages.hpp"
#include "results.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

const Mapping no_members;

// A member of `from`, or null; one that is null counts as absent.
const Value* member(const Mapping& from, std::string_view name) noexcept {
  const Value* found = from.find(name);
  return found == nullptr || found->is_none() ? nullptr : found;
}

const Mapping& object_member(const Mapping& from, std::string_view name) {
  const Value* found = member(from, name);
  if (found == nullptr) return no_members;
  if (!found->is_mapping()) {
    throw ProtocolError{ErrorCode::invalid_params,
                        "params." + std::string(name) + " must be an object"};
  }
  return found->get_mapping();
}

std::string_view text_member(const Mapping& from, std::string_view name) {
  const Value* found = member(from, name);
  if (found != nullptr && found->is_text()) return found->get_text();
  throw ProtocolError{ErrorCode::invalid_params, "params." + std::string(name) + " must be text"};
}

// What of `required` is not in `declared`: the capabilities, and the parts named of each.
Mapping missing_capabilities(const Mapping& required, const Mapping& declared) {
  Mapping missing;
  for (const auto& [name, parts] : required) {
    const Value* has = declared.find(name);
    const bool is_complete =
        has != nullptr &&
        (!parts.is_mapping() || std::all_of(parts.get_mapping().begin(), parts.get_mapping().end(),
                                            [&](const Mapping::Entry& part) {
                                              return has->is_mapping() &&
                                                     has->get_mapping().contains(part.name());
                                            }));
    if (!is_complete) missing.set(name, parts);
  }
  return missing;
}

bool is_tool_name(std::string_view name) {
  constexpr std::size_t longest = 128;
  return !name.empty() && name.size() <= longest &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '_' || c == '-' || c == '.';
         });
}

void check_options(const ToolService& service, const ServerOptions& options) {
  std::string faults;
  const auto fault = [&](const std::string& text) {
    faults += (faults.empty() ? "" : "; ") + text;
  };
  if (options.name.empty()) fault("a server needs a name");
  if (options.version.empty()) fault("a server needs a version");
  if (options.tools_ttl.count() < 0) fault("tools_ttl is negative");
  for (const ToolSpec& tool : service.tools()) {
    if (is_tool_name(tool.name())) continue;
    fault("clients do not take the tool name " + shown(tool.name()) +
          ": use 1 to 128 letters, digits, '_', '-' and '.'");
  }
  if (!faults.empty()) throw std::invalid_argument(faults);
}

std::string seconds_text(std::chrono::milliseconds time) {
  return display_form(static_cast<double>(time.count()) / 1000) + " seconds";
}

}  // namespace

// One request, as the functions that answer it see it. All refer to the message.
struct Request {
  const Message& message;
  std::size_t bytes;  // of the message
  std::string id;     // as JSON
  const Mapping& params;
  const Mapping& meta;
  Era era;
  const std::shared_ptr<Batch>& batch;
};

// What comes of a request: a result as JSON, or a call.
struct Reply {
  std::string result = {};
  std::optional<ServerCall> call = {};
};

class ServerSession::Implementation {
 public:
  Implementation(ToolService tools, ServerOptions session_options)
      : service(std::move(tools)),
        options(std::move(session_options)),
        results(service, options),
        calls(options.call_limit, options.call_bytes_limit),
        reader_({.depth = options.depth_limit}) {}

  Received receive(std::string_view text);
  std::string unreadable(ErrorCode code, std::string fault) const;
  std::string run(const Calls::Record& record, const Notify& notify);
  std::string finish(const Calls::Record& record, const std::string& line);
  void log(const std::string& line) const {
    if (options.log) options.log(line);
  }
  void log_fault(const HandlerFault& fault) const {
    constexpr std::size_t most = 100;
    log("the tool " + shown(fault.tool) + " failed: " + shown(fault.kind) + ": " +
        shown(fault.text, most));
  }

  const ToolService service;
  const ServerOptions options;
  const Results results;
  Calls calls;

 private:
  using Answerer = Reply (Implementation::*)(const Request&);
  struct Method {
    std::string_view name;
    Answerer legacy;  // null: not in that era
    Answerer modern;
  };
  static const std::array<Method, 5> methods_;

  void receive_batch(const List& messages, Received& received);
  void receive_one(const Value& value, std::size_t bytes, const std::shared_ptr<Batch>& batch,
                   Received& received);
  void answer_request(const Message& message, std::size_t bytes,
                      const std::shared_ptr<Batch>& batch, Received& received);
  void take_notification(const Message& message, Received& received);

  Reply dispatch(const Request& request);
  void check_legacy(const Request& request) const;
  void check_modern(const Request& request) const;

  Reply initialize(const Request& request);
  Reply discover(const Request&) { return {results.discover()}; }
  Reply ping(const Request&) { return {"{}"}; }
  Reply list_tools(const Request& request);
  Reply call_tool(const Request& request);
  void check_capabilities(const Request& request, std::string_view tool) const;

  JsonReader reader_;
  // The older revision in use; empty before initialize.
  std::string_view legacy_revision_;
};

const std::array<ServerSession::Implementation::Method, 5> ServerSession::Implementation::methods_ =
    {{{"initialize", &Implementation::initialize, nullptr},
      {"ping", &Implementation::ping, nullptr},
      {"server/discover", nullptr, &Implementation::discover},
      {"tools/call", &Implementation::call_tool, &Implementation::call_tool},
      {"tools/list", &Implementation::list_tools, &Implementation::list_tools}}};

Received ServerSession::Implementation::receive(std::string_view text) {
  Received received;
  try {
    const Value value = reader_.read(text);
    if (const List* messages = value.if_list()) {
      receive_batch(*messages, received);
    } else {
      receive_one(value, text.size(), nullptr, received);
    }
  } catch (const JsonError& error) {
    log("a message is not JSON, at byte " + std::to_string(error.byte()));
    received.answers.push_back(unreadable(ErrorCode::parse_error, error.what()));
  } catch (const ProtocolError& error) {
    log("a message is not a request: " + error.message);
    received.answers.push_back(unreadable(error.code, error.message));
  } catch (const std::bad_alloc&) {
    log("there is no memory left for a message");
    received.answers.push_back(
        unreadable(ErrorCode::internal_error, "there is no memory left for this message"));
  }
  return received;
}

std::string ServerSession::Implementation::unreadable(ErrorCode code, std::string fault) const {
  return error_line({}, {code, std::move(fault)});
}

void ServerSession::Implementation::receive_batch(const List& messages, Received& received) {
  const auto refuse = [](std::string fault) {
    throw ProtocolError{ErrorCode::invalid_request, std::move(fault)};
  };
  if (legacy_revision_ != batch_revision) refuse("a message must be an object");
  if (messages.empty()) refuse("a batch must hold a message");
  if (messages.size() > options.call_limit) refuse("a batch holds too many messages");
  const auto batch = std::make_shared<Batch>();
  for (const Value& value : messages) {
    receive_one(value, json_text(value).size(), batch, received);
  }
  if (std::string line = batch->finish_one({}); !line.empty()) {
    received.answers.push_back(std::move(line));
  }
}

void ServerSession::Implementation::receive_one(const Value& value, std::size_t bytes,
                                                const std::shared_ptr<Batch>& batch,
                                                Received& received) {
  const Message message = classified(value);
  if (message.kind == MessageKind::request) {
    return answer_request(message, bytes, batch, received);
  }
  if (message.kind == MessageKind::notification) return take_notification(message, received);
  if (message.kind == MessageKind::response) return;
  if (!batch) throw ProtocolError{ErrorCode::invalid_request, std::string(message.fault)};
  batch->add(unreadable(ErrorCode::invalid_request, std::string(message.fault)));
}

void ServerSession::Implementation::answer_request(const Message& message, std::size_t bytes,
                                                   const std::shared_ptr<Batch>& batch,
                                                   Received& received) {
  std::string id = json_text(*message.id);
  std::string line;
  try {
    const bool has_params = message.params != nullptr && !message.params->is_none();
    if (has_params && !message.params->is_mapping()) {
      throw ProtocolError{ErrorCode::invalid_params, "params must be an object"};
    }
    const Mapping& params = has_params ? message.params->get_mapping() : no_members;
    const Mapping& meta = object_member(params, "_meta");
    const Era era = meta.contains(protocol_version_key) ? Era::modern : Era::legacy;
    Reply reply = dispatch({message, bytes, id, params, meta, era, batch});
    if (reply.call) return received.calls.push_back(*std::move(reply.call));
    line = result_line(id, reply.result);
  } catch (const ProtocolError& error) {
    line = error_line(id, error);
  }
  batch ? batch->add(line) : received.answers.push_back(std::move(line));
}

// Nothing that is wrong with one is answered. A batch that waited for a cancelled call alone is
// complete now.
void ServerSession::Implementation::take_notification(const Message& message, Received& received) {
  if (message.method != "notifications/cancelled") return;
  const Mapping* params = message.params == nullptr ? nullptr : message.params->if_mapping();
  const Value* id = params == nullptr ? nullptr : params->find("requestId");
  if (id == nullptr || !is_id(*id)) return;
  for (const Calls::Record& record : calls.cancel(json_text(*id))) {
    std::string line = record->batch ? record->batch->finish_one({}) : std::string();
    if (!line.empty()) received.answers.push_back(std::move(line));
  }
}

Reply ServerSession::Implementation::dispatch(const Request& request) {
  request.era == Era::modern ? check_modern(request) : check_legacy(request);
  const std::string_view name = request.message.method;
  const auto method = std::find_if(methods_.begin(), methods_.end(),
                                   [&](const Method& known) { return known.name == name; });
  const Answerer answerer = method == methods_.end()     ? nullptr
                            : request.era == Era::modern ? method->modern
                                                         : method->legacy;
  if (answerer == nullptr) {
    throw ProtocolError{ErrorCode::method_not_found, "there is no method " + shown(name)};
  }
  return (this->*answerer)(request);
}

void ServerSession::Implementation::check_legacy(const Request& request) const {
  const bool is_initialize = request.message.method == "initialize";
  if (is_initialize && request.batch) {
    throw ProtocolError{ErrorCode::invalid_request, "initialize cannot be part of a batch"};
  }
  if (is_initialize || !legacy_revision_.empty()) return;
  throw ProtocolError{ErrorCode::invalid_params, "params._meta must name " +
                                                     std::string(protocol_version_key) +
                                                     ", unless initialize has been sent before"};
}

void ServerSession::Implementation::check_modern(const Request& request) const {
  if (request.batch) {
    throw ProtocolError{ErrorCode::invalid_request,
                        "revision " + std::string(modern_revision) + " has no batches"};
  }
  const Value& version = request.meta.at(protocol_version_key);
  if (!version.is_text()) {
    throw ProtocolError{ErrorCode::invalid_params,
                        "params._meta." + std::string(protocol_version_key) + " must be text"};
  }
  if (version.get_text() != modern_revision) {
    throw ProtocolError{ErrorCode::unsupported_version,
                        "unsupported protocol version " + shown(version.get_text()),
                        Mapping{{"supported", List{modern_revision}}, {"requested", version}}};
  }
  const Value* capabilities = request.meta.find(client_capabilities_key);
  if (capabilities == nullptr || !capabilities->is_mapping()) {
    throw ProtocolError{
        ErrorCode::invalid_params,
        "params._meta." + std::string(client_capabilities_key) + " must be an object"};
  }
}

Reply ServerSession::Implementation::initialize(const Request& request) {
  legacy_revision_ = legacy_revision_for(text_member(request.params, "protocolVersion"));
  return {results.initialize(legacy_revision_)};
}

Reply ServerSession::Implementation::list_tools(const Request& request) {
  if (member(request.params, "cursor") != nullptr) {
    throw ProtocolError{ErrorCode::invalid_params,
                        "there is no such cursor: all tools come at once"};
  }
  return {results.tools(request.era)};
}

Reply ServerSession::Implementation::call_tool(const Request& request) {
  const std::string_view tool = text_member(request.params, "name");
  const Value* token = member(request.meta, "progressToken");
  if (token != nullptr && !is_id(*token)) {
    throw ProtocolError{ErrorCode::invalid_params,
                        "params._meta.progressToken must be text or an integer"};
  }
  auto record = std::make_shared<CallRecord>();
  record->arguments = object_member(request.params, "arguments");
  check_capabilities(request, tool);
  record->bytes = request.bytes;
  record->request_id = *request.message.id;
  record->id = request.id;
  record->era = request.era;
  record->tool = tool;
  if (token != nullptr) record->progress_token = *token;
  record->batch = request.batch;
  if (!calls.add(record)) {
    throw ProtocolError{ErrorCode::internal_error,
                        "too many calls are waiting: send this one again when some are answered"};
  }
  if (record->batch) record->batch->expect_one();
  return {.call = ServerCall(std::move(record))};
}

void ServerSession::Implementation::check_capabilities(const Request& request,
                                                       std::string_view tool) const {
  const ToolInfo* info = service.info(tool);
  if (request.era == Era::legacy || info == nullptr || info->required_capabilities.empty()) return;
  Mapping missing = missing_capabilities(info->required_capabilities,
                                         request.meta.at(client_capabilities_key).get_mapping());
  if (missing.empty()) return;
  throw ProtocolError{ErrorCode::missing_capability,
                      "the tool " + shown(tool) +
                          " needs client capabilities that the request "
                          "does not declare",
                      Mapping{{"requiredCapabilities", std::move(missing)}}};
}

std::string ServerSession::Implementation::run(const Calls::Record& record, const Notify& notify) {
  CallOptions call{.request_id = record->request_id,
                   .stop = record->stop.get_token(),
                   .log = [this](const HandlerFault& fault) { log_fault(fault); }};
  if (!record->progress_token.is_none() && notify) {
    call.progress = [&](const Progress& progress) { record->report(progress, notify); };
  }
  try {
    std::optional<Mapping> arguments = record->start();
    if (!arguments) return {};
    ToolAnswer answer = service.call(record->tool, *std::move(arguments), call);
    if (record->ended()) return {};
    if (answer.outcome == Outcome::no_such_tool) {
      const ProtocolError error{ErrorCode::invalid_params, std::string(answer.text())};
      return finish(record, error_line(record->id, error));
    }
    return finish(record, result_line(record->id, results.call(record->era, std::move(answer))));
  } catch (const std::exception&) {
    log("the answer of " + shown(record->tool) + " could not be written");
    return finish(record, error_line(record->id, {ErrorCode::internal_error, "internal error"}));
  }
}

std::string ServerSession::Implementation::finish(const Calls::Record& record,
                                                  const std::string& line) {
  if (!calls.end(record)) return {};
  return record->batch ? record->batch->finish_one(line) : line;
}

std::string_view ServerCall::tool() const noexcept { return record_->tool; }
std::stop_token ServerCall::stop_token() const noexcept { return record_->stop.get_token(); }
bool ServerCall::is_over() const { return record_->ended(); }

ServerSession::ServerSession(ToolService service, ServerOptions options) {
  check_options(service, options);
  implementation_ = std::make_unique<Implementation>(std::move(service), std::move(options));
}
ServerSession::~ServerSession() = default;

Received ServerSession::receive(std::string_view message) {
  return implementation_->receive(message);
}

std::string ServerSession::too_long(std::size_t limit) {
  implementation_->log("a message is longer than " + std::to_string(limit) + " bytes");
  return implementation_->unreadable(
      ErrorCode::invalid_request,
      "a message can have " + std::to_string(limit) + " bytes at most: this one was not read");
}

std::string ServerSession::run(const ServerCall& call, const Notify& notify) {
  return implementation_->run(call.record_, notify);
}

std::string ServerSession::expire(const ServerCall& call, std::chrono::milliseconds limit) {
  const bool was_started = call.record_->started();
  const std::string fault = shown(call.tool()) +
                            (was_started ? " was stopped after " : " was not started within ") +
                            seconds_text(limit);
  std::string result = implementation_->results.call_error(
      call.record_->era,
      fault + (was_started ? ": ask for less at once" : ": send it again later"));
  const bool was_over = call.is_over();
  std::string line = implementation_->finish(call.record_, result_line(call.record_->id, result));
  call.record_->stop.request_stop();
  if (!was_over) implementation_->log("the tool " + fault);
  return line;
}

void ServerSession::cancel_all() { implementation_->calls.cancel_all(); }

std::size_t ServerSession::calls() const { return implementation_->calls.size(); }

}  // namespace tool_binding
