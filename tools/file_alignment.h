// The steps every command of the tool takes from image files to an
// alignment: count the files, read them a few at a time in parallel and
// hand them in in the order given, align; each failure on the way becomes
// one sentence and its exit code (a tool_error).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/engine_alignment.h"
#include "tools/progress_display.h"

namespace lacewright_tool {

// The files in the order given, each once: a file named a second time (a
// folder and a file in it, say) is taken once, with a warning.
std::vector<std::string> distinct_files(const std::vector<std::string>& files, progress_display& progress);

// Refuses fewer than two files and more than one report can hold.
void check_image_count(std::size_t count);

// Reads and hands in every file, in the order given, but a file with the
// same pixels as one before it, which is noted in `engine` with a warning;
// answers the decoded pictures handed in when `keep` asks for them (a
// preview draws from them), none otherwise.
std::vector<image_file> add_image_files(engine_alignment& engine, const std::vector<std::string>& files, bool keep,
                                        progress_display& progress);

// Aligns what was handed in with `type`.
std::unique_ptr<alignment> align_images(engine_alignment& engine, int32_t type);

}  // namespace lacewright_tool
