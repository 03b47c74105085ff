#ifndef TOOL_BINDING_SRC_VALUE_NAME_HASH_HPP_
#define TOOL_BINDING_SRC_VALUE_NAME_HASH_HPP_

// The hash behind every look-up of a name. It is keyed by the process: a client that does not know
// the key cannot choose names that collide. Pure within one process, different from one process to
// the next.

#include <cstdint>
#include <string_view>

namespace tool_binding {

// Two keys, so that no pair of words is known to collide under every key.
struct HashKeys {
  std::uint64_t first;
  std::uint64_t second;
};

// Drawn when they are first asked for.
[[nodiscard]] HashKeys make_process_keys() noexcept;
[[nodiscard]] inline const HashKeys& process_keys() noexcept {
  static const HashKeys keys = make_process_keys();
  return keys;
}

inline constexpr std::uint64_t hash_spread = 0x9e3779b97f4a7c15U;

// Both halves of a 64 by 64 bit product, folded: every input bit reaches every output bit.
[[nodiscard]] inline std::uint64_t folded_product(std::uint64_t left,
                                                  std::uint64_t right) noexcept {
  __extension__ using Product = unsigned __int128;
  const Product product = static_cast<Product>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Of 16 bytes. One product leaves names that differ in few bits close together; the second
// separates them.
[[nodiscard]] inline std::uint64_t words_hash(std::uint64_t first, std::uint64_t second) noexcept {
  const HashKeys& keys = process_keys();
  return folded_product(folded_product(first ^ keys.first, second ^ keys.second), hash_spread);
}

// Of a longer text. Cost: linear.
[[nodiscard]] std::uint64_t name_hash(std::string_view name) noexcept;

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_VALUE_NAME_HASH_HPP_
