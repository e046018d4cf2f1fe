// The tool's outputs are all written or none. Their contents are made first;
// then each regular file goes to a temporary file beside its place, and only
// when every one is complete are they renamed into place, so that a reader
// never sees a half-written file and a failure leaves the old files as they
// were. What is not a regular file is written through, not replaced:
// standard output ("-"), a terminal, a FIFO, a device. A symbolic link is
// followed and its target replaced. A signal that ends the process on the
// way removes the temporary files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lacewright_tool {

class output_files {
 public:
  // Stands for standard output.
  static constexpr const char* standard_output = "-";
  // Whether `path` is "-" or names the file standard output is open on
  // (/dev/stdout, or the file it was redirected to): such an output is
  // written on standard output, after what was printed there before.
  static bool is_standard_output(const std::string& path);

  // Where a file name leads, so that "a.json", "./a.json" and a link to its
  // folder compare equal.
  static std::filesystem::path place_of(const std::string& path);

  // Adds a file to the batch. Throws usage_error when the batch has a file
  // at the same place.
  void add(const std::string& path, std::string content);

  // Writes every file of the batch. Throws output_error naming the first
  // one that cannot be written; then none of the regular files has changed.
  void commit();

  // The paths of the batch, in the order added.
  std::vector<std::string> paths() const;

 private:
  struct file {
    std::string path;
    std::string content;
  };
  std::vector<file> files_;
};

}  // namespace lacewright_tool
