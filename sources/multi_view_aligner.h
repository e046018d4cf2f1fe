// The object of one alignment run: options, thresholds and everything the
// stages hand each other, from the frames' features to the pair tables.
//
// MultiViewAlignMain builds it on its stack, runs the stages on it in order
// and lets it go; only what the stages append to `params` survives the run.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "features/frame_features.h"
#include "matching/pair_matches.h"
#include "matching/pair_table.h"
#include "mvg/homography_type.h"
#include "mvg/nview_manager.h"
#include "sources/align_frame.h"
#include "sources/multi_view_params.h"

// The options that MultiViewAlignMain chooses for every run.
struct aligner_options {
  bool refine_groups = true;     // the group refinements run
  bool option_unused = true;
  bool extra_pass = false;       // the further pass of pair and group refinement
  bool nonlinear_refine = true;  // refine with the nonlinear estimators
  bool estimate_distortion = false;
  bool lens_option_a = false;    // which lens values the rotation groups fit
  bool lens_option_b = false;
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

  uint64_t frame_count = 0;  // frames with features; written by extraction
  HomographyType homography_type;
  bool refine_groups;
  bool option_unused;
  bool extra_pass;
  bool nonlinear_refine;
  bool estimate_distortion;
  bool lens_option_a;
  bool lens_option_b;
  FrameRect first_frame_rect;
  std::vector<frame_features_ptr> features;  // per usable frame
  pair_table<pair_matches_ptr> pairs;          // the matches of every pair of frames
  MultiViewParams* params;                // not owned
  std::vector<int32_t> sheet_ids;         // `index` of each usable frame
  std::vector<int16_t> reduction_levels;  // `reduction_level` of each usable frame
  // Each usable frame's own rectangle. The group stages place frames by the
  // driver's list instead, which gives every frame the first frame's.
  std::vector<FrameRect> frame_rects;

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
