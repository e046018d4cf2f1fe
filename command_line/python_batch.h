// `lacewright batch`: the Python package's batch of many sets on a Dask
// cluster, run by the interpreter the package was built for.
#pragma once

#include <string>
#include <vector>

namespace lacewright_tool {

// Replaces the process with `python3 -m lacewright.batch ARGUMENTS...`, the
// package found beside the tool: installed under ../lib/python3/dist-packages,
// or in the build tree's python folder. Throws std::runtime_error when the
// interpreter cannot be started.
[[noreturn]] void run_python_batch(const std::vector<std::string>& arguments);

}  // namespace lacewright_tool
