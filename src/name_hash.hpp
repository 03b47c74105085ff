#ifndef TOOL_BINDING_SRC_NAME_HASH_HPP_
#define TOOL_BINDING_SRC_NAME_HASH_HPP_

// The hash behind every look-up of a name. It is keyed by the process: a client that does not know
// the key cannot choose names that collide.

#include <cstdint>
#include <string_view>

namespace tool_binding {

// Pure within one process, different from one process to the next. Cost: linear in the text.
[[nodiscard]] std::uint64_t name_hash(std::string_view name) noexcept;

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_NAME_HASH_HPP_
