#include "transforms/round_corner.h"

#include <cmath>

#include "transforms/int32_arithmetic.h"

// The rule looks at the preceding neighbour more than the following one, so
// a corner can be treated differently depending on the direction it is
// reached from; a minimum whose preceding neighbour is the lower one is
// rounded to the nearest rather than down. It stays as it is: the host sizes
// its canvases by these bounds.
int32_t RoundCorner(double previous, double value, double next) {
  const bool below_neither = !(value < previous) && !(value < next);
  const bool previous_lower = previous < value || previous < next;
  if (below_neither && previous_lower) return saturating_int32(std::ceil(value));
  if (below_neither || previous_lower) return saturating_int32(std::floor(value + 0.5));
  return saturating_int32(std::floor(value));
}
