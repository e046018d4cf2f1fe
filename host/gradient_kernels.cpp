#include "host/gradient_kernels.h"

#include <immintrin.h>

#include <cmath>

#include "host/cpu_support.h"

namespace host {
namespace {

// atan(a) on [0, 1] as a (c1 + c3 a^2 + c5 a^4 + c7 a^6), fitted for the
// smallest largest error (8.2e-5 radians).
constexpr float c1 = 0.99921376f;
constexpr float c3 = -0.32117441f;
constexpr float c5 = 0.14626300f;
constexpr float c7 = -0.038985462f;
constexpr float half_pi = 1.57079632679489662f;
constexpr float pi = 3.14159265358979324f;
constexpr float two_pi = 6.28318530717958648f;
// Keeps 0 / 0 at 0 for a flat neighbourhood.
constexpr float tiny = 1e-30f;

__attribute__((target("avx2"))) void gradient_row_avx2(const float* plane, std::size_t width, std::size_t y,
                                                       std::size_t x0, std::size_t count, float* magnitude,
                                                       float* direction) {
  const float* row = plane + y * width + x0;
  const __m256 sign = _mm256_set1_ps(-0.0f);
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const float* centre = row + i;
    const __m256 dx = _mm256_sub_ps(_mm256_loadu_ps(centre + 1), _mm256_loadu_ps(centre - 1));
    const __m256 dy = _mm256_sub_ps(_mm256_loadu_ps(centre + width), _mm256_loadu_ps(centre - width));
    _mm256_storeu_ps(magnitude + i, _mm256_sqrt_ps(_mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_mul_ps(dy, dy))));

    const __m256 ax = _mm256_andnot_ps(sign, dx), ay = _mm256_andnot_ps(sign, dy);
    const __m256 a = _mm256_div_ps(_mm256_min_ps(ax, ay), _mm256_add_ps(_mm256_max_ps(ax, ay), _mm256_set1_ps(tiny)));
    const __m256 s = _mm256_mul_ps(a, a);
    __m256 r = _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(c7), s), _mm256_set1_ps(c5));
    r = _mm256_add_ps(_mm256_mul_ps(r, s), _mm256_set1_ps(c3));
    r = _mm256_add_ps(_mm256_mul_ps(r, s), _mm256_set1_ps(c1));
    r = _mm256_mul_ps(r, a);
    r = _mm256_blendv_ps(r, _mm256_sub_ps(_mm256_set1_ps(half_pi), r), _mm256_cmp_ps(ay, ax, _CMP_GT_OQ));
    r = _mm256_blendv_ps(r, _mm256_sub_ps(_mm256_set1_ps(pi), r), _mm256_cmp_ps(dx, _mm256_setzero_ps(), _CMP_LT_OQ));
    r = _mm256_blendv_ps(r, _mm256_sub_ps(_mm256_set1_ps(two_pi), r), _mm256_cmp_ps(dy, _mm256_setzero_ps(), _CMP_LT_OQ));
    r = _mm256_blendv_ps(r, _mm256_setzero_ps(), _mm256_cmp_ps(r, _mm256_set1_ps(two_pi), _CMP_GE_OQ));
    _mm256_storeu_ps(direction + i, r);
  }
  gradient_row_portable(plane, width, y, x0 + i, count - i, magnitude + i, direction + i);
}

}  // namespace

void gradient_row_portable(const float* plane, std::size_t width, std::size_t y, std::size_t x0,
                           std::size_t count, float* magnitude, float* direction) {
  const float* row = plane + y * width + x0;
  for (std::size_t i = 0; i < count; ++i) {
    const float* centre = row + i;
    const float dx = centre[1] - centre[-1];
    const float dy = centre[width] - centre[-static_cast<std::ptrdiff_t>(width)];
    magnitude[i] = std::sqrt(dx * dx + dy * dy);

    const float ax = std::fabs(dx), ay = std::fabs(dy);
    const float a = std::fmin(ax, ay) / (std::fmax(ax, ay) + tiny);
    const float s = a * a;
    float r = ((c7 * s + c5) * s + c3) * s + c1;
    r = r * a;
    if (ay > ax) r = half_pi - r;
    if (dx < 0.0f) r = pi - r;
    if (dy < 0.0f) r = two_pi - r;
    if (r >= two_pi) r = 0.0f;
    direction[i] = r;
  }
}

void gradient_row(const float* plane, std::size_t width, std::size_t y, std::size_t x0, std::size_t count,
                  float* magnitude, float* direction) {
  if (cpu_has_avx2()) {
    gradient_row_avx2(plane, width, y, x0, count, magnitude, direction);
  } else {
    gradient_row_portable(plane, width, y, x0, count, magnitude, direction);
  }
}

}  // namespace host
