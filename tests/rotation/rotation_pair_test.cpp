// Rotation pair estimation on synthetic pairs: the three-point solver, the
// sampling search and the refinement.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>
#include <vector>

#include "allocation_counter.h"
#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "rotation/refine_rotation_pair.h"
#include "rotation/rotation_ransac.h"
#include "rotation/three_point_rotation.h"

namespace {

constexpr double degree = std::numbers::pi / 180.0;

struct synthetic_pair {
  double focal_1 = 720.0, focal_2 = 655.0;
  image_point centre_1{399.5, 299.5}, centre_2{399.5, 299.5};
  std::array<double, 9> rotation{};  // image 1 rays to image 2 rays
  std::vector<point_match> matches;
  std::vector<bool> true_match;
};

// Views 25 degrees of yaw apart with some pitch and roll; `count` matches
// inside both 800 x 600 frames, noisy by `noise` pixels, a share replaced by
// random pairs of positions.
synthetic_pair make_pair(std::size_t count, double noise, double outlier_share, unsigned seed) {
  synthetic_pair pair;
  const double turn[3] = {4.0 * degree, 25.0 * degree, -3.0 * degree};
  rodrigues(turn, pair.rotation.data());
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> x(0.0, 799.0), y(0.0, 599.0), unit(0.0, 1.0);
  std::normal_distribution<double> gauss(0.0, noise);
  while (pair.matches.size() < count) {
    const image_point p{x(generator), y(generator)};
    const double a[3] = {(p[0] - pair.centre_1[0]) / pair.focal_1, (p[1] - pair.centre_1[1]) / pair.focal_1, 1.0};
    double d[3];
    for (int k = 0; k < 3; ++k) d[k] = pair.rotation[3 * k] * a[0] + pair.rotation[3 * k + 1] * a[1] + pair.rotation[3 * k + 2] * a[2];
    if (d[2] <= 0.0) continue;
    const image_point q{pair.focal_2 * d[0] / d[2] + pair.centre_2[0], pair.focal_2 * d[1] / d[2] + pair.centre_2[1]};
    if (q[0] < 0 || q[0] > 799 || q[1] < 0 || q[1] > 599) continue;
    const bool outlier = unit(generator) < outlier_share;
    pair.true_match.push_back(!outlier);
    if (outlier) {
      pair.matches.push_back({p, {x(generator), y(generator)}});
    } else {
      pair.matches.push_back({{p[0] + gauss(generator), p[1] + gauss(generator)},
                              {q[0] + gauss(generator), q[1] + gauss(generator)}});
    }
  }
  return pair;
}

double angle_between(const std::array<double, 9>& a, const std::array<double, 9>& b) {
  double trace = 0.0;
  for (int k = 0; k < 9; ++k) trace += a[k] * b[k];
  return std::acos(std::clamp((trace - 1.0) / 2.0, -1.0, 1.0)) / degree;
}

TEST(ThreePointRotation, recovers_both_focal_lengths_and_the_rotation_from_exact_rays) {
  const synthetic_pair pair = make_pair(30, 0.0, 0.0, 1);
  for (std::size_t start = 0; start + 3 <= 30; start += 3) {
    const std::array<image_point, 3> first = {pair.matches[start].first, pair.matches[start + 1].first,
                                              pair.matches[start + 2].first};
    const std::array<image_point, 3> second = {pair.matches[start].second, pair.matches[start + 1].second,
                                               pair.matches[start + 2].second};
    const rotation_candidates candidates =
        solve_three_point_rotation(first, second, 699.0, 699.0, pair.centre_1, pair.centre_2);
    ASSERT_LE(candidates.count, 10u);
    const auto exact = std::find_if(candidates.solutions.begin(), candidates.solutions.begin() + candidates.count,
                                    [&](const rotation_estimate& c) {
                                      return std::fabs(c.focal_1 - pair.focal_1) < 1e-6 * pair.focal_1 &&
                                             std::fabs(c.focal_2 - pair.focal_2) < 1e-6 * pair.focal_2;
                                    });
    ASSERT_NE(candidates.solutions.begin() + candidates.count, exact) << "sample at " << start;
    for (std::size_t k = 0; k < 9; ++k) EXPECT_NEAR(pair.rotation[k], exact->rotation[k], 1e-9);
    EXPECT_NEAR(1.0, determinant_3x3(exact->rotation.data()), 1e-12);
  }
}

TEST(RotationRansac, exact_samples_ties_and_too_few_matches) {
  synthetic_pair pair = make_pair(3, 0.0, 0.0, 3);
  const rotation_search three = rotation_ransac(pair.matches, 699.0, 699.0, pair.centre_1, pair.centre_2, 3.0);
  ASSERT_FALSE(three.failed);  // one subset; a candidate needs all three
  EXPECT_EQ(3u, three.inlier_count);
  pair.matches.pop_back();
  EXPECT_TRUE(rotation_ransac(pair.matches, 699.0, 699.0, pair.centre_1, pair.centre_2, 3.0).failed);
}

// A pair of noisy matches with 30 per cent of outliers, and what the search
// makes of it.
struct searched_pair {
  synthetic_pair pair;
  rotation_search search;
};

searched_pair noisy_searched_pair() {
  std::srand(4);
  searched_pair searched{make_pair(300, 0.5, 0.3, 5), {}};
  const synthetic_pair& pair = searched.pair;
  searched.search = rotation_ransac(pair.matches, 699.0, 699.0, pair.centre_1, pair.centre_2, 3.0);
  return searched;
}

// The search sorts out the outliers and finds a start within five per cent.
TEST(RefineRotationPair, recovers_focal_lengths_and_rotation_from_the_inliers_the_search_finds_among_outliers) {
  for (const bool robust : {true, false}) {
    SCOPED_TRACE(robust);
    const auto [pair, search] = noisy_searched_pair();
    ASSERT_FALSE(search.failed);
    std::size_t agree = 0;
    for (std::size_t m = 0; m < pair.matches.size(); ++m) agree += (search.inliers[m] != 0) == pair.true_match[m];
    EXPECT_GT(agree, 290u);
    EXPECT_NEAR(pair.focal_1, search.best.focal_1, 0.05 * pair.focal_1);
    rotation_estimate estimate = search.best;
    lens_record lens_1, lens_2;
    ASSERT_TRUE(refine_rotation_pair(pair.matches, search.inliers, pair.centre_1, pair.centre_2, {robust, 2.0},
                                     estimate, lens_1, lens_2));
    EXPECT_NEAR(pair.focal_1, estimate.focal_1, 0.005 * pair.focal_1);
    EXPECT_NEAR(pair.focal_2, estimate.focal_2, 0.005 * pair.focal_2);
    EXPECT_LT(angle_between(estimate.rotation, pair.rotation), 0.05);
    EXPECT_EQ(estimate.focal_1, lens_1.fx);
    EXPECT_EQ(estimate.focal_2, lens_2.fy);
    EXPECT_EQ(pair.centre_2[0], lens_2.cx);
  }
}

TEST(RefineRotationPair, an_estimate_that_is_no_rotation_fails_and_an_allocation_failure_leaves_it) {
  const synthetic_pair pair = make_pair(60, 0.2, 0.0, 6);
  const std::vector<uint8_t> inliers(pair.matches.size(), 1);
  lens_record lens_1{}, lens_2{};
  rotation_estimate twice{pair.focal_1, pair.focal_2, {2, 0, 0, 0, 2, 0, 0, 0, 2}};
  EXPECT_FALSE(refine_rotation_pair(pair.matches, inliers, pair.centre_1, pair.centre_2, {true, 2.0}, twice, lens_1,
                                    lens_2));
  EXPECT_EQ(2.0, twice.rotation[0]);  // left as it was
  EXPECT_EQ(0.0, lens_1.fx);

  rotation_estimate truth{pair.focal_1, pair.focal_2, pair.rotation};
  EXPECT_THROW(
      {
        const test_support::failing_allocations failing(0);
        refine_rotation_pair(pair.matches, inliers, pair.centre_1, pair.centre_2, {true, 2.0}, truth, lens_1, lens_2);
      },
      std::bad_alloc);
}

TEST(RefineRotationPair, the_plain_path_holds_the_second_image_fixed_and_gives_it_first) {
  const auto [pair, search] = noisy_searched_pair();
  ASSERT_FALSE(search.failed);
  rotation_estimate plain = search.best;
  lens_record plain_1, plain_2;
  ASSERT_TRUE(refine_rotation_pair(pair.matches, search.inliers, pair.centre_1, pair.centre_2, {false, 2.0}, plain,
                                   plain_1, plain_2));

  // The same as the robust path on the pair the other way round, with a
  // radius that no residual reaches: that path holds its first image fixed.
  std::vector<point_match> reversed;
  for (const point_match& match : pair.matches) reversed.push_back({match.second, match.first});
  rotation_estimate other{search.best.focal_2, search.best.focal_1, {}};
  transpose_3x3(search.best.rotation.data(), other.rotation.data());
  lens_record other_1, other_2;
  ASSERT_TRUE(refine_rotation_pair(reversed, search.inliers, pair.centre_2, pair.centre_1, {true, 1e300}, other,
                                   other_1, other_2));
  EXPECT_EQ(other.focal_2, plain.focal_1);
  EXPECT_EQ(other.focal_1, plain.focal_2);
  std::array<double, 9> back;
  transpose_3x3(other.rotation.data(), back.data());
  EXPECT_EQ(back, plain.rotation);
  EXPECT_EQ(other_2, plain_1);
  EXPECT_EQ(other_1, plain_2);
}

}  // namespace
