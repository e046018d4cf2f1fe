#include "geometry/pair_rotation_estimates.h"

#include <algorithm>
#include <cmath>

#include "numerics/dense_matrix.h"
#include "numerics/matrix_3x3.h"
#include "numerics/svd.h"

namespace {

// Below this smallest singular value the factorisation's equations do not
// fix the three scales.
constexpr double smallest_singular_value = 1e-6;

// M = K1^-1 H K2.
void calibrated(const double h[9], double f1, double f2, double m[9]) {
  m[0] = h[0] * f2 / f1;
  m[1] = h[1] * f2 / f1;
  m[2] = h[2] / f1;
  m[3] = h[3] * f2 / f1;
  m[4] = h[4] * f2 / f1;
  m[5] = h[5] / f1;
  m[6] = h[6] * f2;
  m[7] = h[7] * f2;
  m[8] = h[8];
}

// U Vt, the rotation closest to the matrix decomposed. When the factors'
// determinants have opposite signs the product would be a reflection;
// turning U's third column makes it a rotation. A determinant of exactly 0
// counts as no sign.
void closest_rotation(double u[9], const double vt[9], double rotation[9]) {
  const double du = determinant_3x3(u), dv = determinant_3x3(vt);
  if ((du > 0.0 && dv < 0.0) || (du < 0.0 && dv > 0.0)) {
    for (int r = 0; r < 3; ++r) u[3 * r + 2] = -u[3 * r + 2];
  }
  multiply_3x3(u, vt, rotation);
}

// Dividing M's first two rows by sqrt(x) against its last: the x that makes
// columns 0 and 1, 1 and 2, or 0 and 2 orthogonal, or else columns 0 and 1
// equally long; false when none of them is positive.
bool row_scale(const double m[9], double& x) {
  const double c01 = m[0] * m[1] + m[3] * m[4], c12 = m[1] * m[2] + m[4] * m[5], c02 = m[0] * m[2] + m[3] * m[5];
  if ((m[6] * m[7]) * c01 < 0.0) {
    x = -c01 / (m[6] * m[7]);
  } else if ((m[7] * m[8]) * c12 < 0.0) {
    x = -c12 / (m[7] * m[8]);
  } else if ((m[6] * m[8]) * c02 < 0.0) {
    x = -c02 / (m[6] * m[8]);
  } else {
    const double g = m[0] * m[0] + m[3] * m[3] - m[1] * m[1] - m[4] * m[4], k = m[6] * m[6] - m[7] * m[7];
    if (!(k * g < 0.0)) return false;
    x = -g / k;
  }
  return true;
}

// Multiplying M's first two columns by sqrt(y) against its last: the y that
// makes rows 0 and 1, 1 and 2, or 0 and 2 orthogonal, or else rows 0 and 1
// equally long; false when none of them is positive.
bool column_scale(const double m[9], double& y) {
  const double r01 = m[0] * m[3] + m[1] * m[4], r12 = m[3] * m[6] + m[4] * m[7], r02 = m[0] * m[6] + m[1] * m[7];
  if ((m[2] * m[5]) * r01 < 0.0) {
    y = -(m[2] * m[5]) / r01;
  } else if ((m[5] * m[8]) * r12 < 0.0) {
    y = -(m[5] * m[8]) / r12;
  } else if ((m[2] * m[8]) * r02 < 0.0) {
    y = -(m[2] * m[8]) / r02;
  } else {
    const double g = m[0] * m[0] + m[1] * m[1] - m[3] * m[3] - m[4] * m[4], k = m[2] * m[2] - m[5] * m[5];
    if (!(k * g < 0.0)) return false;
    y = -k / g;
  }
  return true;
}

}  // namespace

bool factorisation_estimate(const double h[9], double& f1, double& f2, double rotation[9]) {
  double m[9];
  calibrated(h, f1, f2, m);
  // Six equations in (t0, t1, t2): the rows of M diag(sqrt(t0), sqrt(t0), 1)
  // pairwise orthogonal (0-1, 1-2, 0-2), the first two of squared length
  // t1, the last of t2. Row j of A holds the coefficients of t_j, so the
  // system reads A^T t = b.
  const double a[18] = {
      m[1] * m[4] + m[0] * m[3], m[4] * m[7] + m[3] * m[6], m[1] * m[7] + m[0] * m[6],
      m[0] * m[0] + m[1] * m[1], m[3] * m[3] + m[4] * m[4], m[6] * m[6] + m[7] * m[7],
      0.0, 0.0, 0.0, -1.0, -1.0, 0.0,
      0.0, 0.0, 0.0, 0.0, 0.0, -1.0};
  const double b[6] = {-m[2] * m[5], -m[5] * m[8], -m[2] * m[8], -m[2] * m[2], -m[5] * m[5], -m[8] * m[8]};
  double u[9], s[3], vt[36];
  if (!svd_3x6(a, u, s, vt) || s[2] < smallest_singular_value) return false;

  // With A = U S Vt the least-squares solution is U S^-1 (Vt b)[0..3).
  double projected[3];
  for (int k = 0; k < 3; ++k) {
    double sum = 0.0;
    for (int j = 0; j < 6; ++j) sum += vt[6 * k + j] * b[j];
    projected[k] = sum / s[k];
  }
  double t[3];
  for (int r = 0; r < 3; ++r) {
    t[r] = u[3 * r] * projected[0] + u[3 * r + 1] * projected[1] + u[3 * r + 2] * projected[2];
  }
  if (t[0] <= 0.0 || t[1] * t[2] <= 0.0) return false;

  f1 *= std::sqrt(t[1] / t[2]);
  f2 *= std::sqrt(t[0]);
  calibrated(h, f1, f2, m);
  double mu[9], ms[3], mvt[9];
  if (!svd_3x3(m, mu, ms, mvt)) return false;
  closest_rotation(mu, mvt, rotation);
  return true;
}

bool constraint_estimate(const double h[9], double& f1, double& f2, double rotation[9]) {
  double m[9];
  calibrated(h, f1, f2, m);
  double x = 0.0, y = 0.0;
  if (!row_scale(m, x)) return false;
  f1 *= std::sqrt(x);
  // From the same M: each form of y holds as many entries of the first two
  // rows above the line as below, so the row scale would cancel from it.
  if (!column_scale(m, y)) return false;
  f2 *= std::sqrt(y);

  calibrated(h, f1, f2, m);
  const svd_full<double> decomposition(view_3x3(m));
  if (decomposition.failed) return false;
  double u[9];
  std::copy_n(decomposition.u.data, 9, u);
  closest_rotation(u, decomposition.vt.data, rotation);
  return true;
}
