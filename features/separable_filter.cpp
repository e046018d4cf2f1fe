#include "features/separable_filter.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform/host_suites.h"

namespace {

template <class T>
T* row_at(T* base, std::size_t row, std::size_t row_bytes) {
  using byte = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
  return reinterpret_cast<T*>(reinterpret_cast<byte*>(base) + row * row_bytes);
}

// Replicates the first and last of the `count` samples at line + half into
// the `half` places before them and the taps - half - 1 after them (none
// for no taps).
void pad_line(float* line, std::size_t count, std::size_t taps, std::size_t half) {
  std::fill_n(line, half, line[half]);
  if (taps > half) std::fill_n(line + half + count, taps - half - 1, line[half + count - 1]);
}

// `half` copies of the first sample, the samples, and taps - half - 1 copies
// of the last (none for no taps): the line that a filter of `taps` taps
// walks for `count` outputs. Samples are `step` bytes apart.
void fill_line(float* line, const float* samples, std::size_t step, std::size_t count, std::size_t taps,
               std::size_t half) {
  if (step == sizeof(float)) {
    std::copy_n(samples, count, line + half);
  } else {
    for (std::size_t i = 0; i < count; ++i) line[half + i] = *row_at(samples, i, step);
  }
  pad_line(line, count, taps, half);
}

void convolve_plain(const float* line, std::size_t count, const float* taps, std::size_t tap_count, float* out) {
  for (std::size_t x = 0; x < count; ++x) {
    float sum = 0.0f;
    for (std::size_t t = 0; t < tap_count; ++t) sum += line[x + t] * taps[t];
    out[x] = sum;
  }
}

// Rows of the kernel table per host kernel: 191 to 194.
struct kernel_road {
  std::size_t table_row;
  host::suite_entry<host::row_filter_function> entry;
};

constexpr std::size_t largest_table_row = 20;

kernel_road road_for(std::size_t tap_count) {
  if (tap_count <= 5) return {8, host::row_filter_entries[0]};
  if (tap_count <= 9) return {12, host::row_filter_entries[1]};
  if (tap_count <= 13) return {16, host::row_filter_entries[2]};
  return {20, host::row_filter_entries[3]};
}

void separable_filter_host(const float* source, std::size_t width, std::size_t height,
                           std::size_t source_row_bytes, const float* taps, std::size_t tap_count,
                           std::size_t half, float* destination, std::size_t destination_row_bytes,
                           filter_workspace& workspace) {
  if (width == 0 || height == 0) return;
  const kernel_road road = road_for(tap_count);
  host::row_filter_function* const kernel = host::entry(road.entry);
  host::transpose_function* const transpose = host::entry(host::transpose_entry);

  // Four copies of the taps, copy c shifted right by c: the shape a vector
  // unit needs to take four outputs at any alignment.
  alignas(32) float table[4 * largest_table_row] = {};
  for (std::size_t copy = 0; copy < 4; ++copy) std::copy_n(taps, tap_count, table + copy * road.table_row + copy);

  // Both passes hand the kernel all lines of the plane at once, each line
  // padded as for a call of its own and the next following it: an output
  // that straddles two lines is never read, every other one is the sum that
  // a line of its own gives, and the host can share a whole plane among its
  // threads.
  const std::size_t across = width + tap_count - 1;  // a padded row
  const std::size_t down = height + tap_count - 1;   // a padded column
  float* const lines = workspace.buffer(0, std::max(height * across, width * down));
  float* const filtered = workspace.buffer(1, height * across);
  float* const columns = workspace.buffer(2, width * down);

  for (std::size_t y = 0; y < height; ++y) {
    fill_line(lines + y * across, row_at(source, y, source_row_bytes), sizeof(float), width, tap_count, half);
  }
  kernel(lines, height * across, table, tap_count, half, filtered);

  // The vertical pass runs along the rows of the transposed plane, which
  // the transposition leaves in place for their padding.
  transpose(columns + half, down * sizeof(float), filtered, across * sizeof(float), width, height);
  for (std::size_t x = 0; x < width; ++x) pad_line(columns + x * down, height, tap_count, half);
  kernel(columns, width * down, table, tap_count, half, lines);
  transpose(destination, destination_row_bytes, lines, down * sizeof(float), height, width);
}

}  // namespace

void separable_filter_plain(const float* source, std::size_t width, std::size_t height,
                            std::size_t source_row_bytes, const float* taps, std::size_t tap_count,
                            std::size_t half, float* destination, std::size_t destination_row_bytes) {
  if (width == 0 || height == 0) return;
  const std::unique_ptr<float[]> line(new float[std::max(width, height) + tap_count]);
  const std::unique_ptr<float[]> output(new float[std::max(width, height)]);
  for (std::size_t y = 0; y < height; ++y) {
    fill_line(line.get(), row_at(source, y, source_row_bytes), sizeof(float), width, tap_count, half);
    convolve_plain(line.get(), width, taps, tap_count, row_at(destination, y, destination_row_bytes));
  }
  for (std::size_t x = 0; x < width; ++x) {
    fill_line(line.get(), destination + x, destination_row_bytes, height, tap_count, half);
    convolve_plain(line.get(), height, taps, tap_count, output.get());
    for (std::size_t y = 0; y < height; ++y) row_at(destination, y, destination_row_bytes)[x] = output[y];
  }
}

void separable_filter(const float* source, std::size_t width, std::size_t height, std::size_t source_row_bytes,
                      const float* taps, std::size_t tap_count, std::size_t half, float* destination,
                      std::size_t destination_row_bytes, filter_workspace& workspace) {
  if (tap_count == 1) {
    const float gain = taps[0] * taps[0];
    for (std::size_t y = 0; y < height; ++y) {
      const float* in = row_at(source, y, source_row_bytes);
      float* out = row_at(destination, y, destination_row_bytes);
      for (std::size_t x = 0; x < width; ++x) out[x] = in[x] * gain;
    }
  } else if (tap_count >= 2 && tap_count <= 17) {
    separable_filter_host(source, width, height, source_row_bytes, taps, tap_count, half, destination,
                          destination_row_bytes, workspace);
  } else {
    separable_filter_plain(source, width, height, source_row_bytes, taps, tap_count, half, destination,
                           destination_row_bytes);
  }
}
