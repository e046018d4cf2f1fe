// The least-squares solvers: each kind recovers its motion from noisy
// marked correspondences and ignores the unmarked; the similarity scale
// keeps its stated form; too few or degenerate selections are refused.
#include <gtest/gtest.h>

#include <cmath>

#include "geometry/estimate_least_squares.h"
#include "tests/support/correspondence_set.h"

namespace {

using test_support::all_marked;
using test_support::correspondence_set;
using test_support::mapped;
using test_support::motion_of;
using test_support::point;
using test_support::scattered_points;

const h_matrix_2d true_projective =
    motion_of(homography_projective, {1.1, 0.2, 30.0, -0.1, 0.95, -12.0, 1e-4, -2e-4, 1.0});

// 60 correspondences over a 640 x 480 frame with 0.2 pixels of noise, the
// last 10 of them moved far off and left unmarked.
struct noisy_case {
  correspondence_set set;
  bit_mask mask;
};

noisy_case noisy(const h_matrix_2d& truth) {
  noisy_case c{mapped(truth, scattered_points(60, 640, 480, 11), 0.2, 12), all_marked(60)};
  for (std::size_t i = 50; i < 60; ++i) {
    c.set.a[i][0] += 150.0;
    c.mask.set(i, false);
  }
  return c;
}

// The largest distance between the images of points over the frame under
// two motions.
double largest_transfer_gap(const h_matrix_2d& truth, const h_matrix_2d& estimate) {
  return test_support::largest_gap(truth, estimate, scattered_points(50, 640, 480, 13));
}

bool fit(const correspondence_set& set, const bit_mask& mask, h_matrix_2d& motion) {
  return estimate_least_squares(set.first(), set.second(), mask, motion);
}

TEST(EstimateLeastSquares, recovers_each_kind_from_noisy_marked_correspondences) {
  for (const h_matrix_2d& truth : {motion_of(homography_translation, {12.5, -7.0}),
                                   motion_of(homography_rigid, {12.5, -7.0, 0.05}),
                                   motion_of(homography_affine, {12.5, -7.0, 1.02, 0.03, -0.04, 0.97}),
                                   true_projective}) {
    const noisy_case c = noisy(truth);
    h_matrix_2d estimate(truth.type);
    ASSERT_TRUE(fit(c.set, c.mask, estimate)) << truth.type;
    EXPECT_LT(largest_transfer_gap(truth, estimate), 0.25) << truth.type;
  }
}

TEST(EstimateLeastSquares, translation_is_the_mean_shift_and_needs_one_mark) {
  correspondence_set set;
  set.add({1, 1}, {0, 0});
  set.add({3, 0}, {0, 0});
  set.add({100, 100}, {0, 0});
  bit_mask mask = all_marked(3);
  mask.set(2, false);
  h_matrix_2d translation(homography_translation);
  ASSERT_TRUE(fit(set, mask, translation));
  EXPECT_EQ(2.0, translation.parameters[0]);
  EXPECT_EQ(0.5, translation.parameters[1]);
  EXPECT_FALSE(fit(set, bit_mask(3), translation));
}

TEST(EstimateLeastSquares, similarity_scale_is_measured_against_first_with_its_stated_sine_term) {
  const auto points = scattered_points(10, 640, 480, 4);
  h_matrix_2d similarity(homography_similarity);

  // No turn: the reciprocal of the true scale, as in the two-point solver.
  const auto doubled = mapped(motion_of(homography_similarity, {5, -3, 0, 2}), points);
  ASSERT_TRUE(fit(doubled, all_marked(10), similarity));
  EXPECT_NEAR(0.0, similarity.parameters[2], 1e-12);
  EXPECT_NEAR(0.5, similarity.parameters[3], 1e-12);

  // A turn by t at unit scale: the angle is exact, the scale cos 2t.
  const auto turned = mapped(motion_of(homography_similarity, {5, -3, 0.3, 1}), points);
  ASSERT_TRUE(fit(turned, all_marked(10), similarity));
  EXPECT_NEAR(0.3, similarity.parameters[2], 1e-12);
  EXPECT_NEAR(std::cos(0.6), similarity.parameters[3], 1e-12);
}

TEST(EstimateLeastSquares, refuses_too_few_marks_for_each_kind_and_scale_rotation_and_unknown_kinds_without_throwing) {
  const auto set = mapped(true_projective, scattered_points(6, 640, 480, 6));
  const struct {
    HomographyType kind;
    std::size_t needed;  // 0: refused even with every mark
  } cases[] = {{homography_translation, 1}, {homography_rigid, 2}, {homography_similarity, 2}, {homography_affine, 3},
               {homography_projective, 4}, {homography_scale, 0},    {homography_rotation, 0},   {HomographyType{0}, 0},
               {HomographyType{8}, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.kind);
    h_matrix_2d h(c.kind);
    bit_mask mask = c.needed == 0 ? all_marked(6) : bit_mask(6);
    for (std::size_t i = 0; i + 1 < c.needed; ++i) mask.set(i, true);
    EXPECT_FALSE(fit(set, mask, h));
    if (c.needed == 0) continue;
    mask.set(c.needed - 1, true);
    EXPECT_TRUE(fit(set, mask, h));
  }
}

TEST(EstimateLeastSquares, refuses_degenerate_selections) {
  // Similarity: every marked point of `first` the same.
  correspondence_set same;
  for (const point& b : std::vector<point>{{0, 0}, {10, 0}, {0, 10}}) same.add({7, 7}, b);
  h_matrix_2d similarity(homography_similarity);
  EXPECT_FALSE(fit(same, all_marked(3), similarity));

  // Affine: the points of `second` on one line.
  correspondence_set line;
  for (const point& b : std::vector<point>{{0, 0}, {1, 2}, {2, 4}, {3, 6}}) line.add({b[1], b[0]}, b);
  h_matrix_2d affine(homography_affine);
  EXPECT_FALSE(fit(line, all_marked(4), affine));

  // Projective: three of four on a line leave a null space of two dimensions.
  const auto three_on_a_line = mapped(true_projective, {{0, 0}, {100, 50}, {300, 150}, {0, 480}});
  h_matrix_2d h(homography_projective);
  EXPECT_FALSE(fit(three_on_a_line, all_marked(4), h));
}

TEST(EstimateLeastSquares, projective_on_four_exact_correspondences_is_exact) {
  const auto four = mapped(true_projective, {{0, 0}, {640, 0}, {640, 480}, {0, 480}});
  h_matrix_2d h(homography_projective);
  ASSERT_TRUE(fit(four, all_marked(4), h));
  EXPECT_LT(largest_transfer_gap(true_projective, h), 1e-8);
}

}  // namespace
