// The record of one alignment: options in, result lists out.
//
// The caller constructs it, sets the options, passes it to
// MultiViewAlignMain, reads the results and destroys it. The result lists
// run in parallel: entry i of `transforms`, `sheetID` and `renderable`
// belong to one image; `groupCount`, `refSheetID`, `transformType` and
// `connectivity` have one entry per group, and the images of the groups
// follow each other in the per-image lists.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "transforms/pixel_transform.h"

// A group's symmetric 0/1 matrix of linked images, row by row.
using connectivity_matrix = std::vector<std::vector<int32_t>>;

struct MultiViewParams {
  MultiViewParams() = default;
  MultiViewParams(const MultiViewParams&) = delete;
  MultiViewParams& operator=(const MultiViewParams&) = delete;

  // Out. One per image; null for a reference image or an image alone.
  std::vector<std::unique_ptr<PixelTransform>> transforms;
  std::vector<int32_t> sheetID;         // the frame's `index`
  std::vector<bool> renderable;         // false for an image alone in its group
  std::vector<int32_t> groupCount;      // images in each group
  std::vector<int32_t> refSheetID;      // each group's reference frame `index`
  std::vector<int32_t> transformType;   // each group's TransformationType
  std::vector<connectivity_matrix> connectivity;
  bool several_preferred = false;       // a component held several preferred frames

  // In.
  int16_t reserved_code = -1;           // not read by the engine
  int32_t requested_type = 0;           // TransformationType selecting the pipeline
  bool estimate_distortion = false;     // also fit lens distortion
  bool reserved = false;

  // Kept so that the record keeps its shape; nothing reads them.
  double reserved_scale = 1.0;
  double reserved_fraction_a = 0.5;
  double reserved_fraction_b = 0.5;
  std::vector<int32_t> reserved_list;
};
