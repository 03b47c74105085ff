#include "name_hash.hpp"

#include <array>
#include <chrono>
#include <cstring>

namespace tool_binding {
namespace {

__extension__ using Product = unsigned __int128;

// Both halves of a 64 by 64 bit product, folded: every input bit reaches every output bit.
std::uint64_t mixed(std::uint64_t left, std::uint64_t right) noexcept {
  const Product product = static_cast<Product>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

constexpr std::uint64_t spread = 0x9e3779b97f4a7c15U;

// Where the loader put the program and when it first asked: neither is known to a client.
std::uint64_t process_key() noexcept {
  static const std::uint64_t key = [] {
    static const char anchor = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return mixed(reinterpret_cast<std::uintptr_t>(&anchor) ^ spread,
                 static_cast<std::uint64_t>(now) ^ 0xd1342543de82ef95U);
  }();
  return key;
}

std::uint64_t word_at(const char* bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

}  // namespace

std::uint64_t name_hash(std::string_view name) noexcept {
  const std::uint64_t key = process_key();
  std::uint64_t hash = key ^ name.size();
  while (name.size() > 16) {
    hash = mixed(hash ^ word_at(name.data()), key ^ word_at(name.data() + 8));
    name.remove_prefix(16);
  }
  std::array<std::uint64_t, 2> rest = {};
  if (name.size() >= 8) {
    rest = {word_at(name.data()), word_at(name.data() + name.size() - 8)};
  } else if (!name.empty()) {
    std::memcpy(rest.data(), name.data(), name.size());
  }
  // One product leaves names that differ in few bits close together; the second parts them.
  return mixed(mixed(hash ^ rest[0], key ^ rest[1]) ^ name.size(), spread);
}

}  // namespace tool_binding
