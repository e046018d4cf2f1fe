// Image files as the tool reads them: every format people bring, turned as
// their EXIF orientation says, and reduced while decoding exactly as far as
// the plug-in's intake would halve them, no further.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "plugin/intake_reduction.h"
#include "tool_test_support.h"
#include "tools/image_file.h"

namespace {

using namespace lacewright_tool;
using tool_test::rgba_image;

// A picture whose colour changes smoothly, with a red block in its top-left
// corner, so that a turn or a wrong channel shows.
rgba_image test_picture(int width, int height) {
  rgba_image picture{width, height, std::vector<uint8_t>(4 * static_cast<std::size_t>(width) * height)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t* p = &picture.rgba[4 * (static_cast<std::size_t>(y) * width + x)];
      const bool corner = x < width / 8 && y < height / 8;
      p[0] = corner ? 250 : static_cast<uint8_t>(40 + 150 * x / width);
      p[1] = corner ? 10 : static_cast<uint8_t>(60 + 120 * y / height);
      p[2] = corner ? 10 : 128;
      p[3] = 255;
    }
  }
  return picture;
}

// Red, green, blue of the read picture at a point given in pixels of the
// image at full size.
std::array<int, 3> colour_at(const image_file& file, double x, double y) {
  const point at = file.scale.to_reduced({x, y});
  const int column = static_cast<int>(std::lround(at[0])), row = static_cast<int>(std::lround(at[1]));
  const uint8_t* p = &file.picture.pixels[4 * (static_cast<std::size_t>(row) * file.picture.width + column)];
  return {p[1], p[2], p[3]};
}

class ImageFile : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("lacewright_image_file_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::string path(const std::string& name) const { return (folder_ / name).string(); }
  std::filesystem::path folder_;
};

void expect_colour_near(const std::array<int, 3>& expected, const std::array<int, 3>& actual, int tolerance) {
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(expected[c], actual[c], tolerance) << "channel " << c;
}

TEST_F(ImageFile, a_jpeg_that_intake_would_halve_is_decoded_at_the_reduced_size) {
  // 6000 x 4500: intake halves it three times, to 750 x 562, and the
  // decoder can reduce by 8 itself.
  tool_test::save_picture(path("large.jpg"), test_picture(6000, 4500), 1, "[Q=90]");
  const image_file file = read_image_file(path("large.jpg"));
  EXPECT_EQ(6000, file.width);
  EXPECT_EQ(4500, file.height);
  EXPECT_EQ(3, file.scale.level);
  EXPECT_EQ(750, file.picture.width);
  EXPECT_EQ(562, file.picture.height);
  expect_colour_near({250, 10, 10}, colour_at(file, 300, 300), 12);
  expect_colour_near({40 + 150 * 4000 / 6000, 60 + 120 * 3000 / 4500, 128}, colour_at(file, 4000, 3000), 6);
}

TEST_F(ImageFile, a_jpeg_beyond_the_decoders_reduction_leaves_the_rest_to_intake) {
  // Intake halves 13000 x 9000 four times; the decoder does three of them.
  tool_test::save_picture(path("huge.jpg"), test_picture(13000, 9000), 1, "[Q=80]");
  const image_file file = read_image_file(path("huge.jpg"));
  EXPECT_EQ(4, intake_halvings(13000, 9000));
  EXPECT_EQ(3, file.scale.level);
  EXPECT_EQ(1625, file.picture.width);
  EXPECT_EQ(1125, file.picture.height);
}

TEST_F(ImageFile, a_picture_that_intake_keeps_is_read_whole) {
  tool_test::save_picture(path("small.jpg"), test_picture(1000, 700), 1, "[Q=95]");
  const image_file file = read_image_file(path("small.jpg"));
  EXPECT_EQ(0, file.scale.level);
  EXPECT_EQ(1000, file.picture.width);
  EXPECT_EQ(700, file.picture.height);
}

TEST_F(ImageFile, exif_orientations_turn_the_picture_the_way_viewers_show_it) {
  const rgba_image shown = test_picture(1600, 1200);
  for (const int orientation : {3, 6, 8}) {
    SCOPED_TRACE(orientation);
    const std::string name = path("turned" + std::to_string(orientation) + ".jpg");
    tool_test::save_picture(name, shown, orientation, "[Q=92]");
    const image_file file = read_image_file(name);
    EXPECT_EQ(orientation, file.orientation);
    EXPECT_EQ(1600, file.width);
    EXPECT_EQ(1200, file.height);
    EXPECT_EQ(1, file.scale.level);
    EXPECT_EQ(800, file.picture.width);
    EXPECT_EQ(600, file.picture.height);
    expect_colour_near({250, 10, 10}, colour_at(file, 60, 60), 12);
    expect_colour_near({40 + 150 * 1200 / 1600, 60 + 120 * 900 / 1200, 128}, colour_at(file, 1200, 900), 6);
  }
}

TEST_F(ImageFile, every_format_reads_as_the_same_picture) {
  const rgba_image picture = test_picture(1700, 1300);
  for (const char* name : {"picture.png", "picture.tif", "picture16.tif", "picture.webp", "picture.heic"}) {
    SCOPED_TRACE(name);
    const std::string file_path = path(name);
    try {
      if (std::string(name) == "picture16.tif") {
        tool_test::save_picture_16_bits(file_path, picture);
      } else {
        tool_test::save_picture(file_path, picture, 1, std::string(name).ends_with(".webp") ? "[lossless]" : "");
      }
    } catch (const std::exception& error) {
      if (std::string(name).ends_with(".heic")) continue;  // no HEIF encoder in this libvips
      throw;
    }
    const image_file file = read_image_file(file_path);
    EXPECT_EQ(1700, file.width);
    EXPECT_EQ(1300, file.height);
    EXPECT_EQ(1, file.scale.level);
    EXPECT_EQ(850, file.picture.width);
    EXPECT_EQ(650, file.picture.height);
    expect_colour_near({250, 10, 10}, colour_at(file, 60, 60), 10);
    expect_colour_near({40 + 150 * 1000 / 1700, 60 + 120 * 700 / 1300, 128}, colour_at(file, 1000, 700), 4);
  }
}

TEST_F(ImageFile, a_sixteen_bit_tiff_keeps_its_tones) {
  // A 16-bit file is read at 8 bits: its top byte, not its bottom one.
  tool_test::save_picture_16_bits(path("deep.tif"), test_picture(64, 48));
  const image_file file = read_image_file(path("deep.tif"));
  expect_colour_near({40 + 150 * 40 / 64, 60 + 120 * 30 / 48, 128}, colour_at(file, 40, 30), 2);
}

TEST_F(ImageFile, files_that_are_no_images_name_themselves_and_the_cause) {
  std::ofstream(path("fake.jpg")) << "not an image";
  for (const std::string& name : {path("fake.jpg"), path("missing.png")}) {
    try {
      read_image_file(name);
      ADD_FAILURE() << name << " was read";
    } catch (const image_file_error& error) {
      const std::string message = error.what();
      EXPECT_EQ(0u, message.rfind("cannot read '" + name + "': ", 0)) << message;
      EXPECT_EQ(std::string::npos, message.find('\n')) << message;
    }
  }
}

TEST_F(ImageFile, a_truncated_jpeg_is_refused_rather_than_read_grey) {
  tool_test::save_picture(path("whole.jpg"), test_picture(800, 600), 1, "[Q=90]");
  std::ifstream in(path("whole.jpg"), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::ofstream(path("cut.jpg"), std::ios::binary) << bytes.substr(0, bytes.size() / 2);
  EXPECT_THROW(read_image_file(path("cut.jpg")), image_file_error);
}

}  // namespace
