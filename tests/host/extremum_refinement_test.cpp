// The sub-sample refinement of keypoint candidates on hand-made differences
// of Gaussians.
#include <gtest/gtest.h>

#include <cmath>

#include "host/extremum_refinement.h"
#include "records/scale_space.h"

namespace {

constexpr std::size_t side = 7;

// A 7 x 7 single-octave pyramid whose only non-zero differences are those
// of level 1: D_1 = g_1 L_2, with L_2 given by `level_2` at (x, y).
template <class Samples>
scale_space pyramid_with(Samples level_2) {
  scale_space record(side, side, 1);
  allocate_scale_space(record);
  for (std::size_t l = 0; l < record.octaves[0].size(); ++l) {
    float* samples = record.octaves[0][l].samples;
    for (std::size_t y = 0; y < side; ++y) {
      for (std::size_t x = 0; x < side; ++x) samples[y * side + x] = l >= 2 ? level_2(x, y) : 0.0f;
    }
  }
  return record;
}

struct refined {
  bool kept;
  host::sift_extremum extremum;
  int64_t index = -1;
  std::size_t level = 0;
};

// The candidate at the centre of level 1, refined.
refined refine_centre(const scale_space& record) {
  refined result{};
  const host::detection_limits limits{3, 0.02f, 12.1f};
  result.kept = host::refine_extremum(host::octave_planes(record, 0), limits, {3 * side + 3, 1}, result.extremum,
                                      result.index, result.level);
  return result;
}

TEST(ExtremumRefinement, an_offset_beyond_the_octave_is_refused_before_it_is_rounded) {
  // Along x the differences rise steeply through a centre of almost 0: a
  // curvature of 2^-99 against a slope of about 1, an offset of about 2^99
  // samples, far beyond what a 64-bit integer holds.
  const scale_space record = pyramid_with([](std::size_t x, std::size_t y) {
    if (y == 3 && x == 3) return std::ldexp(1.0f, -100);
    if (y == 3 && x == 4) return 1.0f;
    if ((y == 3 && x == 2) || (x == 3 && (y == 2 || y == 4))) return -1.0f;
    return 0.0f;
  });
  const host::octave_planes planes(record, 0);
  ASSERT_GT(std::fabs(planes.difference(1, 4, 3) / planes.difference(1, 3, 3)), 1e29);
  const refined result = refine_centre(record);
  EXPECT_FALSE(result.kept);
  EXPECT_EQ(-1, result.index);
}

TEST(ExtremumRefinement, a_peak_settles_at_its_sample_with_its_sub_sample_offset) {
  // A peak of 1 at (3, 3), falling by 0.5 towards x = 2 and by 0.25
  // elsewhere: the quadratic's top lies a sixth of a sample towards x = 4.
  const scale_space record = pyramid_with([](std::size_t x, std::size_t y) {
    if (y == 3 && x == 3) return 1.0f;
    if (y == 3 && x == 2) return 0.5f;
    if (std::abs(static_cast<int>(x) - 3) <= 1 && std::abs(static_cast<int>(y) - 3) <= 1) return 0.75f;
    return 0.0f;
  });
  const refined result = refine_centre(record);
  ASSERT_TRUE(result.kept);
  EXPECT_EQ(static_cast<int64_t>(3 * side + 3), result.index);
  EXPECT_EQ(1u, result.level);
  EXPECT_NEAR(3.0 + 1.0 / 6.0, result.extremum.x, 1e-6);
  EXPECT_NEAR(3.0, result.extremum.y, 1e-6);
}

}  // namespace
