// `lacewright controlpoints -o OUT.pto IN.pto`: the tool as Hugin's control
// point detector. It reads a Hugin project, aligns its images and writes
// the project back with the inlier matches of every accepted pair as
// control points and, for each image of a turning group, the aligned yaw,
// pitch, roll and field of view, so that Hugin's optimiser starts from the
// answer instead of from the guesses the project was made with.
#pragma once

#include "tools/command_line.h"

namespace lacewright_tool {

// Runs the command; answers the exit code, throws tool_error.
int detect_control_points(const options& parsed);

}  // namespace lacewright_tool
