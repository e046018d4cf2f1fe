// The Jenkins-Traub root finder on polynomials with known roots.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "numerics/real_polynomial_roots.h"

namespace {

using root = std::complex<double>;

// Falling coefficients of the monic polynomial with these roots (complex
// ones in conjugate pairs), times `scale`.
std::vector<double> with_roots(const std::vector<root>& roots, double scale = 1.0) {
  std::vector<root> c = {1.0};
  for (const root& r : roots) {
    std::vector<root> next(c.size() + 1, 0.0);
    for (std::size_t i = 0; i < c.size(); ++i) {
      next[i] += c[i];
      next[i + 1] -= r * c[i];
    }
    c = next;
  }
  std::vector<double> real(c.size());
  std::transform(c.begin(), c.end(), real.begin(), [&](const root& v) { return v.real() * scale; });
  return real;
}

std::vector<root> roots_of(std::vector<double> coefficients, bool& failed) {
  const std::size_t degree = coefficients.size() - 1;
  std::vector<double> re(degree), im(degree);
  const std::size_t found = real_polynomial_roots(coefficients.data(), degree, re.data(), im.data(), failed);
  std::vector<root> roots;
  for (std::size_t i = 0; i < found; ++i) roots.emplace_back(re[i], im[i]);
  return roots;
}

// Every expected root has a distinct found root within the tolerance.
void expect_roots(std::vector<root> expected, std::vector<double> coefficients, double tolerance) {
  bool failed = true;
  std::vector<root> found = roots_of(std::move(coefficients), failed);
  EXPECT_FALSE(failed);
  ASSERT_EQ(expected.size(), found.size());
  for (const root& r : expected) {
    const auto nearest = std::min_element(found.begin(), found.end(), [&](const root& a, const root& b) {
      return std::abs(a - r) < std::abs(b - r);
    });
    EXPECT_LT(std::abs(*nearest - r), tolerance * std::max(1.0, std::abs(r))) << r;
    found.erase(nearest);
  }
}

TEST(RealPolynomialRoots, distinct_real_and_complex_roots) {
  expect_roots({1, 2, 3, 4, 5}, with_roots({1, 2, 3, 4, 5}), 1e-12);
  expect_roots({-7.5, 0.001, 300}, with_roots({-7.5, 0.001, 300}, -3.0), 1e-12);
  const std::vector<root> pairs = {{1, 2}, {1, -2}, {-0.5, 0.25}, {-0.5, -0.25}, {3, 0}};
  expect_roots(pairs, with_roots(pairs), 1e-12);
  const double h = std::sqrt(0.5);
  expect_roots({{h, h}, {h, -h}, {-h, h}, {-h, -h}}, {1, 0, 0, 0, 1}, 1e-14);  // x^4 + 1
  // Wilkinson's polynomial of degree 10.
  std::vector<root> wilkinson;
  for (int r = 1; r <= 10; ++r) wilkinson.emplace_back(r);
  expect_roots(wilkinson, with_roots(wilkinson), 1e-9);
}

TEST(RealPolynomialRoots, repeated_and_clustered_roots) {
  // A triple root is found to about the cube root of the precision.
  expect_roots({1, 1, 1}, {1, -3, 3, -1}, 1e-4);
  expect_roots({2, 2, -1}, with_roots({2, 2, -1}), 1e-6);
  expect_roots({1, 1.001, 1.002, 5}, with_roots({1, 1.001, 1.002, 5}), 1e-6);
  expect_roots({{0.5, 1e-4}, {0.5, -1e-4}, 0.5, 7}, with_roots({{0.5, 1e-4}, {0.5, -1e-4}, 0.5, 7}), 1e-5);
}

TEST(RealPolynomialRoots, zeros_at_the_origin_come_first_and_a_zero_leading_coefficient_fails) {
  bool failed = true;
  const std::vector<root> found = roots_of({1, 2, 3, 0, 0}, failed);
  EXPECT_FALSE(failed);
  ASSERT_EQ(4u, found.size());
  EXPECT_EQ(root(0, 0), found[0]);
  EXPECT_EQ(root(0, 0), found[1]);
  EXPECT_NEAR(-1.0, found[2].real(), 1e-15);
  EXPECT_NEAR(std::sqrt(2.0), std::fabs(found[2].imag()), 1e-15);

  EXPECT_TRUE(roots_of({0, 1, -3, 2}, failed).empty());
  EXPECT_TRUE(failed);
}

TEST(RealPolynomialRoots, coefficients_near_the_overflow_and_underflow_limits) {
  expect_roots({1, 2, -3}, with_roots({1, 2, -3}, 1e300), 1e-13);
  expect_roots({1, 2, -3}, with_roots({1, 2, -3}, 1e-300), 1e-13);
  expect_roots({1e150, -2e150}, with_roots({1e150, -2e150}), 1e-13);
}

TEST(QuinticRoots, rising_coefficients_and_five_entries_always) {
  // (x - 1)(x - 2)(x - 3)(x - 4)(x - 5) with the constant first.
  const double rising[6] = {-120, 274, -225, 85, -15, 1};
  double re[5], im[5];
  EXPECT_EQ(5u, quintic_roots(rising, re, im));
  std::vector<double> sorted(re, re + 5);
  std::sort(sorted.begin(), sorted.end());
  for (int r = 0; r < 5; ++r) EXPECT_NEAR(r + 1.0, sorted[static_cast<std::size_t>(r)], 1e-12);
  // A zero leading coefficient: the method fails at once and every entry
  // reads 0 + 0i.
  const double quartic[6] = {24, -50, 35, -10, 1, 0};
  std::fill(re, re + 5, 9.0);
  std::fill(im, im + 5, 9.0);
  EXPECT_EQ(5u, quintic_roots(quartic, re, im));
  for (int r = 0; r < 5; ++r) EXPECT_EQ(root(0, 0), root(re[r], im[r])) << r;
}

}  // namespace
