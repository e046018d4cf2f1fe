#include "outputs/group_preview.h"

#include <vips/vips8>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "outputs/exposure_gains.h"
#include "photographs/libvips_start.h"

namespace lacewright_tool {
namespace {

// An image ready to be sampled at the picture's scale: halved until one of
// its pixels is about one picture pixel, so that shrinking does not alias.
struct sampled_image {
  const image_placement* placement = nullptr;
  pixel_image pixels;
  frame_scale scale;  // of `pixels` against the image as given
  double width = 0.0;  // of the image as given
  double height = 0.0;
};

pixel_image halved(const pixel_image& image) {
  pixel_image out;
  out.width = image.width / 2;
  out.height = image.height / 2;
  out.pixels.resize(4 * static_cast<std::size_t>(out.width) * out.height);
  for (int y = 0; y < out.height; ++y) {
    for (int x = 0; x < out.width; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        int sum = 0;
        for (int dy = 0; dy < 2; ++dy) {
          for (int dx = 0; dx < 2; ++dx) {
            sum += image.pixels[4 * (static_cast<std::size_t>(2 * y + dy) * image.width + 2 * x + dx) + channel];
          }
        }
        out.pixels[4 * (static_cast<std::size_t>(y) * out.width + x) + channel] = static_cast<uint8_t>((sum + 2) / 4);
      }
    }
  }
  return out;
}

// Output pixels that one pixel of the image as given covers near its centre.
double output_per_image_pixel(const image_placement& placement, double width, double height) {
  const point a = to_output(placement, {width / 2, height / 2});
  const point b = to_output(placement, {width / 2 + 1, height / 2});
  return std::hypot(b[0] - a[0], b[1] - a[1]);
}

// Bilinear sample at a point of the image as given, and the weight of the
// image there: the distance to its nearest edge, so that overlaps fade from
// one image into the other.
bool sample(const sampled_image& image, point given, double colour[3], double& weight) {
  const point at = image.scale.to_reduced(given);
  const double x = at[0], y = at[1];
  const pixel_image& p = image.pixels;
  if (!(x >= 0.0 && y >= 0.0 && x <= p.width - 1.0 && y <= p.height - 1.0)) return false;
  const int x0 = std::min(static_cast<int>(x), std::max(0, p.width - 2));
  const int y0 = std::min(static_cast<int>(y), std::max(0, p.height - 2));
  const int x1 = std::min(x0 + 1, p.width - 1), y1 = std::min(y0 + 1, p.height - 1);
  const double fx = x - x0, fy = y - y0;
  for (int channel = 0; channel < 3; ++channel) {
    const auto value = [&](int cx, int cy) {
      return static_cast<double>(p.pixels[4 * (static_cast<std::size_t>(cy) * p.width + cx) + 1 + channel]);
    };
    colour[channel] = (1 - fy) * ((1 - fx) * value(x0, y0) + fx * value(x1, y0)) +
                      fy * ((1 - fx) * value(x0, y1) + fx * value(x1, y1));
  }
  weight = std::min({given[0] + 0.5, image.width - 0.5 - given[0], given[1] + 0.5, image.height - 0.5 - given[1]}) + 1e-3;
  return weight > 0.0;
}

// The colour of `image` at a point of the output plane, and its weight there.
bool sample_at(const sampled_image& image, point output, double colour[3], double& weight) {
  const std::optional<point> given = to_image(*image.placement, output);
  return given && sample(image, *given, colour, weight);
}

// What each pair of images shows where both cover the output, on a grid of
// at most 256 by 256 points over `bounds`: enough to fit gains, few enough
// to measure in one thread, in one order.
std::vector<overlap_means> overlaps_of(const std::vector<sampled_image>& images, const output_box& bounds) {
  constexpr int grid = 256;
  std::map<std::pair<std::size_t, std::size_t>, overlap_means> pairs;
  std::vector<std::pair<std::size_t, rgb>> seen;
  for (int row = 0; row < grid; ++row) {
    for (int column = 0; column < grid; ++column) {
      const point output{bounds.left + (column + 0.5) * (bounds.right - bounds.left) / grid,
                         bounds.top + (row + 0.5) * (bounds.bottom - bounds.top) / grid};
      seen.clear();
      for (std::size_t k = 0; k < images.size(); ++k) {
        rgb c;
        double weight = 0.0;
        if (sample_at(images[k], output, c.data(), weight)) seen.emplace_back(k, c);
      }
      for (std::size_t a = 0; a < seen.size(); ++a) {
        for (std::size_t b = a + 1; b < seen.size(); ++b) {
          overlap_means& overlap = pairs[{seen[a].first, seen[b].first}];
          overlap.first = seen[a].first;
          overlap.second = seen[b].first;
          overlap.count += 1.0;
          for (int c = 0; c < 3; ++c) {
            overlap.first_mean[c] += seen[a].second[c];
            overlap.second_mean[c] += seen[b].second[c];
          }
        }
      }
    }
  }
  std::vector<overlap_means> overlaps;
  for (auto& [images_of_pair, overlap] : pairs) {
    for (int c = 0; c < 3; ++c) {
      overlap.first_mean[c] /= overlap.count;
      overlap.second_mean[c] /= overlap.count;
    }
    overlaps.push_back(overlap);
  }
  return overlaps;
}

}  // namespace

std::optional<group_picture> draw_group(const alignment& run, const result_group& group, const group_layout& layout,
                                        const std::vector<image_file>& pictures, int longest_side) {
  if (!layout.bounds) return std::nullopt;
  const output_box& bounds = *layout.bounds;
  if (!(bounds.right > bounds.left) || !(bounds.bottom > bounds.top)) return std::nullopt;

  group_picture out;
  const double longest = std::max(bounds.right - bounds.left, bounds.bottom - bounds.top);
  out.scale = std::min(1.0, longest_side / longest);
  out.origin = {bounds.left, bounds.top};
  // The slack keeps a side that is exactly the longest from rounding up.
  const auto side = [&](double extent) { return std::max(1, static_cast<int>(std::ceil(extent * out.scale - 1e-6))); };
  out.width = side(bounds.right - bounds.left);
  out.height = side(bounds.bottom - bounds.top);
  out.rgba.assign(4 * static_cast<std::size_t>(out.width) * out.height, 0);

  std::vector<sampled_image> images;
  for (std::size_t k = 0; k < group.positions.size(); ++k) {
    const image_placement& placement = layout.placements[k];
    if (std::holds_alternative<std::monostate>(placement)) continue;
    const image_file& file = pictures[static_cast<std::size_t>(run.results.sheetID[group.positions[k]])];
    sampled_image image{&placement, file.picture, file.scale, double(file.width), double(file.height)};
    const double shrink = 1.0 / (output_per_image_pixel(placement, image.width, image.height) * out.scale);
    while (image.scale.factor() * 2.0 <= shrink && image.pixels.width > 1 && image.pixels.height > 1) {
      image.pixels = halved(image.pixels);
      ++image.scale.level;
    }
    images.push_back(std::move(image));
  }

  // Each image's colours evened out against the others' where they overlap.
  const std::vector<rgb> gains = exposure_gains(images.size(), overlaps_of(images, bounds));

#pragma omp parallel for schedule(dynamic, 4)
  for (int row = 0; row < out.height; ++row) {
    for (int column = 0; column < out.width; ++column) {
      const point output{out.origin[0] + (column + 0.5) / out.scale, out.origin[1] + (row + 0.5) / out.scale};
      double sum[3] = {0, 0, 0}, total = 0.0;
      for (std::size_t k = 0; k < images.size(); ++k) {
        double colour[3], weight = 0.0;
        if (!sample_at(images[k], output, colour, weight)) continue;
        for (int c = 0; c < 3; ++c) sum[c] += weight * gains[k][c] * colour[c];
        total += weight;
      }
      if (total <= 0.0) continue;
      uint8_t* pixel = out.rgba.data() + 4 * (static_cast<std::size_t>(row) * out.width + column);
      for (int c = 0; c < 3; ++c) pixel[c] = static_cast<uint8_t>(std::lround(std::clamp(sum[c] / total, 0.0, 255.0)));
      pixel[3] = 255;
    }
  }
  return out;
}

const std::vector<std::string>& picture_extensions() {
  static const std::vector<std::string> extensions = {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".webp"};
  return extensions;
}

bool has_picture_extension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const std::vector<std::string>& known = picture_extensions();
  return std::find(known.begin(), known.end(), extension) != known.end();
}

std::string encode_picture(const group_picture& picture, const std::string& path) {
  start_libvips();
  std::string suffix = std::filesystem::path(path).extension().string();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  try {
    vips::VImage image = vips::VImage::new_from_memory(const_cast<uint8_t*>(picture.rgba.data()), picture.rgba.size(),
                                                       picture.width, picture.height, 4, VIPS_FORMAT_UCHAR);
    // JPEG has no alpha: where no image lies the picture is black.
    if (suffix == ".jpg" || suffix == ".jpeg") image = image.flatten();
    void* data = nullptr;
    std::size_t size = 0;
    image.write_to_buffer(suffix.c_str(), &data, &size);
    std::string bytes(static_cast<const char*>(data), size);
    g_free(data);
    return bytes;
  } catch (const vips::VError&) {
    throw std::runtime_error("cannot encode '" + path + "' as " + suffix + ": " + libvips_reason());
  }
}

}  // namespace lacewright_tool
