// The base of the transform family: its kind and its debug texts.
#include <gtest/gtest.h>

#include <memory>

#include "debug_capture.h"
#include "transforms/pixel_transform.h"
#include "transforms/simple_camera_parameters.h"

namespace {

TEST(PixelTransform, the_base_has_kind_14_and_no_offset_or_debug_print) {
  const auto transform = std::make_unique<PixelTransform>();
  EXPECT_EQ(14, transform->kind);

  debug_capture capture;
  transform->debugPrint();
  EXPECT_EQ("No debug print\n", capture.text());

  double first = 7.0, second = 8.0;
  testing::internal::CaptureStdout();
  transform->kind = 11;
  transform->getOffset(&first, &second);
  EXPECT_EQ("Transform kind: 11 has no getOffset\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ(7.0, first);
  EXPECT_EQ(8.0, second);
}

TEST(PixelTransform, debug_text_is_lost_without_a_listener) {
  PixelTransform transform;
  transform.debugPrint();  // must not fail with nobody attached
  debug_capture capture;
  EXPECT_EQ("", capture.text());
}

TEST(SimpleCameraParameters, accessors_give_the_addresses_of_the_pairs) {
  SimpleCameraParameters camera;
  camera.focal_length()[0] = 812.5;
  camera.focal_length()[1] = 813.0;
  camera.image_center()[1] = 239.5;
  camera.distortion()[0] = -0.1;
  const SimpleCameraParameters& view = camera;
  EXPECT_EQ(812.5, view.focal_length()[0]);
  EXPECT_EQ(813.0, view.focal_length()[1]);
  EXPECT_EQ(0.0, view.image_center()[0]);
  EXPECT_EQ(239.5, view.image_center()[1]);
  EXPECT_EQ(-0.1, view.distortion()[0]);
  EXPECT_EQ(view.focal_length() + 1, &camera.focal_length()[1]);
}

}  // namespace
