// The planar transform with lens values: its record and its texts.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "debug_capture.h"
#include "transforms/distort_rd2_transform.h"

namespace {

std::unique_ptr<DistortRd2Transform> fitted() {
  const double matrix[9] = {1.5, 0.0, 10.25, 0.0, 1.5, -3.125, 0.001, 0.0, 1.0};
  const double size[2] = {480.0, 640.0};
  const double center[2] = {321.5, 239.25};
  const double coefficients[2] = {-0.125, 0.0625};
  return std::make_unique<DistortRd2Transform>(matrix, size, center, coefficients);
}

TEST(DistortRd2Transform, keeps_its_values_under_kind_11) {
  const auto transform = fitted();
  EXPECT_EQ(11, transform->kind);
  EXPECT_EQ(10.25, transform->matrix[2]);
  EXPECT_EQ(0.001, transform->matrix[6]);
  EXPECT_EQ(640.0, transform->size[1]);
  EXPECT_EQ(321.5, transform->center[0]);
  EXPECT_EQ(0.0625, transform->coefficients[1]);
}

TEST(DistortRd2Transform, prints_two_lines_to_the_debug_channel_and_has_no_offset) {
  std::unique_ptr<PixelTransform> transform = fitted();
  debug_capture capture;
  transform->debugPrint();
  EXPECT_EQ(
      "rd2_mat = [1.500 0.000 10.250; 0.000 1.500 -3.125; 0.001 0.000 1.000];\n"
      "rd2_xform = [ 480.000 640.000;  321.500 239.25000; -0.12500 0.06250];\n",
      capture.text());

  double first = 7.0, second = 8.0;
  testing::internal::CaptureStdout();
  transform->getOffset(&first, &second);
  EXPECT_EQ("Transform kind: 11 has no getOffset\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ(7.0, first);
  EXPECT_EQ(8.0, second);

  transform.reset();
  EXPECT_EQ(std::string::npos, capture.text().find("Nuke distort"));
}

}  // namespace
