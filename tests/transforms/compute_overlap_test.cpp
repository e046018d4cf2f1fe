// The overlap measure's rules that hold for every transform family.
#include <gtest/gtest.h>

#include "transforms/compute_overlap.h"

namespace {

TEST(ComputeOverlap, a_missing_transform_overlaps_nothing) {
  PixelTransform base;
  AlignFrame frame;
  frame.width = 640;
  frame.height = 480;
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, nullptr, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, nullptr, &frame));
}

TEST(ComputeOverlap, the_reference_covers_itself_whatever_its_kind) {
  PixelTransform transform;
  AlignFrame frame;
  EXPECT_EQ(1.0, ComputeOverlap(&transform, &transform, &frame));
}

TEST(ComputeOverlap, a_kind_without_a_measure_gives_zero) {
  PixelTransform base, transform;
  AlignFrame frame;
  frame.width = 10;
  frame.height = 10;
  EXPECT_EQ(0.0, ComputeOverlap(&base, &transform, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &transform, &frame));
}

}  // namespace
