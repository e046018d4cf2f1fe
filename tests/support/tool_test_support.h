// What the tool's tests share: running the tool in a fresh process in a
// folder of the test's own, and image files written and read through
// libvips, in the formats and at the sizes people give the tool.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "photographs.h"
#include "photographs/image_file.h"

namespace tool_test {

struct outcome {
  int exit_code;
  std::string out;
  std::string err;
};

std::string slurp(const std::filesystem::path& path);

// Runs `command` through the shell; true when it exits with status 0.
bool shell_succeeds(const std::string& command);

// Whether every one of `programs` is on the PATH.
bool on_path(const std::vector<std::string>& programs);

// A test with a scratch folder of its own, removed afterwards.
class ToolTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Runs the tool with `arguments`; `environment` prefixes assignments.
  outcome run(const std::string& arguments, const std::string& environment = "") const;

  std::string in_folder(const std::string& name) const { return (folder_ / name).string(); }

  std::filesystem::path folder_;
};

// Four bytes a pixel, red, green, blue, alpha.
struct rgba_image {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgba;
};

// Writes a picture as the file `path` says (JPEG, PNG, TIFF, WebP, ...):
// its pixels stored so that the EXIF `orientation` turns them into the
// picture. `options` are libvips save options, e.g. "[Q=95]".
void save_picture(const std::string& path, const rgba_image& picture, int orientation = 1,
                  const std::string& options = "");
// The same at 16 bits a sample (TIFF, PNG), the 8-bit values in the top byte.
void save_picture_16_bits(const std::string& path, const rgba_image& picture);
void save_grey(const std::string& path, const test_support::grey_image& picture, int orientation = 1,
               const std::string& options = "");

rgba_image read_rgba(const std::string& path);

// The images of a shared set enlarged to `width` by `height` pixels into
// `folder`, as JPEG files stored with the EXIF `orientation`; their paths.
std::vector<std::string> enlarged_set(const std::string& set, const std::filesystem::path& folder, int width,
                                      int height, int orientation = 1);

}  // namespace tool_test
