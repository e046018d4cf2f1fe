// Roots of real polynomials by the three-stage Jenkins-Traub method
// (Jenkins, "Algorithm 493: Zeros of a real polynomial", ACM TOMS 1, 1975):
// a few unshifted steps, fixed quadratic shifts, then variable-shift real
// or quadratic iterations, deflating each zero or pair of zeros as found.
#pragma once

#include <cstddef>

// The roots of the polynomial whose degree + 1 coefficients run from the
// leading one down to the constant. Roots are written from the first entry
// on, in the order found (zeros at the origin first). A leading coefficient
// of 0 fails at once, with no root. When the retry budget runs out,
// `failed` is set and the roots found so far stay in place; the return
// value is how many were found.
std::size_t real_polynomial_roots(const double* coefficients, std::size_t degree, double* real_parts,
                                  double* imaginary_parts, bool& failed);

// The five roots of c[0] + c[1] x + ... + c[5] x^5 (rising powers). Roots
// that were not found read 0 + 0i. Always 5.
std::size_t quintic_roots(const double coefficients[6], double real_parts[5], double imaginary_parts[5]);
