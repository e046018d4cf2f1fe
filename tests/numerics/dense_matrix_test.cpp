// The dense containers and the in-place transposition.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "numerics/dense_matrix.h"
#include "numerics/svd.h"
#include "numerics/transpose_in_place.h"

namespace {

TEST(DenseMatrix, storage_is_zero_filled_null_when_empty_and_refused_beyond_two_to_the_61) {
  const dense_matrix<double> m(3, 4);
  for (uint64_t i = 0; i < 12; ++i) EXPECT_EQ(0.0, m.data[i]);
  EXPECT_EQ(nullptr, dense_matrix<float>(5, 0).data);
  EXPECT_EQ(nullptr, dense_vector<double>(0).data);
  EXPECT_THROW(dense_matrix<double>(uint64_t{1} << 31, uint64_t{1} << 30), std::bad_alloc);
  EXPECT_THROW(dense_vector<float>(uint64_t{1} << 61), std::bad_alloc);
}

TEST(DenseMatrix, copies_are_deep_and_moves_leave_an_empty_matrix) {
  dense_matrix<double> a(2, 2);
  a(1, 0) = 5.0;
  dense_matrix<double> b = a;
  b(1, 0) = 6.0;
  EXPECT_EQ(5.0, a(1, 0));
  dense_matrix<double> c = std::move(a);
  EXPECT_EQ(5.0, c(1, 0));
  EXPECT_EQ(nullptr, a.data);
  EXPECT_EQ(0u, a.rows);
}

TEST(TransposeInPlace, every_element_lands_at_its_mirror_and_the_sizes_swap) {
  for (const auto& [rows, cols] : {std::pair<uint64_t, uint64_t>{3, 2}, {2, 3}, {7, 5}, {13, 17}, {1, 9}, {9, 1}, {6, 6}}) {
    dense_matrix<int> m(rows, cols);
    std::iota(m.data, m.data + rows * cols, 0);
    const dense_matrix<int> original = m;
    transpose_in_place(m);
    ASSERT_EQ(cols, m.rows);
    ASSERT_EQ(rows, m.cols);
    for (uint64_t r = 0; r < rows; ++r) {
      for (uint64_t c = 0; c < cols; ++c) ASSERT_EQ(original(r, c), m(c, r)) << rows << " x " << cols;
    }
  }
}

TEST(MultiplyInPlace, the_product_replaces_the_left_factor) {
  dense_matrix<double> a(2, 3), b(3, 3);
  const double av[] = {1, 2, 3, 4, 5, 6}, bv[] = {1, 0, 2, 0, 1, 0, 3, 1, 1};
  std::copy(std::begin(av), std::end(av), a.data);
  std::copy(std::begin(bv), std::end(bv), b.data);
  multiply_in_place(a, b);
  const std::vector<double> expected = {10, 5, 5, 22, 11, 14};
  EXPECT_EQ(expected, std::vector<double>(a.data, a.data + 6));
  EXPECT_EQ(2u, a.rows);
}

}  // namespace
