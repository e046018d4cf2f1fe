// The camera of a camera turning about its centre: a lens at the origin
// with a rotation and lens values, any of which can be unknowns of a bundle
// adjustment. It is the camera type of the adjusters for rotating cameras,
// over a lens model: the pinhole, the pinhole with radial distortion, or
// the fisheye polynomial (rotation/fisheye_camera.h).
//
// Scene points are directions, (longitude, latitude), d = (cos lat cos lon,
// cos lat sin lon, sin lat). The ray in the camera is y = R F d, with F the
// frame the points are expressed in: the identity, unless the adjuster keeps
// points in a reference camera's frame. Whether a point behind the camera
// projects by the same formula or drops out is the lens model's choice.
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

// A lens model offers:
//   using lens_type, shared_record           its lens values, and the record of
//                                             those a group shares
//   static constexpr int quantity_count      lens values, in the order of `value`
//   template <class Record> static auto& value(Record&, int quantity)
//                                             a quantity of lens_type or
//                                             shared_record
//   static quantity_layout<quantity_count> layout_of(int32_t mode)
//                                             where each quantity comes from
//   static bool sees(const double y[3])      false: an observation of the ray y
//                                             drops out (zero residual, zero rows)
//   static void image(const lens_type&, const double y[3], double out[2],
//                     double* by_ray, double* by_lens)
//                                             the image of the ray y; with by_ray
//                                             (2 x 3) and by_lens (2 x
//                                             quantity_count) when not null

// The lens values of the pinhole family, fx, fy, cx, cy, k1, k2, shared as
// the camera sharing modes say. A point behind the camera projects by the
// same formula: there is no test of y3.
struct pinhole_lens_values {
  using lens_type = lens_record;
  using shared_record = shared_lens;
  static constexpr int quantity_count = lens_quantity_count;
  template <class Record>
  static auto& value(Record& record, int quantity) {
    return lens_value(record, quantity);
  }
  static bool sees(const double*) { return true; }
};

// The layout of a sharing mode from first to last; throws
// std::invalid_argument, named after the camera, for another.
lens_layout checked_lens_layout(int32_t mode, int32_t first, int32_t last, const char* camera_name);

// The pinhole: (fx y1/y3 + cx, fy y2/y3 + cy); modes 0 to 9.
struct pinhole_projection : pinhole_lens_values {
  static lens_layout layout_of(int32_t mode) { return checked_lens_layout(mode, 0, 9, "motion_control_rotation"); }
  static void image(const lens_record& lens, const double y[3], double out[2], double* by_ray, double* by_lens);
};

// The pinhole with radial distortion g = 1 + k1 r^2 + k2 r^4 on the
// normalised position (u, v) = (y1/y3, y2/y3): (fx g u + cx, fy g v + cy);
// modes 10 to 29.
struct radial_projection : pinhole_lens_values {
  static lens_layout layout_of(int32_t mode) {
    return checked_lens_layout(mode, 10, 29, "motion_control_rotation_distorted");
  }
  static void image(const lens_record& lens, const double y[3], double out[2], double* by_ray, double* by_lens);
};

template <class Projection, bool Robust>
struct rotation_camera : Projection::lens_type {
  using lens_type = typename Projection::lens_type;
  using shared_record = typename Projection::shared_record;
  static constexpr bool spherical_points = true;
  static constexpr bool robust = Robust;

  // From a rotation matrix or from a Rodrigues vector; throws what the lens
  // model's layout throws for a mode it does not handle, and rodrigues_inv's
  // error for a matrix that is no rotation.
  rotation_camera(const std::array<double, 9>& rotation_matrix, const lens_type& lens, int32_t mode,
                  bool rotation_free);
  rotation_camera(const std::array<double, 3>& rodrigues_vector, const lens_type& lens, int32_t mode,
                  bool rotation_free);

  // The lens values come first, from the base.
  int32_t mode;
  double rodrigues[3];
  double rotation[9];              // row-major
  double rotation_derivative[27];  // [3 e + k]: entry e of the matrix by rotation parameter k
  bool local_rotation = true;      // steps act in front of the rotation; else the vectors add
  bool rotation_free;
  double robust_threshold = 0.0;  // the radius of the robust map, robust types only

  const lens_type& lens() const { return *this; }

  // The camera type's part in the bundle adjusters.
  std::size_t block_size() const;
  void pack(double* block) const;
  void unpack(const shared_record& shared, const double* block);
  const double* rotation_matrix() const { return rotation; }
  void set_frame(const double points_frame[9]);
  void project(const double point[2], double image[2]) const;
  void residual(const double point[2], const double measured[2], double r[2]) const;
  void derivatives(const double point[2], double* shared_rows, std::size_t shared_stride, double* camera_rows,
                   std::size_t camera_stride, double point_rows[4]) const;
  void advance(const double* block, const double* step, double* block_new) const;

 private:
  lens_type& lens_values() { return *this; }
  void refresh_rotation();
  // e = F d(point) and y = R e.
  void ray(const double point[2], double e[3], double y[3]) const;

  quantity_layout<Projection::quantity_count> layout_;
  double frame_[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

using motion_control_rotation = rotation_camera<pinhole_projection, false>;
// The record that the robust adjusters take: a threshold beside it.
using robust_motion_control_rotation = rotation_camera<pinhole_projection, true>;
using motion_control_rotation_distorted = rotation_camera<radial_projection, true>;

extern template struct rotation_camera<pinhole_projection, false>;
extern template struct rotation_camera<pinhole_projection, true>;
extern template struct rotation_camera<radial_projection, true>;
