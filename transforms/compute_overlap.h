// How much of an image the group's reference image covers, from 0 to 1.
#pragma once

#include "records/align_frame.h"
#include "records/export.h"
#include "transforms/pixel_transform.h"

// `base` is the reference image's transform (null: the image itself is the
// reference), `xform` the measured image's, `frame` gives its size.
extern "C" LACEWRIGHT_EXPORT double ComputeOverlap(PixelTransform* base, PixelTransform* xform,
                                                   AlignFrame* frame);
