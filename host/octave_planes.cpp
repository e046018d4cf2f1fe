#include "host/octave_planes.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

// What one step of the engine's integrated Gaussian adds.
double step_variance(double sigma) { return sigma * sigma + 1.0 / 12.0; }

}  // namespace

level_variances::level_variances(const scale_space& record, uint64_t octave) {
  const std::size_t s = record.levels_per_octave;
  const std::size_t count = std::min(s + 3, max_levels);
  count_ = count;
  const double k = std::exp2(1.0 / static_cast<double>(s));
  const double base = record.base_sigma, input = record.input_blur;
  double first = base > input ? input * input + step_variance(std::sqrt(base * base - input * input)) : input * input;
  for (uint64_t o = 0;; ++o) {
    variance_[0] = first;
    double sigma = std::sqrt(k * k - 1.0) * base;
    for (std::size_t l = 0; l + 1 < count; ++l) {
      variance_[l + 1] = variance_[l] + step_variance(sigma);
      sigma *= k;
    }
    if (o == octave || s >= count) break;
    // The next octave starts from level S, at half the sample rate.
    first = variance_[s] / 4.0;
  }
}

float level_variances::sigma_at(float level) const {
  const float clamped = std::clamp(level, 0.0f, static_cast<float>(count_ - 1));
  const auto lower = std::min(static_cast<std::size_t>(clamped), count_ - 2);
  const double fraction = clamped - static_cast<float>(lower);
  const double variance = variance_[lower] * std::pow(variance_[lower + 1] / variance_[lower], fraction);
  return static_cast<float>(std::sqrt(variance));
}

difference_gains::difference_gains(const level_variances& variances, uint64_t levels_per_octave) {
  const std::size_t count = std::min<std::size_t>(levels_per_octave + 2, level_variances::max_levels - 1);
  const double k = std::exp2(1.0 / static_cast<double>(levels_per_octave));
  for (std::size_t l = 0; l < count; ++l) {
    const double lower = variances[l], upper = variances[l + 1];
    gain_[l] = static_cast<float>((k * k - 1.0) / k * std::sqrt(lower * upper) / (upper - lower));
  }
}

}  // namespace host
