#include "tools/group_preview.h"

#include <stb_image_write.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace lacewright_tool {
namespace {

// An image ready to be sampled at the picture's scale: halved until one of
// its pixels is about one picture pixel, so that shrinking does not alias.
struct sampled_image {
  image_placement placement;
  std::size_t sheet = 0;
  pixel_image pixels;
  double full_width = 0.0;
  double full_height = 0.0;
  double step = 1.0;  // full-size pixels per pixel of `pixels`
};

pixel_image halved(const pixel_image& image) {
  pixel_image out;
  out.width = std::max(1, image.width / 2);
  out.height = std::max(1, image.height / 2);
  out.pixels.resize(4 * static_cast<std::size_t>(out.width) * out.height);
  for (int y = 0; y < out.height; ++y) {
    for (int x = 0; x < out.width; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        int sum = 0;
        for (int dy = 0; dy < 2; ++dy) {
          for (int dx = 0; dx < 2; ++dx) {
            const int sx = std::min(image.width - 1, 2 * x + dx), sy = std::min(image.height - 1, 2 * y + dy);
            sum += image.pixels[4 * (static_cast<std::size_t>(sy) * image.width + sx) + channel];
          }
        }
        out.pixels[4 * (static_cast<std::size_t>(y) * out.width + x) + channel] = static_cast<uint8_t>((sum + 2) / 4);
      }
    }
  }
  return out;
}

point to_output(const image_placement& placement, point p) {
  return std::visit(
      [&](const auto& place) -> point {
        if constexpr (std::is_same_v<std::decay_t<decltype(place)>, std::monostate>) {
          return p;
        } else {
          return place.to_output(p);
        }
      },
      placement);
}

std::optional<point> to_image(const image_placement& placement, point p) {
  return std::visit(
      [&](const auto& place) -> std::optional<point> {
        if constexpr (std::is_same_v<std::decay_t<decltype(place)>, std::monostate>) {
          return std::nullopt;
        } else {
          return place.to_image(p);
        }
      },
      placement);
}

// Output pixels that one full-size pixel covers near the image's centre.
double output_per_image_pixel(const image_placement& placement, double width, double height) {
  const point a = to_output(placement, {width / 2, height / 2});
  const point b = to_output(placement, {width / 2 + 1, height / 2});
  return std::hypot(b[0] - a[0], b[1] - a[1]);
}

struct box {
  double left = std::numeric_limits<double>::infinity(), top = left;
  double right = -left, bottom = -left;
  void add(point p) {
    left = std::min(left, p[0]);
    right = std::max(right, p[0]);
    top = std::min(top, p[1]);
    bottom = std::max(bottom, p[1]);
  }
};

// The outline of an image on the output plane, sampled along its edges.
void add_outline(box& bounds, const image_placement& placement, double width, double height) {
  constexpr int samples = 32;
  for (int s = 0; s <= samples; ++s) {
    const double t = static_cast<double>(s) / samples;
    for (const point p : {point{t * width, 0}, point{t * width, height}, point{0, t * height}, point{width, t * height}}) {
      bounds.add(to_output(placement, p));
    }
  }
}

// Bilinear sample and the weight of the image there: the distance to its
// nearest edge, so that overlaps fade from one image into the other.
bool sample(const sampled_image& image, point full, double colour[3], double& weight) {
  const double x = full[0] / image.step - 0.5, y = full[1] / image.step - 0.5;
  const pixel_image& p = image.pixels;
  if (!(x >= 0.0 && y >= 0.0 && x <= p.width - 1.0 && y <= p.height - 1.0)) return false;
  const int x0 = std::min(static_cast<int>(x), std::max(0, p.width - 2));
  const int y0 = std::min(static_cast<int>(y), std::max(0, p.height - 2));
  const int x1 = std::min(x0 + 1, p.width - 1), y1 = std::min(y0 + 1, p.height - 1);
  const double fx = x - x0, fy = y - y0;
  for (int channel = 0; channel < 3; ++channel) {
    const auto at = [&](int cx, int cy) {
      return static_cast<double>(p.pixels[4 * (static_cast<std::size_t>(cy) * p.width + cx) + 1 + channel]);
    };
    colour[channel] =
        (1 - fy) * ((1 - fx) * at(x0, y0) + fx * at(x1, y0)) + fy * ((1 - fx) * at(x0, y1) + fx * at(x1, y1));
  }
  weight = std::min({full[0], image.full_width - full[0], full[1], image.full_height - full[1]}) + 1e-3;
  return weight > 0.0;
}

}  // namespace

std::optional<group_picture> draw_group(const alignment& run, const result_group& group,
                                        const std::vector<pixel_image>& pictures, int longest_side) {
  std::vector<sampled_image> images;
  box bounds;
  for (const std::size_t position : group.positions) {
    image_placement placement = place_image(run, group, position);
    if (std::holds_alternative<std::monostate>(placement)) continue;
    const auto sheet = static_cast<std::size_t>(run.results.sheetID[position]);
    const pixel_image& picture = pictures[sheet];
    add_outline(bounds, placement, picture.width, picture.height);
    images.push_back({std::move(placement), sheet, {}, double(picture.width), double(picture.height), 1.0});
  }
  if (images.empty() || !(bounds.right > bounds.left) || !(bounds.bottom > bounds.top)) return std::nullopt;

  group_picture out;
  const double longest = std::max(bounds.right - bounds.left, bounds.bottom - bounds.top);
  out.scale = std::min(1.0, longest_side / longest);
  out.origin = {bounds.left, bounds.top};
  // The slack keeps a side that is exactly the longest from rounding up.
  const auto side = [&](double extent) { return std::max(1, static_cast<int>(std::ceil(extent * out.scale - 1e-6))); };
  out.width = side(bounds.right - bounds.left);
  out.height = side(bounds.bottom - bounds.top);
  out.rgba.assign(4 * static_cast<std::size_t>(out.width) * out.height, 0);

  for (sampled_image& image : images) {
    image.pixels = pictures[image.sheet];
    const double shrink = 1.0 / (output_per_image_pixel(image.placement, image.full_width, image.full_height) * out.scale);
    while (image.step * 2.0 <= shrink && image.pixels.width > 1 && image.pixels.height > 1) {
      image.pixels = halved(image.pixels);
      image.step *= 2.0;
    }
  }

#pragma omp parallel for schedule(dynamic, 4)
  for (int row = 0; row < out.height; ++row) {
    for (int column = 0; column < out.width; ++column) {
      const point output{out.origin[0] + (column + 0.5) / out.scale, out.origin[1] + (row + 0.5) / out.scale};
      double sum[3] = {0, 0, 0}, total = 0.0;
      for (const sampled_image& image : images) {
        const std::optional<point> full = to_image(image.placement, output);
        double colour[3], weight = 0.0;
        if (!full || !sample(image, *full, colour, weight)) continue;
        for (int c = 0; c < 3; ++c) sum[c] += weight * colour[c];
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

bool write_png(const std::string& path, const group_picture& picture) {
  return stbi_write_png(path.c_str(), picture.width, picture.height, 4, picture.rgba.data(), 4 * picture.width) != 0;
}

}  // namespace lacewright_tool
