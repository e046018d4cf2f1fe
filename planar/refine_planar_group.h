// The joint refinement of a planar group: the motions of its frames onto
// one common plane, adjusted over the group's feature tracks, with radial
// distortion per frame on request.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "geometry/h_matrix_2d.h"
#include "graph/feature_tracks.h"
#include "records/frame_features.h"

struct planar_refinement_options {
  bool refine_groups = true;
  bool nonlinear_refine = true;  // robust residuals and the lens stage; else the plain model alone
  bool estimate_distortion = false;
  double group_homography_threshold = 2.0;
};

struct planar_refinement {
  std::vector<h_matrix_2d> motions;  // each frame's, kinds unchanged
  // With nonlinear refinement and distortion: each frame's distortion
  // centre and (k1, k2); empty otherwise.
  std::vector<std::array<double, 2>> centres;
  std::vector<std::array<double, 2>> distortions;
};

// `motions` take the reference frame to each frame (their nine parameters
// are read as a projective map whatever their kind); `centres` are the
// frames' centres. A failed stage keeps what the stage before it gave.
planar_refinement refine_planar_group(const planar_refinement_options& options,
                                      const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
                                      const std::vector<h_matrix_2d>& motions,
                                      const std::vector<std::array<double, 2>>& centres, std::size_t reference);
