// What the adaptors ask of a matrix or a vector: the fields of dense_matrix
// and dense_vector, which their views share.
#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

template <class M>
concept matrix_like = requires(M m) {
  { m.rows } -> std::convertible_to<uint64_t>;
  { m.cols } -> std::convertible_to<uint64_t>;
  m.data;
};

template <class V>
concept vector_like = requires(V v) {
  { v.size } -> std::convertible_to<uint64_t>;
  v.data;
} && !matrix_like<V>;

template <class Container>
using element_of = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<Container>().data)>>;
