#include "tools/image_file.h"

#include <stb_image.h>

#include <memory>

namespace lacewright_tool {

pixel_image read_image_file(const std::string& path) {
  int width = 0;
  int height = 0;
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> rgba(
      stbi_load(path.c_str(), &width, &height, &channels, 4), stbi_image_free);
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
  return image;
}

}  // namespace lacewright_tool
