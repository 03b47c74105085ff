#include "tool_binding/utils/nearest_name.hpp"

#include "text/similarity.hpp"

namespace tool_binding {

std::optional<std::string_view> nearest_name(std::string_view given,
                                             std::span<const std::string_view> names) {
  NearestName nearest(given, NEAR_NAME_CUTOFF_);
  for (const std::string_view name : names) {
    if (!name.empty()) nearest.offer(name);
  }
  return nearest.best();
}

}  // namespace tool_binding
