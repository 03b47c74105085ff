#ifndef TOOL_BINDING_SERVER_TESTS_MESSAGES_HPP_
#define TOOL_BINDING_SERVER_TESTS_MESSAGES_HPP_

// What a client of 2026-07-28 sends.

#include <string>
#include <string_view>

#include "tool_binding/json.hpp"

namespace tool_binding {

inline std::string call_line(const Value& id, std::string_view tool, const Mapping& arguments = {},
                             const Value& token = {}) {
  Mapping meta{{"io.modelcontextprotocol/protocolVersion", "2026-07-28"},
               {"io.modelcontextprotocol/clientCapabilities", Mapping{}}};
  if (!token.is_none()) meta.set("progressToken", token);
  return json_text(
      Mapping{{"jsonrpc", "2.0"},
              {"id", id},
              {"method", "tools/call"},
              {"params", Mapping{{"name", tool}, {"arguments", arguments}, {"_meta", meta}}}});
}

inline std::string cancel_line(const Value& id) {
  return json_text(Mapping{{"jsonrpc", "2.0"},
                           {"method", "notifications/cancelled"},
                           {"params", Mapping{{"requestId", id}}}});
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_TESTS_MESSAGES_HPP_
