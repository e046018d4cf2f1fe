// The global refinement of a group of images taken through a fisheye lens
// by a camera turning about its centre: rotations and the short lens
// polynomial adjusted together over the group's tracks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "graph/feature_tracks.h"
#include "records/frame_features.h"
#include "rotation/camera_group.h"
#include "rotation/fisheye_projection.h"
#include "rotation/fisheye_sharing.h"

struct fisheye_refinement_options {
  bool refine_groups = true;
  bool nonlinear_refine = true;  // robust residuals; else the plain adjuster
  int32_t mode = 3;              // fisheye mode: one lens for the group
  double group_rotation_threshold = 2.0;
};

using fisheye_group_cameras = camera_group<fisheye_lens>;

// The start of a lens fit from a lens of the table: its centre and the
// three lowest terms of its polynomial.
fisheye_lens short_polynomial_of(const fisheye_equidist5& lens);

// Refines `cameras` in place; the reference camera's rotation stays. A
// failed adjustment leaves the values it started from.
void refine_fisheye_cameras(const fisheye_refinement_options& options, const std::vector<frame_features_ptr>& frames,
                            const feature_tracks& tracks, std::size_t reference, fisheye_group_cameras& cameras);
