// The tool as Hugin's control point detector, among Hugin's own tools:
// pto_gen makes a project, `lacewright controlpoints` adds control points
// and the aligned cameras, autooptimiser optimises, nona renders. On the
// shared sets and on a set enlarged to the sizes cameras write and stored
// turned, the optimiser must start near the answer and end within a pixel,
// which a control point in the wrong units, a wrong turn of a stored file
// or a wrong yaw, pitch, roll or field of view would all prevent.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "photographs.h"
#include "tool_test_support.h"

namespace {

using namespace tool_test;

std::size_t count_lines_starting(const std::string& text, const std::string& start) {
  std::size_t count = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) count += line.starts_with(start);
  return count;
}

// The optimiser's rms distance between control points, each time it says it.
std::vector<double> reported_distances(const std::string& log) {
  const std::regex distance(R"(after \d+ iteration\(s\):\s+(\S+) units)");
  std::vector<double> distances;
  for (auto m = std::sregex_iterator(log.begin(), log.end(), distance); m != std::sregex_iterator(); ++m) {
    distances.push_back(std::stod((*m)[1]));
  }
  return distances;
}

std::string quoted_list(const std::vector<std::string>& paths) {
  std::string list;
  for (const std::string& path : paths) list += " '" + path + "'";
  return list;
}

class HuginTools : public ToolTest {
 protected:
  void SetUp() override {
    if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
    if (!on_path({"pto_gen", "autooptimiser", "nona"})) GTEST_SKIP() << "Hugin's tools are not installed (hugin-tools)";
    ToolTest::SetUp();
  }

  static std::vector<std::string> shared_set(const std::string& name) {
    std::vector<std::string> paths;
    for (const auto& path : test_support::photograph_set(name)) paths.push_back(path.string());
    return paths;
  }

  // pto_gen's project of `images`, then the tool's control points in it.
  std::string detect(const std::vector<std::string>& images) {
    const std::string start = in_folder("start.pto"), points = in_folder("points.pto");
    EXPECT_TRUE(shell_succeeds("pto_gen -o " + start + quoted_list(images) + " >/dev/null 2>&1"));
    const outcome detected = run("controlpoints --quiet -o " + points + " " + start);
    EXPECT_EQ(0, detected.exit_code) << detected.err;
    return points;
  }

  // autooptimiser as the README runs it, without levelling again; its rms
  // distances.
  std::vector<double> optimise(const std::string& project, const std::string& optimised) {
    const std::string log = in_folder("autooptimiser.log");
    EXPECT_TRUE(shell_succeeds("autooptimiser -a -s -o " + optimised + " " + project + " >" + log + " 2>&1"));
    return reported_distances(slurp(log));
  }

  // The whole way from files to a rendered panorama.
  void expect_hugin_stitches(const std::vector<std::string>& images) {
    const std::string points = detect(images);
    EXPECT_GE(count_lines_starting(slurp(points), "c "), 50u);
    const std::string optimised = in_folder("optimised.pto");
    const std::vector<double> distances = optimise(points, optimised);
    ASSERT_FALSE(distances.empty());
    // The cameras the tool wrote are the answer the optimiser starts from.
    EXPECT_LE(distances.front(), 2.0);
    EXPECT_LE(distances.back(), 1.0);
    ASSERT_TRUE(shell_succeeds("nona -m TIFF -o " + in_folder("panorama") + " " + optimised + " >/dev/null 2>&1"));
    const rgba_image panorama = read_rgba(in_folder("panorama.tif"));
    std::size_t covered = 0;
    for (std::size_t i = 3; i < panorama.rgba.size(); i += 4) covered += panorama.rgba[i] != 0;
    EXPECT_GT(covered, panorama.rgba.size() / 4 / 2) << "the panorama is mostly empty";
  }
};

TEST_F(HuginTools, stitch_rainier_from_the_tools_control_points) { expect_hugin_stitches(shared_set("rainier")); }

TEST_F(HuginTools, stitch_hill_from_the_tools_control_points) { expect_hugin_stitches(shared_set("hill")); }

TEST_F(HuginTools, stitch_a_set_of_camera_sized_files_stored_turned) {
  // Rainier at 2400 x 1800, each file stored on its side with EXIF
  // orientation 6, as a camera held upright writes it: Hugin reads the
  // stored pixels, the tool the upright picture.
  expect_hugin_stitches(enlarged_set("rainier", folder_ / "enlarged", 2400, 1800, 6));
}

}  // namespace
