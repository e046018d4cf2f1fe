#include "numerics/matrix_3x3.h"

#include <stdexcept>

double determinant_3x3(const double m[9]) {
  return (m[4] * m[8] - m[7] * m[5]) * m[0] - (m[1] * m[8] - m[2] * m[7]) * m[3] + (m[1] * m[5] - m[2] * m[4]) * m[6];
}

void adjugate_3x3(const double m[9], double adjugate[9]) {
  adjugate[0] = m[4] * m[8] - m[5] * m[7];
  adjugate[1] = m[2] * m[7] - m[1] * m[8];
  adjugate[2] = m[1] * m[5] - m[2] * m[4];
  adjugate[3] = m[5] * m[6] - m[3] * m[8];
  adjugate[4] = m[0] * m[8] - m[2] * m[6];
  adjugate[5] = m[2] * m[3] - m[0] * m[5];
  adjugate[6] = m[3] * m[7] - m[4] * m[6];
  adjugate[7] = m[1] * m[6] - m[0] * m[7];
  adjugate[8] = m[0] * m[4] - m[1] * m[3];
}

void multiply_3x3(const double a[9], const double b[9], double product[9]) {
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      product[3 * r + c] = a[3 * r] * b[c] + a[3 * r + 1] * b[3 + c] + a[3 * r + 2] * b[6 + c];
    }
  }
}

double determinant(matrix_view<const double> matrix) {
  if (matrix.rows != matrix.cols) throw std::runtime_error("determinant can be only calculated for square matrices");
  if (matrix.rows == 2) return matrix.data[0] * matrix.data[3] - matrix.data[1] * matrix.data[2];
  if (matrix.rows == 3) return determinant_3x3(matrix.data);
  throw std::runtime_error("yet to implement");
}

void transpose_3x3(const double m[9], double transposed[9]) {
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) transposed[3 * r + c] = m[3 * c + r];
  }
}
