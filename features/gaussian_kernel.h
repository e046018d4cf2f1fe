// Gaussian filter taps that integrate the Gaussian over each sample's width.
#pragma once

#include <cstddef>
#include <memory>

// An odd number of symmetric float taps that add up to 1 within rounding.
struct gaussian_kernel {
  // Radius trunc(3.5 sigma + 0.5); each tap is the integral of the Gaussian
  // over its sample, [i - 0.5, i + 0.5], by differences of erf (of erfc in
  // the tail, where differences of erf would cancel).
  explicit gaussian_kernel(float sigma);

  std::size_t half() const { return length / 2; }

  std::size_t length = 0;
  std::unique_ptr<float[]> taps;
};

