#include "numerics/symmetric_eigen.h"

#include <algorithm>

#include "numerics/lapack.h"
#include "numerics/matrix_3x3.h"

bool symmetric_eigen_3x3(const double matrix[9], double values[3], double vectors[9]) {
  // Symmetric: the row-major matrix is its own column-major form.
  double a[9];
  std::copy(matrix, matrix + 9, a);
  const int n = 3, lwork = 64;
  double work[lwork];
  int info = 0;
  dsyev_("V", "U", &n, a, &n, values, work, &lwork, &info, 1, 1);
  if (info != 0) return false;
  // Column-major eigenvectors back to rows.
  transpose_3x3(a, vectors);
  return true;
}
