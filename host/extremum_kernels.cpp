#include "host/extremum_kernels.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "host/cpu_support.h"

namespace host {
namespace {

template <class Beats>
bool beats_neighbourhood(const float* const planes[3], std::size_t index, std::size_t width, float value,
                         Beats beats) {
  for (const std::size_t row : {index - width, index, index + width}) {
    for (std::size_t i = row - 1; i <= row + 1; ++i) {
      if (!beats(value, planes[0][i]) || !beats(value, planes[2][i])) return false;
      if (i != index && !beats(value, planes[1][i])) return false;
    }
  }
  return true;
}

bool is_extremum(const float* const planes[3], std::size_t index, std::size_t width, float threshold) {
  const float value = planes[1][index];
  if (std::fabs(value) <= threshold) return false;
  return value > 0.0f ? beats_neighbourhood(planes, index, width, value, [](float a, float b) { return a > b; })
                      : beats_neighbourhood(planes, index, width, value, [](float a, float b) { return a < b; });
}

// Eight columns at a time: the largest and smallest of the 26 neighbours
// come from 27 loads, and the test is one comparison each way.
// The span's columns within the row's inner ones, 1 to width - 2.
column_span inner(column_span span, std::size_t width) {
  return {std::max<std::size_t>(span.first, 1), std::min(span.end, std::max<std::size_t>(width, 1) - 1)};
}

__attribute__((target("avx2"))) std::size_t extrema_in_row_avx2(const float* below, const float* here,
                                                                const float* above, std::size_t width,
                                                                std::size_t y, column_span span, float threshold,
                                                                uint32_t* found) {
  const float* const planes[3] = {below, here, above};
  const std::size_t row = y * width;
  const __m256 positive = _mm256_set1_ps(threshold), negative = _mm256_set1_ps(-threshold);
  const column_span columns = inner(span, width);
  std::size_t count = 0, x = columns.first;
  // The last columns, fewer than eight, are searched by the eight that end
  // with the span, keeping only the lanes not searched before.
  for (int fresh = 0xFF; x < columns.end && columns.end - columns.first >= 8; x += 8) {
    if (x + 8 > columns.end) {
      fresh = (0xFF << (x - (columns.end - 8))) & 0xFF;
      x = columns.end - 8;
    }
    const std::size_t index = row + x;
    const __m256 value = _mm256_loadu_ps(here + index);
    const __m256 high = _mm256_cmp_ps(value, positive, _CMP_GT_OQ);
    const __m256 low = _mm256_cmp_ps(value, negative, _CMP_LT_OQ);
    if (_mm256_movemask_ps(_mm256_or_ps(high, low)) == 0) continue;
    __m256 largest = _mm256_set1_ps(-INFINITY), smallest = _mm256_set1_ps(INFINITY);
    for (const float* plane : planes) {
      for (const std::size_t r : {index - width, index, index + width}) {
        for (std::size_t i = r - 1; i <= r + 1; ++i) {
          if (plane == here && i == index) continue;
          const __m256 neighbour = _mm256_loadu_ps(plane + i);
          largest = _mm256_max_ps(largest, neighbour);
          smallest = _mm256_min_ps(smallest, neighbour);
        }
      }
    }
    const __m256 maximum = _mm256_and_ps(high, _mm256_cmp_ps(value, largest, _CMP_GT_OQ));
    const __m256 minimum = _mm256_and_ps(low, _mm256_cmp_ps(value, smallest, _CMP_LT_OQ));
    for (int bits = _mm256_movemask_ps(_mm256_or_ps(maximum, minimum)) & fresh; bits != 0; bits &= bits - 1) {
      found[count++] = static_cast<uint32_t>(x + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(bits))));
    }
  }
  for (; x < columns.end; ++x) {
    if (is_extremum(planes, row + x, width, threshold)) found[count++] = static_cast<uint32_t>(x);
  }
  return count;
}

}  // namespace

std::size_t extrema_in_row_portable(const float* below, const float* here, const float* above, std::size_t width,
                                    std::size_t y, column_span span, float threshold, uint32_t* found) {
  const float* const planes[3] = {below, here, above};
  const column_span columns = inner(span, width);
  std::size_t count = 0;
  for (std::size_t x = columns.first; x < columns.end; ++x) {
    if (is_extremum(planes, y * width + x, width, threshold)) found[count++] = static_cast<uint32_t>(x);
  }
  return count;
}

std::size_t extrema_in_row(const float* below, const float* here, const float* above, std::size_t width,
                           std::size_t y, column_span span, float threshold, uint32_t* found) {
  if (width < 3) return 0;
  return cpu_has_avx2() ? extrema_in_row_avx2(below, here, above, width, y, span, threshold, found)
                        : extrema_in_row_portable(below, here, above, width, y, span, threshold, found);
}

}  // namespace host
