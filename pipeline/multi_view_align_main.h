// The engine's one entry, exported for hosts that call it directly.
#pragma once

#include <vector>

#include "pipeline/multi_view_params.h"
#include "records/align_frame.h"
#include "records/export.h"

extern "C" {

// One alignment of `frames` with the options of `params`, results into
// `params`. The frames' samples may be rescaled in place.
LACEWRIGHT_EXPORT void MultiViewAlignMain(MultiViewParams* params, std::vector<AlignFrame>* frames);

}  // extern "C"
