// The alignment as JSON, for programs that reuse it: per image its group,
// its role and every value of its transform, in pixels of the image as given
// (full size, EXIF-turned); per group its kind, reference, links, the turn
// that levels a turning group and the files drawn for it; the images left
// out of every group and why; and the report text itself, in the engine's
// own units.
#pragma once

#include <string>
#include <vector>

#include <lacewright/alignment.h>

namespace lacewright_tool {

// What was written for one group besides the JSON.
struct group_files {
  std::string preview;  // empty when none was drawn
  int preview_width = 0;
  int preview_height = 0;
  std::string project;  // Hugin project; empty when none was written
};

// `files` has one entry per group, or none.
std::string alignment_json(const lacewright::alignment& alignment, const std::vector<group_files>& files);

}  // namespace lacewright_tool
