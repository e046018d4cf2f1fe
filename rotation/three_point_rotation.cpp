#include "rotation/three_point_rotation.h"

#include <cmath>
#include <stdexcept>

#include "numerics/matrix_3x3.h"
#include "numerics/quadratic_roots.h"
#include "numerics/real_polynomial_roots.h"
#include "numerics/svd.h"

namespace {

// A polynomial in y of degree at most 5, constant term first.
struct polynomial {
  std::array<double, 6> c{};

  double operator()(double y) const {
    double value = 0.0;
    for (int i = 5; i >= 0; --i) value = value * y + c[static_cast<std::size_t>(i)];
    return value;
  }
  friend polynomial operator+(polynomial a, const polynomial& b) {
    for (std::size_t i = 0; i < 6; ++i) a.c[i] += b.c[i];
    return a;
  }
  friend polynomial operator-(polynomial a, const polynomial& b) {
    for (std::size_t i = 0; i < 6; ++i) a.c[i] -= b.c[i];
    return a;
  }
  friend polynomial operator*(double k, polynomial a) {
    for (double& v : a.c) v *= k;
    return a;
  }
  // Products here never pass degree 5.
  friend polynomial operator*(const polynomial& a, const polynomial& b) {
    polynomial product;
    for (std::size_t i = 0; i < 6; ++i) {
      for (std::size_t j = 0; i + j < 6; ++j) product.c[i + j] += a.c[i] * b.c[j];
    }
    return product;
  }
};

// The equal-angle condition of rays i and j as a quadratic in x whose
// coefficients are polynomials in y:
// (Aij + x)^2 (Bii + y)(Bjj + y) = (Bij + y)^2 (Aii + x)(Ajj + x).
struct angle_condition {
  polynomial alpha, beta, gamma;
};

angle_condition condition_of(const double a[3][3], const double b[3][3], int i, int j) {
  const polynomial both = {{b[i][i] * b[j][j], b[i][i] + b[j][j], 1.0}};  // (Bii + y)(Bjj + y)
  const polynomial cross = {{b[i][j] * b[i][j], 2.0 * b[i][j], 1.0}};    // (Bij + y)^2
  return {both - cross, 2.0 * a[i][j] * both - (a[i][i] + a[j][j]) * cross,
          a[i][j] * a[i][j] * both - a[i][i] * a[j][j] * cross};
}

// A unit ray (position, focal) in normalised units.
void unit_ray(const double p[2], double focal, double ray[3]) {
  const double norm = std::sqrt(p[0] * p[0] + p[1] * p[1] + focal * focal);
  ray[0] = p[0] / norm;
  ray[1] = p[1] / norm;
  ray[2] = focal / norm;
}

// R with R a_k ~ b_k, the rotation nearest to sum b_k a_k^T of the unit
// rays; false when the decomposition fails.
bool procrustes(const double a[3][2], const double b[3][2], double s, double t, std::array<double, 9>& rotation) {
  double m[9] = {};
  for (int k = 0; k < 3; ++k) {
    double ra[3], rb[3];
    unit_ray(a[k], s, ra);
    unit_ray(b[k], t, rb);
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) m[3 * r + c] += rb[r] * ra[c];
    }
  }
  double u[9], singular[3], vt[9];
  if (!svd_3x3(m, u, singular, vt)) return false;
  if ((determinant_3x3(u) < 0.0) != (determinant_3x3(vt) < 0.0)) {
    for (int r = 0; r < 3; ++r) u[3 * r + 2] = -u[3 * r + 2];
  }
  multiply_3x3(u, vt, rotation.data());
  return true;
}

}  // namespace

rotation_candidates solve_three_point_rotation(const std::array<image_point, 3>& points_1,
                                               const std::array<image_point, 3>& points_2, double scale_1,
                                               double scale_2, const image_point& centre_1,
                                               const image_point& centre_2) {
  rotation_candidates candidates;
  double a[3][2], b[3][2];
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t e = 0; e < 2; ++e) {
      a[k][e] = (points_1[k][e] - centre_1[e]) / scale_1;
      b[k][e] = (points_2[k][e] - centre_2[e]) / scale_2;
    }
  }
  double dot_a[3][3], dot_b[3][3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      dot_a[i][j] = a[i][0] * a[j][0] + a[i][1] * a[j][1];
      dot_b[i][j] = b[i][0] * b[j][0] + b[i][1] * b[j][1];
    }
  }
  const angle_condition p[3] = {condition_of(dot_a, dot_b, 0, 1), condition_of(dot_a, dot_b, 1, 2),
                                condition_of(dot_a, dot_b, 0, 2)};
  // The three quadratics share a root only where their coefficient matrix
  // is singular.
  const polynomial determinant = p[0].alpha * (p[1].beta * p[2].gamma - p[2].beta * p[1].gamma) -
                                 p[1].alpha * (p[0].beta * p[2].gamma - p[2].beta * p[0].gamma) +
                                 p[2].alpha * (p[0].beta * p[1].gamma - p[1].beta * p[0].gamma);
  double real[5], imaginary[5];
  quintic_roots(determinant.c.data(), real, imaginary);

  for (int r = 0; r < 5; ++r) {
    if (imaginary[r] != 0.0 && !(std::fabs(real[r]) > 1e6 * std::fabs(imaginary[r]))) continue;
    const double y = real[r];
    const double t = std::sqrt(y);
    // A negative y has no focal length; its candidates could only fail.
    if (std::isnan(t)) continue;
    const double c2 = p[0].alpha(y) + p[1].alpha(y) + p[2].alpha(y);
    const double c1 = p[0].beta(y) + p[1].beta(y) + p[2].beta(y);
    const double c0 = p[0].gamma(y) + p[1].gamma(y) + p[2].gamma(y);
    double x[2], unused[2];
    try {
      if (quadratic_roots_real(c0, c1, c2, x, unused) != 2) continue;
    } catch (const std::runtime_error&) {
      continue;  // a vanishing leading coefficient: no x for this root
    }
    for (const double root : x) {
      if (!(root > 0.0)) continue;
      const double s = std::sqrt(root);
      rotation_estimate& solution = candidates.solutions[candidates.count];
      if (!procrustes(a, b, s, t, solution.rotation)) {
        candidates.count = 0;
        return candidates;
      }
      solution.focal_1 = s * scale_1;
      solution.focal_2 = t * scale_2;
      ++candidates.count;
    }
  }
  return candidates;
}
