// One alignment of the process's image list with its report: the work of
// alignImages, for callers that also want the transform objects.
#pragma once

#include <cstdint>
#include <span>

#include "pipeline/multi_view_params.h"

// Runs the engine on imageList with `requested_type` into `params` and writes
// the report into `report`. Answers status_ok (the list is then used up) or
// status_no_memory when the report does not fit (the list stays). Exceptions
// of the engine pass through and leave the list as it was.
int32_t align_image_list(int32_t requested_type, MultiViewParams& params, std::span<char> report);
