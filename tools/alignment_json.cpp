#include "tools/alignment_json.h"

#include <nlohmann/json.hpp>

#include <cmath>

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

json cylindrical(const CylindricalTransform& t) {
  return {{"kind", "cylindrical"},
          {"rotation", numbers(t.rotation)},
          {"focal_length", {t.camera.focal_length()[0], t.camera.focal_length()[1]}},
          {"centre", {t.camera.image_center()[0], t.camera.image_center()[1]}},
          {"lens", {t.camera.distortion()[0], t.camera.distortion()[1]}},
          {"scale", numbers(t.scale)},
          {"phase_range", t.phase_range},
          {"pixel_shift", numbers(t.pixel_shift)}};
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
  if (group.transform_type == 2) return {{"kind", "spherical"}};
  if (!transform) return nullptr;
  const image_placement placement = place_image(run, group, position);
  const int32_t sheet = run.results.sheetID[position];
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
