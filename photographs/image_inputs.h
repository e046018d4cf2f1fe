// The images a person names on the command line: files as given, folders as
// the image files in them, in name order.
#pragma once

#include <string>
#include <vector>

namespace lacewright_tool {

// Whether the file name ends in an extension of a format the tool reads.
bool has_image_extension(const std::string& name);

// Expands folders; keeps files in the order given. Throws tool_error
// (exit_unreadable_input) for a name that is neither a file nor a folder.
std::vector<std::string> expand_inputs(const std::vector<std::string>& inputs);

}  // namespace lacewright_tool
