#include "rotation/track_scene.h"

#include <cmath>
#include <numbers>

track_scene track_scene_of(const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
                           const pixel_direction& direction) {
  constexpr double two_pi = 2.0 * std::numbers::pi;
  track_scene result;
  const auto count = static_cast<std::size_t>(tracks.track_count);
  std::vector<double> longitude(count, 0.0), latitude(count, 0.0);
  std::vector<std::size_t> seen(count, 0);
  result.observations.resize(frames.size());
  for_each_tracked_feature(frames, tracks, [&](std::size_t image, const feature_record& feature, std::size_t t) {
    const scene_point start = direction(image, {feature.x, feature.y});
    double lon = start[0];
    if (seen[t] > 0) {
      const double mean = longitude[t] / static_cast<double>(seen[t]);
      for (const double branch : {start[0] + two_pi, start[0] - two_pi}) {
        if (std::fabs(branch - mean) < std::fabs(lon - mean)) lon = branch;
      }
    }
    longitude[t] += lon;
    latitude[t] += start[1];
    ++seen[t];
    result.observations[image].push_back({t, feature.x, feature.y});
  });
  for (std::size_t t = 0; t < count; ++t) {
    const double n = static_cast<double>(seen[t]);
    result.points.push_back({longitude[t] / n, latitude[t] / n});
  }
  return result;
}
