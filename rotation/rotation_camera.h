// The camera of a camera turning about its centre: a pinhole at the origin
// with a rotation and lens values, any of which can be unknowns of a bundle
// adjustment. It is the camera type of the adjusters for rotating cameras.
//
// Scene points are directions, (longitude, latitude), d = (cos lat cos lon,
// cos lat sin lon, sin lat). The ray in the camera is y = R F d, with F the
// frame the points are expressed in: the identity, unless the adjuster keeps
// points in a reference camera's frame. A point behind the camera projects
// by the same formula.
//
// The block of unknowns of a camera is its own lens values, as the sharing
// mode says, then, when its rotation is free, 3 values of a Rodrigues
// vector. A step of those 3 is a small rotation in front of the current one,
// so that the update stays well-behaved where the vector form is singular.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "solvers/camera_sharing.h"

// The pinhole: (fx y1/y3 + cx, fy y2/y3 + cy); modes 0 to 9.
struct pinhole_projection {
  static constexpr int32_t first_mode = 0, last_mode = 9;
  static constexpr const char* name = "motion_control_rotation";
  // The image of the ray y; with by_ray (2 x 3) and by_lens (2 x 6, in the
  // order of lens_quantity) when they are not null.
  static void image(const lens_record& lens, const double y[3], double out[2], double* by_ray, double* by_lens);
};

// The pinhole with radial distortion g = 1 + k1 r^2 + k2 r^4 on the
// normalised position (u, v) = (y1/y3, y2/y3): (fx g u + cx, fy g v + cy);
// modes 10 to 29.
struct radial_projection {
  static constexpr int32_t first_mode = 10, last_mode = 29;
  static constexpr const char* name = "motion_control_rotation_distorted";
  static void image(const lens_record& lens, const double y[3], double out[2], double* by_ray, double* by_lens);
};

template <class Projection, bool Robust>
struct rotation_camera {
  static constexpr bool spherical_points = true;
  static constexpr bool robust = Robust;

  // From a rotation matrix or from a Rodrigues vector; throws
  // std::invalid_argument for a mode the projection does not handle, and
  // rodrigues_inv's error for a matrix that is no rotation.
  rotation_camera(const std::array<double, 9>& rotation_matrix, const lens_record& lens, int32_t mode,
                  bool rotation_free);
  rotation_camera(const std::array<double, 3>& rodrigues_vector, const lens_record& lens, int32_t mode,
                  bool rotation_free);

  double fx, fy, cx, cy, k1, k2;
  int32_t mode;
  double rodrigues[3];
  double rotation[9];              // row-major
  double rotation_derivative[27];  // [3 e + k]: entry e of the matrix by rotation parameter k
  bool local_rotation = true;      // steps act in front of the rotation; else the vectors add
  bool reference_rotation_active = false;
  bool rotation_free;
  double robust_threshold = 0.0;  // the radius of the robust map, robust types only

  lens_record lens() const { return {fx, fy, cx, cy, k1, k2}; }

  // The camera type's part in the bundle adjusters.
  std::size_t block_size() const;
  void pack(double* block) const;
  void unpack(const shared_lens& shared, const double* block);
  const double* rotation_matrix() const { return rotation; }
  void set_frame(const double points_frame[9]);
  void project(const double point[2], double image[2]) const;
  void derivatives(const double point[2], double* shared_rows, std::size_t shared_stride, double* camera_rows,
                   std::size_t camera_stride, double point_rows[4]) const;
  void advance(const double* block, const double* step, double* block_new) const;

 private:
  static int32_t checked_mode(int32_t sharing);
  void refresh_rotation();
  // e = F d(point) and y = R e.
  void ray(const double point[2], double e[3], double y[3]) const;

  lens_layout layout_;
  double frame_[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

using motion_control_rotation = rotation_camera<pinhole_projection, false>;
// The record that the robust adjusters take: a threshold beside it.
using robust_motion_control_rotation = rotation_camera<pinhole_projection, true>;
using motion_control_rotation_distorted = rotation_camera<radial_projection, true>;

extern template struct rotation_camera<pinhole_projection, false>;
extern template struct rotation_camera<pinhole_projection, true>;
extern template struct rotation_camera<radial_projection, true>;
