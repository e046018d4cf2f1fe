// The global refinement of a rotation group: the cameras' rotations and
// focal lengths adjusted together over the group's tracks, then, on
// request, a second stage that fits radial distortion as well.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "graph/feature_tracks.h"
#include "records/frame_features.h"
#include "records/lens_record.h"
#include "rotation/camera_group.h"

struct camera_refinement_options {
  bool refine_groups = true;
  bool nonlinear_refine = true;  // robust residuals; else the plain adjuster in the reference's frame
  bool estimate_distortion = false;
  double group_rotation_threshold = 2.0;
  double max_lens_parameter_a = 0.8;  // largest accepted |k1|
  double max_lens_parameter_b = 1.5;  // largest accepted |k2|
};

// The cameras of a group: rotations camera-to-world (the transpose of a
// camera's own), with the reference at the unit rotation, and lens values.
using group_cameras = camera_group<lens_record>;

// Refines `cameras` in place. A failed stage leaves the values it started
// from; a distortion stage whose values exceed the limits in any camera is
// discarded whole.
void refine_cameras(const camera_refinement_options& options, const std::vector<frame_features_ptr>& frames,
                    const feature_tracks& tracks, std::size_t reference, group_cameras& cameras);
