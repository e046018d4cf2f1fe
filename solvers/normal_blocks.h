// Kernels on the blocks of J^T J that the sparse models hold: Jacobian
// blocks of two rows (one image residual pair), their products, and the
// 2 x 2 block of a point's own unknowns, which the models eliminate.
// Every block is row-major.
#pragma once

#include <cstddef>

namespace normal_blocks {

// out (ra x cb, row stride out_stride) += sign a^T b for the 2-row blocks
// a (2 x ra) and b (2 x cb).
inline void add_transpose_product(double* out, const double* a, std::size_t ra, const double* b, std::size_t cb,
                                  std::size_t out_stride, double sign = 1.0) {
  for (std::size_t r = 0; r < ra; ++r) {
    for (std::size_t c = 0; c < cb; ++c) out[r * out_stride + c] += sign * (a[r] * b[c] + a[ra + r] * b[cb + c]);
  }
}

// out (2 x cb) = m (2 x 2) b (2 x cb).
inline void product_2x2(const double* m, const double* b, std::size_t cb, double* out) {
  for (std::size_t c = 0; c < cb; ++c) {
    out[c] = m[0] * b[c] + m[1] * b[cb + c];
    out[cb + c] = m[2] * b[c] + m[3] * b[cb + c];
  }
}

// u^T m v for m (ru x cv) with row stride `stride`.
inline double bilinear(const double* m, std::size_t stride, const double* u, std::size_t ru, const double* v,
                       std::size_t cv) {
  double sum = 0.0;
  for (std::size_t r = 0; r < ru; ++r) {
    double row = 0.0;
    for (std::size_t c = 0; c < cv; ++c) row += m[r * stride + c] * v[c];
    sum += u[r] * row;
  }
  return sum;
}

// The inverse of t + diag(d0, d1) in closed form. A singular block gives
// infinities or not-a-number values, which the solver meets as a rejected
// step rather than as an error.
inline void damped_inverse_2x2(const double t[4], double d0, double d1, double inverse[4]) {
  const double a = t[0] + d0, b = t[1], c = t[2], e = t[3] + d1;
  const double det = a * e - b * c;
  inverse[0] = e / det;
  inverse[1] = -b / det;
  inverse[2] = -c / det;
  inverse[3] = a / det;
}

}  // namespace normal_blocks
