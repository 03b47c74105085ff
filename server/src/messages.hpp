#ifndef TOOL_BINDING_SERVER_MESSAGES_HPP_
#define TOOL_BINDING_SERVER_MESSAGES_HPP_

// JSON-RPC 2.0: what kind of message a value is, and the lines that answer one.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tool_binding/value.hpp"

namespace tool_binding {

enum class ErrorCode : std::int16_t {
  parse_error = -32700,
  invalid_request = -32600,
  method_not_found = -32601,
  invalid_params = -32602,
  internal_error = -32603,
  missing_capability = -32021,
  unsupported_version = -32022,
};

// A request that cannot be answered with a result.
struct ProtocolError {
  ErrorCode code;
  std::string message;
  Value data = {};  // none: there is no such member
};

enum class MessageKind : std::uint8_t { request, notification, response, invalid };

// Refers to the value that it was read from.
struct Message {
  MessageKind kind = MessageKind::invalid;
  std::string_view fault = {};  // what makes it invalid
  std::string_view method = {};
  const Value* id = nullptr;      // of a request
  const Value* params = nullptr;  // null: absent
};

[[nodiscard]] Message classified(const Value& value);

// An id of a request, and a token of its progress, is text or an integer.
[[nodiscard]] bool is_id(const Value& value) noexcept;

// json_text, with U+FFFD for each byte that is no UTF-8: strict clients refuse its escape.
[[nodiscard]] std::string wire_text(const Mapping& mapping);

// `id` and `result` are JSON.
[[nodiscard]] std::string result_line(std::string_view id, std::string_view result);
// An empty id: the message had none that could be read, and the answer has no such member.
[[nodiscard]] std::string error_line(std::string_view id, const ProtocolError& error);
[[nodiscard]] std::string notification_line(std::string_view method, const Mapping& params);

// Text of others for a message or a log: in quotes, no more than `most` bytes of it, with what is
// no printable character escaped.
[[nodiscard]] std::string shown(std::string_view text, std::size_t most = 60);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_MESSAGES_HPP_
