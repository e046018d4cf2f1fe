// Image files as the tool reads them, through libvips: JPEG (decoded at a
// reduced size straight from its DCT coefficients when intake would halve it
// anyway), PNG, TIFF at 8 and 16 bits, WebP, HEIF and the other formats of
// libvips, turned the way their EXIF orientation says they are shown. Only
// the reduced picture is ever held in memory, never the whole file's pixels.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <lacewright/request.h>

#include "photographs/frame_scale.h"

namespace lacewright_tool {

// Pixels in the order the plug-in takes them: four bytes a pixel, an unused
// byte and then red, green, blue.
struct pixel_image {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;

  int row_bytes() const { return 4 * width; }
};

// A picture as a person gives it to the tool.
struct image_file {
  std::string path;
  int width = 0;         // of the picture as shown: full size, turned by its orientation
  int height = 0;
  int orientation = 1;   // the EXIF orientation (1 to 8) that turns the stored pixels into it
  pixel_image picture;   // the picture as shown, decoded at `scale`
  frame_scale scale;     // how `picture` relates to the picture at full size
};

// A file that could not be read as an image.
struct image_file_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reads `path`, decoded no larger than the plug-in's intake keeps it. Throws
// image_file_error with a sentence that names the file and the cause.
image_file read_image_file(const std::string& path);

// Reads pixels in memory as a file's are read, but with no EXIF turn.
// Throws image_file_error when they are not a picture.
image_file read_image_pixels(const std::string& name, const lacewright::image_pixels& pixels);

// An image made in memory (the built-in scene): given at full size.
image_file image_in_memory(std::string name, pixel_image picture);

}  // namespace lacewright_tool
