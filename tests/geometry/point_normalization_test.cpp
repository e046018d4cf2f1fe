// Point normalisation: the mean moves to the origin and the mean distance
// becomes the square root of 2; sets without spread and empty sets are
// refused, each form in its own way; the denormalisation undoes it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "geometry/point_normalization.h"
#include "tests/support/correspondence_set.h"

namespace {

using test_support::point;
using test_support::pointers;

double mean_distance_after(const point_list& points, double cx, double cy, double scale) {
  double sum = 0.0;
  for (const double* p : points) sum += std::hypot((p[0] - cx) * scale, (p[1] - cy) * scale);
  return sum / static_cast<double>(points.size());
}

TEST(NormalizerAll, centres_the_points_and_brings_their_mean_distance_to_sqrt_2) {
  // A square of side 2 about (1, 1): every point lies sqrt 2 from the mean.
  const std::vector<point> square = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
  double cx, cy, scale;
  ASSERT_TRUE(normalizer_all(pointers(square), cx, cy, scale));
  EXPECT_EQ(1.0, cx);
  EXPECT_EQ(1.0, cy);
  EXPECT_DOUBLE_EQ(1.0, scale);

  const auto scattered = test_support::scattered_points(40, 640, 480, 3);
  const point_list points = pointers(scattered);
  ASSERT_TRUE(normalizer_all(points, cx, cy, scale));
  EXPECT_NEAR(std::sqrt(2.0), mean_distance_after(points, cx, cy, scale), 1e-14);
}

TEST(PointNormalization, each_form_refuses_sets_without_spread_or_points_its_own_way_and_reads_only_marks) {
  // The whole form leaves the summed distance as scale and an empty set
  // untouched; the masked form reads the marked points alone, and sets
  // centre and scale to 0 for an empty selection.
  const struct {
    const char* what;
    std::vector<point> points;
    const char* marks;  // nullptr: normalizer_all
    bool normalised;
    double cx, cy, scale;
    bool exact_scale;
  } cases[] = {
      {"all equal", {{3, 4}, {3, 4}, {3, 4}}, nullptr, false, 3.0, 4.0, 0.0, true},
      {"too close", {{0, 0}, {1e-9, 0}}, nullptr, false, 5e-10, 0.0, 1e-9, false},
      {"empty", {}, nullptr, false, 7.0, 8.0, 9.0, true},
      {"empty selection", {{1, 2}, {3, 4}}, "00", false, 0.0, 0.0, 0.0, true},
      {"an unmarked point far off", {{0, 0}, {500, -300}, {2, 0}, {2, 2}, {0, 2}}, "10111", true, 1.0, 1.0, 1.0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    double cx = 7.0, cy = 8.0, scale = 9.0;
    bit_mask mask(c.points.size());
    for (std::size_t i = 0; c.marks && i < c.points.size(); ++i) mask.set(i, c.marks[i] == '1');
    EXPECT_EQ(c.normalised, c.marks ? normalizer_masked(pointers(c.points), mask, cx, cy, scale)
                                    : normalizer_all(pointers(c.points), cx, cy, scale));
    EXPECT_EQ(c.cx, cx);
    EXPECT_EQ(c.cy, cy);
    if (c.exact_scale) {
      EXPECT_EQ(c.scale, scale);
    } else {
      EXPECT_DOUBLE_EQ(c.scale, scale);
    }
  }
}

TEST(DenormalizeProjective, turns_a_matrix_between_normalised_points_into_one_between_the_points) {
  const point_frame first{10.0, -4.0, 0.25}, second{-3.0, 6.0, 2.0};
  const double g[9] = {1.1, 0.2, 0.3, -0.1, 0.95, -0.2, 0.01, -0.02, 1.0};
  double h[9];
  denormalize_projective(g, first, second, h);
  const h_matrix_2d normalised = test_support::motion_of(homography_projective, {g[0], g[1], g[2], g[3], g[4],
                                                                                 g[5], g[6], g[7], g[8]});
  h_matrix_2d whole(homography_projective);
  std::copy(h, h + 9, whole.parameters);
  for (const point& b : test_support::scattered_points(5, 20, 20, 8)) {
    double bn[2], expected[2], a[2];
    normalize_point(second, b.data(), bn);
    normalised(bn, expected);  // in the first frame's normalised coordinates
    whole(b.data(), a);
    EXPECT_NEAR(expected[0], (a[0] - first.cx) * first.scale, 1e-12);
    EXPECT_NEAR(expected[1], (a[1] - first.cy) * first.scale, 1e-12);
  }
}

}  // namespace
