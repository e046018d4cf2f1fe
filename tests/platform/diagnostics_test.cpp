// The stages' soft checks: reported on the error stream in the host's own
// words, and the stage carries on.
#include <gtest/gtest.h>

#include "platform/pointer_check.h"
#include "platform/soft_requirement.h"

namespace {

TEST(PointerCheck, a_missing_record_is_reported_and_a_present_one_is_not) {
  testing::internal::CaptureStderr();
  const int value = 0;
  EXPECT_TRUE(pointer_present(&value));
  EXPECT_FALSE(pointer_present(nullptr));
  EXPECT_EQ("NULL Pointer!\n", testing::internal::GetCapturedStderr());
}

TEST(SoftRequirement, a_failed_requirement_names_the_aligner_and_the_line) {
  testing::internal::CaptureStderr();
  require(true, 1);
  require(false, 390);
  EXPECT_EQ("REQUIRE failed ..\\..\\verdane\\sources\\MultiViewAligner 390\n", testing::internal::GetCapturedStderr());
}

}  // namespace
