#include "tools/output_files.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tools/command_line.h"

namespace lacewright_tool {
namespace {

[[noreturn]] void cannot_write(const std::string& path, const std::string& why) {
  throw tool_error("cannot write '" + path + "': " + why, exit_output_failed);
}

}  // namespace

output_files::~output_files() {
  std::error_code ignored;
  for (const auto& [temporary, final_path] : staged_) std::filesystem::remove(temporary, ignored);
}

void output_files::stage(const std::string& path, const std::function<bool(const std::string&)>& write) {
  const std::string temporary = path + ".part" + std::to_string(::getpid());
  staged_.emplace_back(temporary, path);
  if (!write(temporary)) cannot_write(path, "the file cannot be created or is incomplete");
}

void output_files::stage_text(const std::string& path, const std::string& text) {
  stage(path, [&](const std::string& temporary) {
    std::ofstream out(temporary, std::ios::binary);
    out << text;
    out.close();
    return static_cast<bool>(out);
  });
}

void output_files::commit() {
  for (const auto& [temporary, final_path] : staged_) {
    std::error_code error;
    std::filesystem::rename(temporary, final_path, error);
    if (error) cannot_write(final_path, error.message());
  }
  staged_.clear();
}

}  // namespace lacewright_tool
