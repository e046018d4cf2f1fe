// The units between a reduced copy and the image as given, and the image
// files a folder stands for.
#include <gtest/gtest.h>

#include <lacewright/errors.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "photographs/frame_scale.h"
#include "photographs/image_inputs.h"

namespace {

using namespace lacewright_tool;

// A homogeneous 3 x 3 map applied to a point.
point mapped_by(const matrix3& m, point p) {
  const double w = m[6] * p[0] + m[7] * p[1] + m[8];
  return {(m[0] * p[0] + m[1] * p[1] + m[2]) / w, (m[3] * p[0] + m[4] * p[1] + m[5]) / w};
}

TEST(FrameScale, puts_a_reduced_sample_at_the_middle_of_its_block) {
  const frame_scale scale{2};  // samples are means of 4 x 4 blocks
  EXPECT_EQ(4.0, scale.factor());
  EXPECT_EQ((point{1.5, 1.5}), scale.to_given({0, 0}));
  EXPECT_EQ((point{5.5, 9.5}), scale.to_given({1, 2}));
  // The centre of a 600 x 450 frame is the centre of the 2400 x 1800 image.
  EXPECT_EQ((point{1199.5, 899.5}), scale.to_given({299.5, 224.5}));
  EXPECT_EQ(2000.0, scale.length_to_given(500.0));
  const point p{123.25, -7.5};
  const point back = scale.to_reduced(scale.to_given(p));
  EXPECT_DOUBLE_EQ(p[0], back[0]);
  EXPECT_DOUBLE_EQ(p[1], back[1]);
  const point mapped = mapped_by(scale.to_given_map(), p);
  EXPECT_DOUBLE_EQ(scale.to_given(p)[0], mapped[0]);
  EXPECT_DOUBLE_EQ(scale.to_given(p)[1], mapped[1]);
  const point returned = mapped_by(scale.to_reduced_map(), mapped);
  EXPECT_DOUBLE_EQ(p[0], returned[0]);
  EXPECT_DOUBLE_EQ(p[1], returned[1]);
}

TEST(FrameScale, is_found_from_the_sizes_that_truncating_halvings_leave) {
  EXPECT_EQ(0, frame_scale::between(640, 480, 640, 480).level);
  EXPECT_EQ(1, frame_scale::between(1620, 1080, 810, 540).level);
  EXPECT_EQ(3, frame_scale::between(6000, 4500, 750, 562).level);
  EXPECT_EQ(2, frame_scale::between(1601, 1603, 400, 400).level);
  EXPECT_THROW(frame_scale::between(6000, 4500, 750, 563), std::invalid_argument);
  EXPECT_THROW(frame_scale::between(640, 480, 480, 640), std::invalid_argument);
}

TEST(ImageInputs, folders_give_their_image_files_in_name_order_and_files_stay_as_given) {
  const auto folder = std::filesystem::temp_directory_path() / ("lacewright_inputs_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder / "sub.jpg");
  for (const char* name : {"b.png", "a.JPG", "c.txt", "a2.jpeg"}) std::ofstream(folder / name) << "x";
  const std::vector<std::string> files = expand_inputs({(folder / "c.txt").string(), folder.string()});
  EXPECT_EQ((std::vector<std::string>{(folder / "c.txt").string(), (folder / "a.JPG").string(),
                                      (folder / "a2.jpeg").string(), (folder / "b.png").string()}),
            files);
  EXPECT_THROW(expand_inputs({(folder / "nothing.png").string()}), lacewright::unreadable_input_error);
  std::filesystem::remove_all(folder);
}

}  // namespace
