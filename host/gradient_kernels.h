// Gradients of a float plane as magnitude and direction, for the keypoint
// orientation and descriptor windows: the jobs' hottest loops.
#pragma once

#include <cstddef>

namespace host {

// For the samples x0 to x0 + count - 1 of row y (inner samples: one sample
// of margin on every side), the central differences dx = L(x+1) - L(x-1),
// dy = L(y+1) - L(y-1) as magnitude sqrt(dx^2 + dy^2) and direction
// atan2(dy, dx) in [0, 2 pi). The direction comes from a polynomial with an
// error below 1e-4 radians. The vector kernel and the portable one give the
// same bits.
void gradient_row(const float* plane, std::size_t width, std::size_t y, std::size_t x0, std::size_t count,
                  float* magnitude, float* direction);
void gradient_row_portable(const float* plane, std::size_t width, std::size_t y, std::size_t x0,
                           std::size_t count, float* magnitude, float* direction);

}  // namespace host
