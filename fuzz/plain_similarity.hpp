#ifndef TOOL_BINDING_FUZZ_PLAIN_SIMILARITY_HPP_
#define TOOL_BINDING_FUZZ_PLAIN_SIMILARITY_HPP_

// What text/similarity.hpp computes, as plainly as it can be: cubic, for the fuzz target.

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace tool_binding {

// The rules word by word, trying every block at every place.
inline double plain_similarity(const std::u32string& c, const std::u32string& g) {
  std::vector<bool> searched;
  for (const char32_t character : g) {
    const auto times = static_cast<std::size_t>(std::count(g.begin(), g.end(), character));
    searched.push_back(g.size() < 200 || times <= g.size() / 100 + 1);
  }
  std::size_t matched = 0;
  std::vector<std::array<std::size_t, 4>> pairs = {{0, c.size(), 0, g.size()}};
  while (!pairs.empty()) {
    const auto [c_begin, c_end, g_begin, g_end] = pairs.back();
    pairs.pop_back();
    std::size_t c_at = c_begin, g_at = g_begin, size = 0;
    for (std::size_t i = c_begin; i < c_end; ++i) {
      for (std::size_t j = g_begin; j < g_end; ++j) {
        std::size_t n = 0;
        while (i + n < c_end && j + n < g_end && c[i + n] == g[j + n] && searched[j + n]) ++n;
        if (n > size) c_at = i, g_at = j, size = n;
      }
    }
    while (c_at > c_begin && g_at > g_begin && c[c_at - 1] == g[g_at - 1]) --c_at, --g_at, ++size;
    while (c_at + size < c_end && g_at + size < g_end && c[c_at + size] == g[g_at + size]) ++size;
    if (size == 0) continue;
    matched += size;
    pairs.push_back({c_begin, c_at, g_begin, g_at});
    pairs.push_back({c_at + size, c_end, g_at + size, g_end});
  }
  const auto total = static_cast<double>(c.size() + g.size());
  return total == 0 ? 1 : 2 * static_cast<double>(matched) / total;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_FUZZ_PLAIN_SIMILARITY_HPP_
