// Eigen-decomposition of a symmetric 3 x 3 matrix, over LAPACK's dsyev.
#pragma once

// values ascending; vectors row-major with eigenvector k in column k. The
// input is read from its upper triangle. False when LAPACK reports an error.
bool symmetric_eigen_3x3(const double matrix[9], double values[3], double vectors[9]);
