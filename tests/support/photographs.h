// The shared photograph sets, read as grey frames the way the plug-in sees
// them, and geometric warps of them with known homographies.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "records/align_frame.h"

namespace test_support {

// A grey image that owns its samples; frame() views it as the engine does.
struct grey_image {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> samples;

  AlignFrame frame(int32_t index = 0) {
    AlignFrame view;
    view.pixels = samples.data();
    view.index = index;
    view.width = view.stride = width;
    view.height = height;
    return view;
  }
};

// The folder of photograph sets, or an empty path when it is absent.
std::filesystem::path photograph_folder();

// Every image file of every set, sets and files in name order.
std::vector<std::filesystem::path> all_photographs();

// The images of one set (a sub-folder of the photograph folder).
std::vector<std::filesystem::path> photograph_set(const std::string& name);

// Reads an image file as grey samples with the plug-in's conversion.
grey_image read_grey(const std::filesystem::path& path);

// A row-major 3 x 3 homography.
using homography = std::array<double, 9>;

std::array<double, 2> apply(const homography& h, double x, double y);
homography inverse(const homography& h);

// The image of `source` under `h` (destination = h(source)), bilinear, with
// black outside the source.
grey_image warp(const grey_image& source, const homography& h, int width, int height);

// Rotation by `degrees` and scaling by `scale` about the image centre.
homography rotation_about_centre(const grey_image& image, double degrees, double scale);

}  // namespace test_support
