// `lacewright controlpoints -o OUT.pto IN.pto`: the tool as Hugin's control
// point detector. It reads a Hugin project, aligns its images and writes
// the project back with the inlier matches of every accepted pair as
// control points and, for each image of a turning group, the aligned yaw,
// pitch, roll and field of view, so that Hugin's optimiser starts from the
// answer instead of from the guesses the project was made with.
#pragma once

#include <string>

#include <lacewright/alignment.h>
#include <lacewright/request.h>

namespace lacewright_tool {

// Reads the project at `input` and writes the result to `output`; every
// failure throws the exception of its kind.
lacewright::control_point_summary detect_control_points(const std::string& input, const std::string& output,
                                                        const lacewright::options& options);

}  // namespace lacewright_tool
