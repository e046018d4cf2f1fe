// Counts the program's heap allocations, for tests that promise none.
#pragma once

#include <cstddef>

namespace test_support {

std::size_t allocations_so_far();

// The allocations made while `work` runs.
template <class Work>
std::size_t allocations_during(Work work) {
  const std::size_t before = allocations_so_far();
  work();
  return allocations_so_far() - before;
}

}  // namespace test_support
