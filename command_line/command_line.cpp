#include "command_line/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "outputs/group_preview.h"
#include "outputs/output_files.h"

namespace lacewright_tool {

const char version_text[] = "lacewright " LACEWRIGHT_VERSION "\n";

namespace {

// What the help says of a command beside its options. The first command is
// the one that runs when the first argument names none.
struct command_entry {
  tool_command command;
  const char* name;
  const char* usage;    // its usage line after the program's name
  const char* summary;  // its line in the list of commands
  const char* description;
};

constexpr command_entry commands[] = {
    {tool_command::align, "align", "[align] [OPTION...] [IMAGE|FOLDER...]",
     "align images (the default)",
     "Aligns overlapping photographs and prints the alignment report. A folder\n"
     "stands for the images in it, in name order. Reads JPEG, PNG, TIFF (8 and\n"
     "16 bits), WebP, HEIF and the other formats of libvips, turned as their\n"
     "EXIF orientation says. With no IMAGE, aligns a built-in synthetic scene\n"
     "of three views. The JSON, previews and projects are in pixels of the\n"
     "images as given; the report is in the engine's units, the images halved\n"
     "until one side is at most 760 pixels."},
    {tool_command::controlpoints, "controlpoints", "controlpoints [OPTION...] -o OUTPUT.pto PROJECT.pto",
     "act as Hugin's control point detector (below)",
     "Hugin's control point detector. Reads the Hugin project PROJECT.pto,\n"
     "aligns its images and writes it to OUTPUT.pto with the matches of every\n"
     "aligned pair as control points, in pixels of the files as stored, and,\n"
     "for the images of a turning camera, the aligned yaw, pitch, roll and\n"
     "field of view. Every other line is kept as it is."},
    {tool_command::batch, "batch", "batch SET... --out DIR [--scheduler ADDRESS] [OPTION...]",
     "align many sets on a Dask cluster (lacewright batch --help)",
     "Aligns many photograph sets, one Dask task per set, each into DIR/NAME/,\n"
     "with a summary line per set in DIR/summary.jsonl; a run started again\n"
     "skips the sets already done. Run by the Python package lacewright."},
};

constexpr const char* notes =
    "In Hugin's preferences (Control Point Detectors), add a detector of the\n"
    "type \"All images at once\" with the program lacewright and the\n"
    "arguments: controlpoints -o %o %s\n"
    "\n"
    "Exit codes: 0 a group of two or more images aligned and every output\n"
    "written; 1 no two images align (the JSON is written all the same, with\n"
    "the reason each image was left out); 2 usage; 3 an input cannot be\n"
    "read; 4 fewer than two usable images; 5 more than 105 images; 6 a type\n"
    "that does not align; 7 an output cannot be written.";


const command_entry& entry_of(const CLI::App& command) {
  return *std::find_if(std::begin(commands), std::end(commands),
                       [&](const command_entry& entry) { return command.get_name() == entry.name; });
}

// "a, b and c" with `conjunction` "and".
std::string in_prose(const std::vector<std::string>& names, const std::string& conjunction) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == names.size() ? " " + conjunction + " " : ", ") + names[i];
  }
  return text;
}

// The layout help2man reads into the manual page: the usage lines, what the
// command does, "Options:" with its options, then the notes. The default
// command's help is the manual page, so it also lists the commands and
// describes each of the others by the options it adds.
class help_format : public CLI::Formatter {
 public:
  help_format() { column_width(21); }

  std::string make_help(const CLI::App* command, std::string, CLI::AppFormatMode mode) const override {
    const bool whole_tool = command->get_name() == commands[0].name;
    std::string text = usage(entry_of(*command), whole_tool) + "\n" + make_description(command) +
                       make_groups(command, mode);
    if (whole_tool) text += command_list() + other_commands(*command);
    return text + "\n" + make_footer(command);
  }

  std::string make_option_name(const CLI::Option* option, bool) const override {
    std::vector<std::string> names;
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return CLI::detail::join(names, ", ");
  }

 private:
  std::string entry_line(const std::string& name, const std::string& text) const {
    return "  " + name + std::string(std::max<std::size_t>(column_width_, name.size() + 3) - name.size() - 2, ' ') +
           text + "\n";
  }

  static std::string usage(const command_entry& shown, bool whole_tool) {
    std::string text = std::string("Usage: lacewright ") + shown.usage + "\n";
    if (!whole_tool) return text;
    for (const command_entry& entry : commands) {
      if (&entry != &shown) text += std::string("  or:  lacewright ") + entry.usage + "\n";
    }
    return text;
  }

  std::string command_list() const {
    std::string text = "\nCommands:\n";
    for (const command_entry& entry : commands) text += entry_line(entry.name, entry.summary);
    return text;
  }

  // Each other command: what it does, the options above it shares and the
  // ones of its own.
  std::string other_commands(const CLI::App& whole_tool) const {
    std::string text;
    for (const CLI::App* command : whole_tool.get_parent()->get_subcommands({})) {
      if (command == &whole_tool) continue;
      std::vector<std::string> shared;
      std::string own;
      for (const CLI::Option* option : command->get_options()) {
        if (option->get_positional() || option == command->get_help_ptr() || option == command->get_version_ptr()) {
          continue;
        }
        if (whole_tool.get_option_no_throw(option->get_name())) {
          shared.push_back(option->get_name());
        } else {
          own += make_option(option, false);
        }
      }
      text += "\n" + command->get_name() + ":\n" + command->get_description() +
              "\nOf the options above it takes " + in_prose(shared, "and") + ", and\n\n" + own;
    }
    return text;
  }
};

int32_t parse_integer(const std::string& option, const std::string& text) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) {
    throw lacewright::usage_error(option + " needs an integer, not '" + text + "'");
  }
  return value;
}

enum class output_kind {
  file,
  file_or_standard_output,  // "-" stands for standard output
  picture,                  // the extension names the picture's format
};

// An option that names a file the run writes.
struct output_option {
  const CLI::Option* option;
  const std::string* path;
  output_kind kind;
};

void check_output(const output_option& output) {
  const std::string name = output.option->get_name();
  const std::string& path = *output.path;
  if (path.empty()) throw lacewright::usage_error(name + " needs a file name, not an empty one");
  if (path == "-" && output.kind != output_kind::file_or_standard_output) {
    throw lacewright::usage_error(name + " writes a file, not standard output: give it a file name instead of -");
  }
  if (output.kind == output_kind::picture && !has_picture_extension(path)) {
    throw lacewright::usage_error(name + " needs a file ending in " + in_prose(picture_extensions(), "or") + ", not '" +
                                  path + "'");
  }
}

// Each output option given names a file of its own. Throws usage_error at
// the first that does not.
void check_outputs(const std::vector<output_option>& outputs) {
  std::vector<std::pair<const output_option*, std::filesystem::path>> files;
  for (const output_option& output : outputs) {
    if (output.option->count() == 0) continue;
    check_output(output);
    if (*output.path == "-") continue;
    const std::filesystem::path file = output_files::place_of(*output.path);
    for (const auto& [earlier, earlier_file] : files) {
      if (earlier_file == file) {
        throw lacewright::usage_error(earlier->option->get_name() + " '" + *earlier->path + "' and " + output.option->get_name() +
                             " '" + *output.path + "' name the same file");
      }
    }
    files.emplace_back(&output, file);
  }
}

// An option that CLI11 did not know, named as the person wrote it and, if
// another command has it, with the command it belongs to.
[[noreturn]] void refuse_unknown_option(const CLI::App& command, const std::string& argument) {
  const std::string name = argument.substr(0, argument.starts_with("--") ? argument.find('=') : 2);
  for (const CLI::App* other : command.get_parent()->get_subcommands({})) {
    if (other->get_option_no_throw(name)) {
      throw lacewright::usage_error(name + " is an option of " + other->get_name() + ", not of " + command.get_name());
    }
  }
  throw lacewright::usage_error("unknown option '" + argument + "'");
}

// CLI11 reads "--json=" as a bare "--json" and would take the next argument,
// perhaps a photograph, for the file to write. What was written is an
// empty value, and the checks refuse it as such.
std::vector<std::string> keep_empty_values(const std::vector<std::string>& arguments) {
  std::vector<std::string> kept;
  bool options_ended = false;
  for (const std::string& argument : arguments) {
    options_ended = options_ended || argument == "--";
    if (!options_ended && argument.size() > 3 && argument.starts_with("--") && argument.ends_with("=")) {
      kept.push_back(argument.substr(0, argument.size() - 1));
      kept.emplace_back();
    } else {
      kept.push_back(argument);
    }
  }
  return kept;
}

// The tool's command line as CLI11 reads it: a command for each entry of
// `commands`, each with its own options, and the checks CLI11 does not make.
// The values are bound to members, so a grammar stays where it was made.
class grammar {
 public:
  grammar() {
    root_.formatter(std::make_shared<help_format>());
    root_.set_help_flag();
    root_.require_subcommand(1);
    root_.allow_extras();
    root_.footer(notes);
    // The last of a repeated option counts, so that a script can append an
    // option to override one it was given.
    root_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    declare_align(add_command(commands[0]));
    declare_controlpoints(add_command(commands[1]));
    add_command(commands[2]);
  }
  grammar(const grammar&) = delete;
  grammar& operator=(const grammar&) = delete;

  options parse(const std::vector<std::string>& arguments) {
    // The batch's arguments are the Python package's to read.
    if (!arguments.empty() && arguments[0] == commands[2].name) {
      parsed_.command = tool_command::batch;
      parsed_.inputs.assign(arguments.begin() + 1, arguments.end());
      return parsed_;
    }
    std::vector<std::string> reversed = keep_empty_values(arguments);
    std::reverse(reversed.begin(), reversed.end());
    if (arguments.empty() || !names_a_command(arguments[0])) reversed.emplace_back(commands[0].name);
    try {
      root_.parse(reversed);
    } catch (const CLI::CallForHelp&) {
      parsed_.help = true;
    } catch (const CLI::CallForVersion&) {
      parsed_.version = true;
    } catch (const CLI::ArgumentMismatch&) {
      // Every option takes the argument after it as its value, whatever it
      // looks like, so the only mismatch is a value missing at the end.
      throw lacewright::usage_error(arguments.back() + " needs a value");
    } catch (const CLI::ParseError& error) {
      throw lacewright::usage_error(error.what());
    }
    const CLI::App& command = *root_.get_subcommands().front();
    parsed_.command = entry_of(command).command;
    if (!parsed_.help && !parsed_.version) check(command);
    return parsed_;
  }

  std::string help(tool_command shown) const {
    for (const CLI::App* command : root_.get_subcommands({})) {
      if (entry_of(*command).command == shown) return command->help();
    }
    return {};
  }

 private:
  CLI::App& add_command(const command_entry& entry) { return *root_.add_subcommand(entry.name, entry.description); }

  static bool names_a_command(const std::string& argument) {
    return std::any_of(std::begin(commands), std::end(commands),
                       [&](const command_entry& entry) { return argument == entry.name; });
  }

  void declare_type(CLI::App& command) {
    command.add_option("--type", type_,
                       "1: a camera turning about its centre (default);\n"
                       "-1: automatic, a plane or a turn per group")
        ->option_text("N");
  }

  void add_output(CLI::App& command, const std::string& name, std::string& path, output_kind kind,
                  const std::string& description) {
    const CLI::Option* option = command.add_option(name, path, description)->option_text("FILE");
    outputs_.push_back({option, &path, kind});
  }

  // The switches every command has, after its own options in the help.
  void declare_switches(CLI::App& command) {
    command.add_flag_callback("--no-level", [this] { parsed_.level = false; },
                              "keep the reference image's axes in previews and\n"
                              "projects instead of levelling the horizon");
    command.add_flag("-q,--quiet", parsed_.quiet, "no progress and no summary on stderr");
    command.set_help_flag("-h,--help", "show this text");
    command.set_version_flag("--version", version_text, "show the version");
  }

  void declare_align(CLI::App& align) {
    declare_type(align);
    add_output(align, "--json", parsed_.json_path, output_kind::file_or_standard_output,
               "write every image's group and transform as JSON;\n"
               "- writes it to standard output");
    add_output(align, "--preview", parsed_.preview_path, output_kind::picture,
               "draw each group of two or more images: FILE for the\n"
               "first, FILE-2, FILE-3, ... before its extension for\n"
               "the others; FILE ends in one of these extensions:\n" +
                   in_prose(picture_extensions(), "or"));
    align
        .add_option("--preview-size", preview_size_,
                    "longest side of a preview in pixels, at least 16\n"
                    "(default 2000)")
        ->option_text("N");
    add_output(align, "--pto", parsed_.pto_path, output_kind::file,
               "write each turning group as a Hugin project:\n"
               "FILE for the first, FILE-2.pto, ... for the others;\n"
               "a planar group only if it is one turning camera's\n"
               "(exit 7 if not)");
    declare_switches(align);
    align.add_option("inputs", parsed_.inputs);
  }

  void declare_controlpoints(CLI::App& controlpoints) {
    add_output(controlpoints, "-o,--output", parsed_.output_path, output_kind::file, "the project to write");
    declare_type(controlpoints);
    declare_switches(controlpoints);
    controlpoints.add_option("project", parsed_.inputs);
  }

  void check(const CLI::App& command) {
    // CLI11 keeps the "--" that ended the options among the arguments it did
    // not know.
    for (const std::string& unknown : command.remaining()) {
      if (unknown != "--") refuse_unknown_option(command, unknown);
    }
    parsed_.type = parse_integer("--type", type_);
    parsed_.preview_size = parse_integer("--preview-size", preview_size_);
    if (parsed_.preview_size < 16) throw lacewright::usage_error("--preview-size needs at least 16 pixels");
    check_outputs(outputs_);
    if (parsed_.command == tool_command::controlpoints) check_controlpoints();
  }

  void check_controlpoints() const {
    if (parsed_.output_path.empty()) throw lacewright::usage_error("controlpoints needs an output project (-o FILE)");
    if (parsed_.inputs.size() != 1) {
      throw lacewright::usage_error("controlpoints needs exactly one project (" + std::to_string(parsed_.inputs.size()) + " given)");
    }
  }

  options parsed_;
  std::string type_ = "1";
  std::string preview_size_ = "2000";
  std::vector<output_option> outputs_;
  CLI::App root_{"", "lacewright"};
};

}  // namespace

int exit_code_of(lacewright::error_kind kind) {
  switch (kind) {
    case lacewright::error_kind::alignment_failed: return 1;
    case lacewright::error_kind::usage: return 2;
    case lacewright::error_kind::unreadable_input: return 3;
    case lacewright::error_kind::too_few_images: return 4;
    case lacewright::error_kind::too_many_images: return 5;
    case lacewright::error_kind::unknown_type: return 6;
    case lacewright::error_kind::output_failed: return 7;
    case lacewright::error_kind::cancelled: return 130;  // as a shell reports an interrupted program
  }
  return 1;
}

options parse_command_line(const std::vector<std::string>& arguments) { return grammar().parse(arguments); }

std::string help_text(tool_command command) { return grammar().help(command); }

}  // namespace lacewright_tool
