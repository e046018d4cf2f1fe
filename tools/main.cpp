// lacewright: aligns overlapping photographs from the command line.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/alignment_json.h"
#include "tools/command_line.h"
#include "tools/control_point_detector.h"
#include "tools/default_scene.h"
#include "tools/engine_alignment.h"
#include "tools/file_alignment.h"
#include "tools/group_preview.h"
#include "tools/hugin_project.h"
#include "tools/image_inputs.h"
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

std::vector<group_files> stage_outputs(const options& parsed, const alignment& run,
                                       const std::vector<image_file>& pictures, output_files& outputs) {
  const std::vector<result_group> groups = groups_of(run.results);
  std::vector<group_layout> layouts;
  for (const result_group& group : groups) layouts.push_back(lay_out_group(run, group, parsed.level));
  std::vector<group_files> files(groups.size());
  std::size_t previews = 0, projects = 0;
  for (const result_group& group : groups) {
    const group_layout& layout = layouts[group.number];
    group_files& written = files[group.number];
    if (!parsed.preview_path.empty()) {
      if (const auto picture = draw_group(run, group, layout, pictures, parsed.preview_size)) {
        written = {numbered(parsed.preview_path, previews++), picture->width, picture->height, {}};
        outputs.stage(written.preview, [&](const std::string& temporary) { return write_png(temporary, *picture); });
      }
    }
    if (!parsed.pto_path.empty()) {
      if (const auto project = hugin_project(run, group, layout)) {
        written.project = numbered(parsed.pto_path, projects++);
        outputs.stage_text(written.project, *project);
      }
    }
  }
  if (!parsed.json_path.empty()) outputs.stage_text(parsed.json_path, alignment_json(run, layouts, files));
  return files;
}

void print_summary(const alignment& run, const std::vector<group_files>& files, const progress_display& progress) {
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
  std::string times;
  for (const auto& [name, seconds] : progress.times()) {
    char part[64];
    std::snprintf(part, sizeof part, "%s%s %.2f s", times.empty() ? "" : ", ", name.c_str(), seconds);
    times += part;
  }
  std::fprintf(stderr, "lacewright: time: %s\n", times.c_str());
  for (const group_files& written : files) {
    if (!written.preview.empty()) std::fprintf(stderr, "lacewright: wrote %s\n", written.preview.c_str());
    if (!written.project.empty()) std::fprintf(stderr, "lacewright: wrote %s\n", written.project.c_str());
  }
}

int run(const options& parsed) {
  const std::vector<std::string> files = expand_inputs(parsed.inputs);
  if (!parsed.inputs.empty()) check_image_count(files.size());
  progress_display progress(!parsed.quiet && ::isatty(STDERR_FILENO));
  engine_alignment engine;
  const bool keep = !parsed.preview_path.empty();
  std::vector<image_file> pictures;
  if (parsed.inputs.empty()) {
    if (!parsed.quiet) std::fprintf(stderr, "lacewright: no images given; aligning the built-in synthetic scene\n");
    pictures = add_default_scene(engine, keep);
  } else {
    pictures = add_image_files(engine, files, keep, progress);
  }
  const std::unique_ptr<alignment> result = align_images(engine, parsed.type);
  progress.finish();

  output_files outputs;
  const std::vector<group_files> written = stage_outputs(parsed, *result, pictures, outputs);
  outputs.commit();
  std::printf("%s\n", result->report.c_str());
  if (!parsed.quiet) print_summary(*result, written, progress);
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
