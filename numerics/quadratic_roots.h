// The roots of a quadratic with real coefficients.
#pragma once

// The two roots of c0 + c1 x + c2 x^2, real parts in `real` and imaginary
// parts in `imaginary`; returns how many are real (2 or 0). The real roots
// are computed without cancellation. Throws std::runtime_error when c2 is
// below machine epsilon in size.
int quadratic_roots_real(double c0, double c1, double c2, double real[2], double imaginary[2]);
