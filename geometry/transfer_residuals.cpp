#include "geometry/transfer_residuals.h"

#include <algorithm>
#include <cstddef>

void transfer_residuals(const robust_options& options, const point_list& first, const point_list& second,
                        const h_matrix_2d& motion, std::vector<double>& residuals) {
  residuals.resize(first.size());
  if (!motion.is_invertible()) {
    std::fill(residuals.begin(), residuals.end(), options.threshold);
    return;
  }
  const h_matrix_2d inverse = motion.inverse();
  for (std::size_t i = 0; i < first.size(); ++i) {
    const double *a = first[i], *b = second[i];
    double forward[2], backward[2];
    motion(b, forward);
    inverse(a, backward);
    const double dx1 = forward[0] - a[0], dy1 = forward[1] - a[1];
    const double dx2 = backward[0] - b[0], dy2 = backward[1] - b[1];
    residuals[i] = dx1 * dx1 + dy1 * dy1 + dx2 * dx2 + dy2 * dy2;
  }
}
