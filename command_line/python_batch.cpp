#include "command_line/python_batch.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace lacewright_tool {
namespace {

// The folders that may hold the package, beside this program.
std::string package_path() {
  std::error_code error;
  const std::filesystem::path tool = std::filesystem::read_symlink("/proc/self/exe", error);
  std::string path;
  for (const char* beside : {"../" LACEWRIGHT_PYTHON_DIR, "../python"}) {
    const std::filesystem::path folder = tool.parent_path() / beside;
    if (!error && std::filesystem::is_directory(folder / "lacewright")) {
      path += (path.empty() ? "" : ":") + std::filesystem::weakly_canonical(folder).string();
    }
  }
  if (const char* given = std::getenv("PYTHONPATH"); given && *given) path += (path.empty() ? "" : ":") + std::string(given);
  return path;
}

}  // namespace

void run_python_batch(const std::vector<std::string>& arguments) {
  const std::string path = package_path();
  if (!path.empty()) setenv("PYTHONPATH", path.c_str(), 1);
  std::vector<std::string> command = {LACEWRIGHT_PYTHON, "-m", "lacewright.batch"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : command) argv.push_back(word.data());
  argv.push_back(nullptr);
  ::execv(argv[0], argv.data());
  throw std::runtime_error(std::string("cannot start ") + LACEWRIGHT_PYTHON + " for the batch: " + std::strerror(errno));
}

}  // namespace lacewright_tool
