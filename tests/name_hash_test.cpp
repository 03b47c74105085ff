#include "value/name_hash.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>

namespace tool_binding {
namespace {

// No pair of names is known to collide whatever the process's keys are.
TEST(NameHash, HasTwoKeys) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 100; ++i) {
    const std::uint64_t first = random();
    const std::uint64_t second = random();
    EXPECT_NE(words_hash(first, second), words_hash(~second, ~first));
    EXPECT_NE(words_hash(first, second), words_hash(second, first));
  }
}

}  // namespace
}  // namespace tool_binding
