// Image files as the tool reads them: four bytes per pixel in the order the
// plug-in expects (an unused byte, then red, green, blue).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace lacewright_tool {

struct pixel_image {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;  // 4 bytes a pixel: unused, red, green, blue
  int orientation = 1;          // the EXIF orientation the file's pixels were turned by

  int row_bytes() const { return 4 * width; }
};

// A file that could not be read as an image.
struct image_file_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reads a PNG, JPEG, BMP, TGA, GIF (first frame), PSD, HDR or PNM file,
// turned the way the JPEG's EXIF orientation says it is shown.
// Throws image_file_error with a message that names the file and the cause.
pixel_image read_image_file(const std::string& path);

}  // namespace lacewright_tool
