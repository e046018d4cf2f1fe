// The pair refiner: it moves a projective motion towards the truth behind
// noisy correspondences, reads only the marked ones, leaves too small sets
// alone, and its eliminated normal equations are those of the whole
// Jacobian. Without memory for its blocks it solves nothing, and the pair
// then keeps the robust search's motion as it came.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "allocation_counter.h"
#include "geometry/h_matrix_2d.h"
#include "geometry/pair_homography_refiner.h"
#include "geometry/refine_pair_motion.h"
#include "numerics/dense_matrix.h"
#include "numerics/linear_solve.h"
#include "records/correspondences.h"

namespace {

using point = std::array<double, 2>;

h_matrix_2d projective(const std::array<double, 9>& h) {
  h_matrix_2d motion(homography_projective);
  std::copy(h.begin(), h.end(), motion.parameters);
  return motion;
}

// A perspective motion of a 640 x 480 frame, second image onto the first.
const h_matrix_2d truth = projective({0.92, 0.06, 31.0, -0.05, 1.08, -12.0, 1.2e-4, -2.1e-4, 1.0});

// Correspondences of `truth` on a jittered grid of the second image, both
// sides measured with Gaussian noise of `sigma` pixels; the noise-free
// points of the second image are kept.
struct pair_points {
  pair_points(std::size_t count, double sigma, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> jitter(-20.0, 20.0);
    std::normal_distribution<double> noise(0.0, sigma);
    const double rows = double((count + 7) / 8);
    for (std::size_t i = 0; i < count; ++i) {
      const point clean = {40.0 + 80.0 * double(i % 8) + jitter(random),
                           40.0 + 400.0 * (double(i / 8) + 0.5) / rows + jitter(random)};
      point mapped;
      truth(clean.data(), mapped.data());
      clean_second.push_back(clean);
      second.push_back({clean[0] + noise(random), clean[1] + noise(random)});
      first.push_back({mapped[0] + noise(random), mapped[1] + noise(random)});
    }
  }

  // Appends a correspondence that no motion near the truth explains.
  void add_outlier(point in_first, point in_second) {
    first.push_back(in_first);
    second.push_back(in_second);
  }

  static point_list list(const std::vector<point>& points) {
    point_list pointers;
    for (const point& p : points) pointers.push_back(p.data());
    return pointers;
  }
  point_list first_list() const { return list(first); }
  point_list second_list() const { return list(second); }

  std::vector<point> clean_second, first, second;
};

bit_mask first_marked(std::size_t size, std::size_t marked) {
  bit_mask mask(size);
  for (std::size_t i = 0; i < marked; ++i) mask.set(i, true);
  return mask;
}

// The root mean square distance between the images of the noise-free
// points under `motion` and under the truth.
double transfer_error(const h_matrix_2d& motion, const std::vector<point>& clean_second) {
  double sum = 0.0;
  for (const point& q : clean_second) {
    point a, b;
    motion(q.data(), a.data());
    truth(q.data(), b.data());
    sum += (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]);
  }
  return std::sqrt(sum / double(clean_second.size()));
}

// The truth moved by a few pixels, as a robust search would leave it.
h_matrix_2d rough_start() {
  h_matrix_2d start = truth;
  const std::array<double, 9> change = {0.004, -0.003, 2.5, 0.002, -0.005, -1.8, 6e-6, 4e-6, 0.0};
  for (int k = 0; k < 9; ++k) start.parameters[k] += change[k];
  start.normalize();
  return start;
}

double sum_of_squares(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double v : values) sum += v * v;
  return sum;
}

std::vector<double> parameters_of(const h_matrix_2d& motion) {
  return {motion.parameters, motion.parameters + motion.parameter_count()};
}

TEST(PairHomographyRefiner, brings_a_noisy_motion_close_to_the_truth_at_the_noise_optimum) {
  constexpr double sigma = 0.5;
  pair_points pair(40, sigma, 7);
  const h_matrix_2d start = rough_start();
  const pair_homography_refiner refiner(pair.first_list(), pair.second_list(), first_marked(40, 40), start);

  ASSERT_FALSE(refiner.failed);
  ASSERT_FALSE(refiner.out_of_memory);
  EXPECT_EQ(homography_projective, refiner.refined_motion().type);
  const double before = transfer_error(start, pair.clean_second);
  const double after = transfer_error(refiner.refined_motion(), pair.clean_second);
  EXPECT_GT(before, 2.0);
  EXPECT_LT(after, 0.15 * before);
  EXPECT_LT(after, sigma);
  // At the optimum the squared error is a chi-square of 4 n - (8 + 2 n)
  // degrees of freedom (the projective scale is no freedom): 72 +- 12 here.
  std::vector<double> fvec(refiner.residual_count());
  refiner.residuals(refiner.x.data(), fvec.data());
  EXPECT_NEAR(72.0, sum_of_squares(fvec) / (sigma * sigma), 24.0);
}

TEST(PairHomographyRefiner, recovers_an_exact_motion_from_a_rough_start) {
  const pair_points pair(24, 0.0, 3);
  const pair_homography_refiner refiner(pair.first_list(), pair.second_list(), first_marked(24, 24), rough_start());
  ASSERT_FALSE(refiner.failed);
  h_matrix_2d refined = refiner.refined_motion(), expected = truth;
  refined.normalize();
  expected.normalize();
  for (int k = 0; k < 9; ++k) {
    EXPECT_NEAR(expected.parameters[k], refined.parameters[k], 1e-9 * (1.0 + std::fabs(expected.parameters[k]))) << k;
  }
  EXPECT_LT(transfer_error(refined, pair.clean_second), 1e-7);
}

TEST(PairHomographyRefiner, reads_only_the_marked_correspondences) {
  pair_points pair(30, 0.5, 11);
  const pair_homography_refiner clean(pair.first_list(), pair.second_list(), first_marked(30, 30), rough_start());
  pair.add_outlier({100.0, 100.0}, {500.0, 40.0});
  pair.add_outlier({600.0, 20.0}, {10.0, 450.0});
  const pair_homography_refiner masked(pair.first_list(), pair.second_list(), first_marked(32, 30), rough_start());
  ASSERT_FALSE(masked.failed);
  EXPECT_EQ(30u, masked.n);
  EXPECT_EQ(clean.x, masked.x);
  EXPECT_EQ(clean.measurements, masked.measurements);
}

TEST(PairHomographyRefiner, size_rule_keeps_the_start_at_four_points_and_solves_at_five) {
  const pair_points pair(12, 0.5, 5);
  const h_matrix_2d start = rough_start();

  const pair_homography_refiner four(pair.first_list(), pair.second_list(), first_marked(12, 4), start);
  EXPECT_FALSE(four.failed);
  EXPECT_EQ(17u, four.unknown_count());
  EXPECT_EQ(16u, four.residual_count());
  EXPECT_EQ(0u, four.control.nfev);
  EXPECT_EQ(parameters_of(start), parameters_of(four.refined_motion()));
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(pair.second[i][0], four.x[9 + 2 * i]);
    EXPECT_EQ(pair.second[i][1], four.x[9 + 2 * i + 1]);
  }

  const pair_homography_refiner five(pair.first_list(), pair.second_list(), first_marked(12, 5), start);
  EXPECT_FALSE(five.failed);
  EXPECT_GT(five.control.nfev, 1u);
  EXPECT_NE(start.parameters[2], five.refined_motion().parameters[2]);
}

TEST(PairHomographyRefiner, refuses_lists_and_mask_of_different_lengths) {
  const pair_points pair(8, 0.0, 1);
  EXPECT_THROW(pair_homography_refiner(pair.first_list(), pair.second_list(), first_marked(7, 7), truth),
               std::invalid_argument);
}

// The Jacobian by central differences of the residuals, m x n row-major.
std::vector<double> difference_jacobian(const pair_homography_refiner& model, const std::vector<double>& at) {
  const std::size_t n = model.unknown_count(), m = model.residual_count();
  std::vector<double> j(m * n), plus(m), minus(m), moved = at;
  for (std::size_t c = 0; c < n; ++c) {
    const double h = 1e-6 * (1.0 + std::fabs(at[c]));
    moved[c] = at[c] + h;
    model.residuals(moved.data(), plus.data());
    moved[c] = at[c] - h;
    model.residuals(moved.data(), minus.data());
    moved[c] = at[c];
    for (std::size_t r = 0; r < m; ++r) j[r * n + c] = (plus[r] - minus[r]) / (2.0 * h);
  }
  return j;
}

TEST(PairHomographyRefiner, eliminated_normal_equations_match_the_whole_jacobian) {
  // Points of order 1, so that the whole system is well conditioned and the
  // differences are accurate.
  const std::vector<point> second = {{-0.8, -0.6}, {0.7, -0.5}, {0.2, 0.9}, {-0.4, 0.3}, {0.9, 0.6}, {-0.9, 0.8}};
  const h_matrix_2d motion = projective({1.1, 0.2, 0.1, -0.15, 0.9, -0.2, 0.3, -0.2, 1.0});
  std::vector<point> first;
  for (const point& q : second) {
    point a;
    motion(q.data(), a.data());
    first.push_back({a[0] + 0.05, a[1] - 0.03});
  }
  pair_homography_refiner model(pair_points::list(first), pair_points::list(second), first_marked(6, 6), motion);
  const std::size_t n = model.unknown_count(), m = model.residual_count();

  std::vector<double> at = model.x, f(m);
  for (std::size_t c = 0; c < n; ++c) at[c] += 0.01 * std::sin(double(c) + 1.0);
  model.residuals(at.data(), f.data());
  model.jacobian(at.data(), f.data());
  const std::vector<double> j = difference_jacobian(model, at);

  std::vector<double> acnorm(n), g(n), step(n), d(n);
  model.column_norms(acnorm.data());
  model.gradient(f.data(), g.data());
  for (std::size_t c = 0; c < n; ++c) {
    step[c] = std::cos(3.0 * double(c));
    d[c] = 0.2 + 0.1 * double(c % 3);
  }
  dense_matrix<double> damped(n, n);
  double whole_quadratic = 0.0;
  for (std::size_t r = 0; r < m; ++r) {
    double row = 0.0;
    for (std::size_t c = 0; c < n; ++c) row += j[r * n + c] * step[c];
    whole_quadratic += row * row;
  }
  for (std::size_t a = 0; a < n; ++a) {
    double norm = 0.0, gradient = 0.0;
    for (std::size_t r = 0; r < m; ++r) {
      norm += j[r * n + a] * j[r * n + a];
      gradient += j[r * n + a] * f[r];
      for (std::size_t b = 0; b < n; ++b) damped(a, b) += j[r * n + a] * j[r * n + b];
    }
    damped(a, a) += d[a];
    EXPECT_NEAR(std::sqrt(norm), acnorm[a], 1e-8) << a;
    EXPECT_NEAR(gradient, g[a], 1e-8) << a;
  }
  EXPECT_NEAR(whole_quadratic, model.quadratic_form(step.data()), 1e-8);

  dense_vector<double> expected(n);
  ASSERT_TRUE(solve_general(damped, vector_view<const double>{n, step.data()}, expected));
  std::vector<double> y(n);
  model.make_X(d.data());
  model.Xinv_b(step.data(), y.data());
  EXPECT_TRUE(model.full_rank());
  for (std::size_t c = 0; c < n; ++c) EXPECT_NEAR(expected[c], y[c], 1e-7) << c;
}

TEST(PairHomographyRefiner, evaluations_and_elimination_allocate_nothing) {
  const pair_points pair(20, 0.5, 13);
  pair_homography_refiner model(pair.first_list(), pair.second_list(), first_marked(20, 20), rough_start());
  const std::size_t n = model.unknown_count();
  std::vector<double> f(model.residual_count()), acnorm(n), g(n), d(n, 0.5), moved(n);
  EXPECT_EQ(0u, test_support::allocations_during([&] {
              model.residuals(model.x.data(), f.data());
              model.jacobian(model.x.data(), f.data());
              model.column_norms(acnorm.data());
              model.gradient(f.data(), g.data());
              model.quadratic_form(g.data());
              model.make_X(d.data());
              model.advance(model.x.data(), g.data(), moved.data());
            }));
}

// The robust search leaves a motion at the scale its solver gave it.
h_matrix_2d unnormalised_start() {
  h_matrix_2d start = rough_start();
  for (double& h : start.parameters) h *= 2.0;
  return start;
}

// What the pair keeps of the robust search's motion s.
enum class kept {
  refined_and_normalised,  // the refiner's motion, started from s normalised, then normalised itself
  normalised_start,        // the size rule solved nothing: s normalised, twice
  robust_motion,           // s as it came, not normalised
};

struct refinement_case {
  const char* what;
  std::size_t points;
  std::size_t failing_from;  // allocations of this many bytes or more fail; 0 for none
  kept expected;
};

h_matrix_2d kept_motion(const refinement_case& c, const pair_points& pair) {
  h_matrix_2d motion = unnormalised_start();
  if (c.expected == kept::robust_motion) return motion;
  motion.normalize();
  if (c.expected == kept::refined_and_normalised) {
    motion = pair_homography_refiner(pair.first_list(), pair.second_list(), first_marked(c.points, c.points), motion)
                 .refined_motion();
  }
  motion.normalize();
  return motion;
}

h_matrix_2d refined_pair_motion(const refinement_case& c, const pair_points& pair) {
  h_matrix_2d motion = unnormalised_start();
  if (c.failing_from == 0) {
    refine_pair_motion(pair.first_list(), pair.second_list(), first_marked(c.points, c.points), motion);
  } else {
    const test_support::failing_allocations failing(c.failing_from);
    refine_pair_motion(pair.first_list(), pair.second_list(), first_marked(c.points, c.points), motion);
  }
  return motion;
}

TEST(RefinePairMotion, the_pair_keeps_the_refined_motion_normalised_or_else_the_robust_one_as_it_came) {
  // 2000 points: the point lists take 96 kB, each motion block 288 kB.
  const refinement_case cases[] = {
      {"a refiner that solved", 40, 0, kept::refined_and_normalised},
      {"four points, below the size rule", 4, 0, kept::normalised_start},
      {"a refiner without memory for its blocks", 2000, 200 * 1024, kept::robust_motion},
  };
  for (const refinement_case& c : cases) {
    const pair_points pair(c.points, 0.5, 7);
    const h_matrix_2d found = refined_pair_motion(c, pair);
    EXPECT_EQ(parameters_of(kept_motion(c, pair)), parameters_of(found)) << c.what;
  }
}

}  // namespace
