#include "outputs/alignment_json.h"

#include <nlohmann/json.hpp>

namespace lacewright_tool {
namespace {

using json = nlohmann::ordered_json;

json pair(lacewright::point p) { return json::array({p[0], p[1]}); }

json camera_entry(const char* kind, const lacewright::camera& camera) {
  return {{"kind", kind},
          {"rotation", camera.rotation},
          {"focal_length", camera.focal_length},
          {"centre", pair(camera.centre)},
          {"lens", camera.lens}};
}

// The image's rectangle, where its corners land in the reference image, and
// the map between them.
json transform_entry(const lacewright::image& image, const lacewright::planar_transform& t) {
  if (!t.homography) return {{"kind", "planar"}};
  json quad = json::array();
  for (const lacewright::point& corner : t.quad) {
    quad.push_back(corner[0]);
    quad.push_back(corner[1]);
  }
  return {{"kind", "planar"},
          {"rect", {0.0, 0.0, static_cast<double>(image.height), static_cast<double>(image.width)}},
          {"quad", quad},
          {"homography", *t.homography}};
}

json transform_entry(const lacewright::image& image, const lacewright::planar_lens_transform& t) {
  if (!t.homography) return {{"kind", "planar_lens"}};
  return {{"kind", "planar_lens"},
          {"homography", *t.homography},
          {"size", {image.height, image.width}},
          {"centre", pair(t.centre)},
          {"lens", t.lens}};
}

json transform_entry(const lacewright::image&, const lacewright::cylindrical_transform& t) {
  json entry = camera_entry("cylindrical", t.camera);
  entry["scale"] = t.scale;
  entry["phase_range"] = t.phase_range;
  entry["pixel_shift"] = pair(t.pixel_shift);
  return entry;
}

json transform_entry(const lacewright::image&, const lacewright::spherical_transform& t) {
  return t.camera ? camera_entry("spherical", *t.camera) : json{{"kind", "spherical"}};
}

json transform_entry(const lacewright::image&, std::monostate) { return nullptr; }

json image_entry(std::size_t number, const lacewright::image& image) {
  return {{"image", number},
          {"file", image.file},
          {"width", image.width},
          {"height", image.height},
          {"reduction_level", image.reduction_level},
          {"group", image.group ? json(*image.group) : json(nullptr)},
          {"reference", image.reference},
          {"renderable", image.renderable},
          {"transform", std::visit([&](const auto& t) { return transform_entry(image, t); }, image.transform)}};
}

json group_entry(const lacewright::group& group, const group_files* files) {
  json entry = {{"group", group.number},
                {"kind", lacewright::transform_type_name(group.transform_type)},
                {"transformType", group.transform_type},
                {"reference", group.reference},
                {"images", group.images},
                {"connectivity", group.connectivity}};
  if (group.level) entry["level"] = {{"rotation", group.level->rotation}, {"applied", group.level->applied}};
  if (files && !files->preview.empty()) {
    entry["preview"] = {{"file", files->preview}, {"width", files->preview_width}, {"height", files->preview_height}};
  }
  if (files && !files->project.empty()) entry["project"] = files->project;
  return entry;
}

json left_out_entry(const lacewright::left_out_image& image) {
  json entry = {{"file", image.file}, {"reason", image.reason}};
  if (image.image) entry["image"] = *image.image;
  if (!image.duplicate_of.empty()) entry["duplicate_of"] = image.duplicate_of;
  return entry;
}

}  // namespace

std::string alignment_json(const lacewright::alignment& alignment, const std::vector<group_files>& files) {
  json groups = json::array(), images = json::array(), left_out = json::array();
  for (const lacewright::group& group : alignment.groups) {
    groups.push_back(group_entry(group, group.number < files.size() ? &files[group.number] : nullptr));
  }
  for (std::size_t i = 0; i < alignment.images.size(); ++i) images.push_back(image_entry(i, alignment.images[i]));
  for (const lacewright::left_out_image& image : alignment.left_out) left_out.push_back(left_out_entry(image));
  const json document = {{"requested_type", alignment.requested_type},
                         {"report", alignment.report},
                         {"groups", groups},
                         {"images", images},
                         {"left_out", left_out}};
  return document.dump(2) + "\n";
}

}  // namespace lacewright_tool
