// The minimal solvers: exact on noise-free samples of every kind, with the
// kept oddities of the similarity scale and the affine second row, the
// refused degenerate samples, and no allocation.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "allocation_counter.h"
#include "geometry/estimate_minimal.h"
#include "tests/support/correspondence_set.h"

namespace {

using test_support::correspondence_set;
using test_support::mapped;
using test_support::motion_of;
using test_support::point;

const h_matrix_2d true_projective =
    motion_of(homography_projective, {1.1, 0.2, 30.0, -0.1, 0.95, -12.0, 1e-4, -2e-4, 1.0});

void expect_parameters(const h_matrix_2d& expected, const h_matrix_2d& actual, double tolerance) {
  for (int i = 0; i < expected.parameter_count(); ++i) {
    EXPECT_NEAR(expected.parameters[i], actual.parameters[i], tolerance) << "parameter " << i;
  }
}

// Two correspondences whose points in `first` coincide.
correspondence_set same_first_point() {
  correspondence_set same;
  same.add({7, 7}, {1, 2});
  same.add({7, 7}, {3, 6});
  return same;
}

correspondence_set pairs_of(const std::vector<point>& first, const std::vector<point>& second) {
  correspondence_set set;
  for (std::size_t i = 0; i < first.size(); ++i) set.add(first[i], second[i]);
  return set;
}

TEST(EstimateMinimal, one_point_solves_translation_only) {
  const auto set = mapped(motion_of(homography_translation, {3.5, -2.25}), {{10, 20}});
  h_matrix_2d translation(homography_translation);
  ASSERT_TRUE(estimate_minimal(set.first(), set.second(), translation));
  EXPECT_EQ(3.5, translation.parameters[0]);
  EXPECT_EQ(-2.25, translation.parameters[1]);

  for (const auto kind : {homography_scale, homography_rotation}) {
    h_matrix_2d h(kind);
    EXPECT_FALSE(estimate_minimal(set.first(), set.second(), h)) << kind;
  }
}

TEST(EstimateMinimal, rigid_is_exact_and_identical_first_points_give_angle_zero) {
  const h_matrix_2d truth = motion_of(homography_rigid, {5.0, -2.0, 0.3});
  const auto set = mapped(truth, {{1, 2}, {4, -1}});
  h_matrix_2d rigid(homography_rigid);
  ASSERT_TRUE(estimate_minimal(set.first(), set.second(), rigid));
  expect_parameters(truth, rigid, 1e-12);

  // atan2(0, 0): no turn, and the shift carries the midpoint of `second`
  // onto the repeated point.
  const correspondence_set same = same_first_point();
  ASSERT_TRUE(estimate_minimal(same.first(), same.second(), rigid));
  EXPECT_EQ(0.0, rigid.parameters[2]);
  EXPECT_EQ(5.0, rigid.parameters[0]);
  EXPECT_EQ(3.0, rigid.parameters[1]);
}

TEST(EstimateMinimal, similarity_measures_its_scale_against_the_first_list) {
  // first = 2 second: the solver answers 0.5, and builds the shift on it:
  // (4, 3) - 0.5 (2, 1.5).
  const auto doubled = mapped(motion_of(homography_similarity, {0, 0, 0, 2}), {{1, 1}, {3, 2}});
  h_matrix_2d similarity(homography_similarity);
  ASSERT_TRUE(estimate_minimal(doubled.first(), doubled.second(), similarity));
  EXPECT_EQ(0.5, similarity.parameters[3]);
  EXPECT_EQ(0.0, similarity.parameters[2]);
  EXPECT_EQ(3.0, similarity.parameters[0]);
  EXPECT_EQ(2.25, similarity.parameters[1]);

  // At unit scale the bias vanishes and the solve is exact.
  const h_matrix_2d turned = motion_of(homography_similarity, {5.0, -2.0, 0.3, 1.0});
  const auto set = mapped(turned, {{1, 2}, {4, -1}});
  ASSERT_TRUE(estimate_minimal(set.first(), set.second(), similarity));
  expect_parameters(turned, similarity, 1e-12);
}

TEST(EstimateMinimal, affine_is_exact_where_its_second_row_reads_equal_values_from_both_lists) {
  // The images of points 1 and 2 keep their y, so the y differences the
  // second row reads from `second` equal those of `first`.
  const h_matrix_2d truth = motion_of(homography_affine, {3.0, 0.0, 1.2, -0.3, 0.5, 0.75});
  const auto set = mapped(truth, {{4, 1}, {1, 2}, {0, 0}});
  ASSERT_EQ(set.b[1][1], set.a[1][1]);
  ASSERT_EQ(set.b[2][1], set.a[2][1]);
  h_matrix_2d affine(homography_affine);
  ASSERT_TRUE(estimate_minimal(set.first(), set.second(), affine));
  expect_parameters(truth, affine, 1e-12);
}

TEST(EstimateMinimal, affine_second_row_mixes_the_lists) {
  // A pure shift by (0, 5) on the unit basis: with b1.y read for a1.y the
  // second row becomes (5, 1) and ty 0, instead of (0, 1) and 5.
  const auto set = mapped(motion_of(homography_affine, {0, 5, 1, 0, 0, 1}), {{1, 0}, {0, 1}, {0, 0}});
  h_matrix_2d affine(homography_affine);
  ASSERT_TRUE(estimate_minimal(set.first(), set.second(), affine));
  expect_parameters(motion_of(homography_affine, {0, 0, 1, 0, 5, 1}), affine, 0.0);
}

TEST(EstimateMinimal, projective_is_exact_on_four_points_and_on_longer_lists) {
  const auto four = mapped(true_projective, {{0, 0}, {640, 0}, {640, 480}, {0, 480}});
  h_matrix_2d h(homography_projective);
  const auto over_the_frame = test_support::scattered_points(20, 640, 480, 5);
  ASSERT_TRUE(estimate_minimal(four.first(), four.second(), h));
  EXPECT_LT(test_support::largest_gap(true_projective, h, over_the_frame), 1e-9);

  // Further entries move the normalisation, not the solution of the first four.
  const auto longer = mapped(true_projective, {{10, 5}, {600, 40}, {500, 470}, {30, 400}, {2000, -900}, {320, 240}});
  ASSERT_TRUE(estimate_minimal(longer.first(), longer.second(), h));
  EXPECT_LT(test_support::largest_gap(true_projective, h, over_the_frame), 1e-8);
}

TEST(EstimateMinimal, refuses_degenerate_samples_and_tests_only_the_first_three_projective_points) {
  const std::vector<point> general = {{0, 0}, {640, 0}, {640, 480}, {0, 480}};
  const std::vector<point> first_three_on_a_line = {{0, 0}, {100, 50}, {300, 150}, {0, 480}};
  const struct {
    const char* what;
    HomographyType kind;
    correspondence_set set;
    bool solved;
  } cases[] = {
      {"similarity, identical first points", homography_similarity, same_first_point(), false},
      {"affine, collinear second points", homography_affine, pairs_of({{0, 0}, {5, 1}, {3, 8}}, {{0, 0}, {1, 2}, {2, 4}}),
       false},
      {"projective, collinear in second", homography_projective, mapped(true_projective, first_three_on_a_line), false},
      {"projective, collinear in first", homography_projective, pairs_of(first_three_on_a_line, general), false},
      {"projective, only the last three collinear", homography_projective,
       mapped(true_projective, {{0, 480}, {0, 0}, {100, 50}, {300, 150}}), true},
  };
  for (const auto& c : cases) {
    h_matrix_2d h(c.kind);
    EXPECT_EQ(c.solved, estimate_minimal(c.set.first(), c.set.second(), h)) << c.what;
  }
}

TEST(EstimateMinimal, allocates_nothing_for_any_kind) {
  const auto set = mapped(true_projective, {{0, 0}, {640, 0}, {640, 480}, {0, 480}});
  const point_list first = set.first(), second = set.second();
  for (const auto kind : {homography_translation, homography_rigid, homography_similarity, homography_affine,
                          homography_projective}) {
    h_matrix_2d h(kind);
    bool solved = false;
    EXPECT_EQ(0u, test_support::allocations_during([&] { solved = estimate_minimal(first, second, h); })) << kind;
    EXPECT_TRUE(solved) << kind;
  }
}

TEST(EstimateMinimal, an_unknown_kind_is_refused_by_the_minimum_point_count) {
  const auto set = mapped(true_projective, {{0, 0}, {640, 0}, {640, 480}, {0, 480}});
  h_matrix_2d h(HomographyType{8});
  try {
    estimate_minimal(set.first(), set.second(), h);
    FAIL() << "no exception";
  } catch (const std::invalid_argument& error) {
    EXPECT_EQ(std::string("h_matrix_2d_base::number_of_minimum_points(): Un-recognized homography type"),
              error.what());
  }
}

}  // namespace
