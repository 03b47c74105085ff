#ifndef TOOL_BINDING_TOOL_ADMIT_PRINTABLE_HPP_
#define TOOL_BINDING_TOOL_ADMIT_PRINTABLE_HPP_

#include <string>
#include <string_view>

namespace tool_binding::tool_admit {

// The text with what display_form() would not print as it is (control characters, directional
// overrides, bytes that are no UTF-8) in the escapes of JSON, so that it can steer no terminal and
// no page. JSON text stays the same JSON.
//
//   printable("it's \x1b[31m") == "it's \\u001b[31m"
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_PRINTABLE_HPP_
