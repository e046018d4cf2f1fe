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

// A table entry in 32 bits, the mark widened to the value of no distance.
uint32_t widen(uint16_t distance) { return distance == no_table_distance ? 0xFFFFFFFF : distance; }

__attribute__((target("avx2"))) uint16_t smallest_avx2(const uint16_t* values, std::size_t count) {
  __m256i low = _mm256_set1_epi16(-1);
  std::size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    low = _mm256_min_epu16(low, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + k)));
  }
  const __m128i half = _mm_min_epu16(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
  auto result = static_cast<uint16_t>(_mm_cvtsi128_si32(_mm_minpos_epu16(half)));
  for (; k < count; ++k) result = std::min(result, values[k]);
  return result;
}

__attribute__((target("avx2"))) std::size_t first_equal_avx2(const uint16_t* values, std::size_t count, uint16_t value) {
  const __m256i wanted = _mm256_set1_epi16(static_cast<short>(value));
  std::size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    const __m256i equal = _mm256_cmpeq_epi16(wanted, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + k)));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(equal));
    if (bits != 0) return k + static_cast<std::size_t>(__builtin_ctz(bits)) / 2;
  }
  for (; k < count; ++k) {
    if (values[k] == value) return k;
  }
  return count;
}

__attribute__((target("avx2"))) nearest_two two_smallest_avx2(const uint16_t* distances, std::size_t count) {
  const uint16_t best = smallest_avx2(distances, count);
  if (best == no_table_distance) return {0xFFFFFFFF, 0xFFFFFFFF, count};
  const std::size_t position = first_equal_avx2(distances, count, best);
  const uint16_t second = std::min(smallest_avx2(distances, position),
                                   smallest_avx2(distances + position + 1, count - position - 1));
  return {best, widen(second), position};
}

// The eight distances of descriptors i .. i + 3 of `a` to k and k + 1 of
// `b`. Per 32-byte quarter the two of `b` are loaded once for the four of
// `a`; eight accumulators of four 64-bit partial sums each stay in
// registers until the end.
__attribute__((target("avx2"))) void distance_block_avx2(const uint8_t* a, std::size_t count_a, const uint8_t* b,
                                                         std::size_t count_b, std::size_t i, std::size_t k,
                                                         uint16_t* by_a, uint16_t* by_b) {
  __m256i sums[4][2];
  for (auto& row : sums) row[0] = row[1] = _mm256_setzero_si256();
  const uint8_t* a_row = a + i * bytes;
  const uint8_t* b_row = b + k * bytes;
  for (std::size_t quarter = 0; quarter < bytes; quarter += 32) {
    const __m256i b0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b_row + quarter));
    const __m256i b1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b_row + bytes + quarter));
    for (std::size_t q = 0; q < 4; ++q) {
      const __m256i aq = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_row + q * bytes + quarter));
      sums[q][0] = _mm256_add_epi64(sums[q][0], _mm256_sad_epu8(aq, b0));
      sums[q][1] = _mm256_add_epi64(sums[q][1], _mm256_sad_epu8(aq, b1));
    }
  }
  // Each 64-bit lane becomes (to k, to k + 1) in 32 bits; the partial sums
  // stay below 2^16, so nothing carries.
  __m256i pairs[4];
  for (std::size_t q = 0; q < 4; ++q) {
    pairs[q] = _mm256_blend_epi32(sums[q][0], _mm256_slli_epi64(sums[q][1], 32), 0xAA);
  }
  // Lanes added within each half, rows 0 and 1 in one vector, 2 and 3 in
  // the other, then the halves: (d00, d01, d10, d11, d20, d21, d30, d31).
  const __m256i rows01 = _mm256_add_epi32(_mm256_unpacklo_epi64(pairs[0], pairs[1]),
                                          _mm256_unpackhi_epi64(pairs[0], pairs[1]));
  const __m256i rows23 = _mm256_add_epi32(_mm256_unpacklo_epi64(pairs[2], pairs[3]),
                                          _mm256_unpackhi_epi64(pairs[2], pairs[3]));
  const __m256i total = _mm256_add_epi32(_mm256_permute2x128_si256(rows01, rows23, 0x20),
                                         _mm256_permute2x128_si256(rows01, rows23, 0x31));
  const __m128i packed = _mm_packus_epi32(_mm256_castsi256_si128(total), _mm256_extracti128_si256(total, 1));
  // (d00, d01, d10, d11, d20, d21, d30, d31) in 16 bits.
  alignas(16) uint16_t d[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(d), packed);
  for (std::size_t q = 0; q < 4; ++q) {
    by_a[(i + q) * count_b + k] = d[2 * q];
    by_a[(i + q) * count_b + k + 1] = d[2 * q + 1];
    by_b[k * count_a + i + q] = d[2 * q];
    by_b[(k + 1) * count_a + i + q] = d[2 * q + 1];
  }
}

__attribute__((target("avx2"))) void distance_tables_avx2(const uint8_t* a, std::size_t count_a, const uint8_t* b,
                                                          std::size_t count_b, uint16_t* by_a, uint16_t* by_b) {
  const auto single = [&](std::size_t i, std::size_t k) {
    const auto d = static_cast<uint16_t>(descriptor_distance_avx2(a + i * bytes, b + k * bytes));
    by_a[i * count_b + k] = d;
    by_b[k * count_a + i] = d;
  };
  std::size_t i = 0;
  for (; i + 4 <= count_a; i += 4) {
    std::size_t k = 0;
    for (; k + 2 <= count_b; k += 2) distance_block_avx2(a, count_a, b, count_b, i, k, by_a, by_b);
    for (; k < count_b; ++k) {
      for (std::size_t q = 0; q < 4; ++q) single(i + q, k);
    }
  }
  for (; i < count_a; ++i) {
    for (std::size_t k = 0; k < count_b; ++k) single(i, k);
  }
}

}  // namespace

nearest_two two_smallest_portable(const uint16_t* distances, std::size_t count) {
  nearest_two result{0xFFFFFFFF, 0xFFFFFFFF, count};
  for (std::size_t k = 0; k < count; ++k) {
    const uint32_t d = widen(distances[k]);
    if (d < result.best) {
      result.second = result.best;
      result.best = d;
      result.position = k;
    } else {
      result.second = std::min(result.second, d);
    }
  }
  return result;
}

uint32_t smallest_portable(const uint16_t* distances, std::size_t count) {
  uint32_t result = 0xFFFFFFFF;
  for (std::size_t k = 0; k < count; ++k) result = std::min(result, widen(distances[k]));
  return result;
}

nearest_two two_smallest(const uint16_t* distances, std::size_t count) {
  return cpu_has_avx2() ? two_smallest_avx2(distances, count) : two_smallest_portable(distances, count);
}

uint32_t smallest(const uint16_t* distances, std::size_t count) {
  return cpu_has_avx2() ? widen(smallest_avx2(distances, count)) : smallest_portable(distances, count);
}

void distance_tables_portable(const uint8_t* a, std::size_t count_a, const uint8_t* b, std::size_t count_b,
                              uint16_t* by_a, uint16_t* by_b) {
  for (std::size_t i = 0; i < count_a; ++i) {
    for (std::size_t k = 0; k < count_b; ++k) {
      const auto d = static_cast<uint16_t>(descriptor_distance_portable(a + i * bytes, b + k * bytes));
      by_a[i * count_b + k] = d;
      by_b[k * count_a + i] = d;
    }
  }
}

void distance_tables(const uint8_t* a, std::size_t count_a, const uint8_t* b, std::size_t count_b, uint16_t* by_a,
                     uint16_t* by_b) {
  if (cpu_has_avx2()) {
    distance_tables_avx2(a, count_a, b, count_b, by_a, by_b);
  } else {
    distance_tables_portable(a, count_a, b, count_b, by_a, by_b);
  }
}

uint32_t descriptor_distance_portable(const uint8_t* a, const uint8_t* b) {
  uint32_t sum = 0;
  for (std::size_t i = 0; i < bytes; ++i) sum += static_cast<uint32_t>(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
  return sum;
}

uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b) {
  return cpu_has_avx2() ? descriptor_distance_avx2(a, b) : descriptor_distance_portable(a, b);
}

}  // namespace host
