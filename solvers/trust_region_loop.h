// The outer loop of MINPACK's lmder, shared by the dense and the sparse
// Levenberg-Marquardt solvers.
//
// The two solvers differ only in how they linearise the residuals at an
// accepted point. A linearisation L offers:
//
//   bool evaluate(x, fvec)        the Jacobian at the accepted point x with
//                                 residuals fvec; false when the model failed
//   void column_norms(acnorm)     the norms of the Jacobian's columns
//   double gradient_measure(fnorm, acnorm)
//                                 the largest cosine between the residual and
//                                 a column of the Jacobian (0 when fnorm is 0)
//   void step(diag, delta, par, p)
//                                 the damped Gauss-Newton step for the trust
//                                 radius delta, updating par (the sign of p is
//                                 that of J^T f: the loop negates it)
//   void predicted(p, par, pnorm, fnorm, prered, dirder)
//                                 the predicted relative reduction of the step
//                                 and the directional derivative
//
// and the model M offers residuals(x, fvec), advance(x, p, x_new) (the
// loop never forms x + p itself) and the flag `failed`, read after each
// evaluation. Beyond MINPACK as published: `iter` counts from 0, the
// gradient stop is strict (gtol > measure), the 0.1 tests divide the new
// norm by 10 and multiply the step norm by 10, and the model's failure
// ends the run with info as it stands.
#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <vector>

#include "solvers/lm_control.h"
#include "solvers/minpack.h"

namespace trust_region {

// The contracts above, checked where the loop is instantiated.
template <class L>
concept linearisation = requires(L& linear, const double* x, double* out, double delta, double& par, double value,
                                 double& result) {
  { linear.evaluate(x, x) } -> std::convertible_to<bool>;
  linear.column_norms(out);
  { linear.gradient_measure(value, x) } -> std::convertible_to<double>;
  linear.step(x, delta, par, out);
  linear.predicted(x, value, value, value, result, result);
};

template <class M>
concept residual_model = requires(M& model, const double* x, double* out) {
  model.residuals(x, out);
  model.advance(x, x, out);
  { model.failed } -> std::convertible_to<bool>;
};

// Published constants of lmder.
inline constexpr double step_bound_factor = 100.0;
inline constexpr double p1 = 0.1, p25 = 0.25, p5 = 0.5, p75 = 0.75, p0001 = 1e-4;

// The stop tests after a trial step, in their published order.
inline int64_t stop_code(const lm_control& c, double actred, double prered, double ratio, double delta, double xnorm,
                         double gnorm) {
  const bool reduced = std::fabs(actred) <= c.ftol && prered <= c.ftol && p5 * ratio <= 1.0;
  int64_t info = 0;
  if (reduced) info = lm_reduction;
  if (delta <= c.xtol * xnorm) info = lm_step;
  if (reduced && info == lm_step) info = lm_reduction_and_step;
  if (info != 0) return info;
  if (c.nfev >= c.maxfev) info = lm_budget;
  if (std::fabs(actred) <= minpack::epsmch && prered <= minpack::epsmch && p5 * ratio <= 1.0) info = lm_ftol_too_small;
  if (delta <= minpack::epsmch * xnorm) info = lm_xtol_too_small;
  if (gnorm <= minpack::epsmch) info = lm_gtol_too_small;
  return info;
}

template <residual_model Model, linearisation Linearisation>
void run(lm_control& c, Model& model, Linearisation& linear, double* x, double* fvec, std::size_t n, std::size_t m) {
  c.nfev = c.njev = 0;
  c.info = 0;
  std::vector<double> diag(n), acnorm(n), p(n), trial(n), scaled(n), trial_f(m);

  model.residuals(x, fvec);
  ++c.nfev;
  if (model.failed) return;
  double fnorm = minpack::enorm(m, fvec);
  double par = 0.0, delta = 0.0, xnorm = 0.0;
  const auto scaled_norm = [&](const double* v) {
    for (std::size_t j = 0; j < n; ++j) scaled[j] = diag[j] * v[j];
    return minpack::enorm(n, scaled.data());
  };

  c.iter = 0;
  for (;;) {
    ++c.njev;
    if (!linear.evaluate(x, fvec)) return;
    linear.column_norms(acnorm.data());
    if (c.iter == 0) {
      for (std::size_t j = 0; j < n; ++j) diag[j] = acnorm[j] == 0.0 ? 1.0 : acnorm[j];
      xnorm = scaled_norm(x);
      delta = step_bound_factor * xnorm;
      if (delta == 0.0) delta = step_bound_factor;
    }
    const double gnorm = linear.gradient_measure(fnorm, acnorm.data());
    if (c.gtol > gnorm) {
      c.info = lm_gradient;
      return;
    }
    for (std::size_t j = 0; j < n; ++j) diag[j] = std::max(diag[j], acnorm[j]);

    double ratio = 0.0;
    do {
      linear.step(diag.data(), delta, par, p.data());
      for (double& v : p) v = -v;
      model.advance(x, p.data(), trial.data());
      const double pnorm = scaled_norm(p.data());
      if (c.iter == 0) delta = std::min(delta, pnorm);
      model.residuals(trial.data(), trial_f.data());
      ++c.nfev;
      if (model.failed) return;
      const double fnorm1 = minpack::enorm(m, trial_f.data());

      const double actred = fnorm > fnorm1 / 10.0 ? 1.0 - (fnorm1 / fnorm) * (fnorm1 / fnorm) : -1.0;
      double prered = 0.0, dirder = 0.0;
      linear.predicted(p.data(), par, pnorm, fnorm, prered, dirder);
      ratio = prered != 0.0 ? actred / prered : 0.0;

      // Update the step bound.
      if (ratio <= p25) {
        double temp = actred >= 0.0 ? p5 : dirder / (2.0 * dirder + actred);
        if (fnorm1 / 10.0 >= fnorm || temp < p1) temp = p1;
        delta = temp * std::min(delta, pnorm * 10.0);
        par /= temp;
      } else if (par == 0.0 || ratio >= p75) {
        delta = pnorm / p5;
        par = p5 * par;
      }
      if (ratio >= p0001) {  // a successful step
        std::copy(trial.begin(), trial.end(), x);
        std::copy(trial_f.begin(), trial_f.end(), fvec);
        xnorm = scaled_norm(x);
        fnorm = fnorm1;
        ++c.iter;
      }
      c.info = stop_code(c, actred, prered, ratio, delta, xnorm, gnorm);
      if (c.info != 0) return;
    } while (ratio < p0001);
  }
}

}  // namespace trust_region
