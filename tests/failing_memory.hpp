#ifndef TOOL_BINDING_TESTS_FAILING_MEMORY_HPP_
#define TOOL_BINDING_TESTS_FAILING_MEMORY_HPP_

// Replaces operator new and delete: for a single file of a program that is for it alone.

#include <cstdlib>
#include <new>

// The allocations from the `first_failing`th to the `last_failing`th fail.
struct Memory {
  std::size_t first_failing = 0;
  std::size_t last_failing = 0;
  std::size_t asked = 0;
  std::size_t live = 0;
};
inline constinit thread_local Memory memory;

void* operator new(std::size_t size) {
  const std::size_t number = ++memory.asked;
  const bool fails = memory.first_failing <= number && number <= memory.last_failing;
  void* taken = fails ? nullptr : std::malloc(size);
  if (taken == nullptr) throw std::bad_alloc();
  ++memory.live;
  return taken;
}
[[gnu::noinline]] void operator delete(void* taken) noexcept {
  if (taken != nullptr) --memory.live;
  std::free(taken);
}
void operator delete(void* taken, std::size_t) noexcept { ::operator delete(taken); }

inline void memory_lasts() { memory = {.live = memory.live}; }

#endif  // TOOL_BINDING_TESTS_FAILING_MEMORY_HPP_
