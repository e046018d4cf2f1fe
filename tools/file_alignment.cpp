#include "tools/file_alignment.h"

#include <omp.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <stdexcept>

#include "tools/command_line.h"

namespace lacewright_tool {
namespace {

// The most images one report can hold.
constexpr std::size_t most_images = 105;

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

// Remembers what was handed in, to notice a file named twice (a folder and
// a file in it, say) before it is read, and a file with the same pixels as
// another once it is.
class repeats {
 public:
  // The file that `file` names again, if any.
  std::optional<std::string> same_file(const std::string& file) {
    std::error_code error;
    const std::string key = std::filesystem::weakly_canonical(file, error).string();
    const auto [seen, fresh] = files_.try_emplace(error ? file : key, file);
    return fresh ? std::nullopt : std::optional(seen->second);
  }

  // The file whose picture has the same pixels, if any.
  std::optional<std::string> same_pixels(const image_file& image) {
    const std::string_view bytes(reinterpret_cast<const char*>(image.picture.pixels.data()),
                                 image.picture.pixels.size());
    const picture_key key{image.width, image.height, std::hash<std::string_view>{}(bytes)};
    const auto [seen, fresh] = pictures_.try_emplace(key, image.path);
    return fresh ? std::nullopt : std::optional(seen->second);
  }

 private:
  using picture_key = std::tuple<int, int, std::size_t>;
  std::map<std::string, std::string> files_;
  std::map<picture_key, std::string> pictures_;
};

tool_error alignment_failure(const char* what) {
  return tool_error(std::string("alignment failed: ") + what, exit_alignment_failed);
}

}  // namespace

std::vector<std::string> distinct_files(const std::vector<std::string>& files, progress_display& progress) {
  repeats seen;
  std::vector<std::string> distinct;
  for (const std::string& file : files) {
    if (const auto original = seen.same_file(file)) {
      progress.warn(*original == file ? "'" + file + "' is given twice; it is taken once"
                                      : "'" + file + "' is the same file as '" + *original + "'; it is taken once");
    } else {
      distinct.push_back(file);
    }
  }
  return distinct;
}

void check_image_count(std::size_t count) {
  if (count > most_images) {
    throw tool_error("more than " + std::to_string(most_images) + " images (" + std::to_string(count) +
                         " given): one alignment reports at most " + std::to_string(most_images),
                     exit_too_many_images);
  }
  if (count < 2) {
    throw tool_error("at least two images are needed (" + std::to_string(count) + " given)", exit_too_few_images);
  }
}

// Files are decoded a few at a time, so that at most those few wait in
// memory.
std::vector<image_file> add_image_files(engine_alignment& engine, const std::vector<std::string>& files, bool keep,
                                        progress_display& progress) {
  std::vector<image_file> kept;
  progress.stage("reading", files.size());
  const auto batch = static_cast<std::size_t>(2 * omp_get_max_threads());
  std::size_t done = 0;
  repeats seen;
  for (std::size_t first = 0; first < files.size(); first += batch) {
    const std::vector<std::string> some(files.begin() + first, files.begin() + std::min(files.size(), first + batch));
    for (image_file& image : read_images(some, done, progress)) {
      if (const auto original = seen.same_pixels(image)) {
        progress.warn("'" + image.path + "' has the same pixels as '" + *original + "'; it is left out");
        engine.add_duplicate({image.path, *original});
        continue;
      }
      engine.add_image(image);
      if (keep) kept.push_back(std::move(image));
    }
  }
  return kept;
}

std::unique_ptr<alignment> align_images(engine_alignment& engine, int32_t type) {
  if (engine.images().size() < 2 && !engine.duplicates().empty()) {
    const duplicate_image& repeat = engine.duplicates().front();
    throw tool_error("fewer than two distinct images: '" + repeat.file + "' has the same pixels as '" +
                         repeat.original + "'",
                     exit_too_few_images);
  }
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

}  // namespace lacewright_tool
