#include "session/alignment_description.h"

#include <algorithm>

#include "pipeline/transformation_type.h"
#include "session/left_out_images.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"

namespace lacewright_tool {
namespace {

const frame_scale& scale_of(const alignment& run, int32_t sheet) {
  return run.images[static_cast<std::size_t>(sheet)].scale;
}

// The engine's rotation (camera to the reference camera's axes) and lens
// values.
lacewright::camera camera_of(const double* rotation, const SimpleCameraParameters& camera, const frame_scale& scale) {
  lacewright::camera c;
  std::copy(rotation, rotation + 9, c.rotation.begin());
  c.focal_length = {scale.length_to_given(camera.focal_length()[0]), scale.length_to_given(camera.focal_length()[1])};
  c.centre = scale.to_given({camera.image_center()[0], camera.image_center()[1]});
  c.lens = {camera.distortion()[0], camera.distortion()[1]};
  return c;
}

// The cylinder's output pixels are the reference image's.
lacewright::cylindrical_transform cylindrical(const CylindricalTransform& t, const frame_scale& own,
                                              const frame_scale& reference) {
  return {camera_of(t.rotation, t.camera, own),
          {reference.length_to_given(t.scale[0]), reference.length_to_given(t.scale[1])},
          t.phase_range,
          reference.to_given({t.pixel_shift[0], t.pixel_shift[1]})};
}

// A sphere's transforms carry no numbers; the observed camera does.
lacewright::spherical_transform spherical(const std::optional<group_camera>& observed, const frame_scale& own) {
  if (!observed) return {};
  return {camera_of(observed->rotation.data(), observed->camera, own)};
}

lacewright::planar_transform planar(const input_image& image, const plane_placement* plane) {
  if (!plane) return {};
  const double w = image.width, h = image.height;
  return {plane->to_reference,
          {plane->to_output({0, 0}), plane->to_output({w, 0}), plane->to_output({w, h}), plane->to_output({0, h})}};
}

// The lens acts on radii in pixels, so its coefficients shrink with the
// square and the fourth power of the scale.
lacewright::planar_lens_transform planar_lens(const DistortRd2Transform& t, const input_image& image,
                                              const plane_placement* plane) {
  if (!plane) return {};
  const double f = image.scale.factor();
  return {plane->to_reference, image.scale.to_given({t.center[0], t.center[1]}),
          {t.coefficients[0] / (f * f), t.coefficients[1] / (f * f * f * f)}};
}

lacewright::image_transform transform_of(const alignment& run, const result_group& group, const group_layout& layout,
                                         std::size_t k) {
  const std::size_t position = group.positions[k];
  const PixelTransform* transform = run.results.transforms[position].get();
  const int32_t sheet = run.results.sheetID[position];
  const input_image& image = run.images[static_cast<std::size_t>(sheet)];
  if (group.transform_type == transform_spherical) {
    return spherical(run.cameras[static_cast<std::size_t>(sheet)], image.scale);
  }
  const plane_placement* plane = std::get_if<plane_placement>(&layout.placements[k]);
  // A plane's reference has no transform of its own: the identity places it.
  if (!transform) return plane ? planar(image, plane) : lacewright::image_transform{};
  switch (transform->kind) {
    case CylindricalTransform::class_kind:
      return cylindrical(static_cast<const CylindricalTransform&>(*transform), image.scale,
                         scale_of(run, group.reference_sheet));
    case DistortTransform::class_kind: return planar(image, plane);
    case DistortRd2Transform::class_kind:
      return planar_lens(static_cast<const DistortRd2Transform&>(*transform), image, plane);
    default: return {};
  }
}

// The accepted pairs whose images both lie in `group`, their inliers in
// pixels of the images as given.
std::vector<lacewright::image_pair> pairs_of(const alignment& run, const lacewright::group& group) {
  std::vector<lacewright::image_pair> pairs;
  const auto in_group = [&](int32_t sheet) {
    return std::find(group.images.begin(), group.images.end(), static_cast<std::size_t>(sheet)) != group.images.end();
  };
  for (const pair_outcome& outcome : run.pairs) {
    if (!outcome.accepted || !in_group(outcome.first_sheet) || !in_group(outcome.second_sheet)) continue;
    const frame_scale& first = scale_of(run, outcome.first_sheet);
    const frame_scale& second = scale_of(run, outcome.second_sheet);
    lacewright::image_pair pair{static_cast<std::size_t>(outcome.first_sheet),
                                static_cast<std::size_t>(outcome.second_sheet), outcome.matches, {}};
    for (const inlier_match& inlier : outcome.inliers) {
      pair.inliers.push_back({first.to_given(inlier.first), second.to_given(inlier.second)});
    }
    pairs.push_back(std::move(pair));
  }
  return pairs;
}

lacewright::group group_of(const alignment& run, const result_group& group, const group_layout& layout) {
  lacewright::group described;
  described.number = group.number;
  described.transform_type = group.transform_type;
  described.reference = static_cast<std::size_t>(group.reference_sheet);
  for (const std::size_t position : group.positions) {
    described.images.push_back(static_cast<std::size_t>(run.results.sheetID[position]));
  }
  if (group.number < run.results.connectivity.size()) described.connectivity = run.results.connectivity[group.number];
  if (group.transform_type == transform_cylindrical || group.transform_type == transform_spherical) {
    described.level = lacewright::levelling{layout.level, layout.levelled};
  }
  described.pairs = pairs_of(run, described);
  return described;
}

}  // namespace

lacewright::alignment describe(const alignment& run, const std::vector<group_layout>& layouts) {
  lacewright::alignment described;
  described.requested_type = run.type;
  described.report = run.report;
  for (const input_image& image : run.images) {
    lacewright::image& described_image = described.images.emplace_back();
    described_image.file = image.name;
    described_image.width = image.width;
    described_image.height = image.height;
    described_image.orientation = image.orientation;
    described_image.reduction_level = image.scale.level;
  }
  for (const result_group& group : groups_of(run.results)) {
    const group_layout& layout = layouts[group.number];
    described.groups.push_back(group_of(run, group, layout));
    for (std::size_t k = 0; k < group.positions.size(); ++k) {
      const std::size_t position = group.positions[k];
      lacewright::image& image = described.images[static_cast<std::size_t>(run.results.sheetID[position])];
      image.group = group.number;
      image.reference = run.results.sheetID[position] == group.reference_sheet;
      image.renderable = static_cast<bool>(run.results.renderable[position]);
      image.transform = transform_of(run, group, layout, k);
    }
  }
  described.left_out = left_out_images(run);
  return described;
}

}  // namespace lacewright_tool
