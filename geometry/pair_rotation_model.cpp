#include "geometry/pair_rotation_model.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "geometry/pair_rotation_estimates.h"
#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "solvers/dense_levenberg_marquardt.h"

namespace {

using centre_point = std::array<double, 2>;

// The shape tests read the centred motion divided by its h8, and are made
// only when h8 is clear of 0.
constexpr double smallest_w = 1e-6;
constexpr double still_shift = 0.1, still_perspective = 1e-6;  // a motion with nothing to measure
constexpr double zoom_shift = 1.0, zoom_perspective = 1e-5;    // a turn about the optical axis
constexpr double zoom_skew = 0.05;  // largest departure of such a motion from a scaled rotation

// [e_j]x, a turn about axis j.
constexpr double generator[3][9] = {
    {0.0, 0.0, 0.0, 0.0, 0.0, -1.0, 0.0, 1.0, 0.0},
    {0.0, 0.0, 1.0, 0.0, 0.0, 0.0, -1.0, 0.0, 0.0},
    {0.0, -1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0},
};

// The powers of f1 in N's rows and of f2 in its columns: the scale
// f1^(2/3) f2^(-2/3) of K1^-1 H K2 that keeps H's determinant.
constexpr double f1_power[3] = {-1.0 / 3.0, -1.0 / 3.0, 2.0 / 3.0};
constexpr double f2_power[3] = {1.0 / 3.0, 1.0 / 3.0, -2.0 / 3.0};

}  // namespace

pair_rotation_model::pair_rotation_model(const h_matrix_2d& motion_of_pair, centre_point centre_first,
                                         centre_point centre_second)
    : motion(motion_of_pair) {
  // A bad pair must never stop the alignment: a rotation that rodrigues_inv
  // refuses or a failed allocation only marks this pair.
  try {
    decompose(centre_first, centre_second);
  } catch (...) {
    failed = true;
  }
}

void pair_rotation_model::decompose(centre_point centre_first, centre_point centre_second) {
  centre(centre_first, centre_second);
  double f1 = 0.0, f2 = 0.0;
  if (!estimate(centre_first, centre_second, f1, f2)) {
    failed = true;
    return;
  }
  camera_first = {f1, f1, centre_first[0], centre_first[1], 0.0, 0.0};
  camera_second = {f2, f2, centre_second[0], centre_second[1], 0.0, 0.0};
  rodrigues_inv(rotation.data(), rotation_vector.data());
  refine(f1, f2);
}

// H := T(-c1) H T(c2), column 2 first, then rows 0 and 1 against row 2.
void pair_rotation_model::centre(centre_point centre_first, centre_point centre_second) {
  double* h = motion.parameters;
  for (int r = 0; r < 3; ++r) {
    h[3 * r + 2] = h[3 * r] * centre_second[0] + h[3 * r + 1] * centre_second[1] + h[3 * r + 2];
  }
  for (int c = 0; c < 3; ++c) {
    h[c] -= centre_first[0] * h[6 + c];
    h[3 + c] -= centre_first[1] * h[6 + c];
  }
}

bool pair_rotation_model::estimate(centre_point centre_first, centre_point centre_second, double& f1, double& f2) {
  const double* h = motion.parameters;
  const double w = h[8];
  if (std::fabs(w) > smallest_w) {
    const double u = std::fabs(h[2] / w), v = std::fabs(h[5] / w), s = std::fabs(h[6] / w), t = std::fabs(h[7] / w);
    // A shift by a fraction of a pixel: nothing in it fixes a focal length.
    if (u < still_shift && v < still_shift && s < still_perspective && t < still_perspective) return false;
    if (u < zoom_shift && v < zoom_shift && s < zoom_perspective && t < zoom_perspective) {
      return zoom_estimate(centre_second, f1, f2);
    }
  }
  motion.normalize();
  // Focal lengths of a normal lens, about the sum of the image's sides.
  const double f1_start = 2.0 * (centre_first[0] + centre_first[1]);
  const double f2_start = 2.0 * (centre_second[0] + centre_second[1]);
  f1 = f1_start;
  f2 = f2_start;
  if (factorisation_estimate(h, f1, f2, rotation.data())) return true;
  // The second estimate starts afresh, not where the failed one stopped.
  f1 = f1_start;
  f2 = f2_start;
  return constraint_estimate(h, f1, f2, rotation.data());
}

// H / w is sigma times a plane rotation, sigma = f1 / f2.
bool pair_rotation_model::zoom_estimate(centre_point centre_second, double& f1, double& f2) {
  double* h = motion.parameters;
  const double w = h[8];
  for (int k = 0; k < 9; ++k) h[k] /= w;
  if (std::fabs(h[0] - h[4]) > zoom_skew || std::fabs(h[1] + h[3]) > zoom_skew) return false;
  const double sigma = std::sqrt((h[0] * h[0] + h[1] * h[1] + h[3] * h[3] + h[4] * h[4]) / 2.0);
  // Only the ratio of the focal lengths shows in such a motion. The second
  // is set to c.x + c.y, half the start of the general path, and the
  // solver's answer rests on that scale, so it stays.
  f2 = centre_second[0] + centre_second[1];
  f1 = f2 * sigma;
  const double turn[3] = {0.0, 0.0, std::atan2(h[3] - h[1], h[4] + h[0])};
  rodrigues(turn, rotation.data());
  return true;
}

void pair_rotation_model::refine(double f1, double f2) {
  std::vector<double> x = {rotation_vector[0], rotation_vector[1], rotation_vector[2], f1, f2}, fvec(9);
  if (!dense_levenberg_marquardt_5x9(*this, x, fvec) || x[3] <= 0.0 || x[4] <= 0.0) {
    failed = true;
    return;
  }
  camera_first.fx = camera_first.fy = x[3];
  camera_second.fx = camera_second.fy = x[4];
  std::copy_n(x.begin(), 3, rotation_vector.begin());
  rodrigues(rotation_vector.data(), rotation.data());
}

// N = f1^(2/3) f2^(-2/3) K1^-1 H K2, of H's determinant. A focal length
// that is not positive gives not-a-number entries, and steps towards it are
// rejected.
void pair_rotation_model::determinant_preserving(double f1, double f2, double n[9]) const {
  const double row[3] = {std::pow(f1, f1_power[0]), std::pow(f1, f1_power[1]), std::pow(f1, f1_power[2])};
  const double column[3] = {std::pow(f2, f2_power[0]), std::pow(f2, f2_power[1]), std::pow(f2, f2_power[2])};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) n[3 * r + c] = row[r] * column[c] * motion.parameters[3 * r + c];
  }
}

void pair_rotation_model::residuals(const double* x, double* fvec) const {
  double R[9], n[9];
  rodrigues(x, R);
  determinant_preserving(x[3], x[4], n);
  for (int k = 0; k < 9; ++k) fvec[k] = n[k] - R[k];
}

// With respect to the step of advance at 0: a turn s on the left of R, and
// the logarithms of the focal lengths.
void pair_rotation_model::jacobian(const double* x, double* fjac) const {
  double R[9], n[9];
  rodrigues(x, R);
  determinant_preserving(x[3], x[4], n);
  for (int j = 0; j < 3; ++j) {
    double turned[9];
    multiply_3x3(generator[j], R, turned);
    for (int k = 0; k < 9; ++k) fjac[5 * k + j] = -turned[k];
  }
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      const int k = 3 * r + c;
      fjac[5 * k + 3] = f1_power[r] * n[k];
      // Rows 0 and 1 of the f2 column are a third of the true derivative.
      // The damping stays: the solver's steps, and where it stops, rest on
      // it.
      double by_f2 = f2_power[c] * n[k];
      if (r < 2) by_f2 /= 3.0;
      fjac[5 * k + 4] = by_f2;
    }
  }
}

void pair_rotation_model::advance(const double* x, const double* step, double* moved) const {
  if (local_update) {
    rodrigues_turn(x, step, moved);
  } else {
    for (int k = 0; k < 3; ++k) moved[k] = x[k] + step[k];
  }
  moved[3] = x[3] * std::exp(step[3]);
  moved[4] = x[4] * std::exp(step[4]);
}
