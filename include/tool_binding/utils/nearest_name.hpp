#ifndef TOOL_BINDING_UTILS_NEAREST_NAME_HPP_
#define TOOL_BINDING_UTILS_NEAREST_NAME_HPP_

// The name that was probably meant, as refusals offer it.

#include <optional>
#include <span>
#include <string_view>

#include "tool_binding/export.hpp"

namespace tool_binding {

// The one of `names` that is most similar to `given`, of equally similar ones the greatest by code
// point; nothing when none is near. An empty one is never offered. A view of one of `names`.
//
//   nearest_name("qurey", std::vector<std::string_view>{"limit", "query"}) == "query"
//
// Similarity is the Ratcliff/Obershelp ratio, near is at least 0.6. Cost: names of very different
// lengths are ruled out at once, most others in one pass.
[[nodiscard]] TOOL_BINDING_EXPORT std::optional<std::string_view> nearest_name(
    std::string_view given, std::span<const std::string_view> names);

}  // namespace tool_binding

#endif  // TOOL_BINDING_UTILS_NEAREST_NAME_HPP_
