// A camera with a fisheye lens turning about its centre, for tests of the
// fisheye refinement: four views a quarter turn apart with known
// rotations and one known lens, the features each view sees of a set of
// scene directions (rendered through the lens object, with Gaussian noise),
// and the view graph component they form, whose motions start off the
// truth.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

#include "graph/nview_manager.h"
#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "rotation/fisheye_projection.h"
#include "rotation/fisheye_sharing.h"
#include "solvers/bundle_adjuster.h"

namespace test_support {

struct fisheye_rig {
  fisheye_lens lens;                             // the truth, every view's
  std::vector<std::array<double, 9>> rotations;  // each view's own, world to camera
  std::vector<scene_point> points;
  component_record<rotation_motion> component;   // frames, matches, links; motions off the truth
  double width = 800.0, height = 600.0;
};

inline std::array<double, 9> product(const double a[9], const double b[9]) {
  std::array<double, 9> m;
  multiply_3x3(a, b, m.data());
  return m;
}

// Views look along the horizon at yaws of 0, 90, 180 and 270 degrees, so
// that the circle closes and the lens scale is held by the loop, with
// a degree or two of pitch and roll; the reference (view 0) has none. A
// direction is seen by a view within 80 degrees of its axis and inside its
// 800 x 600 frame, and kept when at least two views see it. The motions
// start with every view but the reference turned by about `start_turn`
// degrees.
inline fisheye_rig make_fisheye_rig(const fisheye_lens& lens, std::size_t points, double noise, double start_turn,
                                    unsigned seed) {
  constexpr double degree = std::numbers::pi / 180.0;
  std::mt19937 generator(seed);
  std::normal_distribution<double> gauss(0.0, 1.0);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  fisheye_rig rig;
  rig.lens = lens;
  const std::size_t views = 4;
  for (std::size_t i = 0; i < views; ++i) {
    const double yaw = 90.0 * degree * static_cast<double>(i), c = std::cos(yaw), s = std::sin(yaw);
    const double base[9] = {-s, c, 0.0, 0.0, 0.0, 1.0, c, s, 0.0};
    double tilt[3] = {};
    if (i > 0) {
      for (double& t : tilt) t = 1.5 * degree * gauss(generator);
    }
    double small[9];
    rodrigues(tilt, small);
    rig.rotations.push_back(product(small, base));
  }

  const fisheye_equidist5 render(lens.cx, lens.cy, 0.0, 0.0, lens.a0, lens.a1, lens.a2);
  std::vector<std::vector<std::array<double, 2>>> seen_at(views);  // per view: image of each point, or none
  std::vector<std::vector<std::size_t>> feature_of(views);
  auto& component = rig.component;
  for (std::size_t i = 0; i < views; ++i) {
    frame_features* frame = new frame_features;
    frame->frame_position = i;
    frame->width = rig.width;
    frame->height = rig.height;
    frame->center_x = (rig.width - 1.0) / 2.0;
    frame->center_y = (rig.height - 1.0) / 2.0;
    component.frames.push_back(frame);
    component.frame_ids.push_back(i);
  }
  constexpr std::size_t none = static_cast<std::size_t>(-1);
  while (rig.points.size() < points) {
    const scene_point point{std::numbers::pi * (2.0 * uniform(generator) - 1.0),
                            std::asin(0.9 * (2.0 * uniform(generator) - 1.0))};
    const double d[3] = {std::cos(point[1]) * std::cos(point[0]), std::cos(point[1]) * std::sin(point[0]),
                         std::sin(point[1])};
    std::vector<std::array<double, 2>> images(views);
    std::vector<bool> sees(views, false);
    for (std::size_t i = 0; i < views; ++i) {
      const double* r = rig.rotations[i].data();
      double y[3];
      for (int k = 0; k < 3; ++k) y[k] = r[3 * k] * d[0] + r[3 * k + 1] * d[1] + r[3 * k + 2] * d[2];
      if (y[2] <= std::cos(80.0 * degree)) continue;
      render.ray_to_image(y[0], y[1], y[2], images[i][0], images[i][1]);
      sees[i] = images[i][0] >= 0.0 && images[i][1] >= 0.0 && images[i][0] <= rig.width - 1.0 &&
                images[i][1] <= rig.height - 1.0;
    }
    if (std::count(sees.begin(), sees.end(), true) < 2) continue;
    rig.points.push_back(point);
    for (std::size_t i = 0; i < views; ++i) {
      if (!sees[i]) {
        feature_of[i].push_back(none);
        continue;
      }
      feature_of[i].push_back(component.frames[i]->features.size());
      feature_record feature{};
      feature.x = images[i][0] + noise * gauss(generator);
      feature.y = images[i][1] + noise * gauss(generator);
      component.frames[i]->features.push_back(feature);
    }
  }
  for (frame_features_ptr& frame : component.frames) complete_frame_features(*frame);

  // Every pair of views that share a point is linked, its matches inliers.
  for (std::size_t a = 0; a + 1 < views; ++a) {
    component.pairs.emplace_back();
    component.links.emplace_back();
    for (std::size_t b = a + 1; b < views; ++b) {
      pair_matches* pair = new pair_matches;
      pair->first = component.frames[a];
      pair->second = component.frames[b];
      for (std::size_t j = 0; j < rig.points.size(); ++j) {
        if (feature_of[a][j] == none || feature_of[b][j] == none) continue;
        pair->matches.push_back({feature_of[a][j], static_cast<int64_t>(feature_of[b][j]), 0.5f, 1});
        pair->index_by_b.emplace_back(feature_of[b][j], pair->matches.size() - 1);
      }
      std::sort(pair->index_by_b.begin(), pair->index_by_b.end());
      pair->inlier_count = pair->matches.size();
      component.links.back().push_back(!pair->matches.empty());
      component.pairs.back().push_back(pair);
    }
  }

  for (std::size_t i = 0; i < views; ++i) {
    double turn[3] = {}, small[9];
    if (i > 0) {
      for (double& t : turn) t = start_turn * degree * gauss(generator) / std::sqrt(3.0);
    }
    rodrigues(turn, small);
    component.motions.push_back({lens_record{}, product(small, rig.rotations[i].data())});
  }
  return rig;
}

// The angle in degrees between two rotations.
inline double degrees_between(const std::array<double, 9>& a, const std::array<double, 9>& b) {
  double trace = 0.0;
  for (std::size_t k = 0; k < 9; ++k) trace += a[k] * b[k];  // trace(a b^T)
  return std::acos(std::clamp((trace - 1.0) / 2.0, -1.0, 1.0)) * 180.0 / std::numbers::pi;
}

}  // namespace test_support
