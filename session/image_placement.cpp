#include "session/image_placement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "geometry/pair_rotation_model.h"
#include "numerics/matrix_3x3.h"
#include "pipeline/transformation_type.h"
#include "rotation/up_direction.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"
#include "transforms/square_to_quad.h"

namespace lacewright_tool {
namespace {

constexpr matrix3 unit_matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr double degree = std::numbers::pi / 180.0;

// Cameras whose x axes stay this close together turn about no common
// vertical, so no horizon can be fitted to them: a column of views.
constexpr double least_sweep_for_levelling = 5.0 * degree;

matrix3 product(const matrix3& a, const matrix3& b) {
  matrix3 out;
  multiply_3x3(a.data(), b.data(), out.data());
  return out;
}

const frame_scale& scale_of(const alignment& run, int32_t sheet) {
  return run.images[static_cast<std::size_t>(sheet)].scale;
}

// The engine's planar maps work on the frames it aligned: from the image as
// given to its frame, through `frame_map`, to the reference frame and out to
// the reference image as given.
plane_placement plane_through(const matrix3& frame_map, const frame_scale& own, const frame_scale& reference) {
  plane_placement plane;
  plane.to_reference = product(reference.to_given_map(), product(frame_map, own.to_reduced_map()));
  adjugate_3x3(plane.to_reference.data(), plane.from_reference.data());
  return plane;
}

// The map that takes the rectangle's corners to the quadrilateral's.
matrix3 rectangle_to_quad(const DistortTransform& t) {
  const double top = t.rect[0], left = t.rect[1], bottom = t.rect[2], right = t.rect[3];
  const matrix3 to_square = {1.0 / (right - left), 0, -left / (right - left), 0, 1.0 / (bottom - top),
                             -top / (bottom - top), 0, 0, 1};
  return product(square_to_quad(t.quad).matrix(), to_square);
}

image_placement planar_placement(const alignment& run, const result_group& group, std::size_t position) {
  const MultiViewParams& results = run.results;
  if (!results.renderable[position]) return std::monostate{};
  const frame_scale& own = scale_of(run, results.sheetID[position]);
  const frame_scale& reference = scale_of(run, group.reference_sheet);
  const PixelTransform* transform = results.transforms[position].get();
  if (!transform) return plane_through(unit_matrix, own, reference);  // the reference itself
  switch (transform->kind) {
    case DistortTransform::class_kind:
      return plane_through(rectangle_to_quad(static_cast<const DistortTransform&>(*transform)), own, reference);
    case DistortRd2Transform::class_kind: {
      const auto& lens = static_cast<const DistortRd2Transform&>(*transform);
      matrix3 m;
      std::copy(std::begin(lens.matrix), std::end(lens.matrix), m.begin());
      return plane_through(m, own, reference);
    }
    default: return std::monostate{};
  }
}

turned_camera given_camera(const double* rotation, const SimpleCameraParameters& camera, const frame_scale& scale) {
  turned_camera c;
  std::copy(rotation, rotation + 9, c.rotation.begin());
  c.focal = {scale.length_to_given(camera.focal_length()[0]), scale.length_to_given(camera.focal_length()[1])};
  c.centre = scale.to_given({camera.image_center()[0], camera.image_center()[1]});
  return c;
}

// The camera of a turning group's image: from its cylinder, or, for a
// sphere (whose transforms carry no numbers), as the engine told it.
std::optional<turned_camera> turned_camera_of(const alignment& run, const result_group& group, std::size_t position) {
  const int32_t sheet = run.results.sheetID[position];
  const frame_scale& scale = scale_of(run, sheet);
  if (group.transform_type == transform_spherical) {
    const std::optional<group_camera>& observed = run.cameras[static_cast<std::size_t>(sheet)];
    if (!observed) return std::nullopt;
    return given_camera(observed->rotation.data(), observed->camera, scale);
  }
  const PixelTransform* transform = run.results.transforms[position].get();
  if (!transform || transform->kind != CylindricalTransform::class_kind) return std::nullopt;
  const auto& cylinder = static_cast<const CylindricalTransform&>(*transform);
  return given_camera(cylinder.rotation, cylinder.camera, scale);
}

ray column(const matrix3& rotation, std::size_t c) { return {rotation[c], rotation[3 + c], rotation[6 + c]}; }

double angle_between(const ray& a, const ray& b) {
  return std::acos(std::clamp(a[0] * b[0] + a[1] * b[1] + a[2] * b[2], -1.0, 1.0));
}

// The turn that makes the group's vertical, fitted to the cameras' x axes
// and signed by their y axes, the panorama's downward axis; empty when the
// cameras do not sweep enough to show a vertical.
std::optional<matrix3> levelling_turn(const std::vector<turned_camera>& cameras) {
  std::vector<axis> x_axes, y_axes;
  for (const turned_camera& camera : cameras) {
    x_axes.push_back(column(camera.rotation, 0));
    y_axes.push_back(column(camera.rotation, 1));
  }
  double sweep = 0.0;
  for (const axis& x : x_axes) sweep = std::max(sweep, angle_between(x, x_axes.front()));
  if (sweep < least_sweep_for_levelling) return std::nullopt;
  const std::optional<axis> up = up_from_x_axes(x_axes);
  if (!up) return std::nullopt;
  return turn_onto(oriented_up(*up, y_axes), {0.0, 1.0, 0.0});
}

double longitude_of(const ray& r) { return std::atan2(r[0], r[2]); }

// The longitude of a camera's pixel, taken within half a turn of the
// longitude of its own centre, so that one image's longitudes never jump.
double unwrapped_longitude(const turned_camera& camera, point pixel) {
  const double middle = longitude_of(camera.ray_of(camera.centre));
  return middle + std::remainder(longitude_of(camera.ray_of(pixel)) - middle, 2.0 * std::numbers::pi);
}

// Points along the border of an image of `width` by `height` pixels.
template <class Visit>
void walk_outline(double width, double height, Visit visit) {
  constexpr int samples = 32;
  const double left = -0.5, top = -0.5, right = width - 0.5, bottom = height - 0.5;
  for (int s = 0; s <= samples; ++s) {
    const double t = static_cast<double>(s) / samples;
    const double x = left + t * (right - left), y = top + t * (bottom - top);
    for (const point p : {point{x, top}, point{x, bottom}, point{left, y}, point{right, y}}) visit(p);
  }
}

// The middle of the longitudes that the cameras' images cover.
double middle_longitude(const std::vector<turned_camera>& cameras, const std::vector<const input_image*>& images) {
  double first = std::numeric_limits<double>::infinity(), last = -first;
  for (std::size_t k = 0; k < cameras.size(); ++k) {
    walk_outline(images[k]->width, images[k]->height, [&](point p) {
      const double longitude = unwrapped_longitude(cameras[k], p);
      first = std::min(first, longitude);
      last = std::max(last, longitude);
    });
  }
  return (first + last) / 2.0;
}

// Places the cameras of a group's images at positions `placed` on one
// panorama, levelled if asked; `scale_camera` (the reference's) sets its
// pixels per radian.
void place_cameras(const std::vector<std::size_t>& placed, std::vector<turned_camera> cameras,
                   const std::vector<const input_image*>& images, std::size_t scale_camera, panorama_surface surface,
                   bool level, group_layout& layout) {
  if (cameras.empty()) return;
  if (const auto turn = levelling_turn(cameras)) layout.level = *turn;
  layout.levelled = level;
  if (level) {
    for (turned_camera& camera : cameras) camera.rotation = product(layout.level, camera.rotation);
  }
  const double pixels_per_radian = cameras[scale_camera].focal[0];
  const double middle = middle_longitude(cameras, images);
  for (std::size_t i = 0; i < placed.size(); ++i) {
    layout.placements[placed[i]] = turned_placement{cameras[i], surface, pixels_per_radian, middle};
  }
}

void turned_placements(const alignment& run, const result_group& group, bool level, group_layout& layout) {
  std::vector<std::size_t> placed;
  std::vector<turned_camera> cameras;
  std::vector<const input_image*> images;
  std::size_t reference = 0;
  for (std::size_t k = 0; k < group.positions.size(); ++k) {
    if (const auto camera = turned_camera_of(run, group, group.positions[k])) {
      const int32_t sheet = run.results.sheetID[group.positions[k]];
      if (sheet == group.reference_sheet) reference = placed.size();
      placed.push_back(k);
      cameras.push_back(*camera);
      images.push_back(&run.images[static_cast<std::size_t>(sheet)]);
    }
  }
  const panorama_surface surface =
      group.transform_type == transform_spherical ? panorama_surface::sphere : panorama_surface::cylinder;
  place_cameras(placed, std::move(cameras), images, reference, surface, level, layout);
}

point centre_of(const input_image& image) { return {(image.width - 1) / 2.0, (image.height - 1) / 2.0}; }

// The camera that sees the reference image through `plane` turned about
// the reference camera's centre, when the homography is such a turn; the
// reference's focal length as this pair estimates it goes to
// `reference_focal`.
std::optional<turned_camera> turned_camera_of_plane(const plane_placement& plane, const input_image& image,
                                                    const input_image& reference, double& reference_focal) {
  h_matrix_2d motion(homography_projective);
  std::copy(plane.to_reference.begin(), plane.to_reference.end(), motion.parameters);
  const point own_centre = centre_of(image), reference_centre = centre_of(reference);
  const pair_rotation_model model(motion, reference_centre, own_centre);
  if (model.failed) return std::nullopt;
  reference_focal = model.camera_first.fx;
  turned_camera camera;
  camera.rotation = model.rotation;
  camera.focal = {model.camera_second.fx, model.camera_second.fx};
  camera.centre = own_centre;
  return camera;
}

// Whether the turned cameras map the image's outline where its homography
// does, within 0.2 % of the reference's diagonal: a homography that shears
// the picture is no turn of a camera, and one that a turn explains only
// roughly (a lens's distortion taken up by the plane's eight parameters)
// would render with doubled edges.
bool turn_explains_plane(const turned_camera& camera, const turned_camera& reference_camera,
                         const plane_placement& plane, const input_image& image, const input_image& reference) {
  const double tolerance = 0.002 * std::hypot(reference.width, reference.height);
  bool explained = true;
  walk_outline(image.width, image.height, [&](point p) {
    const std::optional<point> seen = reference_camera.pixel_of(camera.ray_of(p));
    const point expected = plane.to_output(p);
    explained = explained && seen && std::hypot((*seen)[0] - expected[0], (*seen)[1] - expected[1]) <= tolerance;
  });
  return explained;
}

void add_bounds(group_layout& layout, const image_placement& placement, const input_image& image) {
  output_box box = layout.bounds.value_or(output_box{std::numeric_limits<double>::infinity(),
                                                     std::numeric_limits<double>::infinity(),
                                                     -std::numeric_limits<double>::infinity(),
                                                     -std::numeric_limits<double>::infinity()});
  walk_outline(image.width, image.height, [&](point p) {
    const point out = to_output(placement, p);
    box.left = std::min(box.left, out[0]);
    box.right = std::max(box.right, out[0]);
    box.top = std::min(box.top, out[1]);
    box.bottom = std::max(box.bottom, out[1]);
  });
  layout.bounds = box;
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

point apply_homography(const matrix3& m, point p) {
  const double w = m[6] * p[0] + m[7] * p[1] + m[8];
  return {(m[0] * p[0] + m[1] * p[1] + m[2]) / w, (m[3] * p[0] + m[4] * p[1] + m[5]) / w};
}

ray turned_camera::ray_of(point pixel) const {
  const double u = (pixel[0] - centre[0]) / focal[0], v = (pixel[1] - centre[1]) / focal[1];
  const matrix3& R = rotation;
  return {R[0] * u + R[1] * v + R[2], R[3] * u + R[4] * v + R[5], R[6] * u + R[7] * v + R[8]};
}

std::optional<point> turned_camera::pixel_of(const ray& r) const {
  const matrix3& R = rotation;  // the camera's ray is R^T r
  const double x = R[0] * r[0] + R[3] * r[1] + R[6] * r[2];
  const double y = R[1] * r[0] + R[4] * r[1] + R[7] * r[2];
  const double z = R[2] * r[0] + R[5] * r[1] + R[8] * r[2];
  if (z <= 1e-9) return std::nullopt;
  return point{focal[0] * x / z + centre[0], focal[1] * y / z + centre[1]};
}

point turned_placement::to_output(point image) const {
  const ray r = camera.ray_of(image);
  const double around = std::hypot(r[0], r[2]);
  const double across = std::remainder(longitude_of(r) - middle, 2.0 * std::numbers::pi);
  const double down = surface == panorama_surface::sphere ? std::atan2(r[1], around) : r[1] / around;
  return {across * pixels_per_radian, down * pixels_per_radian};
}

std::optional<point> turned_placement::to_image(point output) const {
  const double longitude = middle + output[0] / pixels_per_radian, down = output[1] / pixels_per_radian;
  if (surface == panorama_surface::cylinder) return camera.pixel_of({std::sin(longitude), down, std::cos(longitude)});
  return camera.pixel_of(
      {std::cos(down) * std::sin(longitude), std::sin(down), std::cos(down) * std::cos(longitude)});
}

point plane_placement::to_output(point image) const { return apply_homography(to_reference, image); }

std::optional<point> plane_placement::to_image(point output) const {
  const matrix3& m = from_reference;
  if (m[6] * output[0] + m[7] * output[1] + m[8] == 0.0) return std::nullopt;
  return apply_homography(m, output);
}

point to_output(const image_placement& placement, point image) {
  return std::visit(
      [&](const auto& place) -> point {
        if constexpr (std::is_same_v<std::decay_t<decltype(place)>, std::monostate>) {
          return image;
        } else {
          return place.to_output(image);
        }
      },
      placement);
}

std::optional<point> to_image(const image_placement& placement, point output) {
  return std::visit(
      [&](const auto& place) -> std::optional<point> {
        if constexpr (std::is_same_v<std::decay_t<decltype(place)>, std::monostate>) {
          return std::nullopt;
        } else {
          return place.to_image(output);
        }
      },
      placement);
}

std::optional<group_layout> lay_out_planar_group_as_turned(const alignment& run, const result_group& group,
                                                           bool level) {
  const group_layout planar = lay_out_group(run, group, false);
  const input_image& reference = run.images[static_cast<std::size_t>(group.reference_sheet)];
  std::vector<std::size_t> placed;
  std::vector<turned_camera> cameras;
  std::vector<const input_image*> images;
  std::size_t reference_place = 0;
  double reference_focal = 0.0;
  for (std::size_t k = 0; k < group.positions.size(); ++k) {
    const auto* plane = std::get_if<plane_placement>(&planar.placements[k]);
    if (!plane) continue;
    const int32_t sheet = run.results.sheetID[group.positions[k]];
    const input_image& image = run.images[static_cast<std::size_t>(sheet)];
    turned_camera camera{unit_matrix, {0.0, 0.0}, centre_of(image)};
    if (sheet == group.reference_sheet) {
      reference_place = placed.size();
    } else {
      double focal = 0.0;
      const std::optional<turned_camera> turned = turned_camera_of_plane(*plane, image, reference, focal);
      if (!turned) return std::nullopt;
      camera = *turned;
      reference_focal += focal;
    }
    placed.push_back(k);
    cameras.push_back(camera);
    images.push_back(&image);
  }
  if (cameras.size() < 2) return std::nullopt;
  // Each pair tells the reference's focal length; they share one camera.
  reference_focal /= static_cast<double>(cameras.size() - 1);
  cameras[reference_place].focal = {reference_focal, reference_focal};
  for (std::size_t i = 0; i < placed.size(); ++i) {
    const auto& plane = std::get<plane_placement>(planar.placements[placed[i]]);
    if (!turn_explains_plane(cameras[i], cameras[reference_place], plane, *images[i], reference)) return std::nullopt;
  }
  group_layout layout;
  layout.placements.resize(group.positions.size());
  place_cameras(placed, std::move(cameras), images, reference_place, panorama_surface::cylinder, level, layout);
  for (const std::size_t k : placed) {
    add_bounds(layout, layout.placements[k],
               run.images[static_cast<std::size_t>(run.results.sheetID[group.positions[k]])]);
  }
  return layout;
}

group_layout lay_out_group(const alignment& run, const result_group& group, bool level) {
  group_layout layout;
  layout.placements.resize(group.positions.size());
  const bool turning = group.transform_type == transform_cylindrical || group.transform_type == transform_spherical;
  if (turning) {
    turned_placements(run, group, level, layout);
  } else {
    for (std::size_t k = 0; k < group.positions.size(); ++k) {
      layout.placements[k] = planar_placement(run, group, group.positions[k]);
    }
  }
  for (std::size_t k = 0; k < group.positions.size(); ++k) {
    if (std::holds_alternative<std::monostate>(layout.placements[k])) continue;
    add_bounds(layout, layout.placements[k], run.images[static_cast<std::size_t>(run.results.sheetID[group.positions[k]])]);
  }
  return layout;
}

}  // namespace lacewright_tool
