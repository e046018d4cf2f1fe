// Fisheye lenses as radial models: a ray at angle theta from the optical
// axis lands at radius R(theta) from the image centre, in pixels.
//
// fisheye_projection_base is the interface of such a lens for whoever maps
// between pixels and rays; fisheye_equidist5 is its one model, a quintic
// through the origin whose linear coefficient is the effective focal
// length. Rays are (x, y, z) in the camera, z along the axis; image_to_ray
// answers with the ray at z = 1.
#pragma once

#include <memory>

class fisheye_projection_base {
 public:
  virtual ~fisheye_projection_base() = default;

  // A copy on the heap, owned by the caller.
  virtual std::unique_ptr<fisheye_projection_base> clone() const = 0;
  // The ray (x, y, 1) of the pixel (u, v), its angle limited to max_angle.
  virtual void image_to_ray(double u, double v, double& x, double& y, double max_angle) const = 0;
  // The pixel (u, v) of the ray (x, y, z).
  virtual void ray_to_image(double x, double y, double z, double& u, double& v) const = 0;
  // The angle from the axis, in radians, of the ray of a pixel.
  virtual double image_to_angle(double u, double v) const = 0;
  // The coefficient of the linear term: an effective focal length in pixels.
  virtual double linear_coefficient() const = 0;

 protected:
  fisheye_projection_base() = default;
  fisheye_projection_base(const fisheye_projection_base&) = default;
  fisheye_projection_base& operator=(const fisheye_projection_base&) = default;
};

// R(theta) = theta (p0 theta^4 + p1 theta^3 + p2 theta^2 + p3 theta + p4)
// about the centre (cx, cy).
class fisheye_equidist5 : public fisheye_projection_base {
 public:
  fisheye_equidist5() = default;
  fisheye_equidist5(double centre_x, double centre_y, double c0, double c1, double c2, double c3, double c4)
      : cx(centre_x), cy(centre_y), p0(c0), p1(c1), p2(c2), p3(c3), p4(c4) {}

  std::unique_ptr<fisheye_projection_base> clone() const override;
  // (0, 0) within a thousandth of a pixel of the centre; otherwise
  // tan(theta) / rho (u - cx, v - cy) with theta = min(radius_to_angle(rho),
  // max_angle).
  void image_to_ray(double u, double v, double& x, double& y, double max_angle) const override;
  // The centre when |x| and |y| are both within 1e-6; otherwise the radius
  // of theta = atan(r / z) along (x, y). atan, not atan2: the model does not
  // see behind itself, and a ray with negative z takes a negative angle and
  // lands on the opposite side of the centre.
  void ray_to_image(double x, double y, double z, double& u, double& v) const override;
  double image_to_angle(double u, double v) const override;
  double linear_coefficient() const override { return p4; }

  double radius(double theta) const;
  // The inverse of `radius` by five steps of a fixed-point iteration
  // theta = (rho - theta^2 h(theta)) / p4 from rho / p4: a fixed count, no
  // convergence test, as the lenses of the table are close enough to linear
  // over their field for that to suffice.
  double radius_to_angle(double rho) const;

  double cx = 0.0, cy = 0.0;  // the centre, in pixels; (0, 0) until placed
  double p0 = 0.0, p1 = 0.0, p2 = 0.0, p3 = 0.0, p4 = 0.0;
};
