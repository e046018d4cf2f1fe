#include "geometry/pair_homography_refiner.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>
#include <stdexcept>

#include "numerics/linear_solve.h"
#include "solvers/normal_blocks.h"
#include "solvers/sparse_levenberg_marquardt.h"

using normal_blocks::add_transpose_product;

pair_homography_refiner::pair_homography_refiner(const point_list& first, const point_list& second,
                                                 const bit_mask& mask, const h_matrix_2d& motion)
    : p(static_cast<std::size_t>(motion.parameter_count())), kind(motion.type) {
  if (second.size() != first.size() || mask.size() != first.size()) {
    throw std::invalid_argument("pair_homography_refiner(): the point lists and the mask differ in length");
  }
  start(first, second, mask, motion);
  // The solver's size rule: with more unknowns than residuals the start is
  // the answer.
  if (unknown_count() > residual_count()) return;
  if (!allocate_blocks()) return;
  solve();
}

h_matrix_2d pair_homography_refiner::refined_motion() const { return motion_at(x.data()); }

// The unknown points start at the measured points of the second image.
void pair_homography_refiner::start(const point_list& first, const point_list& second, const bit_mask& mask,
                                    const h_matrix_2d& motion) {
  n = mask.count();
  x.assign(unknown_count(), 0.0);
  std::copy(motion.parameters, motion.parameters + p, x.begin());
  measurements.assign(4 * n, 0.0);
  std::size_t i = 0;
  for (std::size_t c = 0; c < first.size(); ++c) {
    if (!mask[c]) continue;
    for (std::size_t e = 0; e < 2; ++e) {
      x[p + 2 * i + e] = second[c][e];
      measurements[2 * i + e] = second[c][e];
      measurements[2 * n + 2 * i + e] = first[c][e];
    }
    ++i;
  }
}

bool pair_homography_refiner::allocate_blocks() {
  try {
    jacobian_motion.assign(2 * n * p, 0.0);
    jacobian_point.assign(4 * n, 0.0);
    normal_motion.assign(p * p, 0.0);
    // Each point couples to the whole motion only.
    std::vector<point_elimination::coupling> couplings;
    for (std::size_t i = 0; i < n; ++i) couplings.push_back({i, 0, p});
    points.lay_out(n, std::move(couplings));
    reduced_ = dense_matrix<double>(p, p);
    reduced_rhs_ = dense_vector<double>(p);
    reduced_solution_ = dense_vector<double>(p);
    return true;
  } catch (const std::bad_alloc&) {
    out_of_memory = true;
    return false;
  }
}

// A failure of the reduced solve or of memory inside the run makes the
// result unusable; it never leaves the constructor.
void pair_homography_refiner::solve() {
  try {
    std::vector<double> fvec(residual_count());
    if (!solve_sparse_levenberg_marquardt(*this, x, fvec, control)) failed = true;
  } catch (const std::exception&) {
    failed = true;
  }
}

h_matrix_2d pair_homography_refiner::motion_at(const double* at) const {
  h_matrix_2d motion(kind);
  std::copy(at, at + p, motion.parameters);
  return motion;
}

void pair_homography_refiner::residuals(const double* at, double* fvec) const {
  const h_matrix_2d motion = motion_at(at);
  const double* second = measurements.data();
  const double* first = second + 2 * n;
  double* projected = fvec + 2 * n;
  for (std::size_t i = 0; i < n; ++i) {
    const double* point = point_at(at, i);
    double mapped[2];
    motion(point, mapped);
    for (std::size_t e = 0; e < 2; ++e) {
      fvec[2 * i + e] = point[e] - second[2 * i + e];
      projected[2 * i + e] = mapped[e] - first[2 * i + e];
    }
  }
}

void pair_homography_refiner::jacobian(const double* at, const double*) {
  const h_matrix_2d motion = motion_at(at);
  std::fill(normal_motion.begin(), normal_motion.end(), 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    double* motion_rows = jacobian_motion.data() + 2 * p * i;
    double* point_block = jacobian_point.data() + 4 * i;
    std::fill(point_block, point_block + 4, 0.0);  // the scale kind writes only its first column
    motion.derivatives(point_at(at, i), motion_rows, static_cast<int>(p), point_block, 2);

    add_transpose_product(normal_motion.data(), motion_rows, p, motion_rows, p, p);
    // The unit matrix is the point's own residual p_i - b_i.
    double* v = points.T(i);
    std::fill(v, v + 4, 0.0);
    v[0] = v[3] = 1.0;
    add_transpose_product(v, point_block, 2, point_block, 2, 2);
    double* w = points.C(i);
    std::fill(w, w + 2 * p, 0.0);
    add_transpose_product(w, point_block, 2, motion_rows, p, p);
  }
}

void pair_homography_refiner::column_norms(double* acnorm) const {
  std::fill(acnorm, acnorm + p, 0.0);
  for (std::size_t row = 0; row < 2 * n; ++row) {
    for (std::size_t e = 0; e < p; ++e) acnorm[e] += jacobian_motion[row * p + e] * jacobian_motion[row * p + e];
  }
  for (std::size_t e = 0; e < p; ++e) acnorm[e] = std::sqrt(acnorm[e]);
  for (std::size_t i = 0; i < n; ++i) {
    const double* j = jacobian_point.data() + 4 * i;
    acnorm[p + 2 * i] = std::sqrt(j[0] * j[0] + j[2] * j[2] + 1.0);
    acnorm[p + 2 * i + 1] = std::sqrt(j[1] * j[1] + j[3] * j[3] + 1.0);
  }
}

void pair_homography_refiner::gradient(const double* fvec, double* g) const {
  const double* projected = fvec + 2 * n;
  std::fill(g, g + p, 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    const double* motion_rows = jacobian_motion.data() + 2 * p * i;
    const double* j = jacobian_point.data() + 4 * i;
    const double* f = projected + 2 * i;
    for (std::size_t e = 0; e < p; ++e) g[e] += motion_rows[e] * f[0] + motion_rows[p + e] * f[1];
    for (std::size_t e = 0; e < 2; ++e) g[p + 2 * i + e] = j[e] * f[0] + j[2 + e] * f[1] + fvec[2 * i + e];
  }
}

double pair_homography_refiner::quadratic_form(const double* step) const {
  using normal_blocks::bilinear;
  double diagonal = bilinear(normal_motion.data(), p, step, p, step, p), cross = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double* q = point_at(step, i);
    diagonal += bilinear(points.T(i), 2, q, 2, q, 2);
    cross += bilinear(points.C(i), p, q, 2, step, p);
  }
  return diagonal + 2.0 * cross;
}

// The Schur complement of the point blocks:
//   [U + D   W^T  ] [m]   [b_m]
//   [W       V + E] [q] = [b_q]
// gives (U + D - W^T (V + E)^-1 W) m = b_m - W^T (V + E)^-1 b_q, and then
// q = (V + E)^-1 (b_q - W m), point by point. D goes onto U first.
void pair_homography_refiner::make_X(const double* d) {
  for (std::size_t r = 0; r < p; ++r) {
    std::copy_n(normal_motion.data() + r * p, p, reduced_.data + r * p);
    reduced_(r, r) += d[r];
  }
  points.eliminate(d + p);
  for (std::size_t i = 0; i < n; ++i) points.subtract(reduced_.data, p, i, i);
}

void pair_homography_refiner::Xinv_b(const double* b, double* y) {
  std::copy_n(b, p, reduced_rhs_.data);
  points.reduce(reduced_rhs_.data, b + p);
  if (!solve_minimum_norm(reduced_, reduced_rhs_, reduced_solution_, -1.0, rank_)) {
    throw std::runtime_error("pair_homography_refiner::Xinv_b(): failure in LAPACK solver");
  }
  std::copy_n(reduced_solution_.data, p, y);
  points.back_substitute(b + p, reduced_solution_.data, y + p);
}

void pair_homography_refiner::advance(const double* at, const double* step, double* moved) const {
  for (std::size_t e = 0; e < unknown_count(); ++e) moved[e] = at[e] + step[e];
}
