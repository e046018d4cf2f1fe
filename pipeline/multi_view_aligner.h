// The object of one alignment run: options, thresholds and everything the
// stages hand each other, from the frames' features to the pair tables.
//
// MultiViewAlignMain builds it on its stack, runs the stages on it in order
// and lets it go; only what the stages append to `params` survives the run.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "graph/nview_manager.h"
#include "pipeline/multi_view_params.h"
#include "records/align_frame.h"
#include "records/frame_features.h"
#include "records/homography_type.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"

// The options that MultiViewAlignMain chooses for every run.
struct aligner_options {
  bool refine_groups = true;     // the group refinements run
  bool extra_pass = false;       // the further pass of pair and group refinement
  bool nonlinear_refine = true;  // refine with the nonlinear estimators
  bool estimate_distortion = false;
};

class MultiViewAligner {
 public:
  MultiViewAligner(MultiViewParams& params, HomographyType homography_type,
                   const FrameRect& first_frame_rect, const aligner_options& options);

  // Refines a component of frames taken by a turning camera and appends it
  // to the results as one group: refined cameras, each frame on a cylinder
  // (input_mode 1), a sphere (2) or the one that fits (0). `rects` is the
  // driver's list, one rectangle per usable frame. Throws
  // std::runtime_error for another mode.
  void AlignGroupRotation(const component_record<rotation_motion>& group, const view_graph& graph,
                          const std::vector<FrameRect>& rects, int32_t input_mode);

  // Refines a component of frames taken through a fisheye lens of
  // `lens_type` (2 to 10, the table of construct_fisheye_projection) by a
  // turning camera, fitting the lens as `fisheye_mode` says, and appends it
  // to the results as one spherical group of SphericalFisheyeTransform
  // marks. No stage of a run enters it. Throws std::runtime_error for an
  // unknown lens type, before anything is appended.
  void AlignGroupFisheye(const component_record<rotation_motion>& group, int32_t lens_type, int32_t fisheye_mode);

  // Refines a component of frames that see one plane and appends it to the
  // results as one group: each frame placed on the reference frame by the
  // quadrilateral its rectangle maps to, or, with estimate_distortion, by a
  // projective map with lens values. `rects` is the driver's list, one
  // rectangle per usable frame.
  void AlignGroupPlanar(const component_record<h_matrix_2d>& group, const std::vector<FrameRect>& rects);

  // Takes in a frame that extraction gave features: its features, its
  // `index` and its `reduction_level`, and counts it.
  void add_frame(const AlignFrame& frame, frame_features_ptr frame_features);

  uint64_t frame_count = 0;  // frames with features
  HomographyType homography_type;
  bool refine_groups;
  bool extra_pass;
  bool nonlinear_refine;
  bool estimate_distortion;
  FrameRect first_frame_rect;
  std::vector<frame_features_ptr> features;  // per usable frame
  pair_table<pair_matches_ptr> pairs;          // the matches of every pair of frames
  MultiViewParams* params;                // not owned
  std::vector<int32_t> sheet_ids;         // `index` of each usable frame
  std::vector<int16_t> reduction_levels;  // `reduction_level` of each usable frame

  // Inlier radii in pixels of the pair and group estimates.
  double pair_homography_threshold;
  double group_homography_threshold = std::numeric_limits<double>::quiet_NaN();
  double pair_rotation_threshold;
  double group_rotation_threshold = std::numeric_limits<double>::quiet_NaN();

  double min_rotation_extent_degrees = 40.0;  // below this spread a group stays planar
  double spherical_extent_limit = 2.0;        // radians; above it a sphere, not a cylinder
  double max_lens_parameter_a = 0.8;          // largest accepted lens values
  double max_lens_parameter_b = 1.5;
};
