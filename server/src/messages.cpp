#include "messages.hpp"

#include <algorithm>
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

std::string wire_text(const Mapping& mapping) {
  constexpr std::string_view surrogate = "\\ud";  // its escape; pairs are not escaped
  constexpr std::size_t escape_size = 6;
  std::string text = json_text(mapping);
  if (text.find(surrogate) == text.npos) return text;
  std::string wire;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t end = std::min(rest.find('\\'), rest.size());
    wire += rest.substr(0, end);
    rest.remove_prefix(end);
    const bool is_surrogate = rest.starts_with(surrogate) && rest[3] >= '8';
    const std::size_t size = std::min(is_surrogate ? escape_size : 2, rest.size());
    wire += is_surrogate ? "\xEF\xBF\xBD" : rest.substr(0, size);
    rest.remove_prefix(size);
  }
  return wire;
}

std::string result_line(std::string_view id, std::string_view result) {
  return line_start(id).append(R"("result":)").append(result) += '}';
}

std::string error_line(std::string_view id, const ProtocolError& error) {
  Mapping content{{"code", static_cast<int>(error.code)}, {"message", error.message}};
  if (!error.data.is_none()) content.set("data", error.data);
  return line_start(id).append(R"("error":)").append(wire_text(content)) += '}';
}

std::string notification_line(std::string_view method, const Mapping& params) {
  return wire_text(Mapping{{"jsonrpc", "2.0"}, {"method", method}, {"params", params}});
}

std::string shown(std::string_view text, std::size_t most) {
  const bool is_cut = text.size() > most;
  std::string quoted = display_form(List{text.substr(0, most)});
  return quoted.substr(1, quoted.size() - 2) + (is_cut ? "..." : "");
}

}  // namespace tool_binding
