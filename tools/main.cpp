// lacewright: aligns overlapping photographs from the command line.
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/default_scene.h"
#include "tools/image_file.h"
#include "tools/plugin_session.h"

namespace {

using namespace lacewright_tool;

constexpr const char usage[] =
    "usage: lacewright [align] [--type N] [IMAGE...]\n"
    "\n"
    "Aligns overlapping images and prints the alignment report.\n"
    "With no IMAGE, aligns a built-in synthetic scene of three views.\n"
    "\n"
    "  --type N   transform type: 1 rotation about the camera centre (default),\n"
    "             -1 automatic (planar or rotation per group), 0 and 3 to 6\n"
    "             match only\n"
    "  --help     show this text\n";

struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct options {
  int32_t type = 1;
  std::vector<std::string> images;
  bool help = false;
};

int32_t parse_type(std::string_view text) {
  int32_t type = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), type);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw usage_error("--type needs an integer, not '" + std::string(text) + "'");
  }
  return type;
}

options parse_arguments(int argc, char** argv) {
  options parsed;
  int first = 1;
  if (argc > 1 && std::string_view(argv[1]) == "align") first = 2;
  bool only_files = false;
  for (int i = first; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (only_files || argument.empty() || argument[0] != '-' || argument == "-") {
      parsed.images.emplace_back(argument);
    } else if (argument == "--") {
      only_files = true;
    } else if (argument == "--help" || argument == "-h") {
      parsed.help = true;
    } else if (argument == "--type") {
      if (i + 1 >= argc) throw usage_error("--type needs a value");
      parsed.type = parse_type(argv[++i]);
    } else if (argument.starts_with("--type=")) {
      parsed.type = parse_type(argument.substr(7));
    } else {
      throw usage_error("unknown option '" + std::string(argument) + "'");
    }
  }
  return parsed;
}

std::string plugin_folder() {
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string(".") : executable.parent_path().string();
}

// The engine's exceptions name the function that failed; a person wants to
// know what to change.
std::string explain(const std::exception& failure) {
  if (dynamic_cast<const std::length_error*>(&failure) && std::strcmp(failure.what(), "vector<T> too long") == 0) {
    return "fewer than two of the images are usable (blank or single-tone images are skipped)";
  }
  return std::string("alignment failed: ") + failure.what();
}

int run(const options& parsed) {
  plugin_session session(plugin_folder());
  if (parsed.images.empty()) {
    std::fprintf(stderr, "lacewright: no images given; aligning the built-in synthetic scene\n");
    int view = 0;
    for (const pixel_image& image : render_default_scene()) {
      session.add_image(image, "synthetic view " + std::to_string(view++));
    }
  } else {
    for (const std::string& path : parsed.images) session.add_image(read_image_file(path), path);
  }
  const std::string report = session.align(parsed.type);
  std::printf("%s\n", report.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  options parsed;
  try {
    parsed = parse_arguments(argc, argv);
  } catch (const usage_error& error) {
    std::fprintf(stderr, "lacewright: %s (see lacewright --help)\n", error.what());
    return 2;
  }
  if (parsed.help) {
    std::fputs(usage, stdout);
    return 0;
  }
  try {
    return run(parsed);
  } catch (const plugin_status_error& error) {
    std::fprintf(stderr, "lacewright: %s\n", error.what());
  } catch (const image_file_error& error) {
    std::fprintf(stderr, "lacewright: %s\n", error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lacewright: %s\n", explain(error).c_str());
  }
  return 1;
}
