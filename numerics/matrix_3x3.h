// Determinants and products of small row-major matrices.
#pragma once

#include "numerics/dense_matrix.h"

// The expansion along the first column: (e i - h f) a - (b i - c h) d +
// (b f - c e) g for the rows (a, b, c), (d, e, f), (g, h, i).
double determinant_3x3(const double m[9]);

// The transposed cofactor matrix: m adjugate = det(m) I.
void adjugate_3x3(const double m[9], double adjugate[9]);

// transposed = m^T; transposed may not alias m.
void transpose_3x3(const double m[9], double transposed[9]);

// product = a b; product may not alias a or b.
void multiply_3x3(const double a[9], const double b[9], double product[9]);

// Of a square matrix of size 2 or 3; throws std::runtime_error for other
// shapes.
double determinant(matrix_view<const double> matrix);
