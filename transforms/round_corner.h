// The rounding of a mapped corner coordinate to whole pixels, which keeps a
// quadrilateral's bounds tight without losing a pixel at its extremes.
#pragma once

#include <cstdint>

// `value` is one coordinate of a corner, `previous` and `next` the same
// coordinate of its neighbours around the quadrilateral. A peak (below
// neither neighbour, with `previous` below `value` or below `next`) is
// rounded up; a coordinate that is below neither neighbour, or has
// `previous` below itself or below `next`, to the nearest; every other one
// down. Results beyond the 32-bit range saturate.
int32_t RoundCorner(double previous, double value, double next);
