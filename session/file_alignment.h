// The steps every alignment takes from its inputs to the engine's answer:
// count them, read them a few at a time in parallel and hand them in in the
// order given, align; each failure on the way becomes one sentence in an
// exception of its kind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <lacewright/request.h>

#include "session/engine_alignment.h"
#include "session/run_progress.h"

namespace lacewright_tool {

// The inputs in the order given, each file once: a file named a second time
// (a folder and a file in it, say) is taken once, with a warning.
std::vector<lacewright::image_input> distinct_inputs(const std::vector<lacewright::image_input>& inputs,
                                                     run_progress& progress);

// Refuses fewer than two images and more than one report can hold.
void check_image_count(std::size_t count);

// Refuses the alignment types without a pipeline.
void check_type(int32_t type);

// Reads and hands in every input, in the order given, but one with the same
// pixels as one before it, which is noted in `engine` with a warning;
// answers the decoded pictures handed in when `keep` asks for them (a
// preview draws from them), none otherwise.
std::vector<image_file> add_images(engine_alignment& engine, const std::vector<lacewright::image_input>& inputs,
                                   bool keep, run_progress& progress);

// Aligns what was handed in with `type`.
std::unique_ptr<alignment> align_images(engine_alignment& engine, int32_t type);

}  // namespace lacewright_tool
