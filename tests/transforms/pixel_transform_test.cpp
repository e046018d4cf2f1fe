// The base of the transform family, and the kinds that keep its texts: the
// kind each carries, what it says on the debug channel, and the offset it
// does not have.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "debug_capture.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/spherical_transform.h"

namespace {

std::unique_ptr<PixelTransform> fitted_lens() {
  const double matrix[9] = {1.5, 0.0, 10.25, 0.0, 1.5, -3.125, 0.001, 0.0, 1.0};
  const double size[2] = {480.0, 640.0}, center[2] = {321.5, 239.25}, coefficients[2] = {-0.125, 0.0625};
  return std::make_unique<DistortRd2Transform>(matrix, size, center, coefficients);
}

TEST(PixelTransform, every_kind_but_the_measured_ones_prints_its_record_and_has_no_offset) {
  struct text_case {
    const char* name;
    std::function<std::unique_ptr<PixelTransform>()> make;
    int32_t kind;
    const char *debug_text, *offset_text;
  };
  const text_case cases[] = {
      {"base", [] { return std::make_unique<PixelTransform>(); }, 14, "No debug print\n",
       "Transform kind: 14 has no getOffset\n"},
      {"spherical", [] { return std::make_unique<SphericalTransform>(); }, 14, "No debug print\n",
       "Transform kind: 14 has no getOffset\n"},
      {"spherical fisheye", [] { return std::make_unique<SphericalFisheyeTransform>(); }, 14, "No debug print\n",
       "Transform kind: 14 has no getOffset\n"},
      {"planar with lens values", fitted_lens, 11,
       "rd2_mat = [1.500 0.000 10.250; 0.000 1.500 -3.125; 0.001 0.000 1.000];\n"
       "rd2_xform = [ 480.000 640.000;  321.500 239.25000; -0.12500 0.06250];\n",
       "Transform kind: 11 has no getOffset\n"},
  };
  for (const text_case& c : cases) {
    SCOPED_TRACE(c.name);
    std::unique_ptr<PixelTransform> transform = c.make();
    EXPECT_EQ(c.kind, transform->kind);
    transform->debugPrint();  // lost without a listener, and no failure
    {
      debug_capture capture;
      transform->debugPrint();
      double first = 7.0, second = 8.0;
      testing::internal::CaptureStdout();
      transform->getOffset(&first, &second);
      EXPECT_EQ(c.offset_text, testing::internal::GetCapturedStdout());
      EXPECT_EQ(7.0, first);
      EXPECT_EQ(8.0, second);
      transform.reset();  // says nothing on its way out
      EXPECT_EQ(c.debug_text, capture.text());
    }
  }
}

}  // namespace
