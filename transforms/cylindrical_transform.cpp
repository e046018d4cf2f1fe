#include "transforms/cylindrical_transform.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "transforms/cylinder_range.h"
#include "transforms/int32_arithmetic.h"
#include "transforms/rotation_angles.h"

CylindricalTransform::CylindricalTransform(const SimpleCameraParameters& lens, const double camera_rotation[9],
                                           double scale_0, double scale_1, double middle_phase,
                                           double pixel_shift_0, double pixel_shift_1)
    : scale{scale_0, scale_1},
      phase_range(middle_phase),
      pixel_shift{pixel_shift_0, pixel_shift_1},
      camera(lens) {
  std::copy_n(camera_rotation, 9, rotation);
  std::copy_n(camera_rotation, 9, rotation_for_angles);
  kind = class_kind;
}

void CylindricalTransform::debugPrint() const {
  double angles[3];
  RotationAngles(rotation_for_angles, angles);
  double first = 0.0, second = 0.0;
  getOffset(&first, &second);
  // One fixed frame, 1024 wide and 680 high, so that printouts of
  // different images compare.
  const FrameRect sample_frame{0, 0, 680, 1024};
  FrameRect bounds;
  getBounds(&bounds, &sample_frame);

  std::fprintf(stderr, "-------\nangles = [%5.3f %5.3f %5.3f];\n", angles[0], angles[1], angles[2]);
  std::fprintf(stderr, "overlap_offsets = [%5.3f %5.3f];\n", first, second);
  std::fprintf(stderr, "focal_length = [%3.5f %3.5f];\n", camera.focal_length()[0], camera.focal_length()[1]);
  std::fprintf(stderr, "image_center = [%3.5f %3.5f];\n", camera.image_center()[0], camera.image_center()[1]);
  std::fprintf(stderr, "scale = [%5.3f %5.3f];\n", scale[0], scale[1]);
  std::fprintf(stderr, "phase_range = %5.3f\n", phase_range);
  std::fprintf(stderr, "pixel_shift = [%5.3f %5.3f];\n", pixel_shift[0], pixel_shift[1]);
  std::fprintf(stderr, "xform_rect = [%4d, %4d, %4d, %4d]\n", bounds.left, bounds.top, bounds.right, bounds.bottom);
}

void CylindricalTransform::getOffset(double* first, double* second) const {
  double angles[3];
  RotationAngles(rotation_for_angles, angles);
  *first = std::sin(angles[0]) * camera.focal_length()[0];
  *second = std::sin(angles[1]) * camera.focal_length()[1];
}

void CylindricalTransform::getBounds(FrameRect* out, const FrameRect* source) const {
  const double* distortion = camera.distortion();
  double rectangle[4] = {};
  if (std::abs(distortion[0]) < 1e-6 && std::abs(distortion[1]) < 1e-6) {
    rectangle[0] = source->left;
    rectangle[1] = source->top;
    rectangle[2] = source->right;
    rectangle[3] = source->bottom;
  }
  constexpr double unbounded = std::numeric_limits<double>::max();
  // With a window of the whole real line the first corner keeps the phase
  // atan2 gives it; wrapping to the group's middle comes after. A pole in
  // view leaves the range at its fixed empty value, whose bounds are as good
  // as any for an image that the cylinder cannot hold.
  const CylinderRange range(rectangle, rotation, camera.focal_length(), camera.image_center(), -unbounded,
                            unbounded);
  const double phase_min = wrap_phase(range.phase_min, phase_range);
  const double phase_max = wrap_phase(range.phase_max, phase_range);
  out->left = saturating_int32(std::ceil(phase_min * scale[0] + pixel_shift[0]));
  out->top = saturating_int32(std::ceil(range.height_min * scale[1] + pixel_shift[1]));
  // The exclusive edges add their 1 to the saturated 32-bit word, so a bound
  // saturated at the top wraps round to the bottom of the range, as it
  // always has.
  out->right = wrapping_increment(saturating_int32(std::floor(phase_max * scale[0] + pixel_shift[0])));
  out->bottom = wrapping_increment(saturating_int32(std::floor(range.height_max * scale[1] + pixel_shift[1])));
}

double CylindricalTransform::getFocalLength() const { return camera.focal_length()[0]; }

cylinder_coordinates CylindricalTransform::CylinderPoint(double x, double y) const {
  return ::CylinderPoint(rotation, camera.focal_length(), camera.image_center(), x, y);
}
