// The Levenberg-Marquardt loop of MINPACK's lmder on problems with
// thousands of unknowns, where the model, not the solver, holds the
// Jacobian in blocks and solves the damped normal equations
// (J^T J + diag(d)) y = b itself. There is no QR factorisation: every
// operation that lmder and lmpar perform on R and Q^T f goes through the
// model's blocks.
//
// The model M offers, all in the order of its unknown vector:
//   std::size_t unknown_count() const, residual_count() const    n and m
//   bool failed                       set when an evaluation cannot be done
//   void residuals(const double* x, double* fvec)
//   void jacobian(const double* x, const double* fvec)
//                                     the Jacobian blocks and J^T J at x
//   void column_norms(double* acnorm) const
//   void gradient(const double* fvec, double* g) const          g = J^T f
//   double quadratic_form(const double* p) const                p^T J^T J p
//   void make_X(const double* d)      forms and factorises J^T J + diag(d)
//   void Xinv_b(const double* b, double* y)
//                                     y = X^-1 b for the last d; throws
//                                     std::runtime_error when the solve fails
//   bool full_rank() const            the last solve found X of full rank
//   void advance(const double* x, const double* p, double* x_new)
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
concept sparse_lm_model = requires(M& model, const M& held, const double* x, double* out, const double* d) {
  { held.unknown_count() } -> std::convertible_to<std::size_t>;
  { held.residual_count() } -> std::convertible_to<std::size_t>;
  { model.failed } -> std::convertible_to<bool>;
  model.residuals(x, out);
  model.jacobian(x, x);
  held.column_norms(out);
  held.gradient(x, out);
  { held.quadratic_form(x) } -> std::convertible_to<double>;
  model.make_X(d);
  model.Xinv_b(x, out);
  { held.full_rank() } -> std::convertible_to<bool>;
  held.advance(x, x, out);
};

namespace sparse_lm_detail {

// w^T X^-1 w / dxnorm^2 for w = diag^2 p: the derivative term of the
// secular equation, lmpar's ||R^-T D^2 x / dxnorm||^2.
template <class Model>
double secular_slope(Model& model, const double* diag, const double* p, double dxnorm, std::size_t n, double* w,
                     double* y) {
  for (std::size_t j = 0; j < n; ++j) w[j] = diag[j] * diag[j] * p[j];
  model.Xinv_b(w, y);
  double t = 0.0;
  for (std::size_t j = 0; j < n; ++j) t += w[j] * y[j];
  return t / (dxnorm * dxnorm);
}

// The normal-equation linearisation: the model's blocks, its gradient and
// the damped step, lmpar's analogue.
template <class Model>
class normal_linearisation {
 public:
  normal_linearisation(Model& model, std::size_t n) : model_(model), n_(n), g_(n), d_(n), w_(n), y_(n), scaled_(n) {}

  bool evaluate(const double* x, const double* fvec) {
    model_.jacobian(x, fvec);
    if (model_.failed) return false;
    fvec_ = fvec;
    return true;
  }

  void column_norms(double* acnorm) const { model_.column_norms(acnorm); }

  // No test for a zero column: 0 / 0 is not a number, which compares false
  // and leaves the largest value as it is.
  double gradient_measure(double fnorm, const double* acnorm) {
    model_.gradient(fvec_, g_.data());
    double gnorm = 0.0;
    if (fnorm == 0.0) return gnorm;
    for (std::size_t j = 0; j < n_; ++j) {
      const double cosine = std::fabs(g_[j]) / (fnorm * acnorm[j]);
      if (cosine > gnorm) gnorm = cosine;
    }
    return gnorm;
  }

  void step(const double* diag, double delta, double& par, double* p) {
    using trust_region::p1;
    constexpr double p001 = 0.001;
    constexpr int passes = 10;
    // The Gauss-Newton step.
    std::fill(p, p + n_, 0.0);
    std::fill(d_.begin(), d_.end(), 0.0);
    model_.make_X(d_.data());
    model_.Xinv_b(g_.data(), p);
    double dxnorm = scaled_norm(diag, p);
    double fp = dxnorm - delta;
    if (fp <= p1 * delta) {
      par = 0.0;
      return;
    }
    double parl = 0.0;
    if (model_.full_rank()) parl = (fp / delta) / secular_slope(model_, diag, p, dxnorm, n_, w_.data(), y_.data());
    // The upper bound multiplies the gradient by the scale where lmpar
    // divides; the step sequence rests on this bound, so it stays.
    for (std::size_t j = 0; j < n_; ++j) scaled_[j] = diag[j] * g_[j];
    const double gnorm = minpack::enorm(n_, scaled_.data());
    double paru = gnorm / delta;
    if (paru == 0.0) paru = minpack::dwarf / std::min(delta, p1);
    par = std::max(par, parl);
    par = std::min(par, paru);
    if (par == 0.0) par = gnorm / dxnorm;

    for (int pass = 1;; ++pass) {
      if (par == 0.0) par = std::max(p001 * paru, minpack::dwarf);
      for (std::size_t j = 0; j < n_; ++j) d_[j] = par * diag[j] * diag[j];
      model_.make_X(d_.data());
      model_.Xinv_b(g_.data(), p);
      dxnorm = scaled_norm(diag, p);
      const double previous = fp;
      fp = dxnorm - delta;
      if (pass == passes || std::fabs(fp) <= p1 * delta || (parl == 0.0 && previous >= fp && previous < 0.0)) return;
      const double parc = (fp / delta) / secular_slope(model_, diag, p, dxnorm, n_, w_.data(), y_.data());
      if (fp > 0.0) parl = std::max(parl, par);
      if (fp < 0.0) paru = std::min(paru, par);
      par = std::max(parl, par + parc);
    }
  }

  void predicted(const double* p, double par, double pnorm, double fnorm, double& prered, double& dirder) const {
    const double temp1 = model_.quadratic_form(p) / (fnorm * fnorm);
    const double temp2 = pnorm * par * pnorm / (fnorm * fnorm);
    prered = temp1 + 2.0 * temp2;
    dirder = -(temp1 + temp2);
  }

 private:
  double scaled_norm(const double* diag, const double* p) {
    for (std::size_t j = 0; j < n_; ++j) scaled_[j] = diag[j] * p[j];
    return minpack::enorm(n_, scaled_.data());
  }

  Model& model_;
  std::size_t n_;
  const double* fvec_ = nullptr;
  std::vector<double> g_, d_, w_, y_, scaled_;
};

}  // namespace sparse_lm_detail

template <sparse_lm_model Model>
void sparse_levenberg_marquardt(lm_control& control, Model& model, double* x, double* fvec) {
  const std::size_t n = model.unknown_count(), m = model.residual_count();
  sparse_lm_detail::normal_linearisation<Model> linear(model, n);
  trust_region::run(control, model, linear, x, fvec, n, m);
}

// Runs the solver with the engine's options (xtol 1e-8, ftol 1e-10,
// gtol 1e-5, 400 n evaluations). Refuses without running when the vectors
// do not have the model's sizes or there are more unknowns than residuals;
// otherwise true when the model did not fail, whatever the stop code.
template <sparse_lm_model Model>
bool solve_sparse_levenberg_marquardt(Model& model, std::vector<double>& x, std::vector<double>& fvec,
                                      lm_control& control) {
  const std::size_t n = model.unknown_count(), m = model.residual_count();
  if (x.size() != n || fvec.size() != m || n > m) return false;
  control.xtol = 1e-8;
  control.ftol = 1e-10;
  control.gtol = 1e-5;
  control.maxfev = 400 * n;
  sparse_levenberg_marquardt(control, model, x.data(), fvec.data());
  return !model.failed;
}
