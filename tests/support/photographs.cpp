#include "photographs.h"

#include <stb_image.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "records/grey_from_pixel.h"

namespace test_support {

std::filesystem::path photograph_folder() {
  const char* configured = std::getenv("LACEWRIGHT_DATA_DIR");
  const std::filesystem::path folder = configured && *configured ? configured : LACEWRIGHT_DATA_DIR;
  std::error_code error;
  return std::filesystem::is_directory(folder, error) ? folder : std::filesystem::path();
}

namespace {
bool is_image(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".jpg" || extension == ".jpeg" || extension == ".png";
}

std::vector<std::filesystem::path> sorted_entries(const std::filesystem::path& folder, bool folders) {
  std::vector<std::filesystem::path> entries;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (folders ? entry.is_directory() : (entry.is_regular_file() && is_image(entry.path()))) {
      entries.push_back(entry.path());
    }
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}
}  // namespace

std::vector<std::filesystem::path> photograph_set(const std::string& name) {
  const std::filesystem::path folder = photograph_folder();
  if (folder.empty() || !std::filesystem::is_directory(folder / name)) return {};
  return sorted_entries(folder / name, false);
}

std::vector<std::filesystem::path> all_photographs() {
  std::vector<std::filesystem::path> files;
  const std::filesystem::path folder = photograph_folder();
  if (folder.empty()) return files;
  for (const auto& set : sorted_entries(folder, true)) {
    for (const auto& file : sorted_entries(set, false)) files.push_back(file);
  }
  return files;
}

grey_image read_grey(const std::filesystem::path& path) {
  int width = 0, height = 0, channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> rgba(stbi_load(path.c_str(), &width, &height, &channels, 4),
                                                       stbi_image_free);
  if (!rgba) throw std::runtime_error("cannot read " + path.string());
  grey_image image{width, height, std::vector<uint8_t>(static_cast<std::size_t>(width) * height)};
  for (std::size_t i = 0; i < image.samples.size(); ++i) {
    const stbi_uc* in = rgba.get() + 4 * i;
    const uint8_t pixel[4] = {in[3], in[0], in[1], in[2]};
    image.samples[i] = GreyFromPixel(pixel);
  }
  return image;
}

std::array<double, 2> apply(const homography& h, double x, double y) {
  const double w = h[6] * x + h[7] * y + h[8];
  return {(h[0] * x + h[1] * y + h[2]) / w, (h[3] * x + h[4] * y + h[5]) / w};
}

homography inverse(const homography& h) {
  const homography a = {h[4] * h[8] - h[5] * h[7], h[2] * h[7] - h[1] * h[8], h[1] * h[5] - h[2] * h[4],
                        h[5] * h[6] - h[3] * h[8], h[0] * h[8] - h[2] * h[6], h[2] * h[3] - h[0] * h[5],
                        h[3] * h[7] - h[4] * h[6], h[1] * h[6] - h[0] * h[7], h[0] * h[4] - h[1] * h[3]};
  const double det = h[0] * a[0] + h[1] * a[3] + h[2] * a[6];
  homography result;
  for (int i = 0; i < 9; ++i) result[i] = a[i] / det;
  return result;
}

grey_image warp(const grey_image& source, const homography& h, int width, int height) {
  // Each destination pixel averages 4 x 4 bilinear samples of the source
  // over its own area, as a camera's sensor integrates light: a plain
  // point sample would alias the source's fine texture when it shrinks.
  constexpr int grid = 4;
  const homography back = inverse(h);
  const auto at = [&](int x, int y) { return static_cast<double>(source.samples[y * source.width + x]); };
  grey_image result{width, height, std::vector<uint8_t>(static_cast<std::size_t>(width) * height, 0)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      double sum = 0.0;
      for (int j = 0; j < grid; ++j) {
        for (int i = 0; i < grid; ++i) {
          const auto [sx, sy] = apply(back, x + (i + 0.5) / grid - 0.5, y + (j + 0.5) / grid - 0.5);
          if (sx < 0.0 || sy < 0.0 || sx > source.width - 1.0 || sy > source.height - 1.0) continue;
          const int x0 = std::min(static_cast<int>(sx), source.width - 2);
          const int y0 = std::min(static_cast<int>(sy), source.height - 2);
          const double fx = sx - x0, fy = sy - y0;
          sum += (1 - fy) * ((1 - fx) * at(x0, y0) + fx * at(x0 + 1, y0)) +
                 fy * ((1 - fx) * at(x0, y0 + 1) + fx * at(x0 + 1, y0 + 1));
        }
      }
      // Samples beyond the source count as black.
      result.samples[y * width + x] = static_cast<uint8_t>(std::lround(sum / (grid * grid)));
    }
  }
  return result;
}

homography rotation_about_centre(const grey_image& image, double degrees, double scale) {
  const double angle = degrees * std::numbers::pi / 180.0;
  const double c = scale * std::cos(angle), s = scale * std::sin(angle);
  const double cx = (image.width - 1) * 0.5, cy = (image.height - 1) * 0.5;
  return {c, -s, cx - c * cx + s * cy, s, c, cy - s * cx - c * cy, 0.0, 0.0, 1.0};
}

}  // namespace test_support
