#include "host/filter_kernels.h"

#include <immintrin.h>

#include <algorithm>
#include <cstdint>

#include "host/cpu_support.h"

namespace host {
namespace {

template <class T>
T* row_at(T* base, std::size_t row, std::size_t row_bytes) {
  using byte = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
  return reinterpret_cast<T*>(reinterpret_cast<byte*>(base) + row * row_bytes);
}

// Products are added in tap order with separate multiply and add, exactly as
// the portable loop does, so that both give the same bits.
__attribute__((target("avx2"))) void convolve_row_avx2(const float* line, std::size_t width,
                                                       const float* taps, std::size_t count,
                                                       float* output) {
  std::size_t x = 0;
  for (; x + 32 <= width; x += 32) {
    __m256 sum0 = _mm256_setzero_ps(), sum1 = _mm256_setzero_ps();
    __m256 sum2 = _mm256_setzero_ps(), sum3 = _mm256_setzero_ps();
    for (std::size_t t = 0; t < count; ++t) {
      const __m256 tap = _mm256_broadcast_ss(taps + t);
      const float* in = line + x + t;
      sum0 = _mm256_add_ps(sum0, _mm256_mul_ps(_mm256_loadu_ps(in), tap));
      sum1 = _mm256_add_ps(sum1, _mm256_mul_ps(_mm256_loadu_ps(in + 8), tap));
      sum2 = _mm256_add_ps(sum2, _mm256_mul_ps(_mm256_loadu_ps(in + 16), tap));
      sum3 = _mm256_add_ps(sum3, _mm256_mul_ps(_mm256_loadu_ps(in + 24), tap));
    }
    _mm256_storeu_ps(output + x, sum0);
    _mm256_storeu_ps(output + x + 8, sum1);
    _mm256_storeu_ps(output + x + 16, sum2);
    _mm256_storeu_ps(output + x + 24, sum3);
  }
  for (; x + 8 <= width; x += 8) {
    __m256 sum = _mm256_setzero_ps();
    for (std::size_t t = 0; t < count; ++t) {
      sum = _mm256_add_ps(sum, _mm256_mul_ps(_mm256_loadu_ps(line + x + t), _mm256_broadcast_ss(taps + t)));
    }
    _mm256_storeu_ps(output + x, sum);
  }
  convolve_row_portable(line + x, width - x, taps, count, output + x);
}

// 8 by 8 blocks through registers: rows are interleaved in pairs, then in
// quadruples, then the 128-bit halves are exchanged.
__attribute__((target("avx2"))) void transpose_block_avx2(float* destination, std::size_t destination_row_bytes,
                                                          const float* source, std::size_t source_row_bytes) {
  __m256 r[8];
  for (int i = 0; i < 8; ++i) r[i] = _mm256_loadu_ps(row_at(source, i, source_row_bytes));
  __m256 pair[8];
  for (int i = 0; i < 8; i += 2) {
    pair[i] = _mm256_unpacklo_ps(r[i], r[i + 1]);
    pair[i + 1] = _mm256_unpackhi_ps(r[i], r[i + 1]);
  }
  __m256 quad[8];
  for (int i = 0; i < 8; i += 4) {
    quad[i] = _mm256_shuffle_ps(pair[i], pair[i + 2], 0x44);
    quad[i + 1] = _mm256_shuffle_ps(pair[i], pair[i + 2], 0xEE);
    quad[i + 2] = _mm256_shuffle_ps(pair[i + 1], pair[i + 3], 0x44);
    quad[i + 3] = _mm256_shuffle_ps(pair[i + 1], pair[i + 3], 0xEE);
  }
  for (int i = 0; i < 4; ++i) {
    _mm256_storeu_ps(row_at(destination, i, destination_row_bytes),
                     _mm256_permute2f128_ps(quad[i], quad[i + 4], 0x20));
    _mm256_storeu_ps(row_at(destination, i + 4, destination_row_bytes),
                     _mm256_permute2f128_ps(quad[i], quad[i + 4], 0x31));
  }
}

__attribute__((target("avx2"))) void transpose_plane_avx2(float* destination, std::size_t destination_row_bytes,
                                                          const float* source, std::size_t source_row_bytes,
                                                          std::size_t width, std::size_t height) {
  const std::size_t full_rows = height / 8 * 8, full_columns = width / 8 * 8;
  // Two blocks down at a time: each destination row then receives 16
  // samples, a whole cache line, while the line is at hand.
  for (std::size_t y = 0; y < full_rows; y += 16) {
    for (std::size_t x = 0; x < full_columns; x += 8) {
      for (std::size_t block = y; block < std::min(y + 16, full_rows); block += 8) {
        transpose_block_avx2(row_at(destination, x, destination_row_bytes) + block, destination_row_bytes,
                             row_at(source, block, source_row_bytes) + x, source_row_bytes);
      }
    }
  }
  // The right and bottom strips that do not fill a block.
  transpose_plane_portable(row_at(destination, full_columns, destination_row_bytes), destination_row_bytes,
                           source + full_columns, source_row_bytes, width - full_columns, height);
  transpose_plane_portable(destination + full_rows, destination_row_bytes,
                           row_at(source, full_rows, source_row_bytes), source_row_bytes, full_columns,
                           height - full_rows);
}

}  // namespace

void convolve_row_portable(const float* line, std::size_t width, const float* taps, std::size_t count,
                           float* output) {
  for (std::size_t x = 0; x < width; ++x) {
    float sum = 0.0f;
    for (std::size_t t = 0; t < count; ++t) sum += line[x + t] * taps[t];
    output[x] = sum;
  }
}

void transpose_plane_portable(float* destination, std::size_t destination_row_bytes, const float* source,
                              std::size_t source_row_bytes, std::size_t source_width,
                              std::size_t source_height) {
  constexpr std::size_t tile = 32;
  for (std::size_t y0 = 0; y0 < source_height; y0 += tile) {
    for (std::size_t x0 = 0; x0 < source_width; x0 += tile) {
      const std::size_t y1 = std::min(source_height, y0 + tile), x1 = std::min(source_width, x0 + tile);
      for (std::size_t y = y0; y < y1; ++y) {
        const float* in = row_at(source, y, source_row_bytes);
        for (std::size_t x = x0; x < x1; ++x) row_at(destination, x, destination_row_bytes)[y] = in[x];
      }
    }
  }
}

void convolve_row(const float* line, std::size_t line_length, const float* table, std::size_t taps,
                  std::size_t /*half*/, float* output) {
  if (taps == 0 || line_length < taps) return;
  const std::size_t width = line_length - taps + 1;
  const auto kernel = cpu_has_avx2() ? convolve_row_avx2 : convolve_row_portable;
  // A long line (the engine hands over a plane's rows at once) is shared
  // out in pieces; every output is the same sum wherever a piece starts.
  constexpr std::size_t piece = 16384;
  const auto pieces = static_cast<std::ptrdiff_t>((width + piece - 1) / piece);
#pragma omp parallel for schedule(static) if (pieces > 1)
  for (std::ptrdiff_t p = 0; p < pieces; ++p) {
    const std::size_t first = static_cast<std::size_t>(p) * piece;
    kernel(line + first, std::min(piece, width - first), table, taps, output + first);
  }
}

void transpose_plane(float* destination, std::size_t destination_row_bytes, const float* source,
                     std::size_t source_row_bytes, std::size_t source_width, std::size_t source_height) {
  const auto kernel = cpu_has_avx2() ? transpose_plane_avx2 : transpose_plane_portable;
  // Bands of source rows go to bands of destination columns, each band to
  // one thread; moving samples gives the same plane in any order.
  constexpr std::size_t band = 64;
  const auto bands = static_cast<std::ptrdiff_t>((source_height + band - 1) / band);
#pragma omp parallel for schedule(static) if (bands > 1 && source_width * source_height >= (1u << 16))
  for (std::ptrdiff_t b = 0; b < bands; ++b) {
    const std::size_t first = static_cast<std::size_t>(b) * band;
    kernel(destination + first, destination_row_bytes, row_at(source, first, source_row_bytes), source_row_bytes,
           source_width, std::min(band, source_height - first));
  }
}

}  // namespace host
