#include "tools/image_placement.h"

#include <cmath>

#include "mvg/matrix_3x3.h"
#include "transforms/cylinder_point.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"
#include "transforms/square_to_quad.h"

namespace lacewright_tool {
namespace {

using matrix = std::array<double, 9>;

matrix product(const matrix& a, const matrix& b) {
  matrix out;
  multiply_3x3(a.data(), b.data(), out.data());
  return out;
}

matrix scaling(double s) { return {s, 0, 0, 0, s, 0, 0, 0, 1}; }

double reduction(const alignment& run, int32_t sheet) {
  return std::ldexp(1.0, run.images[static_cast<std::size_t>(sheet)].reduction_level);
}

// The engine's planar maps work on the reduced frames it saw: from the
// image as given to its frame, through `frame_map`, to the reference frame
// and out to the reference image as given.
plane_placement plane_through(const matrix& frame_map, double image_reduction, double reference_reduction) {
  plane_placement plane;
  plane.to_reference = product(scaling(reference_reduction), product(frame_map, scaling(1.0 / image_reduction)));
  adjugate_3x3(plane.to_reference.data(), plane.from_reference.data());
  return plane;
}

// The map that takes the rectangle's corners to the quadrilateral's.
matrix rectangle_to_quad(const DistortTransform& t) {
  const double top = t.rect[0], left = t.rect[1], bottom = t.rect[2], right = t.rect[3];
  const matrix to_square = {1.0 / (right - left), 0, -left / (right - left), 0, 1.0 / (bottom - top),
                            -top / (bottom - top), 0, 0, 1};
  return product(square_to_quad(t.quad).matrix(), to_square);
}

cylinder_placement cylinder_of(const CylindricalTransform& t) {
  cylinder_placement c;
  std::copy(std::begin(t.rotation), std::end(t.rotation), c.rotation.begin());
  c.focal = {t.camera.focal_length()[0], t.camera.focal_length()[1]};
  c.centre = {t.camera.image_center()[0], t.camera.image_center()[1]};
  c.scale = {t.scale[0], t.scale[1]};
  c.phase_range = t.phase_range;
  c.shift = {t.pixel_shift[0], t.pixel_shift[1]};
  return c;
}

}  // namespace

std::vector<result_group> groups_of(const MultiViewParams& results) {
  std::vector<result_group> groups;
  std::size_t next = 0;
  for (std::size_t g = 0; g < results.groupCount.size(); ++g) {
    result_group group{g, results.transformType[g], results.refSheetID[g], {}};
    for (int32_t k = 0; k < results.groupCount[g] && next < results.sheetID.size(); ++k) {
      group.positions.push_back(next++);
    }
    groups.push_back(std::move(group));
  }
  return groups;
}

point apply_homography(const matrix& m, point p) {
  const double w = m[6] * p[0] + m[7] * p[1] + m[8];
  return {(m[0] * p[0] + m[1] * p[1] + m[2]) / w, (m[3] * p[0] + m[4] * p[1] + m[5]) / w};
}

point cylinder_placement::to_output(point image) const {
  const cylinder_coordinates c = CylinderPoint(rotation.data(), focal.data(), centre.data(), image[0], image[1]);
  return {wrap_phase(c.phase, phase_range) * scale[0] + shift[0], c.height * scale[1] + shift[1]};
}

std::optional<point> cylinder_placement::to_image(point output) const {
  const double phase = (output[0] - shift[0]) / scale[0];
  const double height = (output[1] - shift[1]) / scale[1];
  const double ray[3] = {std::sin(phase), height, std::cos(phase)};
  const matrix& R = rotation;  // camera to group: the camera's ray is R^T ray
  const double x = R[0] * ray[0] + R[3] * ray[1] + R[6] * ray[2];
  const double y = R[1] * ray[0] + R[4] * ray[1] + R[7] * ray[2];
  const double z = R[2] * ray[0] + R[5] * ray[1] + R[8] * ray[2];
  if (z <= 1e-9) return std::nullopt;
  return point{focal[0] * x / z + centre[0], focal[1] * y / z + centre[1]};
}

point plane_placement::to_output(point image) const { return apply_homography(to_reference, image); }

std::optional<point> plane_placement::to_image(point output) const {
  const matrix& m = from_reference;
  if (m[6] * output[0] + m[7] * output[1] + m[8] == 0.0) return std::nullopt;
  return apply_homography(m, output);
}

image_placement place_image(const alignment& run, const result_group& group, std::size_t position) {
  const MultiViewParams& results = run.results;
  if (!results.renderable[position]) return std::monostate{};
  const int32_t sheet = results.sheetID[position];
  const PixelTransform* transform = results.transforms[position].get();
  const double own = reduction(run, sheet), reference = reduction(run, group.reference_sheet);
  if (!transform) return plane_through(scaling(1.0), own, reference);  // the planar reference itself
  switch (transform->kind) {
    case CylindricalTransform::class_kind: return cylinder_of(static_cast<const CylindricalTransform&>(*transform));
    case DistortTransform::class_kind:
      return plane_through(rectangle_to_quad(static_cast<const DistortTransform&>(*transform)), own, reference);
    case DistortRd2Transform::class_kind: {
      const auto& lens = static_cast<const DistortRd2Transform&>(*transform);
      matrix m;
      std::copy(std::begin(lens.matrix), std::end(lens.matrix), m.begin());
      return plane_through(m, own, reference);
    }
    default: return std::monostate{};
  }
}

}  // namespace lacewright_tool
