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

// From where the loader put the program and the stack, and from when they are first asked for: a
// client knows neither. The constants are odd and have no relation to hash_spread.
HashKeys make_process_keys() noexcept {
  static const char anchor = 0;
  const char local = 0;
  const auto program = reinterpret_cast<std::uintptr_t>(&anchor);
  const auto stack = reinterpret_cast<std::uintptr_t>(&local);
  const auto now =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const std::uint64_t first = folded_product(program ^ hash_spread, now ^ 0xd1342543de82ef95U);
  return {first, folded_product(stack ^ 0xaf251af3b0f025b5U, first ^ 0xb564ef22ec7aece5U ^ now)};
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
