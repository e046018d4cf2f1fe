#include "session/file_alignment.h"

#include <omp.h>

#include <algorithm>
#include <exception>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <stdexcept>

#include <lacewright/errors.h>

namespace lacewright_tool {
namespace {

// The most images one report can hold.
constexpr std::size_t most_images = 105;

// Decodes `files` on the run's threads, each file on one; throws the first
// file's failure in the order given, so that the sentence does not depend
// on the threads. No exception may leave a parallel region: each is kept
// for its file.
std::vector<image_file> read_images(std::span<const lacewright::image_input> inputs, std::size_t& done,
                                    run_progress& progress) {
  std::vector<image_file> images(inputs.size());
  std::vector<std::exception_ptr> failures(inputs.size());
#pragma omp parallel for schedule(dynamic, 1)
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const lacewright::image_input& input = inputs[i];
    try {
      images[i] = input.pixels ? read_image_pixels(input.name, *input.pixels) : read_image_file(input.name);
    } catch (const image_file_error& error) {
      failures[i] = std::make_exception_ptr(lacewright::unreadable_input_error(error.what()));
    } catch (...) {
      failures[i] = std::current_exception();
    }
#pragma omp critical(reading_progress)
    progress.advance(++done);
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
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

lacewright::alignment_error alignment_failure(const char* what) {
  return lacewright::alignment_error(std::string("alignment failed: ") + what);
}

}  // namespace

std::vector<lacewright::image_input> distinct_inputs(const std::vector<lacewright::image_input>& inputs,
                                                     run_progress& progress) {
  repeats seen;
  std::vector<lacewright::image_input> distinct;
  for (const lacewright::image_input& input : inputs) {
    const std::string& file = input.name;
    if (const auto original = input.pixels ? std::nullopt : seen.same_file(file)) {
      progress.warn(*original == file ? "'" + file + "' is given twice; it is taken once"
                                      : "'" + file + "' is the same file as '" + *original + "'; it is taken once");
    } else {
      distinct.push_back(input);
    }
  }
  return distinct;
}

void check_image_count(std::size_t count) {
  if (count > most_images) {
    throw lacewright::too_many_images_error("more than " + std::to_string(most_images) + " images (" + std::to_string(count) +
                         " given): one alignment reports at most " + std::to_string(most_images));
  }
  if (count < 2) {
    throw lacewright::too_few_images_error("at least two images are needed (" + std::to_string(count) + " given)");
  }
}

// Files are decoded a few at a time, so that at most those few wait in
// memory.
std::vector<image_file> add_images(engine_alignment& engine, const std::vector<lacewright::image_input>& inputs,
                                   bool keep, run_progress& progress) {
  std::vector<image_file> kept;
  progress.stage("reading", inputs.size());
  const auto batch = static_cast<std::size_t>(2 * omp_get_max_threads());
  std::size_t done = 0;
  repeats seen;
  for (std::size_t first = 0; first < inputs.size(); first += batch) {
    const std::span<const lacewright::image_input> some(inputs.data() + first,
                                                         std::min(inputs.size(), first + batch) - first);
    std::vector<image_file> read = read_images(some, done, progress);
    progress.check();
    for (image_file& image : read) {
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

void check_type(int32_t type) {
  if (type != 1 && type != -1) {
    throw lacewright::unknown_type_error("type " + std::to_string(type) +
                                         " does not align images: use type 1 (a camera turning about its centre) or "
                                         "type -1 (a plane or a turn per group)");
  }
}

std::unique_ptr<alignment> align_images(engine_alignment& engine, int32_t type) {
  if (engine.images().size() < 2 && !engine.duplicates().empty()) {
    const duplicate_image& repeat = engine.duplicates().front();
    throw lacewright::too_few_images_error("fewer than two distinct images: '" + repeat.file + "' has the same pixels as '" +
                         repeat.original + "'");
  }
  try {
    return engine.align(type);
  } catch (const lacewright::error&) {
    throw;  // a stop the caller asked for
  } catch (const plugin_status_error& error) {
    throw lacewright::too_many_images_error(error.what());
  } catch (const std::length_error& error) {
    // Both pipelines size their tables by the usable images less one.
    if (std::strcmp(error.what(), "vector<T> too long") == 0) {
      throw lacewright::too_few_images_error("fewer than two of the images are usable (blank or single-tone images are skipped)");
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
