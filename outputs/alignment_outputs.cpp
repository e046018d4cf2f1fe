#include "outputs/alignment_outputs.h"

#include <filesystem>
#include <optional>

#include "outputs/alignment_json.h"
#include "outputs/group_preview.h"
#include "outputs/hugin_project.h"
#include "outputs/output_files.h"
#include "pipeline/transformation_type.h"

namespace lacewright_tool {
namespace {

// FILE for the first of several outputs, FILE-2.ext, FILE-3.ext, ... after.
std::string numbered(const std::string& path, std::size_t count) {
  if (count == 0) return path;
  const std::filesystem::path p(path);
  return (p.parent_path() / (p.stem().string() + "-" + std::to_string(count + 1) + p.extension().string())).string();
}

// A Hugin project holds turned cameras: a turning group's own, or a planar
// group's where each homography is a turn of the camera. A group that
// cannot be one is refused before anything is written, rather than left out
// of the projects in silence.
std::vector<std::optional<group_layout>> project_layouts(const alignment& run, const std::vector<result_group>& groups,
                                                         const std::vector<group_layout>& layouts, bool level) {
  std::vector<std::optional<group_layout>> projected(groups.size());
  for (const result_group& group : groups) {
    if (group.positions.size() < 2) continue;
    if (group.transform_type == transform_cylindrical || group.transform_type == transform_spherical) {
      projected[group.number] = layouts[group.number];
      continue;
    }
    projected[group.number] = lay_out_planar_group_as_turned(run, group, level);
    if (projected[group.number]) continue;
    throw lacewright::output_error("no Hugin project of group " + std::to_string(group.number + 1) + " (" +
                                   std::to_string(group.positions.size()) + " images): it is " +
                                   lacewright::transform_type_name(group.transform_type) +
                                   ", and its images are not the views of one turning camera that a Hugin project "
                                   "holds; align with type 1 to write one");
  }
  return projected;
}

}  // namespace

std::vector<std::string> write_outputs(const alignment& run, const lacewright::alignment& described,
                                       const std::vector<group_layout>& layouts,
                                       const std::vector<image_file>& pictures, bool level,
                                       const lacewright::outputs& request, run_progress& progress) {
  if (!request.preview.empty() && pictures.size() != run.images.size()) {
    throw lacewright::usage_error("a preview needs the pictures: align with keep_pictures to draw one");
  }
  if (!request.preview.empty() && !has_picture_extension(request.preview)) {
    throw lacewright::usage_error("a preview needs a file ending in .png, .jpg, .jpeg, .tif, .tiff or .webp, not '" +
                                  request.preview + "'");
  }
  if (!request.preview.empty() && request.preview_size < 16) {
    throw lacewright::usage_error("a preview needs at least 16 pixels on its longest side, not " +
                                  std::to_string(request.preview_size));
  }
  const std::vector<result_group> groups = groups_of(run.results);
  const std::vector<std::optional<group_layout>> projected =
      request.project.empty() ? std::vector<std::optional<group_layout>>(groups.size())
                              : project_layouts(run, groups, layouts, level);
  output_files outputs;
  std::vector<group_files> files(groups.size());
  std::size_t previews = 0, projects = 0;
  progress.stage("writing", groups.size());
  for (const result_group& group : groups) {
    progress.advance(group.number);
    // An image alone in its group was not aligned: nothing to draw or place.
    if (group.positions.size() < 2) continue;
    group_files& written = files[group.number];
    if (!request.preview.empty()) {
      if (const auto picture = draw_group(run, group, layouts[group.number], pictures, request.preview_size)) {
        written = {numbered(request.preview, previews++), picture->width, picture->height, {}};
        outputs.add(written.preview, encode_picture(*picture, written.preview));
      }
    }
    if (projected[group.number]) {
      if (const auto project = hugin_project(run, group, *projected[group.number])) {
        written.project = numbered(request.project, projects++);
        outputs.add(written.project, *project);
      }
    }
  }
  progress.advance(groups.size());
  if (!request.json.empty()) outputs.add(request.json, alignment_json(described, files));
  // A stop asked for while the files were made leaves every one unwritten.
  progress.finish();
  outputs.commit();
  return outputs.paths();
}

}  // namespace lacewright_tool
