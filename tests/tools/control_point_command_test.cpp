// `lacewright controlpoints` as a program: how it is asked, what it keeps
// of the project it is given, where it looks for the images, and the exit
// code of each mistake.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "photographs.h"
#include "tool_test_support.h"
#include "tools/command_line.h"

namespace {

using namespace tool_test;
using namespace lacewright_tool;

exit_code code_of(const std::vector<std::string>& arguments) {
  try {
    parse_command_line(arguments);
  } catch (const tool_error& error) {
    return error.code;
  }
  return exit_success;
}

TEST(ControlPointCommand, takes_the_output_and_one_project_as_hugins_placeholders_give_them) {
  // Hugin's detector setting: controlpoints -o %o %s
  const options parsed = parse_command_line({"controlpoints", "-o", "out.pto", "in.pto"});
  EXPECT_EQ(tool_command::controlpoints, parsed.command);
  EXPECT_EQ("out.pto", parsed.output_path);
  EXPECT_EQ(std::vector<std::string>{"in.pto"}, parsed.inputs);
  EXPECT_EQ(1, parsed.type);
  const options spelled = parse_command_line({"controlpoints", "--type=-1", "--output=o.pto", "--quiet", "i.pto"});
  EXPECT_EQ(-1, spelled.type);
  EXPECT_EQ("o.pto", spelled.output_path);
  EXPECT_TRUE(spelled.quiet);

  EXPECT_EQ(exit_usage, code_of({"controlpoints", "in.pto"}));
  EXPECT_EQ(exit_usage, code_of({"controlpoints", "-o", "out.pto"}));
  EXPECT_EQ(exit_usage, code_of({"controlpoints", "-o", "out.pto", "a.pto", "b.pto"}));
  EXPECT_EQ(exit_usage, code_of({"controlpoints", "-o", "out.pto", "--pto", "x.pto", "in.pto"}));
  EXPECT_EQ(exit_usage, code_of({"-o", "out.pto", "photo.jpg", "other.jpg"}));  // -o belongs to controlpoints
  EXPECT_EQ(exit_success, code_of({"controlpoints", "--help"}));
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// An image line without the values the tool writes.
std::string unplaced(const std::string& line) {
  return std::regex_replace(line, std::regex(R"( [vypr](=?[-0-9.e]+))"), "");
}

class ControlPointRun : public ToolTest {
 protected:
  void SetUp() override {
    if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
    ToolTest::SetUp();
  }

  // A project of the hill set as Hugin writes one, its images named
  // relative to the project's folder.
  std::string hill_project() {
    std::ostringstream text;
    text << "# hugin project file\n#hugin_ptoversion 2\np f2 w3000 h1500 v360  k0 E0 R0 n\"TIFF_m c:LZW r:CROP\"\n"
         << "m i0\n\n# image lines\n";
    std::filesystem::create_directories(folder_ / "photos");
    bool first = true;
    for (const auto& photograph : test_support::photograph_set("hill")) {
      std::filesystem::create_symlink(photograph, folder_ / "photos" / photograph.filename());
      const test_support::grey_image image = test_support::read_grey(photograph);
      text << "#-hugin  cropFactor=1\ni w" << image.width << " h" << image.height << " f0 "
           << (first ? "v50 Ra0 " : "v=0 Ra=0 ") << "r0 p0 y0 TrX0 Vm5 n\"photos/" << photograph.filename().string()
           << "\"\n";
      first = false;
    }
    text << "\n# specify variables that should be optimized\nv y1\nv\n\n# control points\n\n#hugin_blender enblend\n";
    return text.str();
  }

  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(in_folder(name)) << text;
    return in_folder(name);
  }
};

TEST_F(ControlPointRun, keeps_every_line_and_value_it_does_not_write) {
  const std::string given = hill_project();
  const outcome result = run("controlpoints -o " + in_folder("out.pto") + " " + write("in.pto", given));
  ASSERT_EQ(0, result.exit_code) << result.err;
  EXPECT_NE(std::string::npos, result.err.find("control points"));
  std::vector<std::string> before = lines_of(given), after;
  std::size_t points = 0;
  for (const std::string& line : lines_of(slurp(in_folder("out.pto")))) {
    if (line.starts_with("c ")) {
      EXPECT_TRUE(std::regex_match(line, std::regex(R"(c n[0-2] N[0-2] x\S+ y\S+ X\S+ Y\S+ t0)"))) << line;
      ++points;
    } else {
      after.push_back(line);
    }
  }
  EXPECT_GT(points, 50u);
  ASSERT_EQ(before.size(), after.size());
  for (std::size_t k = 0; k < before.size(); ++k) {
    if (before[k].starts_with("i ")) {
      EXPECT_EQ(unplaced(before[k]), unplaced(after[k]));
      EXPECT_NE(before[k], after[k]) << "the aligned camera is missing";
    } else {
      EXPECT_EQ(before[k], after[k]);
    }
  }
  // The lens is shared: its field of view is written where the others link to.
  EXPECT_TRUE(std::regex_search(after[7], std::regex(R"( v[0-9.]+ )"))) << after[7];
  EXPECT_NE(std::string::npos, after[9].find(" v=0 "));
}

TEST_F(ControlPointRun, writes_over_its_own_project_as_hugins_detector_does) {
  const std::string project = write("project.pto", hill_project());
  ASSERT_EQ(0, run("controlpoints --quiet -o " + project + " " + project).exit_code);
  const std::string written = slurp(project);
  EXPECT_GT(std::count(written.begin(), written.end(), 'c'), 50);
  EXPECT_NE(std::string::npos, written.find("\nc n0 N1 "));
}

TEST_F(ControlPointRun, answers_each_mistake_with_its_exit_code) {
  EXPECT_EQ(exit_unreadable_input, run("controlpoints -o " + in_folder("o.pto") + " " + in_folder("none.pto")).exit_code);

  const std::string given = hill_project();
  std::string wrong_size = given;
  wrong_size.replace(wrong_size.find("\ni w"), 4, "\ni w1");
  const outcome resized = run("controlpoints -o " + in_folder("o.pto") + " " + write("resized.pto", wrong_size));
  EXPECT_EQ(exit_unreadable_input, resized.exit_code);
  EXPECT_NE(std::string::npos, resized.err.find("but the project says")) << resized.err;

  std::string missing = given;
  missing.replace(missing.find("photos/"), 7, "elsewhere/");
  EXPECT_EQ(exit_unreadable_input, run("controlpoints -o " + in_folder("o.pto") + " " + write("missing.pto", missing)).exit_code);

  const outcome broken = run("controlpoints -o " + in_folder("o.pto") + " " + write("broken.pto", "i w10 n\"a.jpg\"\n"));
  EXPECT_EQ(exit_unreadable_input, broken.exit_code);
  EXPECT_NE(std::string::npos, broken.err.find("line 1:")) << broken.err;

  const outcome garbage = run("controlpoints -o " + in_folder("o.pto") + " " + write("garbage.pto", "\x7f" "ELF..."));
  EXPECT_EQ(exit_unreadable_input, garbage.exit_code);
  EXPECT_NE(std::string::npos, garbage.err.find("it is not a Hugin project")) << garbage.err;

  EXPECT_EQ(exit_too_few_images, run("controlpoints -o " + in_folder("o.pto") + " " + write("empty.pto", "p f2\n")).exit_code);
  EXPECT_EQ(exit_output_failed,
            run("controlpoints -o " + in_folder("no/such/folder.pto") + " " + write("in.pto", given)).exit_code);
  EXPECT_FALSE(std::filesystem::exists(in_folder("o.pto")));
}

}  // namespace
