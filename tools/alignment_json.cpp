#include "tools/alignment_json.h"

#include <nlohmann/json.hpp>

#include <cmath>

#include "pipeline/transformation_type.h"
#include "tools/left_out_images.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"

namespace lacewright_tool {
namespace {

using json = nlohmann::ordered_json;

const frame_scale& scale_of(const alignment& run, int32_t sheet) {
  return run.images[static_cast<std::size_t>(sheet)].scale;
}

const input_image& image_of(const alignment& run, int32_t sheet) { return run.images[static_cast<std::size_t>(sheet)]; }

json pair(point p) { return json::array({p[0], p[1]}); }

// The camera of a turning group's image: the engine's rotation (camera to
// the reference camera's axes) and its lens values.
json turned_camera_entry(const char* kind, const double* rotation, const SimpleCameraParameters& camera,
                         const frame_scale& scale) {
  return {{"kind", kind},
          {"rotation", std::vector<double>(rotation, rotation + 9)},
          {"focal_length",
           {scale.length_to_given(camera.focal_length()[0]), scale.length_to_given(camera.focal_length()[1])}},
          {"centre", pair(scale.to_given({camera.image_center()[0], camera.image_center()[1]}))},
          {"lens", {camera.distortion()[0], camera.distortion()[1]}}};
}

// The cylinder's output pixels are the reference image's.
json cylindrical(const CylindricalTransform& t, const frame_scale& own, const frame_scale& reference) {
  json entry = turned_camera_entry("cylindrical", t.rotation, t.camera, own);
  entry["scale"] = {reference.length_to_given(t.scale[0]), reference.length_to_given(t.scale[1])};
  entry["phase_range"] = t.phase_range;
  entry["pixel_shift"] = pair(reference.to_given({t.pixel_shift[0], t.pixel_shift[1]}));
  return entry;
}

// A sphere's transforms carry no numbers; the observed camera does.
json spherical(const std::optional<group_camera>& observed, const frame_scale& own) {
  if (!observed) return {{"kind", "spherical"}};
  return turned_camera_entry("spherical", observed->rotation.data(), observed->camera, own);
}

// The image's rectangle, where its corners land in the reference image, and
// the map between them, all in pixels of the images as given.
json planar(const input_image& image, const plane_placement& plane) {
  const double w = image.width, h = image.height;
  json quad = json::array();
  for (const point corner : {point{0, 0}, point{w, 0}, point{w, h}, point{0, h}}) {
    const point mapped = plane.to_output(corner);
    quad.push_back(mapped[0]);
    quad.push_back(mapped[1]);
  }
  return {{"kind", "planar"}, {"rect", {0.0, 0.0, h, w}}, {"quad", quad}, {"homography", plane.to_reference}};
}

// The lens acts on radii in pixels, so its coefficients shrink with the
// square and the fourth power of the scale.
json planar_lens(const DistortRd2Transform& t, const input_image& image, const plane_placement& plane) {
  const double f = image.scale.factor();
  return {{"kind", "planar_lens"},
          {"homography", plane.to_reference},
          {"size", {image.height, image.width}},
          {"centre", pair(image.scale.to_given({t.center[0], t.center[1]}))},
          {"lens", {t.coefficients[0] / (f * f), t.coefficients[1] / (f * f * f * f)}}};
}

json transform_of(const alignment& run, const result_group& group, const group_layout& layout, std::size_t k) {
  const std::size_t position = group.positions[k];
  const PixelTransform* transform = run.results.transforms[position].get();
  const int32_t sheet = run.results.sheetID[position];
  if (group.transform_type == transform_spherical) {
    return spherical(run.cameras[static_cast<std::size_t>(sheet)], scale_of(run, sheet));
  }
  const plane_placement* plane = std::get_if<plane_placement>(&layout.placements[k]);
  // A plane's reference has no transform of its own: the identity places it.
  if (!transform) return plane ? planar(image_of(run, sheet), *plane) : json(nullptr);
  switch (transform->kind) {
    case CylindricalTransform::class_kind:
      return cylindrical(static_cast<const CylindricalTransform&>(*transform), scale_of(run, sheet),
                         scale_of(run, group.reference_sheet));
    case DistortTransform::class_kind:
      if (!plane) return {{"kind", "planar"}};
      return planar(image_of(run, sheet), *plane);
    case DistortRd2Transform::class_kind:
      if (!plane) return {{"kind", "planar_lens"}};
      return planar_lens(static_cast<const DistortRd2Transform&>(*transform), image_of(run, sheet), *plane);
    default: return {{"kind", "unknown"}};
  }
}

json group_entry(const alignment& run, const result_group& group, const group_layout& layout,
                 const group_files* files) {
  json images = json::array();
  for (const std::size_t position : group.positions) images.push_back(run.results.sheetID[position]);
  json entry = {{"group", group.number},
                {"kind", transform_type_name(group.transform_type)},
                {"transformType", group.transform_type},
                {"reference", group.reference_sheet},
                {"images", images},
                {"connectivity", group.number < run.results.connectivity.size()
                                     ? json(run.results.connectivity[group.number])
                                     : json::array()}};
  if (group.transform_type == transform_cylindrical || group.transform_type == transform_spherical) {
    entry["level"] = {{"rotation", layout.level}, {"applied", layout.levelled}};
  }
  if (files && !files->preview.empty()) {
    entry["preview"] = {{"file", files->preview}, {"width", files->preview_width}, {"height", files->preview_height}};
  }
  if (files && !files->project.empty()) entry["project"] = files->project;
  return entry;
}

}  // namespace

const char* transform_type_name(int32_t type) {
  switch (type) {
    case 0: return "projective";
    case 1: return "cylindrical";
    case 2: return "spherical";
    case 3: return "translation";
    case 4: return "rigid";
    case 5: return "similarity";
    case 6: return "affine";
    case 10: return "projective_lens";
    default: return "unknown";
  }
}

std::string alignment_json(const alignment& run, const std::vector<group_layout>& layouts,
                           const std::vector<group_files>& files) {
  const MultiViewParams& results = run.results;
  json images = json::array();
  for (std::size_t i = 0; i < run.images.size(); ++i) {
    const input_image& image = run.images[i];
    images.push_back({{"image", i},
                      {"file", image.name},
                      {"width", image.width},
                      {"height", image.height},
                      {"reduction_level", image.scale.level},
                      {"group", nullptr},
                      {"reference", false},
                      {"renderable", false},
                      {"transform", nullptr}});
  }
  json groups = json::array();
  for (const result_group& group : groups_of(results)) {
    const group_layout& layout = layouts[group.number];
    groups.push_back(group_entry(run, group, layout, group.number < files.size() ? &files[group.number] : nullptr));
    for (std::size_t k = 0; k < group.positions.size(); ++k) {
      const std::size_t position = group.positions[k];
      json& entry = images[static_cast<std::size_t>(results.sheetID[position])];
      entry["group"] = group.number;
      entry["reference"] = results.sheetID[position] == group.reference_sheet;
      entry["renderable"] = static_cast<bool>(results.renderable[position]);
      entry["transform"] = transform_of(run, group, layout, k);
    }
  }
  json left_out = json::array();
  for (const left_out_image& image : left_out_images(run)) {
    json entry = {{"file", image.file}, {"reason", image.reason}};
    if (image.image) entry["image"] = *image.image;
    if (!image.duplicate_of.empty()) entry["duplicate_of"] = image.duplicate_of;
    left_out.push_back(entry);
  }
  const json document = {{"requested_type", run.type}, {"report", run.report}, {"groups", groups},
                         {"images", images},        {"left_out", left_out}};
  return document.dump(2) + "\n";
}

}  // namespace lacewright_tool
