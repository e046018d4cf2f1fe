// MINPACK's lmder as a template over a model, with the Jacobian held dense
// and factorised by QR with column pivoting (Moré, "The Levenberg-Marquardt
// algorithm: implementation and theory", 1978; MINPACK-1, 1980).
//
// The model M offers:
//   void residuals(const double* x, double* fvec)   the m residuals at x
//   void jacobian(const double* x, double* fjac)    the m x n Jacobian at x,
//                                                   row-major, a row per residual
//   void advance(const double* x, const double* p, double* x_new)
//                                                   the point reached by step p
//   bool failed                                     set by any of them when
//                                                   it cannot evaluate
//
// Example, f(x) = (x0 - 1, 10 (x1 - x0^2)):
//   struct rosenbrock {
//     bool failed = false;
//     void residuals(const double* x, double* f) { f[0] = x[0] - 1; f[1] = 10 * (x[1] - x[0] * x[0]); }
//     void jacobian(const double* x, double* j) { j[0] = 1; j[1] = 0; j[2] = -20 * x[0]; j[3] = 10; }
//     void advance(const double* x, const double* p, double* y) { y[0] = x[0] + p[0]; y[1] = x[1] + p[1]; }
//   };
#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <vector>

#include "solvers/lm_control.h"
#include "solvers/minpack.h"
#include "solvers/trust_region_loop.h"

// The contract above, checked where the solver is instantiated.
template <class M>
concept dense_lm_model = requires(M& model, const double* x, double* fvec, double* fjac, const double* p,
                                  double* x_new) {
  model.residuals(x, fvec);
  model.jacobian(x, fjac);
  model.advance(x, p, x_new);
  { model.failed } -> std::convertible_to<bool>;
};

namespace dense_lm_detail {

// The QR linearisation of lmder: R, the pivots and Q^T f at the accepted
// point, all sized at entry.
template <class Model>
class qr_linearisation {
 public:
  qr_linearisation(Model& model, std::size_t n, std::size_t m)
      : model_(model), n_(n), m_(m), fjac_(m * n), ipvt_(n), rdiag_(n), qtf_(n), work_(m), sdiag_(n),
        wa1_(n), wa2_(n), product_(n), acnorm_(n) {}

  bool evaluate(const double* x, const double* fvec) {
    model_.jacobian(x, fjac_.data());
    if (model_.failed) return false;
    minpack::qrfac(m_, n_, fjac_.data(), n_, ipvt_.data(), rdiag_.data(), acnorm_.data(), wa1_.data());
    // Q^T f, column by column of the Householder vectors, and R's diagonal
    // back in place.
    std::copy(fvec, fvec + m_, work_.begin());
    for (std::size_t j = 0; j < n_; ++j) {
      if (at(j, j) != 0.0) {
        double sum = 0.0;
        for (std::size_t i = j; i < m_; ++i) sum += at(i, j) * work_[i];
        const double temp = -sum / at(j, j);
        for (std::size_t i = j; i < m_; ++i) work_[i] += at(i, j) * temp;
      }
      at(j, j) = rdiag_[j];
      qtf_[j] = work_[j];
    }
    return true;
  }

  void column_norms(double* acnorm) const { std::copy(acnorm_.begin(), acnorm_.end(), acnorm); }

  double gradient_measure(double fnorm, const double* acnorm) const {
    double gnorm = 0.0;
    if (fnorm == 0.0) return gnorm;
    for (std::size_t j = 0; j < n_; ++j) {
      const std::size_t l = ipvt_[j];
      if (acnorm[l] == 0.0) continue;
      double sum = 0.0;
      for (std::size_t i = 0; i <= j; ++i) sum += at(i, j) * (qtf_[i] / fnorm);
      gnorm = std::max(gnorm, std::fabs(sum / acnorm[l]));
    }
    return gnorm;
  }

  void step(const double* diag, double delta, double& par, double* p) {
    minpack::lmpar(n_, fjac_.data(), n_, ipvt_.data(), diag, qtf_.data(), delta, par, p, sdiag_.data(), wa1_.data(),
                   wa2_.data());
  }

  // ||J p|| through R P^T p, as published.
  void predicted(const double* p, double par, double pnorm, double fnorm, double& prered, double& dirder) {
    for (std::size_t j = 0; j < n_; ++j) {
      product_[j] = 0.0;
      const double temp = p[ipvt_[j]];
      for (std::size_t i = 0; i <= j; ++i) product_[i] += at(i, j) * temp;
    }
    const double temp1 = minpack::enorm(n_, product_.data()) / fnorm;
    const double temp2 = (std::sqrt(par) * pnorm) / fnorm;
    prered = temp1 * temp1 + temp2 * temp2 / trust_region::p5;
    dirder = -(temp1 * temp1 + temp2 * temp2);
  }

 private:
  double& at(std::size_t i, std::size_t j) { return fjac_[i * n_ + j]; }
  double at(std::size_t i, std::size_t j) const { return fjac_[i * n_ + j]; }

  Model& model_;
  std::size_t n_, m_;
  std::vector<double> fjac_;
  std::vector<std::size_t> ipvt_;
  std::vector<double> rdiag_, qtf_, work_, sdiag_, wa1_, wa2_, product_, acnorm_;
};

}  // namespace dense_lm_detail

// Minimises the sum of squares of the model's m residuals over the n
// parameters x (in: the start, out: the best point accepted); fvec (m)
// receives the residuals there. The caller reads control.info and
// model.failed.
template <dense_lm_model Model>
void dense_levenberg_marquardt(lm_control& control, Model& model, double* x, std::size_t n, double* fvec,
                               std::size_t m) {
  dense_lm_detail::qr_linearisation<Model> linear(model, n, m);
  trust_region::run(control, model, linear, x, fvec, n, m);
}

// The engine's one dense problem: 5 unknowns, 9 residuals. Refuses other
// sizes without running; true when the model did not fail, whatever the
// stop code.
template <dense_lm_model Model>
bool dense_levenberg_marquardt_5x9(Model& model, std::vector<double>& x, std::vector<double>& fvec) {
  if (x.size() != 5 || fvec.size() != 9) return false;
  lm_control control;
  control.xtol = 1e-8;
  control.ftol = 1e-10;
  control.gtol = 1e-5;
  control.maxfev = 2000;
  dense_levenberg_marquardt(control, model, x.data(), 5, fvec.data(), 9);
  return !model.failed;
}
