// The tool's command line: every spelling a person may use for what they
// ask, and one sentence with its exit code for every mistake, found before
// any work is done.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tool_test_support.h"
#include "command_line/command_line.h"

namespace {

using namespace lacewright_tool;

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

// The fields that differ from those of a run with no arguments, so that a
// row states the whole result in a line.
std::string changed_fields(const options& parsed) {
  const options plain;
  std::string text;
  const auto add = [&](bool differs, const std::string& field) {
    if (differs) text += (text.empty() ? "" : " ") + field;
  };
  add(parsed.command == tool_command::controlpoints, "controlpoints");
  add(parsed.type != plain.type, "type=" + std::to_string(parsed.type));
  add(parsed.inputs != plain.inputs, "inputs=" + joined(parsed.inputs));
  add(parsed.json_path != plain.json_path, "json=" + parsed.json_path);
  add(parsed.preview_path != plain.preview_path, "preview=" + parsed.preview_path);
  add(parsed.pto_path != plain.pto_path, "pto=" + parsed.pto_path);
  add(parsed.output_path != plain.output_path, "output=" + parsed.output_path);
  add(parsed.preview_size != plain.preview_size, "preview-size=" + std::to_string(parsed.preview_size));
  add(parsed.level != plain.level, "no-level");
  add(parsed.quiet != plain.quiet, "quiet");
  add(parsed.help != plain.help, "help");
  add(parsed.version != plain.version, "version");
  return text;
}

struct accepted {
  std::vector<std::string> arguments;
  std::string fields;
};

TEST(CommandLine, reads_every_spelling_of_each_command) {
  const accepted rows[] = {
      {{}, ""},
      // No command: the images come first and the options after them.
      {{"trip", "--preview", "t.png"}, "inputs=trip preview=t.png"},
      {{"align", "--type=-1", "--json", "a.json", "--preview=p.png", "--pto", "x.pto", "--quiet", "--", "--odd.jpg"},
       "type=-1 inputs=--odd.jpg json=a.json preview=p.png pto=x.pto quiet"},
      {{"--type", "-1", "-q", "--no-level", "--preview-size", "16", "a.jpg", "b"},
       "type=-1 inputs=a.jpg,b preview-size=16 no-level quiet"},
      {{"--json", "-", "--preview", "P.JPEG", "a.jpg"}, "inputs=a.jpg json=- preview=P.JPEG"},
      // The last of a repeated option counts.
      {{"--type", "-1", "--type", "1", "--json", "a.json", "--json=b.json"}, "json=b.json"},
      // Only the first argument names a command.
      {{"trip", "align", "controlpoints"}, "inputs=trip,align,controlpoints"},
      {{"align", "--", "-", "-1"}, "inputs=-,-1"},
      {{"--", "a.jpg", "-x"}, "inputs=a.jpg,-x"},
      // Hugin's detector setting: controlpoints -o %o %s
      {{"controlpoints", "-o", "out.pto", "in.pto"}, "controlpoints inputs=in.pto output=out.pto"},
      {{"controlpoints", "--type=-1", "--output=o.pto", "--no-level", "-q", "i.pto"},
       "controlpoints type=-1 inputs=i.pto output=o.pto no-level quiet"},
      // Help needs none of the command's other arguments.
      {{"--help"}, "help"},
      {{"align", "-h"}, "help"},
      {{"controlpoints", "--help"}, "controlpoints help"},
      {{"--version"}, "version"},
  };
  for (const accepted& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    EXPECT_EQ(row.fields, changed_fields(parse_command_line(row.arguments)));
  }
}

struct refused {
  std::vector<std::string> arguments;
  lacewright::error_kind kind;
  std::string fragment;
};

TEST(CommandLine, refuses_each_mistake_with_one_sentence) {
  constexpr auto usage = lacewright::error_kind::usage;
  const std::string extensions = "ending in .png, .jpg, .jpeg, .tif, .tiff or .webp, not ";
  const refused rows[] = {
      {{"--frobnicate"}, usage, "unknown option '--frobnicate'"},
      {{"-x", "--", "a.jpg"}, usage, "unknown option '-x'"},
      {{"--type"}, usage, "--type needs a value"},
      {{"controlpoints", "in.pto", "-o"}, usage, "-o needs a value"},
      {{"--type=one"}, usage, "--type needs an integer, not 'one'"},
      {{"--type", "1.5"}, usage, "--type needs an integer, not '1.5'"},
      {{"--preview-size", "15"}, usage, "--preview-size needs at least 16 pixels"},
      {{"--preview-size", "big"}, usage, "--preview-size needs an integer, not 'big'"},
      // An empty file name, however it is written; "--json=" must not take
      // the image after it for its file.
      {{"--json", ""}, usage, "--json needs a file name, not an empty one"},
      {{"--json=", "a.jpg", "b.jpg"}, usage, "--json needs a file name, not an empty one"},
      {{"--preview", ""}, usage, "--preview needs a file name, not an empty one"},
      {{"--pto="}, usage, "--pto needs a file name, not an empty one"},
      {{"controlpoints", "-o", "", "in.pto"}, usage, "--output needs a file name, not an empty one"},
      // Standard output takes only the JSON.
      {{"--preview", "-"}, usage, "--preview writes a file, not standard output"},
      {{"--pto", "-"}, usage, "--pto writes a file, not standard output"},
      {{"controlpoints", "-o", "-", "in.pto"}, usage, "--output writes a file, not standard output"},
      {{"--preview", "p.gif"}, usage, "--preview needs a file " + extensions + "'p.gif'"},
      {{"--preview", "png"}, usage, "--preview needs a file " + extensions + "'png'"},
      // Two outputs in one file: the second would overwrite the first.
      {{"--json", "a.json", "--pto", "./a.json"}, usage,
       "--json 'a.json' and --pto './a.json' name the same file"},
      {{"--preview", "x/../p.png", "--json", "p.png"}, usage,
       "--json 'p.png' and --preview 'x/../p.png' name the same file"},
      // The commands' options are their own.
      {{"-o", "out.pto", "a.jpg", "b.jpg"}, usage, "-o is an option of controlpoints, not of align"},
      {{"controlpoints", "-o", "o.pto", "--json=x.json", "in.pto"}, usage,
       "--json is an option of align, not of controlpoints"},
      {{"controlpoints", "-o", "o.pto", "--preview", "p.png", "in.pto"}, usage,
       "--preview is an option of align, not of controlpoints"},
      {{"controlpoints", "-o", "o.pto", "--pto", "x.pto", "in.pto"}, usage,
       "--pto is an option of align, not of controlpoints"},
      {{"controlpoints", "in.pto"}, usage, "controlpoints needs an output project (-o FILE)"},
      {{"controlpoints", "-o", "out.pto"}, usage, "controlpoints needs exactly one project (0 given)"},
      {{"controlpoints", "-o", "out.pto", "a.pto", "b.pto"}, usage,
       "controlpoints needs exactly one project (2 given)"},
  };
  for (const refused& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    try {
      parse_command_line(row.arguments);
      ADD_FAILURE() << "accepted";
    } catch (const lacewright::error& error) {
      EXPECT_EQ(row.kind, error.kind());
      EXPECT_NE(std::string::npos, std::string(error.what()).find(row.fragment)) << error.what();
      EXPECT_EQ(std::string::npos, std::string(error.what()).find('\n')) << error.what();
    }
  }
}

class CommandLineFiles : public tool_test::ToolTest {};

TEST_F(CommandLineFiles, see_two_names_of_one_file_through_a_link_to_its_folder) {
  std::filesystem::create_directory(folder_ / "real");
  std::filesystem::create_directory_symlink(folder_ / "real", folder_ / "link");
  try {
    parse_command_line({"--json", in_folder("link/a.json"), "--pto", in_folder("real/a.json")});
    ADD_FAILURE() << "two names of one file were accepted";
  } catch (const lacewright::usage_error&) {
  }
  EXPECT_NO_THROW(parse_command_line({"--json", in_folder("link/a.json"), "--pto", in_folder("real/b.json")}));
}

struct help_row {
  tool_command command;
  std::vector<std::string> present;
  std::vector<std::string> absent;
};

// The manual page is the default command's help, so it documents every
// command; each help fits a terminal as help2man and people read it.
TEST(CommandLine, help_documents_each_command_within_eighty_columns) {
  const help_row rows[] = {
      {tool_command::align,
       {"Usage: lacewright [align] [OPTION...] [IMAGE|FOLDER...]\n"
        "  or:  lacewright controlpoints [OPTION...] -o OUTPUT.pto PROJECT.pto\n",
        "\nOptions:\n  --type N ", "  --preview-size N ", "  -q, --quiet ", "\nCommands:\n  align ",
        "  controlpoints ", "it takes --type, --no-level and --quiet, and\n\n  -o, --output FILE ",
        "arguments: controlpoints -o %o %s\n", "6 a type\nthat does not align"},
       {}},
      {tool_command::controlpoints,
       {"Usage: lacewright controlpoints [OPTION...] -o OUTPUT.pto PROJECT.pto\n\nHugin's control point detector.",
        "\nOptions:\n  -o, --output FILE ", "  --type N ", "arguments: controlpoints -o %o %s\n", "Exit codes:"},
       {"--json", "--preview", "--pto ", "Commands:"}},
  };
  for (const help_row& row : rows) {
    const std::string help = help_text(row.command);
    SCOPED_TRACE(help);
    for (const std::string& text : row.present) EXPECT_NE(std::string::npos, help.find(text)) << text;
    for (const std::string& text : row.absent) EXPECT_EQ(std::string::npos, help.find(text)) << text;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
  }
}

}  // namespace
