#include "tools/alignment_json.h"

#include <nlohmann/json.hpp>

#include <cmath>

#include "sources/transformation_type.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"

namespace lacewright_tool {
namespace {

using json = nlohmann::ordered_json;

template <std::size_t N>
json numbers(const double (&values)[N], double factor = 1.0) {
  json list = json::array();
  for (const double v : values) list.push_back(v * factor);
  return list;
}

json numbers(const std::array<double, 9>& values) { return json(values); }

double reduction(const alignment& run, int32_t sheet) {
  return std::ldexp(1.0, run.images[static_cast<std::size_t>(sheet)].reduction_level);
}

// The camera of a turning group's image: its kind and lens values.
json turned_camera_entry(const char* kind, const double* rotation, const SimpleCameraParameters& camera) {
  return {{"kind", kind},
          {"rotation", std::vector<double>(rotation, rotation + 9)},
          {"focal_length", {camera.focal_length()[0], camera.focal_length()[1]}},
          {"centre", {camera.image_center()[0], camera.image_center()[1]}},
          {"lens", {camera.distortion()[0], camera.distortion()[1]}}};
}

json cylindrical(const CylindricalTransform& t) {
  json entry = turned_camera_entry("cylindrical", t.rotation, t.camera);
  entry["scale"] = numbers(t.scale);
  entry["phase_range"] = t.phase_range;
  entry["pixel_shift"] = numbers(t.pixel_shift);
  return entry;
}

// A sphere's transforms carry no numbers; the observed camera does.
json spherical(const std::optional<group_camera>& observed) {
  if (!observed) return {{"kind", "spherical"}};
  return turned_camera_entry("spherical", observed->rotation.data(), observed->camera);
}

// The rectangle is the image's, the quadrilateral lies in the reference
// image: each scaled from the frame the engine saw to the image as given.
json planar(const DistortTransform& t, double own, double reference, const image_placement& placement) {
  return {{"kind", "planar"},
          {"rect", numbers(t.rect, own)},
          {"quad", numbers(t.quad, reference)},
          {"homography", numbers(std::get<plane_placement>(placement).to_reference)}};
}

json planar_lens(const DistortRd2Transform& t, const image_placement& placement) {
  return {{"kind", "planar_lens"},
          {"homography", numbers(std::get<plane_placement>(placement).to_reference)},
          {"size", numbers(t.size)},
          {"centre", numbers(t.center)},
          {"lens", numbers(t.coefficients)}};
}

json transform_of(const alignment& run, const result_group& group, std::size_t position) {
  const PixelTransform* transform = run.results.transforms[position].get();
  const int32_t sheet = run.results.sheetID[position];
  if (group.transform_type == transform_spherical) return spherical(run.cameras[static_cast<std::size_t>(sheet)]);
  if (!transform) return nullptr;
  const image_placement placement = place_image(run, group, position);
  switch (transform->kind) {
    case CylindricalTransform::class_kind: return cylindrical(static_cast<const CylindricalTransform&>(*transform));
    case DistortTransform::class_kind:
      if (std::holds_alternative<std::monostate>(placement)) return {{"kind", "planar"}};
      return planar(static_cast<const DistortTransform&>(*transform), reduction(run, sheet),
                    reduction(run, group.reference_sheet), placement);
    case DistortRd2Transform::class_kind:
      if (std::holds_alternative<std::monostate>(placement)) return {{"kind", "planar_lens"}};
      return planar_lens(static_cast<const DistortRd2Transform&>(*transform), placement);
    default: return {{"kind", "unknown"}};
  }
}

json group_entry(const alignment& run, const result_group& group, const group_files* files) {
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

std::string alignment_json(const alignment& run, const std::vector<group_files>& files) {
  const MultiViewParams& results = run.results;
  json images = json::array();
  for (std::size_t i = 0; i < run.images.size(); ++i) {
    const input_image& image = run.images[i];
    images.push_back({{"image", i},
                      {"file", image.name},
                      {"width", image.width},
                      {"height", image.height},
                      {"reduction_level", image.reduction_level},
                      {"group", nullptr},
                      {"reference", false},
                      {"renderable", false},
                      {"transform", nullptr}});
  }
  json groups = json::array();
  for (const result_group& group : groups_of(results)) {
    groups.push_back(group_entry(run, group, group.number < files.size() ? &files[group.number] : nullptr));
    for (const std::size_t position : group.positions) {
      json& entry = images[static_cast<std::size_t>(results.sheetID[position])];
      entry["group"] = group.number;
      entry["reference"] = results.sheetID[position] == group.reference_sheet;
      entry["renderable"] = static_cast<bool>(results.renderable[position]);
      entry["transform"] = transform_of(run, group, position);
    }
  }
  const json document = {{"requested_type", run.type}, {"report", run.report}, {"groups", groups}, {"images", images}};
  return document.dump(2) + "\n";
}

}  // namespace lacewright_tool
