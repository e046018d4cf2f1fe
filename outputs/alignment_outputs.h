// The files an alignment is written to: its JSON, a preview of each group
// and a Hugin project of each turning group, all written or none.
#pragma once

#include <string>
#include <vector>

#include <lacewright/errors.h>
#include <lacewright/request.h>

#include "photographs/image_file.h"
#include "session/image_placement.h"
#include "session/run_progress.h"

namespace lacewright_tool {

// `layouts` has one entry per group, placed with or without levelling as
// `level` says; `pictures`, by image number, are needed for a preview only.
// Answers the paths written, in order.
std::vector<std::string> write_outputs(const alignment& run, const lacewright::alignment& described,
                                       const std::vector<group_layout>& layouts,
                                       const std::vector<image_file>& pictures, bool level,
                                       const lacewright::outputs& request, run_progress& progress);

}  // namespace lacewright_tool
