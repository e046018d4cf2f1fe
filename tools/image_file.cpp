#include "tools/image_file.h"

#include <stb_image.h>

#include <fstream>
#include <iterator>
#include <memory>

#include "tools/exif_orientation.h"

namespace lacewright_tool {
namespace {

std::vector<uint8_t> file_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw image_file_error("cannot read '" + path + "': it cannot be opened");
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

pixel_image read_image_file(const std::string& path) {
  const std::vector<uint8_t> bytes = file_bytes(path);
  int width = 0;
  int height = 0;
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> rgba(
      stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &width, &height, &channels, 4),
      stbi_image_free);
  if (!rgba) {
    const char* reason = stbi_failure_reason();
    throw image_file_error("cannot read '" + path + "': " + (reason ? reason : "unknown error"));
  }
  pixel_image image;
  image.width = width;
  image.height = height;
  image.pixels.resize(static_cast<std::size_t>(width) * height * 4);
  const std::size_t count = static_cast<std::size_t>(width) * height;
  for (std::size_t i = 0; i < count; ++i) {
    const stbi_uc* in = rgba.get() + 4 * i;
    uint8_t* out = image.pixels.data() + 4 * i;
    out[0] = in[3];
    out[1] = in[0];
    out[2] = in[1];
    out[3] = in[2];
  }
  const int orientation = exif_orientation(bytes);
  pixel_image shown = oriented(image, orientation);
  shown.orientation = orientation;
  return shown;
}

}  // namespace lacewright_tool
