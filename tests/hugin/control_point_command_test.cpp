// `lacewright controlpoints` as a program: what it keeps of the project it
// is given, where it looks for the images, and the exit code of each
// mistake. How it is asked is the command line's test.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "photographs.h"
#include "tool_test_support.h"

namespace {

using namespace tool_test;
using namespace lacewright_tool;

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

// Hugin's detector is handed one project to read and write: the tool reads
// it whole before it writes over it.
TEST_F(ControlPointRun, keeps_every_line_and_value_it_does_not_write_over_its_own_project) {
  const std::string given = hill_project(), project = write("project.pto", given);
  const outcome result = run("controlpoints -o " + project + " " + project);
  ASSERT_EQ(0, result.exit_code) << result.err;
  EXPECT_NE(std::string::npos, result.err.find("control points"));
  std::vector<std::string> before = lines_of(given), after;
  std::size_t points = 0;
  for (const std::string& line : lines_of(slurp(project))) {
    if (line.starts_with("c ")) {
      EXPECT_TRUE(std::regex_match(line, std::regex(R"(c n[0-2] N[0-2] x\S+ y\S+ X\S+ Y\S+ t0)"))) << line;
      ++points;
    } else {
      after.push_back(line);
    }
  }
  EXPECT_GT(points, 50u);
  EXPECT_NE(std::string::npos, slurp(project).find("\nc n0 N1 "));
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

TEST_F(ControlPointRun, answers_each_mistake_with_its_exit_code) {
  const std::string given = hill_project();
  std::string wrong_size = given, moved = given;
  wrong_size.replace(wrong_size.find("\ni w"), 4, "\ni w1");
  moved.replace(moved.find("photos/"), 7, "elsewhere/");
  const struct {
    const char* name;
    std::string project, output;
    int code;
    std::string said;  // on stderr
  } cases[] = {
      {"no project", in_folder("none.pto"), "o.pto", 3, ""},
      {"a size that is not the file's", write("resized.pto", wrong_size), "o.pto", 3,
       "but the project says"},
      {"images not where it says", write("missing.pto", moved), "o.pto", 3, ""},
      {"a broken image line", write("broken.pto", "i w10 n\"a.jpg\"\n"), "o.pto", 3, "line 1:"},
      {"no project at all", write("garbage.pto", "\x7f" "ELF..."), "o.pto", 3,
       "it is not a Hugin project"},
      {"no images", write("empty.pto", "p f2\n"), "o.pto", 4, ""},
      {"an output folder that is missing", write("in.pto", given), "no/such/folder.pto", 7, ""},
  };
  for (const auto& case_ : cases) {
    SCOPED_TRACE(case_.name);
    const outcome result = run("controlpoints -o " + in_folder(case_.output) + " " + case_.project);
    EXPECT_EQ(case_.code, result.exit_code) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(case_.said)) << result.err;
  }
  EXPECT_FALSE(std::filesystem::exists(in_folder("o.pto")));
}

}  // namespace
