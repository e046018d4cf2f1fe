// What a person asked the tool for, and the mistakes in how they asked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <lacewright/errors.h>

namespace lacewright_tool {

// The tool's exit status of each kind of failure, so that scripts can tell
// them apart.
int exit_code_of(lacewright::error_kind kind);

enum class tool_command {
  align,          // align images, print the report, write the outputs asked for
  controlpoints,  // Hugin's control point detector: a project in, a project out
  batch,          // many sets on a Dask cluster, by the Python package; `inputs` are its arguments
};

struct options {
  tool_command command = tool_command::align;
  int32_t type = 1;
  std::vector<std::string> inputs;  // image files and folders, in order; the project for controlpoints
  std::string json_path;
  std::string preview_path;
  std::string pto_path;
  std::string output_path;  // the project controlpoints writes
  int preview_size = 2000;  // longest side of a preview, in pixels
  bool level = true;        // level each turning group's horizon in previews and projects
  bool quiet = false;
  bool help = false;
  bool version = false;
};

extern const char version_text[];

// Reads the arguments (without the program name): a command and its
// options, the default command when the first argument names none. Every
// mistake in how the run was asked for is found here, before any work.
// Throws usage_error.
options parse_command_line(const std::vector<std::string>& arguments);

// The text --help shows for a command; the default command's is the whole
// tool's, from which the manual page is made.
std::string help_text(tool_command command);

}  // namespace lacewright_tool
