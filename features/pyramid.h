// The filling of a frame's pyramid: its first level from the frame's
// samples, then every level of every octave from the level below it, with
// the integrated Gaussian kernels and the separable filter.
#pragma once

#include "features/filter_workspace.h"
#include "records/align_frame.h"
#include "records/scale_space.h"

// Level 0 of the first octave from the frame's 8-bit samples (row stride
// equal to the width), scaled to 0..1 and blurred from input_blur to
// base_sigma. The filter works in `workspace`.
void load_first_image(scale_space& record, const AlignFrame& grey, filter_workspace& workspace);

// Every level of every octave, each from the level below it.
void build_scale_space(scale_space& record, filter_workspace& workspace);
