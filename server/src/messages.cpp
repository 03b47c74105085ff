#include "messages.hpp"

#include <string>
#include <utility>

#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

Message invalid(std::string_view fault) { return {.fault = fault}; }

// With an id or without: errors of a client that are answered with errors would never end.
bool is_response(const Mapping& message) {
  return message.contains("result") || message.contains("error");
}

std::string line_start(std::string_view id) {
  std::string line = R"({"jsonrpc":"2.0",)";
  if (!id.empty()) line.append(R"("id":)").append(id) += ',';
  return line;
}

}  // namespace

bool is_id(const Value& value) noexcept { return value.is_text() || value.is_integer(); }

// Whatever is wrong with a notification, it is one: it has a method and no id, and gets no answer.
Message classified(const Value& value) {
  const Mapping* message = value.if_mapping();
  if (message == nullptr) return invalid("a message must be an object");
  const Value* id = message->find("id");
  const Value* method = message->find("method");
  const Value* params = message->find("params");
  if (method == nullptr && is_response(*message)) return {.kind = MessageKind::response};
  if (method == nullptr) return invalid("a request must have a method");
  if (!method->is_text()) return invalid("the method must be text");
  if (id == nullptr) return {MessageKind::notification, {}, method->get_text(), nullptr, params};
  if (!is_id(*id)) return invalid("the id must be text or an integer");
  const Value* version = message->find("jsonrpc");
  if (version == nullptr || *version != Value("2.0")) return invalid("jsonrpc must be \"2.0\"");
  return {MessageKind::request, {}, method->get_text(), id, params};
}

std::string result_line(std::string_view id, std::string_view result) {
  return line_start(id).append(R"("result":)").append(result) += '}';
}

std::string error_line(std::string_view id, const ProtocolError& error) {
  Mapping content{{"code", static_cast<int>(error.code)}, {"message", error.message}};
  if (!error.data.is_none()) content.set("data", error.data);
  return line_start(id).append(R"("error":)").append(json_text(std::move(content))) += '}';
}

std::string notification_line(std::string_view method, const Mapping& params) {
  return json_text(Mapping{{"jsonrpc", "2.0"}, {"method", method}, {"params", params}});
}

std::string shown(std::string_view text) {
  constexpr std::size_t most = 60;
  const bool is_cut = text.size() > most;
  std::string quoted = display_form(List{text.substr(0, most)});
  return quoted.substr(1, quoted.size() - 2) + (is_cut ? "..." : "");
}

}  // namespace tool_binding
