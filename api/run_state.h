// What an alignment keeps of its run for the outputs drawn later: the
// engine's answer, each group's layout and, when asked for, the decoded
// pictures.
#pragma once

#include <memory>
#include <vector>

#include <lacewright/alignment.h>

#include "photographs/image_file.h"
#include "session/engine_alignment.h"
#include "session/image_placement.h"

namespace lacewright {

struct run_state {
  std::unique_ptr<lacewright_tool::alignment> run;
  std::vector<lacewright_tool::group_layout> layouts;
  std::vector<lacewright_tool::image_file> pictures;  // by image number; empty unless kept
  bool level = true;
};

}  // namespace lacewright
