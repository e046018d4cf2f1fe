#include "photographs/image_inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>

#include <lacewright/errors.h>

namespace lacewright_tool {

bool has_image_extension(const std::string& name) {
  // The formats libvips reads (BMP, TGA and PSD through its ImageMagick
  // loader).
  static constexpr std::array<std::string_view, 19> extensions = {
      ".jpg", ".jpeg", ".jpe", ".png", ".tif", ".tiff", ".webp", ".heic", ".heif", ".avif",
      ".gif", ".pnm", ".ppm", ".pgm", ".hdr", ".bmp", ".tga", ".psd", ".jxl"};
  std::string extension = std::filesystem::path(name).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

std::vector<std::string> expand_inputs(const std::vector<std::string>& inputs) {
  std::vector<std::string> files;
  for (const std::string& input : inputs) {
    std::error_code error;
    if (std::filesystem::is_directory(input, error)) {
      std::vector<std::string> found;
      for (const auto& entry : std::filesystem::directory_iterator(input, error)) {
        // A link that leads nowhere is no image file, and no failure to
        // read the folder.
        std::error_code unknown;
        if (entry.is_regular_file(unknown) && has_image_extension(entry.path().filename().string())) {
          found.push_back(entry.path().string());
        }
      }
      if (error) throw lacewright::unreadable_input_error("cannot read the folder '" + input + "': " + error.message());
      std::sort(found.begin(), found.end());
      files.insert(files.end(), found.begin(), found.end());
    } else if (std::filesystem::exists(input, error)) {
      files.push_back(input);
    } else {
      throw lacewright::unreadable_input_error("cannot read '" + input + "': there is no such file or folder");
    }
  }
  return files;
}

}  // namespace lacewright_tool
