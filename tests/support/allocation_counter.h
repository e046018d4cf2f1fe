// Counts the program's heap allocations, for tests that promise none.
#pragma once

#include <cstddef>

namespace test_support {

std::size_t allocations_so_far();

// While it lives, every allocation of `smallest` bytes or more fails with
// std::bad_alloc.
class failing_allocations {
 public:
  explicit failing_allocations(std::size_t smallest);
  ~failing_allocations();
  failing_allocations(const failing_allocations&) = delete;
  failing_allocations& operator=(const failing_allocations&) = delete;
};

// The allocations made while `work` runs.
template <class Work>
std::size_t allocations_during(Work work) {
  const std::size_t before = allocations_so_far();
  work();
  return allocations_so_far() - before;
}

}  // namespace test_support
