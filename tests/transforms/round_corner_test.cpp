// The rounding of mapped corner coordinates, case by case.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "transforms/round_corner.h"

namespace {

struct rounding_case {
  const char* name;
  double previous, value, next;
  int32_t expected;
};

TEST(RoundCorner, rounds_peaks_up_and_leans_on_the_preceding_neighbour) {
  constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
  constexpr int32_t highest = std::numeric_limits<int32_t>::max();
  constexpr rounding_case cases[] = {
      {"peak above a lower preceding neighbour: up", 1.0, 3.2, 2.0, 4},
      {"peak level with the following neighbour: up", 1.0, 3.2, 3.2, 4},
      {"peak level with the preceding neighbour: nearest", 3.2, 3.2, 1.0, 3},
      {"all three level: nearest", 3.2, 3.2, 3.2, 3},
      {"rising between its neighbours: nearest", 1.0, 2.4, 3.0, 2},
      {"rising, a half: up", 1.0, 2.5, 3.0, 3},
      {"minimum after the lower neighbour: nearest", 2.0, 0.7, 3.0, 1},
      {"minimum after the higher neighbour: down", 3.0, 0.7, 2.0, 0},
      {"falling between its neighbours: down", 3.0, 2.6, 1.0, 2},
      {"negative half, nearest: towards +inf", 1.0, -2.5, 3.0, -2},
      {"whole numbers stay", 0.0, 7.0, 0.0, 7},
      {"beyond the top: saturated", 0.0, 3e9, 0.0, highest},
      {"beyond the bottom: saturated", 0.0, -3e9, 0.0, lowest},
      {"at -2147483647: kept", 0.0, -2147483647.0, 0.0, -2147483647},
      {"just below -2147483647: the lowest value", 0.0, -2147483647.5, 0.0, lowest},
  };
  for (const rounding_case& c : cases)
    EXPECT_EQ(c.expected, RoundCorner(c.previous, c.value, c.next)) << c.name;
}

}  // namespace
