#include "value/name_hash.hpp"

#include <array>
#include <chrono>
#include <cstring>

namespace tool_binding {
namespace {

std::uint64_t word_at(const char* bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

}  // namespace

// From where the loader put the program and when it first asked: neither is known to a client.
std::uint64_t make_process_key() noexcept {
  static const char anchor = 0;
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  return folded_product(reinterpret_cast<std::uintptr_t>(&anchor) ^ hash_spread,
                        static_cast<std::uint64_t>(now) ^ 0xd1342543de82ef95U);
}

std::uint64_t name_hash(std::string_view name) noexcept {
  std::uint64_t hash = name.size();
  while (name.size() > 16) {
    hash = words_hash(hash ^ word_at(name.data()), word_at(name.data() + 8));
    name.remove_prefix(16);
  }
  std::array<char, 16> rest = {};
  if (!name.empty()) std::memcpy(rest.data(), name.data(), name.size());
  return words_hash(hash ^ word_at(rest.data()), word_at(rest.data() + 8));
}

}  // namespace tool_binding
