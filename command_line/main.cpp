// lacewright: aligns overlapping photographs from the command line.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <lacewright/align.h>

#include "command_line/command_line.h"
#include "command_line/progress_display.h"
#include "command_line/python_batch.h"
#include "outputs/output_files.h"
#include "photographs/default_scene.h"

namespace {

using namespace lacewright_tool;

// The built-in scene's views, which `pictures` holds while they are aligned.
std::vector<lacewright::image_input> default_scene(const std::vector<pixel_image>& pictures) {
  std::vector<lacewright::image_input> inputs;
  for (const pixel_image& picture : pictures) {
    // The engine's pixels: an unused byte, then red, green and blue.
    const lacewright::image_pixels rgb{picture.pixels.data() + 1, picture.width, picture.height, 3, 8, 4,
                                       picture.row_bytes()};
    inputs.push_back(lacewright::image_input::memory("synthetic view " + std::to_string(inputs.size()), rgb));
  }
  return inputs;
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

void print_summary(const lacewright::alignment& result, const std::vector<std::string>& written,
                   const progress_display& progress) {
  std::string sizes;
  for (const lacewright::group& group : result.groups) {
    sizes += (sizes.empty() ? "" : ", ") + std::to_string(group.images.size());
    if (group.images.size() > 1) sizes += std::string(" ") + lacewright::transform_type_name(group.transform_type);
  }
  const std::size_t images = result.images.size(), groups = result.groups.size();
  std::fprintf(stderr, "lacewright: %zu image%s, %zu group%s%s%s%s\n", images, images == 1 ? "" : "s", groups,
               groups == 1 ? "" : "s", sizes.empty() ? "" : " (", sizes.c_str(), sizes.empty() ? "" : ")");
  for (const lacewright::left_out_image& image : result.left_out) {
    std::fprintf(stderr, "lacewright: left out %s: %s\n", image.file.c_str(), image.because().c_str());
  }
  std::fprintf(stderr, "lacewright: time: %s\n", times_of(progress).c_str());
  for (const std::string& path : written) {
    if (!output_files::is_standard_output(path)) std::fprintf(stderr, "lacewright: wrote %s\n", path.c_str());
  }
}

int align(const options& parsed) {
  progress_display progress(parsed.quiet);
  const lacewright::options request{parsed.type, parsed.level, !parsed.preview_path.empty(), progress.progress(),
                                    progress.warning()};
  std::vector<pixel_image> scene;
  std::vector<lacewright::image_input> inputs;
  if (parsed.inputs.empty()) {
    if (!parsed.quiet) std::fprintf(stderr, "lacewright: no images given; aligning the built-in synthetic scene\n");
    scene = render_default_scene();
    inputs = default_scene(scene);
  } else {
    inputs = lacewright::image_files(parsed.inputs);
  }
  const lacewright::alignment result = lacewright::align(inputs, request);
  // When nothing aligned there is nothing to draw or project, but the JSON
  // still tells a script which images were left out and why.
  const std::vector<std::string> written = lacewright::write(
      result, {parsed.json_path, parsed.preview_path, parsed.preview_size, parsed.pto_path, progress.progress()});
  progress.finish();
  // The JSON holds the report; on standard output it stands alone, so that
  // a program can read it.
  if (parsed.json_path.empty() || !output_files::is_standard_output(parsed.json_path)) std::printf("%s\n", result.report.c_str());
  lacewright::require_aligned(result);
  if (!parsed.quiet) print_summary(result, written, progress);
  return 0;
}

int detect_control_points(const options& parsed) {
  progress_display progress(parsed.quiet);
  const lacewright::control_point_summary summary = lacewright::detect_control_points(
      parsed.inputs.front(), parsed.output_path, {parsed.type, parsed.level, false, progress.progress(), progress.warning()});
  progress.finish();
  if (!parsed.quiet) {
    std::fprintf(stderr, "lacewright: %zu control points between %zu pairs of %zu images; wrote %s\n", summary.points,
                 summary.pairs, summary.images, parsed.output_path.c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const options parsed = parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
    if (parsed.help || parsed.version) {
      std::fputs(parsed.help ? help_text(parsed.command).c_str() : version_text, stdout);
      return 0;
    }
    switch (parsed.command) {
      case tool_command::controlpoints: return detect_control_points(parsed);
      case tool_command::batch: run_python_batch(parsed.inputs);
      case tool_command::align: break;
    }
    return align(parsed);
  } catch (const lacewright::error& error) {
    const bool usage = error.kind() == lacewright::error_kind::usage;
    std::fprintf(stderr, "lacewright: %s%s\n", error.what(), usage ? " (see lacewright --help)" : "");
    return exit_code_of(error.kind());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lacewright: %s\n", error.what());
    return exit_code_of(lacewright::error_kind::alignment_failed);
  }
}
