// Frames of different sizes: the driver hands the group stages one
// rectangle per frame, the first frame's, and every transform is built on
// it, whatever the frame's own size.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "photographs.h"
#include "plugin/alignment_report.h"
#include "plugin/lacewright.h"
#include "transforms/compute_overlap.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_transform.h"
#include "turning_views.h"

namespace {

using namespace test_support;

// The columns [0, width) of every row.
grey_image cropped(const grey_image& image, int width) {
  grey_image narrow{width, image.height, {}};
  for (int y = 0; y < image.height; ++y) {
    const auto row = image.samples.begin() + static_cast<std::ptrdiff_t>(y) * image.width;
    narrow.samples.insert(narrow.samples.end(), row, row + width);
  }
  return narrow;
}

// Three views 20 degrees apart, each 40 degrees wide, so that the middle one
// links the other two and is the reference; the first is cut to 300 of its
// 360 columns.
std::vector<grey_image> views_of_different_sizes() {
  const auto paths = photograph_set("uttower");
  turning_views views = render_turning_views(read_grey(paths[0]), 600.0, 500.0, 360, 270,
                                             {{0.5, -20.0, 0.0}, {0.0, 0.0, 0.5}, {-0.5, 20.0, 0.0}});
  views.images[0] = cropped(views.images[0], 300);
  return views.images;
}

struct aligned_run {
  std::vector<grey_image> images = views_of_different_sizes();
  std::vector<AlignFrame> frames;
  MultiViewParams params;
  std::string report;

  explicit aligned_run(int32_t type) {
    for (grey_image& image : images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
    params.requested_type = type;
    MultiViewAlignMain(&params, &frames);
    std::vector<char> text(report_capacity);
    if (write_alignment_report(params, frames, text)) report = text.data();
  }

  // The "overlap" entry as the measure gives it for each frame as the
  // caller gave it: its own size is the source the transform is measured on.
  std::string measured_overlaps() {
    PixelTransform* const base = params.transforms[static_cast<std::size_t>(params.refSheetID[0])].get();
    std::string list = "'overlap':[";
    for (std::size_t i = 0; i < frames.size(); ++i) {
      char value[16];
      std::snprintf(value, sizeof value, "%6.5f%s", ComputeOverlap(base, params.transforms[i].get(), &frames[i]),
                    i + 1 < frames.size() ? "," : "]");
      list += value;
    }
    return list;
  }
};

constexpr FrameRect first_rect{0, 0, 270, 300};

TEST(FramesOfDifferentSizes, a_rotation_group_is_placed_on_the_first_frames_rectangle) {
  if (photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  aligned_run run(1);
  ASSERT_EQ(std::vector<int32_t>{3}, run.params.groupCount);
  ASSERT_EQ(std::vector<int32_t>{1}, run.params.refSheetID);  // a reference of its own size
  for (const auto& transform : run.params.transforms) {
    const auto* cylinder = dynamic_cast<const CylindricalTransform*>(transform.get());
    ASSERT_NE(nullptr, cylinder);
    // The middle of the first frame's rectangle, not the reference's own.
    EXPECT_EQ((first_rect.left + first_rect.right) / 2.0, cylinder->pixel_shift[0]);
    EXPECT_EQ((first_rect.top + first_rect.bottom) / 2.0, cylinder->pixel_shift[1]);
  }
  EXPECT_NE(std::string::npos, run.report.find(run.measured_overlaps())) << run.report;
}

TEST(FramesOfDifferentSizes, a_planar_group_maps_the_first_frames_rectangle_of_every_frame) {
  if (photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  aligned_run run(-1);
  ASSERT_EQ(std::vector<int32_t>{3}, run.params.groupCount);
  ASSERT_EQ(std::vector<int32_t>{0}, run.params.transformType);
  ASSERT_EQ(std::vector<int32_t>{1}, run.params.refSheetID);
  std::size_t placed = 0;
  for (std::size_t k = 0; k < run.params.transforms.size(); ++k) {
    const auto* planar = dynamic_cast<const DistortTransform*>(run.params.transforms[k].get());
    if (!planar) continue;  // the reference
    ++placed;
    EXPECT_EQ(first_rect.bottom, planar->rect[2]) << k;
    EXPECT_EQ(first_rect.right, planar->rect[3]) << k;
  }
  EXPECT_EQ(2u, placed);
  EXPECT_NE(std::string::npos, run.report.find(run.measured_overlaps())) << run.report;
}

}  // namespace
