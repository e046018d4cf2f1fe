#include "allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};
constexpr std::size_t no_limit = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> failing_from{no_limit};
}  // namespace

namespace test_support {
std::size_t allocations_so_far() { return allocations.load(); }

failing_allocations::failing_allocations(std::size_t smallest) { failing_from = smallest; }
failing_allocations::~failing_allocations() { failing_from = no_limit; }
}  // namespace test_support

void* operator new(std::size_t size) {
  ++allocations;
  if (size < failing_from) {
    if (void* block = std::malloc(size ? size : 1)) return block;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
