#include "solvers/minpack.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace minpack {
namespace {

// The published thresholds of enorm: squares of values between them neither
// overflow nor underflow.
constexpr double rdwarf = 3.834e-20;
constexpr double rgiant = 1.304e19;

// From qrfac: a column norm that has shrunk this far is recomputed.
constexpr double p05 = 0.05;

// From lmpar.
constexpr double p1 = 0.1;
constexpr double p001 = 0.001;
constexpr int lmpar_passes = 10;

}  // namespace

double enorm(std::size_t n, const double* x, std::size_t stride) {
  double s1 = 0.0, s2 = 0.0, s3 = 0.0, x1max = 0.0, x3max = 0.0;
  const double agiant = rgiant / static_cast<double>(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double xabs = std::fabs(x[i * stride]);
    if (xabs > rdwarf && xabs < agiant) {
      s2 += xabs * xabs;  // intermediate components
    } else if (xabs <= rdwarf) {
      if (xabs > x3max) {  // small components, scaled by the largest of them
        s3 = 1.0 + s3 * (x3max / xabs) * (x3max / xabs);
        x3max = xabs;
      } else if (xabs != 0.0) {
        s3 += (xabs / x3max) * (xabs / x3max);
      }
    } else if (xabs > x1max) {  // large components, scaled likewise
      s1 = 1.0 + s1 * (x1max / xabs) * (x1max / xabs);
      x1max = xabs;
    } else {
      s1 += (xabs / x1max) * (xabs / x1max);
    }
  }
  if (s1 != 0.0) return x1max * std::sqrt(s1 + (s2 / x1max) / x1max);
  if (s2 != 0.0) {
    return s2 >= x3max ? std::sqrt(s2 * (1.0 + (x3max / s2) * (x3max * s3)))
                       : std::sqrt(x3max * ((s2 / x3max) + (x3max * s3)));
  }
  return x3max * std::sqrt(s3);
}

void qrfac(std::size_t m, std::size_t n, double* a, std::size_t lda, std::size_t* ipvt, double* rdiag,
           double* acnorm, double* wa) {
  const auto at = [&](std::size_t i, std::size_t j) -> double& { return a[i * lda + j]; };
  for (std::size_t j = 0; j < n; ++j) {
    acnorm[j] = enorm(m, a + j, lda);
    rdiag[j] = wa[j] = acnorm[j];
    ipvt[j] = j;
  }
  const std::size_t steps = std::min(m, n);
  for (std::size_t j = 0; j < steps; ++j) {
    // Bring the column of largest remaining norm into the pivot position.
    std::size_t kmax = j;
    for (std::size_t k = j; k < n; ++k) {
      if (rdiag[k] > rdiag[kmax]) kmax = k;
    }
    if (kmax != j) {
      for (std::size_t i = 0; i < m; ++i) std::swap(at(i, j), at(i, kmax));
      rdiag[kmax] = rdiag[j];
      wa[kmax] = wa[j];
      std::swap(ipvt[j], ipvt[kmax]);
    }
    // The Householder transformation that reduces column j to a multiple
    // of the j-th unit vector.
    double ajnorm = enorm(m - j, &at(j, j), lda);
    if (ajnorm != 0.0) {
      if (at(j, j) < 0.0) ajnorm = -ajnorm;
      for (std::size_t i = j; i < m; ++i) at(i, j) /= ajnorm;
      at(j, j) += 1.0;
      // Apply it to the remaining columns and update their norms.
      for (std::size_t k = j + 1; k < n; ++k) {
        double sum = 0.0;
        for (std::size_t i = j; i < m; ++i) sum += at(i, j) * at(i, k);
        const double temp = sum / at(j, j);
        for (std::size_t i = j; i < m; ++i) at(i, k) -= temp * at(i, j);
        if (rdiag[k] != 0.0) {
          const double ratio = at(j, k) / rdiag[k];
          rdiag[k] *= std::sqrt(std::max(0.0, 1.0 - ratio * ratio));
          if (p05 * (rdiag[k] / wa[k]) * (rdiag[k] / wa[k]) <= epsmch) {
            rdiag[k] = enorm(m - j - 1, &at(j + 1, k), lda);
            wa[k] = rdiag[k];
          }
        }
      }
    }
    rdiag[j] = -ajnorm;
  }
}

void qrsolv(std::size_t n, double* r, std::size_t ldr, const std::size_t* ipvt, const double* diag,
            const double* qtb, double* x, double* sdiag, double* wa) {
  const auto at = [&](std::size_t i, std::size_t j) -> double& { return r[i * ldr + j]; };
  // Copy R and Q^T b to keep them: R's upper triangle into the lower one.
  for (std::size_t j = 0; j < n; ++j) {
    for (std::size_t i = j; i < n; ++i) at(i, j) = at(j, i);
    x[j] = at(j, j);
    wa[j] = qtb[j];
  }
  // Eliminate the diagonal matrix D by Givens rotations.
  for (std::size_t j = 0; j < n; ++j) {
    const double d = diag[ipvt[j]];
    if (d != 0.0) {
      std::fill(sdiag + j, sdiag + n, 0.0);
      sdiag[j] = d;
      // The transformations modify only one element of Q^T b beyond the
      // first n, which is initially 0.
      double qtbpj = 0.0;
      for (std::size_t k = j; k < n; ++k) {
        if (sdiag[k] == 0.0) continue;
        double sine, cosine;
        if (std::fabs(at(k, k)) < std::fabs(sdiag[k])) {
          const double cotangent = at(k, k) / sdiag[k];
          sine = 0.5 / std::sqrt(0.25 + 0.25 * cotangent * cotangent);
          cosine = sine * cotangent;
        } else {
          const double tangent = sdiag[k] / at(k, k);
          cosine = 0.5 / std::sqrt(0.25 + 0.25 * tangent * tangent);
          sine = cosine * tangent;
        }
        at(k, k) = cosine * at(k, k) + sine * sdiag[k];
        const double temp = cosine * wa[k] + sine * qtbpj;
        qtbpj = -sine * wa[k] + cosine * qtbpj;
        wa[k] = temp;
        for (std::size_t i = k + 1; i < n; ++i) {
          const double rotated = cosine * at(i, k) + sine * sdiag[i];
          sdiag[i] = -sine * at(i, k) + cosine * sdiag[i];
          at(i, k) = rotated;
        }
      }
    }
    // Store the diagonal of S and restore the diagonal of R.
    sdiag[j] = at(j, j);
    at(j, j) = x[j];
  }
  // Solve the triangular system for z; a singular one gets its least-squares
  // solution with the trailing components set to 0.
  std::size_t nsing = n;
  for (std::size_t j = 0; j < n; ++j) {
    if (sdiag[j] == 0.0 && nsing == n) nsing = j;
    if (nsing < n) wa[j] = 0.0;
  }
  for (std::size_t j = nsing; j-- > 0;) {
    double sum = 0.0;
    for (std::size_t i = j + 1; i < nsing; ++i) sum += at(i, j) * wa[i];
    wa[j] = (wa[j] - sum) / sdiag[j];
  }
  for (std::size_t j = 0; j < n; ++j) x[ipvt[j]] = wa[j];
}

void lmpar(std::size_t n, double* r, std::size_t ldr, const std::size_t* ipvt, const double* diag,
           const double* qtb, double delta, double& par, double* x, double* sdiag, double* wa1, double* wa2) {
  const auto at = [&](std::size_t i, std::size_t j) -> double& { return r[i * ldr + j]; };
  // The Gauss-Newton direction; for a rank-deficient Jacobian the
  // least-squares solution with trailing components 0.
  std::size_t nsing = n;
  for (std::size_t j = 0; j < n; ++j) {
    wa1[j] = qtb[j];
    if (at(j, j) == 0.0 && nsing == n) nsing = j;
    if (nsing < n) wa1[j] = 0.0;
  }
  for (std::size_t j = nsing; j-- > 0;) {
    wa1[j] /= at(j, j);
    const double temp = wa1[j];
    for (std::size_t i = 0; i < j; ++i) wa1[i] -= at(i, j) * temp;
  }
  for (std::size_t j = 0; j < n; ++j) x[ipvt[j]] = wa1[j];

  // Accept the Gauss-Newton direction when it is short enough.
  for (std::size_t j = 0; j < n; ++j) wa2[j] = diag[j] * x[j];
  double dxnorm = enorm(n, wa2);
  double fp = dxnorm - delta;
  if (fp <= p1 * delta) {
    par = 0.0;
    return;
  }
  // A lower bound, parl, for the zero of the function, when the Jacobian
  // has full rank; 0 otherwise.
  double parl = 0.0;
  if (nsing >= n) {
    for (std::size_t j = 0; j < n; ++j) {
      const std::size_t l = ipvt[j];
      wa1[j] = diag[l] * (wa2[l] / dxnorm);
    }
    for (std::size_t j = 0; j < n; ++j) {
      double sum = 0.0;
      for (std::size_t i = 0; i < j; ++i) sum += at(i, j) * wa1[i];
      wa1[j] = (wa1[j] - sum) / at(j, j);
    }
    const double temp = enorm(n, wa1);
    parl = ((fp / delta) / temp) / temp;
  }
  // An upper bound, paru.
  for (std::size_t j = 0; j < n; ++j) {
    double sum = 0.0;
    for (std::size_t i = 0; i <= j; ++i) sum += at(i, j) * qtb[i];
    wa1[j] = sum / diag[ipvt[j]];
  }
  const double gnorm = enorm(n, wa1);
  double paru = gnorm / delta;
  if (paru == 0.0) paru = dwarf / std::min(delta, p1);
  // Start par inside (parl, paru); the closest bound when it is outside.
  par = std::max(par, parl);
  par = std::min(par, paru);
  if (par == 0.0) par = gnorm / dxnorm;

  for (int pass = 1;; ++pass) {
    if (par == 0.0) par = std::max(dwarf, p001 * paru);
    const double root = std::sqrt(par);
    for (std::size_t j = 0; j < n; ++j) wa1[j] = root * diag[j];
    qrsolv(n, r, ldr, ipvt, wa1, qtb, x, sdiag, wa2);
    for (std::size_t j = 0; j < n; ++j) wa2[j] = diag[j] * x[j];
    dxnorm = enorm(n, wa2);
    const double previous = fp;
    fp = dxnorm - delta;
    // Stop when the step is within 10 % of the bound, when parl is 0 and
    // the function has stopped rising from below, or after 10 passes.
    if (std::fabs(fp) <= p1 * delta || (parl == 0.0 && fp <= previous && previous < 0.0) || pass == lmpar_passes) {
      return;
    }
    // Newton's correction.
    for (std::size_t j = 0; j < n; ++j) {
      const std::size_t l = ipvt[j];
      wa1[j] = diag[l] * (wa2[l] / dxnorm);
    }
    for (std::size_t j = 0; j < n; ++j) {
      wa1[j] /= sdiag[j];
      const double temp = wa1[j];
      for (std::size_t i = j + 1; i < n; ++i) wa1[i] -= at(i, j) * temp;
    }
    const double temp = enorm(n, wa1);
    const double parc = ((fp / delta) / temp) / temp;
    if (fp > 0.0) parl = std::max(parl, par);
    if (fp < 0.0) paru = std::min(paru, par);
    par = std::max(parl, par + parc);
  }
}

}  // namespace minpack
