// lacewright: aligns overlapping photographs from the command line.
#include <omp.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/alignment_json.h"
#include "tools/command_line.h"
#include "tools/default_scene.h"
#include "tools/engine_alignment.h"
#include "tools/group_preview.h"
#include "tools/hugin_project.h"
#include "tools/image_inputs.h"
#include "tools/output_files.h"
#include "tools/progress_display.h"

namespace {

using namespace lacewright_tool;

// The most images one report can hold.
constexpr std::size_t most_images = 105;

void check_count(std::size_t count) {
  if (count > most_images) {
    throw tool_error("more than " + std::to_string(most_images) + " images (" + std::to_string(count) +
                         " given): one alignment reports at most " + std::to_string(most_images),
                     exit_too_many_images);
  }
  if (count < 2) {
    throw tool_error("at least two images are needed (" + std::to_string(count) + " given)", exit_too_few_images);
  }
}

// Decodes `files` on the run's threads, each file on one; throws the first
// file's failure in the order given, so that the sentence does not depend
// on the threads.
std::vector<image_file> read_images(const std::vector<std::string>& files, std::size_t& done,
                                    progress_display& progress) {
  std::vector<image_file> images(files.size());
  std::vector<std::string> failures(files.size());
#pragma omp parallel for schedule(dynamic, 1)
  for (std::size_t i = 0; i < files.size(); ++i) {
    try {
      images[i] = read_image_file(files[i]);
    } catch (const image_file_error& error) {
      failures[i] = error.what();
    }
#pragma omp critical(reading_progress)
    progress.advance(++done);
  }
  for (const std::string& failure : failures) {
    if (!failure.empty()) throw tool_error(failure, exit_unreadable_input);
  }
  return images;
}

// Reads and hands in every image, in the order given; keeps the pictures
// only when a preview will be drawn from them. Files are decoded a few at a
// time in parallel, so that at most those few wait in memory.
std::vector<image_file> add_images(engine_alignment& engine, const std::vector<std::string>& files, bool keep,
                                   progress_display& progress) {
  std::vector<image_file> kept;
  progress.stage("reading", files.size());
  const auto batch = static_cast<std::size_t>(2 * omp_get_max_threads());
  std::size_t done = 0;
  for (std::size_t first = 0; first < files.size(); first += batch) {
    const std::vector<std::string> some(files.begin() + first, files.begin() + std::min(files.size(), first + batch));
    for (image_file& image : read_images(some, done, progress)) {
      engine.add_image(image);
      if (keep) kept.push_back(std::move(image));
    }
  }
  return kept;
}

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

tool_error alignment_failure(const char* what) {
  return tool_error(std::string("alignment failed: ") + what, exit_alignment_failed);
}

std::unique_ptr<alignment> align(engine_alignment& engine, int32_t type) {
  try {
    return engine.align(type);
  } catch (const plugin_status_error& error) {
    throw tool_error(error.what(), exit_too_many_images);
  } catch (const std::length_error& error) {
    // Both pipelines size their tables by the usable images less one.
    if (std::strcmp(error.what(), "vector<T> too long") == 0) {
      throw tool_error("fewer than two of the images are usable (blank or single-tone images are skipped)",
                       exit_too_few_images);
    }
    throw alignment_failure(error.what());
  } catch (const std::exception& error) {
    throw alignment_failure(error.what());
  } catch (const char* message) {
    // The view graph throws its messages as plain texts.
    throw alignment_failure(message);
  }
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
  std::fprintf(stderr, "lacewright: %zu images, %zu groups%s%s%s\n", run.images.size(), groups.size(),
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
  if (!parsed.inputs.empty()) check_count(files.size());
  progress_display progress(!parsed.quiet && ::isatty(STDERR_FILENO));
  engine_alignment engine;
  const bool keep = !parsed.preview_path.empty();
  std::vector<image_file> pictures;
  if (parsed.inputs.empty()) {
    if (!parsed.quiet) std::fprintf(stderr, "lacewright: no images given; aligning the built-in synthetic scene\n");
    pictures = add_default_scene(engine, keep);
  } else {
    pictures = add_images(engine, files, keep, progress);
  }
  const std::unique_ptr<alignment> result = align(engine, parsed.type);
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
    if (parsed.help) {
      std::fputs(usage_text, stdout);
      return exit_success;
    }
    return run(parsed);
  } catch (const tool_error& error) {
    const bool usage = error.code == exit_usage;
    std::fprintf(stderr, "lacewright: %s%s\n", error.what(), usage ? " (see lacewright --help)" : "");
    return error.code;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lacewright: %s\n", error.what());
    return exit_alignment_failed;
  }
}
