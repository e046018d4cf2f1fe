// The spherical marks: no numbers, the base's kind and the base's texts.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "debug_capture.h"
#include "transforms/spherical_transform.h"

namespace {

TEST(SphericalTransform, both_marks_keep_the_base_kind_and_texts) {
  std::vector<std::unique_ptr<PixelTransform>> marks;
  marks.push_back(std::make_unique<SphericalTransform>());
  marks.push_back(std::make_unique<SphericalFisheyeTransform>());
  for (const auto& mark : marks) {
    EXPECT_EQ(14, mark->kind);

    debug_capture capture;
    mark->debugPrint();
    EXPECT_EQ("No debug print\n", capture.text());

    double first = 7.0, second = 8.0;
    testing::internal::CaptureStdout();
    mark->getOffset(&first, &second);
    EXPECT_EQ("Transform kind: 14 has no getOffset\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(7.0, first);
    EXPECT_EQ(8.0, second);
  }
}

}  // namespace
