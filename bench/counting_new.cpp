#include "counting_new.hpp"

#include <cstdlib>
#include <new>

namespace tool_binding::bench {
namespace {

constinit thread_local Allocations taken;

}  // namespace

Allocations allocations() noexcept { return taken; }

}  // namespace tool_binding::bench

void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++tool_binding::bench::taken.count;
  tool_binding::bench::taken.bytes += size;
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
