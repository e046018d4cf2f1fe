// Exposure gains fitted to overlaps whose exposures are known: views of one
// scene, each seen through its own gain per channel.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "outputs/exposure_gains.h"

namespace {

using namespace lacewright_tool;

// Overlaps of neighbouring views around a ring and across it, each showing
// a patch of the scene of its own brightness, seen through `applied`.
std::vector<overlap_means> seen_through(const std::vector<rgb>& applied, std::mt19937& random) {
  std::uniform_real_distribution<double> brightness(30.0, 200.0), size(500.0, 5000.0);
  std::vector<overlap_means> overlaps;
  const std::size_t n = applied.size();
  for (std::size_t i = 0; i < n; ++i) {
    for (const std::size_t j : {(i + 1) % n, (i + 2) % n}) {
      overlap_means overlap{i, j, size(random), {}, {}};
      for (int c = 0; c < 3; ++c) {
        const double scene = brightness(random);
        overlap.first_mean[c] = applied[i][c] * scene;
        overlap.second_mean[c] = applied[j][c] * scene;
      }
      overlaps.push_back(overlap);
    }
  }
  return overlaps;
}

TEST(ExposureGains, undo_the_gains_applied_within_2_percent) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> exposure(0.7, 1.3);
  for (const std::size_t views : {2u, 5u, 12u}) {
    SCOPED_TRACE(views);
    std::vector<rgb> applied(views);
    for (rgb& gain : applied) gain = {exposure(random), exposure(random), exposure(random)};
    const std::vector<rgb> found = exposure_gains(views, seen_through(applied, random));
    ASSERT_EQ(views, found.size());
    for (int c = 0; c < 3; ++c) {
      // The overlaps tell the gains up to one factor of all: each found gain
      // undoes its applied one up to that factor, taken from the first view.
      const double common = found[0][c] * applied[0][c];
      for (std::size_t i = 0; i < views; ++i) EXPECT_NEAR(1.0, found[i][c] * applied[i][c] / common, 0.02) << i;
    }
  }
}

TEST(ExposureGains, leave_views_that_agree_and_views_alone_as_they_are) {
  std::mt19937 random(5);
  const std::vector<rgb> even(4, rgb{1.0, 1.0, 1.0});
  std::vector<overlap_means> overlaps = seen_through(even, random);
  for (const rgb& gain : exposure_gains(6, overlaps)) {  // views 4 and 5 overlap nothing
    for (const double g : gain) EXPECT_NEAR(1.0, g, 1e-9);
  }
}

}  // namespace
