#include "hugin/control_point_detector.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <lacewright/errors.h>

#include "hugin/control_points.h"
#include "hugin/hugin_project_file.h"
#include "outputs/hugin_project.h"
#include "outputs/output_files.h"
#include "outputs/stored_pixels.h"
#include "session/file_alignment.h"
#include "session/image_placement.h"
#include "session/run_progress.h"

namespace lacewright_tool {
namespace {

hugin_project_file read_project(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw lacewright::unreadable_input_error("cannot read '" + path + "': there is no such file or it is not readable");
  try {
    return hugin_project_file(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()));
  } catch (const std::invalid_argument& error) {
    throw lacewright::unreadable_input_error("cannot read '" + path + "': " + error.what());
  }
}

// The project's image files; a relative name is taken from the project's
// folder, as Hugin takes it.
std::vector<std::string> image_files(const hugin_project_file& project, const std::string& project_path) {
  const std::filesystem::path folder = std::filesystem::path(project_path).parent_path();
  std::vector<std::string> files;
  for (std::size_t image = 0; image < project.image_count(); ++image) {
    const std::filesystem::path file(project.file(image));
    files.push_back(file.is_absolute() ? file.string() : (folder / file).string());
  }
  return files;
}

// Control points in a file of another size than the project says would
// land elsewhere in the image that Hugin renders.
void check_sizes(const hugin_project_file& project, const std::vector<input_image>& images) {
  for (std::size_t image = 0; image < images.size(); ++image) {
    const point size = stored_size(images[image]);
    if (size[0] == project.width(image) && size[1] == project.height(image)) continue;
    throw lacewright::unreadable_input_error("'" + images[image].name + "' stores " + std::to_string(static_cast<int>(size[0])) + " x " +
                         std::to_string(static_cast<int>(size[1])) + " pixels, but the project says " +
                         std::to_string(project.width(image)) + " x " + std::to_string(project.height(image)));
  }
}

// Yaw, pitch and roll of every rectilinear image of a turning group, on its
// own line unless linked to another image's; the field of view on the line
// of the lens that the image shares, the mean of the images that share it.
void place_turned_cameras(hugin_project_file& project, const alignment& run, bool level) {
  struct mean {
    double sum = 0.0;
    int count = 0;
  };
  std::map<std::size_t, mean> fields_of_view;  // by the image that holds the lens's value
  for (const result_group& group : groups_of(run.results)) {
    const group_layout layout = lay_out_group(run, group, level);
    for (std::size_t k = 0; k < group.positions.size(); ++k) {
      const auto* placement = std::get_if<turned_placement>(&layout.placements[k]);
      const auto image = static_cast<std::size_t>(run.results.sheetID[group.positions[k]]);
      if (!placement || project.projection(image) != 0) continue;
      const hugin_image values = hugin_image_of(run.images[image], *placement);
      for (const auto& [name, angle] : {std::pair{"y", values.yaw}, {"p", values.pitch}, {"r", values.roll}}) {
        if (project.owner(image, name) == image) project.set(image, name, angle);
      }
      mean& field = fields_of_view[project.owner(image, "v")];
      field.sum += values.field_of_view;
      ++field.count;
    }
  }
  for (const auto& [lens, field] : fields_of_view) project.set(lens, "v", field.sum / field.count);
}

// Hugin's renderer reads images through VIGRA, which knows fewer formats
// than libvips: a project of HEIF or WebP files aligns here, then fails in
// nona.
void warn_of_files_nona_cannot_read(const std::vector<std::string>& files, run_progress& progress) {
  static constexpr std::array<std::string_view, 13> readable = {
      ".jpg", ".jpeg", ".jpe", ".png", ".tif", ".tiff", ".gif", ".bmp", ".pnm", ".ppm", ".pgm", ".hdr", ".exr"};
  for (const std::string& file : files) {
    std::string extension = std::filesystem::path(file).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (std::find(readable.begin(), readable.end(), extension) != readable.end()) continue;
    progress.warn("Hugin's nona cannot read '" + file + "'; convert it to JPEG or TIFF to render the project");
  }
}

}  // namespace

lacewright::control_point_summary detect_control_points(const std::string& input, const std::string& output,
                                                        const lacewright::options& options) {
  check_type(options.type);
  hugin_project_file project = read_project(input);
  const std::vector<std::string> files = image_files(project, input);
  check_image_count(files.size());
  run_progress progress(options.progress, options.warning);
  engine_alignment engine;
  warn_of_files_nona_cannot_read(files, progress);
  std::vector<lacewright::image_input> inputs;
  for (const std::string& file : files) inputs.push_back(lacewright::image_input::file(file));
  add_images(engine, inputs, false, progress);
  // Control points name images by their place in the project: none may go.
  if (!engine.duplicates().empty()) {
    const duplicate_image& repeat = engine.duplicates().front();
    throw lacewright::unreadable_input_error("cannot use '" + input + "': its image '" + repeat.file +
                                             "' has the same pixels as '" + repeat.original + "'");
  }
  check_sizes(project, engine.images());
  const std::unique_ptr<alignment> run = align_images(engine, options.type);
  progress.finish();

  const std::vector<hugin_control_point> points = control_points_of(*run);
  project.add_control_points(points);
  place_turned_cameras(project, *run, options.level);
  output_files outputs;
  outputs.add(output, project.text());
  outputs.commit();
  const auto accepted =
      std::count_if(run->pairs.begin(), run->pairs.end(), [](const pair_outcome& pair) { return pair.accepted; });
  return {points.size(), static_cast<std::size_t>(accepted), files.size()};
}

}  // namespace lacewright_tool
