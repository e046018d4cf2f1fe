// Hugin projects as the control point detector reads and hands them back:
// image lines understood, values written in place, control points added
// where Hugin keeps them, and every other line untouched.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "hugin/hugin_project_file.h"

namespace {

using lacewright_tool::hugin_control_point;
using lacewright_tool::hugin_project_file;

// As pto_gen writes a project of two photographs of one lens, shortened.
const std::string two_images =
    "# hugin project file\n"
    "#hugin_ptoversion 2\n"
    "p f2 w3000 h1500 v360  k0 E0 R0 n\"TIFF_m c:LZW r:CROP\"\n"
    "m i0\n"
    "\n"
    "# image lines\n"
    "#-hugin  cropFactor=1\n"
    "i w517 h388 f0 v50 Ra0 r0 p0 y0 TrX0 a0 b0 Vm5 n\"/photos/one.png\"\n"
    "#-hugin  cropFactor=1\n"
    "i w388 h517 f0 v=0 Ra=0 r90 p0 y0 TrX0 a=0 b=0 Vm5 n\"two words.jpg\"\n"
    "\n"
    "# specify variables that should be optimized\n"
    "v y1\n"
    "v\n"
    "\n"
    "# control points\n"
    "\n"
    "#hugin_optimizeReferenceImage 0\n";

TEST(HuginProjectFile, reads_each_image_lines_file_size_projection_and_links) {
  const hugin_project_file project(two_images);
  ASSERT_EQ(2u, project.image_count());
  EXPECT_EQ("/photos/one.png", project.file(0));
  EXPECT_EQ("two words.jpg", project.file(1));
  EXPECT_EQ(517, project.width(0));
  EXPECT_EQ(388, project.height(0));
  EXPECT_EQ(388, project.width(1));
  EXPECT_EQ(517, project.height(1));
  EXPECT_EQ(0, project.projection(1));
  EXPECT_EQ(0u, project.owner(1, "v"));  // v=0: the lens of image 0
  EXPECT_EQ(1u, project.owner(1, "y"));
  EXPECT_EQ(0u, project.owner(0, "v"));
}

TEST(HuginProjectFile, hands_back_every_line_as_it_was_when_nothing_changed) {
  EXPECT_EQ(two_images, hugin_project_file(two_images).text());
}

TEST(HuginProjectFile, writes_values_in_place_and_a_missing_one_before_the_file_name) {
  hugin_project_file project("i w100 h80 f0 v50 y0 n\"a.jpg\"\ni w100 h80 f0 v=0 n\"b.jpg\"\n");
  project.set(0, "y", -12.5);
  project.set(0, "v", 61.25);
  project.set(1, "p", 3.0);
  project.set(1, "r", -0.0);
  EXPECT_EQ("i w100 h80 f0 v61.25 y-12.5 n\"a.jpg\"\ni w100 h80 f0 v=0 p3 r0 n\"b.jpg\"\n", project.text());
}

TEST(HuginProjectFile, puts_control_points_in_their_section_after_any_that_are_there) {
  const hugin_control_point point{0, 1, 10.5, 20.25, 30, 40};
  const std::string line = "c n0 N1 x10.5 y20.25 X30 Y40 t0\n";

  hugin_project_file headed(two_images);
  headed.add_control_points({point});
  const std::string heading = "# control points\n";
  std::string expected = two_images;
  expected.insert(expected.find(heading) + heading.size(), line);
  EXPECT_EQ(expected, headed.text());

  const std::string with_points = "i w9 h9 n\"a\"\ni w9 h9 n\"b\"\nc n0 N1 x1 y1 X2 Y2 t0\n\n# end\n";
  hugin_project_file existing(with_points);
  existing.add_control_points({point, point});
  EXPECT_EQ("i w9 h9 n\"a\"\ni w9 h9 n\"b\"\nc n0 N1 x1 y1 X2 Y2 t0\n" + line + line + "\n# end\n", existing.text());

  hugin_project_file bare("i w9 h9 n\"a\"\ni w9 h9 n\"b\"");
  bare.add_control_points({point});
  bare.set(1, "y", 1.0);
  EXPECT_EQ("i w9 h9 n\"a\"\ni w9 h9 y1 n\"b\"\n" + line, bare.text());
}

TEST(HuginProjectFile, refuses_an_image_line_without_size_or_file_and_names_the_line) {
  const auto message_of = [](const std::string& text) {
    try {
      hugin_project_file{text};
    } catch (const std::invalid_argument& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  EXPECT_EQ("line 2: an image line needs a width (w), a height (h) and a file (n)",
            message_of("# a project\ni w100 f0 n\"a.jpg\"\n"));
  EXPECT_EQ("line 1: an image line needs a width (w), a height (h) and a file (n)", message_of("i w100 h80 f0\n"));
  EXPECT_EQ("line 1: w is no whole number ('1e3')", message_of("i w1e3 h80 n\"a.jpg\"\n"));
  EXPECT_EQ("it is not a Hugin project (it has no panorama line 'p')", message_of("# no images at all\n"));
  EXPECT_EQ("", message_of("p f2 w3000\n"));
}

}  // namespace
