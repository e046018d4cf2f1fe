// Row-major dense matrices and vectors that own their storage, and
// non-owning views of the same shape for fixed arrays.
//
// Storage is zero-filled on construction; a request of 0 elements holds a
// null pointer, and a request of 2^61 elements or more fails with
// std::bad_alloc. Element (r, c) of a matrix is data[r * cols + c].
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

template <class T>
struct matrix_view {
  uint64_t rows = 0;
  uint64_t cols = 0;
  T* data = nullptr;

  T& operator()(uint64_t r, uint64_t c) const { return data[r * cols + c]; }
  operator matrix_view<const T>() const { return {rows, cols, data}; }
};

template <class T>
struct vector_view {
  uint64_t size = 0;
  T* data = nullptr;

  T& operator[](uint64_t i) const { return data[i]; }
  operator vector_view<const T>() const { return {size, data}; }
};

namespace dense_storage {

inline constexpr uint64_t element_limit = uint64_t{1} << 61;

template <class T>
T* allocate(uint64_t rows, uint64_t cols) {
  if (rows != 0 && cols >= element_limit / rows) throw std::bad_alloc();
  const uint64_t count = rows * cols;
  return count == 0 ? nullptr : new T[count]();
}

}  // namespace dense_storage

template <class T>
class dense_matrix {
 public:
  dense_matrix() = default;
  dense_matrix(uint64_t row_count, uint64_t column_count)
      : rows(row_count), cols(column_count), data(dense_storage::allocate<T>(row_count, column_count)) {}
  dense_matrix(const dense_matrix& other) : dense_matrix(other.rows, other.cols) {
    std::copy_n(other.data, rows * cols, data);
  }
  dense_matrix(dense_matrix&& other) noexcept
      : rows(std::exchange(other.rows, 0)), cols(std::exchange(other.cols, 0)), data(std::exchange(other.data, nullptr)) {}
  dense_matrix& operator=(dense_matrix other) noexcept {
    std::swap(rows, other.rows);
    std::swap(cols, other.cols);
    std::swap(data, other.data);
    return *this;
  }
  ~dense_matrix() { delete[] data; }

  T& operator()(uint64_t r, uint64_t c) { return data[r * cols + c]; }
  const T& operator()(uint64_t r, uint64_t c) const { return data[r * cols + c]; }
  operator matrix_view<T>() { return {rows, cols, data}; }
  operator matrix_view<const T>() const { return {rows, cols, data}; }

  uint64_t rows = 0;
  uint64_t cols = 0;
  T* data = nullptr;
};

template <class T>
class dense_vector {
 public:
  dense_vector() = default;
  explicit dense_vector(uint64_t count) : size(count), data(dense_storage::allocate<T>(1, count)) {}
  dense_vector(const dense_vector& other) : dense_vector(other.size) { std::copy_n(other.data, size, data); }
  dense_vector(dense_vector&& other) noexcept
      : size(std::exchange(other.size, 0)), data(std::exchange(other.data, nullptr)) {}
  dense_vector& operator=(dense_vector other) noexcept {
    std::swap(size, other.size);
    std::swap(data, other.data);
    return *this;
  }
  ~dense_vector() { delete[] data; }

  T& operator[](uint64_t i) { return data[i]; }
  const T& operator[](uint64_t i) const { return data[i]; }
  operator vector_view<T>() { return {size, data}; }
  operator vector_view<const T>() const { return {size, data}; }

  uint64_t size = 0;
  T* data = nullptr;
};

// A view of nine doubles as a 3 x 3 matrix, the usual fixed case.
inline matrix_view<double> view_3x3(double* nine) { return {3, 3, nine}; }
inline matrix_view<const double> view_3x3(const double* nine) { return {3, 3, nine}; }
