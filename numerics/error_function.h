// The error function and its complements, by W. J. Cody's rational
// Chebyshev approximations ("Rational Chebyshev approximations for the error
// function", Math. Comp. 1969), in double arithmetic with the limits that
// the routine gives for IEEE single precision.
#pragma once

enum class error_function_mode {
  erf = 0,          // erf(x)
  erfc = 1,         // 1 - erf(x)
  scaled_erfc = 2,  // exp(x^2) erfc(x)
};

double error_function(double x, error_function_mode mode);

