// The camera of a planar group's bundle adjustment: a projective map from a
// common plane into the image, optionally followed by radial distortion
// about a centre. Points are positions on the plane.
//
// The camera's block of unknowns is its lens block, (k1, k2) or
// (cx, cy, k1, k2) by its lens code, then, unless it is the group's
// reference (whose map fixes the plane), the nine entries of the map.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "solvers/camera_sharing.h"

enum planar_lens : int32_t {
  planar_lens_none = 0,
  planar_lens_distortion = 22,             // k1, k2
  planar_lens_centre_and_distortion = 23,  // centre x, centre y, k1, k2
};

template <bool Robust>
struct planar_camera {
  using shared_record = shared_lens;  // none of it is read
  static constexpr bool spherical_points = false;
  static constexpr bool robust = Robust;

  std::array<double, 9> h{};            // plane to image, row-major
  std::array<double, 2> centre{};       // the distortion centre
  std::array<double, 2> distortion{};   // k1, k2
  int32_t lens_code = planar_lens_none;
  bool free = true;
  double robust_threshold = 0.0;  // robust cameras only

  std::size_t lens_count() const;
  std::size_t block_size() const { return lens_count() + (free ? 9 : 0); }
  void pack(double* block) const;
  void unpack(const shared_lens& shared, const double* block);
  void project(const double point[2], double image[2]) const;
  void derivatives(const double point[2], double* shared_rows, std::size_t shared_stride, double* camera_rows,
                   std::size_t camera_stride, double point_rows[4]) const;
  void advance(const double* block, const double* step, double* block_new) const;

  // Where an image point lies on the plane, through the inverse of the map
  // (adjugate over determinant), after moving it by the negated centre when
  // the camera has a lens.
  std::array<double, 2> on_plane(double x, double y) const;
};

using plain_planar_camera = planar_camera<false>;
using robust_planar_camera = planar_camera<true>;

extern template struct planar_camera<false>;
extern template struct planar_camera<true>;
