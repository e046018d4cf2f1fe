#include "hugin/control_points.h"

#include "outputs/stored_pixels.h"

namespace lacewright_tool {
namespace {

point stored_pixel(const input_image& image, const std::array<double, 2>& frame_sample) {
  return to_stored(image, image.scale.to_given(frame_sample));
}

}  // namespace

std::vector<hugin_control_point> control_points_of(const alignment& run) {
  std::vector<hugin_control_point> points;
  for (const pair_outcome& pair : run.pairs) {
    const auto first = static_cast<std::size_t>(pair.first_sheet), second = static_cast<std::size_t>(pair.second_sheet);
    for (const inlier_match& match : pair.inliers) {
      const point a = stored_pixel(run.images.at(first), match.first);
      const point b = stored_pixel(run.images.at(second), match.second);
      points.push_back({first, second, a[0], a[1], b[0], b[1]});
    }
  }
  return points;
}

}  // namespace lacewright_tool
