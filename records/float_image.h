// A plane of 32-bit float samples, row after row without gaps. The record is
// 32 bytes, the element of the planes the host jobs read; it owns its
// samples, and a copy duplicates them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

struct float_image {
  float_image() = default;
  float_image(uint64_t columns, uint64_t rows)
      : width(columns), height(rows), samples(new float[columns * rows]), capacity(columns * rows) {}
  float_image(const float_image& other) : float_image(other.width, other.height) {
    std::copy_n(other.samples, width * height, samples);
  }
  float_image(float_image&& other) noexcept
      : width(std::exchange(other.width, 0)),
        height(std::exchange(other.height, 0)),
        samples(std::exchange(other.samples, nullptr)),
        capacity(std::exchange(other.capacity, 0)) {}
  float_image& operator=(float_image other) noexcept {
    std::swap(width, other.width);
    std::swap(height, other.height);
    std::swap(samples, other.samples);
    std::swap(capacity, other.capacity);
    return *this;
  }
  ~float_image() { delete[] samples; }

  // Gives the plane the new size, keeping its samples' storage when it is
  // large enough: memory already in use is not faulted in again. The
  // contents are undefined afterwards.
  void reshape(uint64_t columns, uint64_t rows) {
    if (columns * rows > capacity) *this = float_image(columns, rows);
    width = columns;
    height = rows;
  }

  float* row(uint64_t y) { return samples + y * width; }
  const float* row(uint64_t y) const { return samples + y * width; }

  uint64_t width = 0;
  uint64_t height = 0;
  float* samples = nullptr;
  uint64_t capacity = 0;  // samples the storage holds; the host jobs never read it
};

static_assert(sizeof(float_image) == 32);
