// Options and results of a Levenberg-Marquardt run, shared by the dense and
// the sparse solver.
#pragma once

#include <cstdint>

struct lm_control {
  // In.
  double xtol = 1e-8;    // relative step tolerance
  uint64_t maxfev = 0;   // budget of residual evaluations
  double ftol = 1e-10;   // relative reduction tolerance
  double gtol = 1e-5;    // gradient orthogonality tolerance

  // Out.
  uint64_t nfev = 0;  // residual evaluations, the first one included
  uint64_t njev = 0;  // Jacobian evaluations
  uint64_t iter = 0;  // accepted steps
  int64_t info = 0;   // stop code, see lm_stop
};

// The stop codes of MINPACK's lmder.
enum lm_stop : int64_t {
  lm_model_failed = 0,     // or not stopped yet
  lm_reduction = 1,        // actual and predicted relative reduction at most ftol
  lm_step = 2,             // relative step at most xtol
  lm_reduction_and_step = 3,
  lm_gradient = 4,         // gtol above the gradient measure
  lm_budget = 5,           // nfev reached maxfev
  lm_ftol_too_small = 6,
  lm_xtol_too_small = 7,
  lm_gtol_too_small = 8,
};
