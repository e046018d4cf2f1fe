// lacewright: aligns overlapping photographs from the command line.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "pipeline/transformation_type.h"
#include "tools/alignment_json.h"
#include "tools/command_line.h"
#include "tools/control_point_detector.h"
#include "tools/default_scene.h"
#include "tools/engine_alignment.h"
#include "tools/file_alignment.h"
#include "tools/group_preview.h"
#include "tools/hugin_project.h"
#include "tools/image_inputs.h"
#include "tools/left_out_images.h"
#include "tools/output_files.h"
#include "tools/progress_display.h"

namespace {

using namespace lacewright_tool;

std::vector<image_file> add_default_scene(engine_alignment& engine, bool keep) {
  std::vector<image_file> kept;
  int view = 0;
  for (pixel_image& picture : render_default_scene()) {
    image_file image = image_in_memory("synthetic view " + std::to_string(view++), std::move(picture));
    engine.add_image(image);
    if (keep) kept.push_back(std::move(image));
  }
  return kept;
}

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
    throw tool_error("--pto: group " + std::to_string(group.number + 1) + " (" +
                         std::to_string(group.positions.size()) + " images) is " +
                         transform_type_name(group.transform_type) +
                         ", and its images are not the views of one turning camera that a Hugin project holds; "
                         "align with --type 1 to write one",
                     exit_output_failed);
  }
  return projected;
}

void stage_outputs(const options& parsed, const alignment& run, const std::vector<image_file>& pictures,
                   output_files& outputs, progress_display& progress) {
  const std::vector<result_group> groups = groups_of(run.results);
  std::vector<group_layout> layouts;
  for (const result_group& group : groups) layouts.push_back(lay_out_group(run, group, parsed.level));
  const std::vector<std::optional<group_layout>> projected =
      parsed.pto_path.empty() ? std::vector<std::optional<group_layout>>(groups.size())
                              : project_layouts(run, groups, layouts, parsed.level);
  std::vector<group_files> files(groups.size());
  std::size_t previews = 0, projects = 0;
  progress.stage("writing", groups.size());
  for (const result_group& group : groups) {
    progress.advance(group.number);
    // An image alone in its group was not aligned: nothing to draw or place.
    if (group.positions.size() < 2) continue;
    const group_layout& layout = layouts[group.number];
    group_files& written = files[group.number];
    if (!parsed.preview_path.empty()) {
      if (const auto picture = draw_group(run, group, layout, pictures, parsed.preview_size)) {
        written = {numbered(parsed.preview_path, previews++), picture->width, picture->height, {}};
        outputs.add(written.preview, encode_picture(*picture, written.preview));
      }
    }
    if (projected[group.number]) {
      if (const auto project = hugin_project(run, group, *projected[group.number])) {
        written.project = numbered(parsed.pto_path, projects++);
        outputs.add(written.project, *project);
      }
    }
  }
  progress.advance(groups.size());
  if (!parsed.json_path.empty()) outputs.add(parsed.json_path, alignment_json(run, layouts, files));
}

std::string times_of(const progress_display& progress) {
  std::string times;
  for (const auto& [name, seconds] : progress.times()) {
    char part[64];
    std::snprintf(part, sizeof part, "%s%s %.2f s", times.empty() ? "" : ", ", name.c_str(), seconds);
    times += part;
  }
  return times;
}

// "too few inliers", "duplicate of a.jpg", ...
std::string reason_of(const left_out_image& image) {
  return image.reason + (image.duplicate_of.empty() ? "" : " of " + image.duplicate_of);
}

void print_summary(const alignment& run, const std::vector<std::string>& written, const progress_display& progress) {
  const std::vector<result_group> groups = groups_of(run.results);
  std::string sizes;
  for (const result_group& group : groups) {
    sizes += (sizes.empty() ? "" : ", ") + std::to_string(group.positions.size());
    if (group.positions.size() > 1) {
      sizes += std::string(" ") + transform_type_name(group.transform_type);
    }
  }
  std::fprintf(stderr, "lacewright: %zu image%s, %zu group%s%s%s%s\n", run.images.size(),
               run.images.size() == 1 ? "" : "s", groups.size(), groups.size() == 1 ? "" : "s",
               sizes.empty() ? "" : " (", sizes.c_str(), sizes.empty() ? "" : ")");
  for (const left_out_image& image : left_out_images(run)) {
    std::fprintf(stderr, "lacewright: left out %s: %s\n", image.file.c_str(), reason_of(image).c_str());
  }
  std::fprintf(stderr, "lacewright: time: %s\n", times_of(progress).c_str());
  for (const std::string& path : written) {
    if (!output_files::is_standard_output(path)) std::fprintf(stderr, "lacewright: wrote %s\n", path.c_str());
  }
}

// The sentence of a run in which no two images aligned, naming each image
// and why it was left out.
std::string nothing_aligned(const alignment& run) {
  std::string images;
  for (const left_out_image& image : left_out_images(run)) {
    images += (images.empty() ? "" : ", ") + image.file + " (" + reason_of(image) + ")";
  }
  return "no two images overlap enough to align: " + images;
}

int run(const options& parsed) {
  progress_display progress(parsed.quiet);
  engine_alignment engine;
  const bool keep = !parsed.preview_path.empty();
  std::vector<image_file> pictures;
  if (parsed.inputs.empty()) {
    if (!parsed.quiet) std::fprintf(stderr, "lacewright: no images given; aligning the built-in synthetic scene\n");
    pictures = add_default_scene(engine, keep);
  } else {
    const std::vector<std::string> files = distinct_files(expand_inputs(parsed.inputs), progress);
    check_image_count(files.size());
    pictures = add_image_files(engine, files, keep, progress);
  }
  const std::unique_ptr<alignment> result = align_images(engine, parsed.type);
  const bool aligned = aligned_any(*result);

  // When nothing aligned there is nothing to draw or project, but the JSON
  // still tells a script which images were left out and why.
  output_files outputs;
  stage_outputs(parsed, *result, pictures, outputs, progress);
  outputs.commit();
  progress.finish();
  // The JSON holds the report; on standard output it stands alone, so that
  // a program can read it.
  if (parsed.json_path.empty() || !output_files::is_standard_output(parsed.json_path)) {
    std::printf("%s\n", result->report.c_str());
  }
  if (!aligned) throw tool_error(nothing_aligned(*result), exit_alignment_failed);
  if (!parsed.quiet) print_summary(*result, outputs.paths(), progress);
  return exit_success;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const options parsed = parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
    if (parsed.help || parsed.version) {
      std::fputs(parsed.help ? help_text(parsed.command).c_str() : version_text, stdout);
      return exit_success;
    }
    return parsed.command == tool_command::controlpoints ? detect_control_points(parsed) : run(parsed);
  } catch (const tool_error& error) {
    const bool usage = error.code == exit_usage;
    std::fprintf(stderr, "lacewright: %s%s\n", error.what(), usage ? " (see lacewright --help)" : "");
    return error.code;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lacewright: %s\n", error.what());
    return exit_alignment_failed;
  }
}
