// A group's tracks as the bundle adjusters take them: one scene point per
// track, observations camera by camera, and start directions for the points.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "graph/feature_tracks.h"
#include "records/frame_features.h"
#include "rotation/three_point_rotation.h"
#include "solvers/bundle_adjuster.h"

struct track_scene {
  std::vector<scene_point> points;
  std::vector<std::vector<scene_observation>> observations;
};

// The direction (longitude, latitude) of a pixel of an image through its
// start camera.
using pixel_direction = std::function<scene_point(std::size_t image, const image_point& pixel)>;

// Each point starts at the mean direction of its observations, over the
// images in order. Longitudes are kept on one branch: each is taken as it
// is or 2 pi either side, whichever lies nearest the running mean of those
// taken so far; latitudes are plainly averaged.
track_scene track_scene_of(const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
                           const pixel_direction& direction);
