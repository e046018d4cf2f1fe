#include "solvers/point_elimination.h"

#include <utility>

#include "solvers/normal_blocks.h"

void point_elimination::lay_out(std::size_t point_count, std::vector<coupling> couplings) {
  point_count_ = point_count;
  couplings_ = std::move(couplings);
  std::size_t total = 4 * point_count_;
  c_offsets_.resize(couplings_.size());
  y_offsets_.resize(couplings_.size());
  for (std::size_t c = 0; c < couplings_.size(); ++c) {
    c_offsets_[c] = total;
    total += 2 * couplings_[c].width;
  }
  tinv_offset_ = total;
  total += 4 * point_count_;
  for (std::size_t c = 0; c < couplings_.size(); ++c) {
    y_offsets_[c] = total;
    total += 2 * couplings_[c].width;
  }
  blocks_.assign(total, 0.0);
}

void point_elimination::eliminate(const double* point_damping) {
  for (std::size_t j = 0; j < point_count_; ++j) {
    normal_blocks::damped_inverse_2x2(T(j), point_damping[2 * j], point_damping[2 * j + 1],
                                      blocks_.data() + tinv_offset_ + 4 * j);
  }
  for (std::size_t c = 0; c < couplings_.size(); ++c) {
    normal_blocks::product_2x2(Tinv(couplings_[c].point), C(c), couplings_[c].width, Y(c));
  }
}

void point_elimination::subtract(double* x, std::size_t stride, std::size_t a, std::size_t b) const {
  normal_blocks::add_transpose_product(x + couplings_[a].offset * stride + couplings_[b].offset, C(a),
                                       couplings_[a].width, Y(b), couplings_[b].width, stride, -1.0);
}

void point_elimination::reduce(double* reduced_rhs, const double* point_rhs) const {
  for (std::size_t c = 0; c < couplings_.size(); ++c) {
    const auto [point, offset, width] = couplings_[c];
    const double* y = Y(c);
    const double* b = point_rhs + 2 * point;
    for (std::size_t e = 0; e < width; ++e) reduced_rhs[offset + e] -= y[e] * b[0] + y[width + e] * b[1];
  }
}

void point_elimination::back_substitute(const double* point_rhs, const double* reduced_solution,
                                        double* point_solution) const {
  for (std::size_t j = 0; j < point_count_; ++j) {
    const double* inverse = Tinv(j);
    const double* b = point_rhs + 2 * j;
    point_solution[2 * j] = inverse[0] * b[0] + inverse[1] * b[1];
    point_solution[2 * j + 1] = inverse[2] * b[0] + inverse[3] * b[1];
  }
  for (std::size_t c = 0; c < couplings_.size(); ++c) {
    const auto [point, offset, width] = couplings_[c];
    const double* y = Y(c);
    double* solution = point_solution + 2 * point;
    for (std::size_t e = 0; e < width; ++e) {
      solution[0] -= y[e] * reduced_solution[offset + e];
      solution[1] -= y[width + e] * reduced_solution[offset + e];
    }
  }
}
