#include "feature_quality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <tuple>
#include <vector>

namespace test_support {
namespace {

using point = std::array<double, 2>;

bool inside(const point& p, const grey_image& image, double margin) {
  return p[0] >= margin && p[1] >= margin && p[0] <= image.width - 1 - margin && p[1] <= image.height - 1 - margin;
}

// Distinct positions (several orientations share one), in the warped
// image's coordinates, of the features that both images see.
std::vector<point> common_positions(const frame_features& features, const homography& to_warped,
                                    const homography& to_original, const grey_image& original,
                                    const grey_image& warped, double border, bool in_original) {
  std::vector<point> positions;
  for (const feature_record& f : features.features) {
    const point here{f.x, f.y};
    const point there = in_original ? apply(to_warped, f.x, f.y) : apply(to_original, f.x, f.y);
    const point& p_original = in_original ? here : there;
    const point& p_warped = in_original ? there : here;
    if (!inside(p_original, original, border) || !inside(p_warped, warped, border)) continue;
    if (std::find(positions.begin(), positions.end(), p_warped) == positions.end()) positions.push_back(p_warped);
  }
  return positions;
}

// Greedy one-to-one pairing, nearest pairs first.
std::size_t pair_within(const std::vector<point>& a, const std::vector<point>& b, double radius) {
  std::vector<std::tuple<double, std::size_t, std::size_t>> close;
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < b.size(); ++j) {
      const double d = std::hypot(a[i][0] - b[j][0], a[i][1] - b[j][1]);
      if (d <= radius) close.emplace_back(d, i, j);
    }
  }
  std::sort(close.begin(), close.end());
  std::vector<bool> used_a(a.size()), used_b(b.size());
  std::size_t pairs = 0;
  for (const auto& [d, i, j] : close) {
    if (used_a[i] || used_b[j]) continue;
    used_a[i] = used_b[j] = true;
    ++pairs;
  }
  return pairs;
}

unsigned distance(const uint8_t* a, const uint8_t* b) {
  unsigned sum = 0;
  for (int i = 0; i < 128; ++i) sum += static_cast<unsigned>(std::abs(a[i] - b[i]));
  return sum;
}

struct nearest {
  std::size_t index = 0;
  unsigned best = std::numeric_limits<unsigned>::max();
  unsigned second = std::numeric_limits<unsigned>::max();
};

nearest nearest_of(const uint8_t* descriptor, const uint8_t* others, std::size_t count) {
  nearest n;
  for (std::size_t j = 0; j < count; ++j) {
    const unsigned d = distance(descriptor, others + 128 * j);
    if (d < n.best) {
      n.second = n.best;
      n.best = d;
      n.index = j;
    } else {
      n.second = std::min(n.second, d);
    }
  }
  return n;
}

}  // namespace

feature_quality measure_feature_quality(const frame_features& original, const frame_features& warped,
                                        const grey_image& original_image, const grey_image& warped_image,
                                        const homography& h, const quality_settings& settings) {
  const homography back = inverse(h);
  feature_quality q;
  const auto a = common_positions(original, h, back, original_image, warped_image, settings.border, true);
  const auto b = common_positions(warped, h, back, original_image, warped_image, settings.border, false);
  q.keypoints_original = a.size();
  q.keypoints_warped = b.size();
  q.repeated = pair_within(a, b, settings.repeat_radius);
  const std::size_t fewer = std::min(a.size(), b.size());
  q.repeatability = fewer ? static_cast<double>(q.repeated) / fewer : 0.0;

  const uint8_t* da = descriptors_of(original);
  const uint8_t* db = descriptors_of(warped);
  const std::size_t na = original.features.size(), nb = warped.features.size();
  for (std::size_t i = 0; i < na && nb > 0; ++i) {
    const nearest forward = nearest_of(da + 128 * i, db, nb);
    if (!(forward.second > settings.ratio * forward.best)) continue;
    const nearest reverse = nearest_of(db + 128 * forward.index, da, na);
    if (reverse.index != i || !(reverse.second > settings.ratio * reverse.best)) continue;
    ++q.matches;
    const point expected = apply(h, original.features[i].x, original.features[i].y);
    const feature_record& found = warped.features[forward.index];
    q.correct_matches += std::hypot(found.x - expected[0], found.y - expected[1]) <= settings.match_radius;
  }
  q.match_precision = q.matches ? static_cast<double>(q.correct_matches) / q.matches : 0.0;
  return q;
}

}  // namespace test_support
