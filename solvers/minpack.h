// The linear algebra of MINPACK's lmder (Moré, Garbow, Hillstrom, Argonne
// ANL-80-74, 1980), on row-major arrays: the Euclidean norm without overflow,
// the QR factorisation with column pivoting, the damped least-squares solve,
// and the Levenberg-Marquardt parameter.
#pragma once

#include <cstddef>

namespace minpack {

inline constexpr double epsmch = 2.220446049250313e-16;
inline constexpr double dwarf = 2.2250738585072014e-308;

// ||x|| of n values `stride` apart, summing small, medium and large entries
// apart so that neither overflow nor destructive underflow occurs.
double enorm(std::size_t n, const double* x, std::size_t stride = 1);

// Householder QR with column pivoting of the m x n row-major array a (row
// stride lda, m >= n): on return the upper triangle of a's first n rows
// holds R (without its diagonal), the lower part the Householder vectors,
// rdiag the diagonal of R, acnorm the column norms of the input, and ipvt
// the column permutation. wa is n work values.
void qrfac(std::size_t m, std::size_t n, double* a, std::size_t lda, std::size_t* ipvt, double* rdiag,
           double* acnorm, double* wa);

// Solves min || (A; D) x - (b; 0) || for A P = Q R, given R in the upper
// triangle of the n x n array r, the permutation, diag (D) and Q^T b. The
// strict lower triangle of r receives S^T, sdiag the diagonal of S, where
// P^T (A^T A + D D) P = S^T S. wa is n work values.
void qrsolv(std::size_t n, double* r, std::size_t ldr, const std::size_t* ipvt, const double* diag,
            const double* qtb, double* x, double* sdiag, double* wa);

// The Levenberg-Marquardt parameter par such that the step x solving the
// damped problem has ||D x|| within 10 % of delta (or par = 0 when the
// Gauss-Newton step is already inside). wa1 and wa2 are n work values.
void lmpar(std::size_t n, double* r, std::size_t ldr, const std::size_t* ipvt, const double* diag,
           const double* qtb, double delta, double& par, double* x, double* sdiag, double* wa1, double* wa2);

}  // namespace minpack
