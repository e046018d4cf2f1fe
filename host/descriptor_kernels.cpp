#include "host/descriptor_kernels.h"

#include <immintrin.h>

#include <algorithm>

#include "host/cpu_support.h"

namespace host {
namespace {

constexpr std::size_t bytes = 128;

// Sums of absolute differences of one candidate against the query's four
// 32-byte quarters: four 64-bit partial sums, each below 2^16.
__attribute__((target("avx2"))) inline __m256i quarter_sums(__m256i query, const uint8_t* candidate) {
  return _mm256_sad_epu8(query, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(candidate)));
}

__attribute__((target("avx2"))) inline __m256i partial_sums(const __m256i query[4], const uint8_t* candidate) {
  return _mm256_add_epi64(_mm256_add_epi64(quarter_sums(query[0], candidate), quarter_sums(query[1], candidate + 32)),
                          _mm256_add_epi64(quarter_sums(query[2], candidate + 64), quarter_sums(query[3], candidate + 96)));
}

__attribute__((target("avx2"))) inline uint32_t reduce(__m256i sums) {
  const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi64(half, _mm_unpackhi_epi64(half, half))));
}

__attribute__((target("avx2"))) void load_query(const uint8_t* query, __m256i registers[4]) {
  for (int q = 0; q < 4; ++q) registers[q] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(query + 32 * q));
}

__attribute__((target("avx2"))) uint32_t descriptor_distance_avx2(const uint8_t* a, const uint8_t* b) {
  __m256i query[4];
  load_query(a, query);
  return reduce(partial_sums(query, b));
}

// Four candidates a step. Their partial sums are interleaved into 32-bit
// lanes and added across in one go, so that a step ends in one store of
// four distances instead of four horizontal reductions.
__attribute__((target("avx2"))) void distances_to_block_avx2(const uint8_t* query_bytes, const uint8_t* candidates,
                                                             std::size_t count, uint32_t* distances) {
  __m256i query[4];
  load_query(query_bytes, query);
  std::size_t k = 0;
  for (; k + 4 <= count; k += 4) {
    const uint8_t* c = candidates + k * bytes;
    const __m256i s0 = partial_sums(query, c), s1 = partial_sums(query, c + bytes);
    const __m256i s2 = partial_sums(query, c + 2 * bytes), s3 = partial_sums(query, c + 3 * bytes);
    // Each 64-bit lane becomes (candidate 0, candidate 1) and (2, 3).
    const __m256i s01 = _mm256_or_si256(s0, _mm256_slli_epi64(s1, 32));
    const __m256i s23 = _mm256_or_si256(s2, _mm256_slli_epi64(s3, 32));
    // Lanes 0 and 1 of each half, then lanes 2 and 3, as (0, 1, 2, 3).
    const __m256i sum = _mm256_add_epi32(_mm256_unpacklo_epi64(s01, s23), _mm256_unpackhi_epi64(s01, s23));
    const __m128i total = _mm_add_epi32(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(distances + k), total);
  }
  for (; k < count; ++k) distances[k] = reduce(partial_sums(query, candidates + k * bytes));
}

__attribute__((target("avx2"))) uint32_t smallest_avx2(const uint32_t* values, std::size_t count) {
  __m256i low = _mm256_set1_epi32(-1);
  std::size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    low = _mm256_min_epu32(low, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + k)));
  }
  __m128i half = _mm_min_epu32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
  half = _mm_min_epu32(half, _mm_shuffle_epi32(half, 0x4E));
  half = _mm_min_epu32(half, _mm_shuffle_epi32(half, 0xB1));
  uint32_t result = static_cast<uint32_t>(_mm_cvtsi128_si32(half));
  for (; k < count; ++k) result = std::min(result, values[k]);
  return result;
}

__attribute__((target("avx2"))) std::size_t first_equal_avx2(const uint32_t* values, std::size_t count, uint32_t value) {
  const __m256i wanted = _mm256_set1_epi32(static_cast<int>(value));
  std::size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    const __m256i equal = _mm256_cmpeq_epi32(wanted, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + k)));
    const int bits = _mm256_movemask_ps(_mm256_castsi256_ps(equal));
    if (bits != 0) return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(bits)));
  }
  for (; k < count; ++k) {
    if (values[k] == value) return k;
  }
  return count;
}

__attribute__((target("avx2"))) nearest_two two_smallest_avx2(const uint32_t* distances, std::size_t count) {
  const uint32_t best = smallest_avx2(distances, count);
  if (best == 0xFFFFFFFF) return {best, best, count};
  const std::size_t position = first_equal_avx2(distances, count, best);
  const uint32_t second = std::min(smallest_avx2(distances, position),
                                   smallest_avx2(distances + position + 1, count - position - 1));
  return {best, second, position};
}

}  // namespace

nearest_two two_smallest_portable(const uint32_t* distances, std::size_t count) {
  nearest_two result{0xFFFFFFFF, 0xFFFFFFFF, count};
  for (std::size_t k = 0; k < count; ++k) {
    if (distances[k] < result.best) {
      result.second = result.best;
      result.best = distances[k];
      result.position = k;
    } else {
      result.second = std::min(result.second, distances[k]);
    }
  }
  return result;
}

nearest_two two_smallest(const uint32_t* distances, std::size_t count) {
  return cpu_has_avx2() ? two_smallest_avx2(distances, count) : two_smallest_portable(distances, count);
}

uint32_t descriptor_distance_portable(const uint8_t* a, const uint8_t* b) {
  uint32_t sum = 0;
  for (std::size_t i = 0; i < bytes; ++i) sum += static_cast<uint32_t>(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
  return sum;
}

void distances_to_block_portable(const uint8_t* query, const uint8_t* candidates, std::size_t count,
                                 uint32_t* distances) {
  for (std::size_t k = 0; k < count; ++k) distances[k] = descriptor_distance_portable(query, candidates + k * bytes);
}

uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b) {
  return cpu_has_avx2() ? descriptor_distance_avx2(a, b) : descriptor_distance_portable(a, b);
}

void distances_to_block(const uint8_t* query, const uint8_t* candidates, std::size_t count, uint32_t* distances) {
  if (cpu_has_avx2()) {
    distances_to_block_avx2(query, candidates, count, distances);
  } else {
    distances_to_block_portable(query, candidates, count, distances);
  }
}

}  // namespace host
