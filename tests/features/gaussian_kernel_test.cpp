// Kernels integrate the Gaussian over each sample's width.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "features/gaussian_kernel.h"

namespace {

TEST(GaussianKernel, the_pyramid_steps_have_the_expected_lengths_symmetry_and_sum) {
  const std::pair<float, std::size_t> steps[] = {
      {0.6131368f, 5}, {0.7725040f, 7}, {0.9732941f, 7}, {1.2262738f, 9}, {1.5450082f, 11}, {0.6244998f, 5},
      {0.1f, 1}};  // a tiny sigma: one tap of exactly one
  for (const auto& [sigma, length] : steps) {
    const gaussian_kernel kernel(sigma);
    ASSERT_EQ(length, kernel.length) << sigma;
    EXPECT_EQ(length / 2, kernel.half());
    const float* taps = kernel.taps.get();
    EXPECT_NEAR(1.0f, std::accumulate(taps, taps + length, 0.0f), length == 1 ? 0.0f : 2e-7f) << sigma;
    for (std::size_t i = 0; i < length / 2; ++i) {
      EXPECT_EQ(taps[i], taps[length - 1 - i]);
      EXPECT_LT(taps[i], taps[i + 1]);
    }
  }
}

TEST(GaussianKernel, taps_are_integrals_over_the_sample_not_point_values) {
  // For sigma 1 the centre tap is erf(0.5 / sqrt 2) = 0.382925 before
  // normalisation, against a point value of 0.398942; the radius is 4.
  const gaussian_kernel kernel(1.0f);
  ASSERT_EQ(9u, kernel.length);
  const double mass = std::erf(4.5 / std::sqrt(2.0));  // of all nine taps
  EXPECT_NEAR(std::erf(0.5 / std::sqrt(2.0)) / mass, kernel.taps[4], 2e-7);
  EXPECT_NEAR((std::erf(1.5 / std::sqrt(2.0)) - std::erf(0.5 / std::sqrt(2.0))) / 2 / mass, kernel.taps[5], 2e-7);
}

}  // namespace
