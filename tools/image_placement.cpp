#include "tools/image_placement.h"

#include <cmath>

#include "mvg/matrix_3x3.h"
#include "sources/transformation_type.h"
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
  std::copy(std::begin(t.rotation), std::end(t.rotation), c.camera.rotation.begin());
  c.camera.focal = {t.camera.focal_length()[0], t.camera.focal_length()[1]};
  c.camera.centre = {t.camera.image_center()[0], t.camera.image_center()[1]};
  c.scale = {t.scale[0], t.scale[1]};
  c.phase_range = t.phase_range;
  c.shift = {t.pixel_shift[0], t.pixel_shift[1]};
  return c;
}

turned_camera camera_of(const group_camera& observed) {
  return {observed.rotation,
          {observed.camera.focal_length()[0], observed.camera.focal_length()[1]},
          {observed.camera.image_center()[0], observed.camera.image_center()[1]}};
}

// A sphere's images are drawn at the reference camera's scale.
image_placement sphere_of(const alignment& run, const result_group& group, int32_t sheet) {
  const auto& own = run.cameras[static_cast<std::size_t>(sheet)];
  const auto& reference = run.cameras[static_cast<std::size_t>(group.reference_sheet)];
  if (!own || !reference) return std::monostate{};
  sphere_placement s{camera_of(*own), reference->camera.focal_length()[0], 0.0};
  const ray middle = s.camera.ray_of(s.camera.centre);
  s.middle_longitude = std::atan2(middle[0], middle[2]);
  return s;
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

ray turned_camera::ray_of(point pixel) const {
  const double u = (pixel[0] - centre[0]) / focal[0], v = (pixel[1] - centre[1]) / focal[1];
  const matrix& R = rotation;
  return {R[0] * u + R[1] * v + R[2], R[3] * u + R[4] * v + R[5], R[6] * u + R[7] * v + R[8]};
}

std::optional<point> turned_camera::pixel_of(const ray& r) const {
  const matrix& R = rotation;  // the camera's ray is R^T r
  const double x = R[0] * r[0] + R[3] * r[1] + R[6] * r[2];
  const double y = R[1] * r[0] + R[4] * r[1] + R[7] * r[2];
  const double z = R[2] * r[0] + R[5] * r[1] + R[8] * r[2];
  if (z <= 1e-9) return std::nullopt;
  return point{focal[0] * x / z + centre[0], focal[1] * y / z + centre[1]};
}

point cylinder_placement::to_output(point image) const {
  const cylinder_coordinates c =
      CylinderPoint(camera.rotation.data(), camera.focal.data(), camera.centre.data(), image[0], image[1]);
  return {wrap_phase(c.phase, phase_range) * scale[0] + shift[0], c.height * scale[1] + shift[1]};
}

std::optional<point> cylinder_placement::to_image(point output) const {
  const double phase = (output[0] - shift[0]) / scale[0];
  const double height = (output[1] - shift[1]) / scale[1];
  return camera.pixel_of({std::sin(phase), height, std::cos(phase)});
}

point sphere_placement::to_output(point image) const {
  const ray r = camera.ray_of(image);
  const double longitude = wrap_phase(std::atan2(r[0], r[2]), middle_longitude);
  return {longitude * pixels_per_radian, std::atan2(r[1], std::hypot(r[0], r[2])) * pixels_per_radian};
}

std::optional<point> sphere_placement::to_image(point output) const {
  const double longitude = output[0] / pixels_per_radian, latitude = output[1] / pixels_per_radian;
  return camera.pixel_of({std::cos(latitude) * std::sin(longitude), std::sin(latitude),
                          std::cos(latitude) * std::cos(longitude)});
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
  if (group.transform_type == transform_spherical) return sphere_of(run, group, sheet);
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
