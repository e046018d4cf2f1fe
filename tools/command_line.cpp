#include "tools/command_line.h"

#include <charconv>
#include <string_view>

namespace lacewright_tool {

const char usage_text[] =
    "Usage: lacewright [align] [OPTION...] [IMAGE|FOLDER...]\n"
    "  or:  lacewright controlpoints [OPTION...] -o OUTPUT.pto PROJECT.pto\n"
    "\n"
    "Aligns overlapping photographs and prints the alignment report. A folder\n"
    "stands for the images in it, in name order. Reads JPEG, PNG, TIFF (8 and\n"
    "16 bits), WebP, HEIF and the other formats of libvips, turned as their\n"
    "EXIF orientation says. With no IMAGE, aligns a built-in synthetic scene\n"
    "of three views. The JSON, previews and projects are in pixels of the\n"
    "images as given; the report is in the engine's units, the images halved\n"
    "until one side is at most 760 pixels.\n"
    "\n"
    "  --type N          1: a camera turning about its centre (default);\n"
    "                    -1: automatic, a plane or a turn per group;\n"
    "                    0 and 3 to 6: match only, no groups\n"
    "  --json FILE       write every image's group and transform as JSON\n"
    "  --preview FILE    draw each group of two or more images as a PNG:\n"
    "                    FILE for the first, FILE-2.png, ... for the others\n"
    "  --preview-size N  longest side of a preview in pixels (default 2000)\n"
    "  --pto FILE        write each turning group as a Hugin project:\n"
    "                    FILE for the first, FILE-2.pto, ... for the others\n"
    "  --no-level        keep the reference image's axes in previews and\n"
    "                    projects instead of levelling the horizon\n"
    "  --quiet           no progress and no summary on stderr\n"
    "  --help            show this text\n"
    "  --version         show the version\n"
    "\n"
    "controlpoints: Hugin's control point detector. Reads the Hugin project\n"
    "PROJECT.pto, aligns its images and writes it to OUTPUT.pto with the\n"
    "matches of every aligned pair as control points, in pixels of the files\n"
    "as stored, and, for the images of a turning camera, the aligned yaw,\n"
    "pitch, roll and field of view. Every other line is kept as it is. Of\n"
    "the options above it takes --type, --no-level and --quiet, and\n"
    "\n"
    "  -o, --output FILE  the project to write\n"
    "\n"
    "In Hugin's preferences (Control Point Detectors), add a detector of the\n"
    "type \"All images at once\" with the program lacewright and the\n"
    "arguments: controlpoints -o %o %s\n"
    "\n"
    "Exit codes: 0 aligned; 1 the alignment failed; 2 usage; 3 an input\n"
    "cannot be read; 4 fewer than two usable images; 5 more than 105 images;\n"
    "6 unknown type; 7 an output cannot be written.\n";

const char version_text[] = "lacewright " LACEWRIGHT_VERSION "\n";

namespace {

// The types the tool can run: the two pipelines and the match-only kinds.
bool known_type(int32_t type) { return type == -1 || type == 0 || type == 1 || (type >= 3 && type <= 6); }

int32_t parse_integer(std::string_view option, std::string_view text) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) {
    throw tool_error(std::string(option) + " needs an integer, not '" + std::string(text) + "'", exit_usage);
  }
  return value;
}

int32_t parse_type(std::string_view text) {
  const int32_t type = parse_integer("--type", text);
  if (!known_type(type)) {
    throw tool_error("unknown type " + std::to_string(type) + " (use 1, -1, 0 or 3 to 6)", exit_unknown_type);
  }
  return type;
}

// The value of an option given as "--name value" or "--name=value".
struct option_reader {
  const std::vector<std::string>& arguments;
  std::size_t& position;

  bool matches(std::string_view argument, std::string_view name, std::string& value) {
    if (argument == name) {
      if (position + 1 >= arguments.size()) throw tool_error(std::string(name) + " needs a value", exit_usage);
      value = arguments[++position];
      return true;
    }
    if (argument.size() > name.size() && argument.starts_with(name) && argument[name.size()] == '=') {
      value = argument.substr(name.size() + 1);
      return true;
    }
    return false;
  }
};

// The command's own options. Throws tool_error (exit_usage) for one that
// belongs to the other command or for a missing output or project.
void check_command(const options& parsed) {
  if (parsed.command == tool_command::align) return;
  if (!parsed.json_path.empty() || !parsed.preview_path.empty() || !parsed.pto_path.empty()) {
    throw tool_error("controlpoints writes only its project (-o); --json, --preview and --pto belong to align",
                     exit_usage);
  }
  if (parsed.output_path.empty()) throw tool_error("controlpoints needs an output project (-o FILE)", exit_usage);
  if (parsed.inputs.size() != 1) {
    throw tool_error("controlpoints needs exactly one project (" + std::to_string(parsed.inputs.size()) + " given)",
                     exit_usage);
  }
}

}  // namespace

options parse_command_line(const std::vector<std::string>& arguments) {
  options parsed;
  const std::string first = arguments.empty() ? "" : arguments[0];
  if (first == "controlpoints") parsed.command = tool_command::controlpoints;
  std::size_t i = first == "align" || first == "controlpoints" ? 1 : 0;
  bool only_inputs = false;
  for (; i < arguments.size(); ++i) {
    const std::string_view argument = arguments[i];
    option_reader reader{arguments, i};
    std::string value;
    if (only_inputs || argument.empty() || argument[0] != '-' || argument == "-") {
      parsed.inputs.emplace_back(argument);
    } else if (argument == "--") {
      only_inputs = true;
    } else if (argument == "--help" || argument == "-h") {
      parsed.help = true;
    } else if (argument == "--quiet" || argument == "-q") {
      parsed.quiet = true;
    } else if (argument == "--version") {
      parsed.version = true;
    } else if (argument == "--no-level") {
      parsed.level = false;
    } else if (reader.matches(argument, "--type", value)) {
      parsed.type = parse_type(value);
    } else if (reader.matches(argument, "--json", value)) {
      parsed.json_path = value;
    } else if (reader.matches(argument, "--preview", value)) {
      parsed.preview_path = value;
    } else if (reader.matches(argument, "--pto", value)) {
      parsed.pto_path = value;
    } else if (parsed.command == tool_command::controlpoints &&
               (reader.matches(argument, "-o", value) || reader.matches(argument, "--output", value))) {
      parsed.output_path = value;
    } else if (reader.matches(argument, "--preview-size", value)) {
      parsed.preview_size = parse_integer("--preview-size", value);
      if (parsed.preview_size < 16) throw tool_error("--preview-size needs at least 16 pixels", exit_usage);
    } else {
      throw tool_error("unknown option '" + std::string(argument) + "'", exit_usage);
    }
  }
  if (!parsed.help && !parsed.version) check_command(parsed);
  return parsed;
}

}  // namespace lacewright_tool
