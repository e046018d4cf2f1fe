// The tool's outputs are all written or none: each goes to a temporary file
// beside its place, and only when every one is complete are they renamed
// into place. A failure on the way leaves no half-written file behind.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace lacewright_tool {

class output_files {
 public:
  output_files() = default;
  output_files(const output_files&) = delete;
  output_files& operator=(const output_files&) = delete;
  // Removes the temporary files of a batch that was not committed.
  ~output_files();

  // Writes `path`'s content through `write`, which gets the temporary path
  // and answers whether it succeeded. Throws tool_error (exit_output_failed).
  void stage(const std::string& path, const std::function<bool(const std::string&)>& write);

  // A text file.
  void stage_text(const std::string& path, const std::string& text);

  // Renames every staged file into place.
  void commit();

 private:
  std::vector<std::pair<std::string, std::string>> staged_;  // temporary, final
};

}  // namespace lacewright_tool
