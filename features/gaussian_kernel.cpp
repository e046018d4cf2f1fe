#include "features/gaussian_kernel.h"

#include "numerics/error_function.h"

gaussian_kernel::gaussian_kernel(float sigma) {
  const auto radius = static_cast<std::size_t>(static_cast<double>(sigma) * 3.5 + 0.5);
  length = 2 * radius + 1;
  taps = std::make_unique<float[]>(length);

  const double inverse = 1.0 / (static_cast<double>(sigma) * 1.4142135623730951);
  const auto erf = [](double x) { return error_function(x, error_function_mode::erf); };
  const auto erfc = [](double x) { return error_function(x, error_function_mode::erfc); };
  double sum = 0.0;
  for (std::size_t i = 1; i <= radius; ++i) {
    const double distance = static_cast<double>(i);
    const double weight = distance * inverse < 2.5
                              ? erf((distance + 0.5) * inverse) - erf((distance - 0.5) * inverse)
                              : erfc((distance - 0.5) * inverse) - erfc((distance + 0.5) * inverse);
    taps[radius - i] = taps[radius + i] = static_cast<float>(weight);
    sum += weight;
  }
  const double centre = erf(0.5 * inverse) - erf(-0.5 * inverse);
  taps[radius] = static_cast<float>(centre);

  const auto total = static_cast<float>(2.0 * sum + centre);
  for (std::size_t i = 0; i < length; ++i) taps[i] /= total;
}

