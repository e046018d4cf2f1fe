// Image files as the tool reads them: every format people bring, turned as
// their EXIF orientation says, and reduced while decoding exactly as far as
// the plug-in's intake would halve them, no further.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "plugin/intake_reduction.h"
#include "tool_test_support.h"
#include "photographs/image_file.h"

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

class ImageFile : public tool_test::ToolTest {
 protected:
  std::string path(const std::string& name) const { return in_folder(name); }
};

void expect_colour_near(const std::array<int, 3>& expected, const std::array<int, 3>& actual, int tolerance) {
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(expected[c], actual[c], tolerance) << "channel " << c;
}

// The decoder reduces a JPEG by up to 8 itself; intake does the rest.
TEST_F(ImageFile, a_jpeg_is_decoded_as_far_reduced_as_intake_would_halve_it_up_to_eight_times) {
  const struct {
    int width, height;
    const char* options;
    int level, read_width, read_height;
  } cases[] = {
      {6000, 4500, "[Q=90]", 3, 750, 562},    // intake halves it three times
      {13000, 9000, "[Q=80]", 3, 1625, 1125},  // intake halves it four times
      {1000, 700, "[Q=95]", 0, 1000, 700},     // intake keeps it
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.width);
    tool_test::save_picture(path("picture.jpg"), test_picture(c.width, c.height), 1, c.options);
    const image_file file = read_image_file(path("picture.jpg"));
    EXPECT_EQ(c.width, file.width);
    EXPECT_EQ(c.height, file.height);
    EXPECT_EQ(c.level, file.scale.level);
    EXPECT_EQ(c.read_width, file.picture.width);
    EXPECT_EQ(c.read_height, file.picture.height);
    expect_colour_near({250, 10, 10}, colour_at(file, c.width / 16, c.height / 16), 12);
    const int x = c.width * 2 / 3, y = c.height * 2 / 3;
    expect_colour_near({40 + 150 * x / c.width, 60 + 120 * y / c.height, 128}, colour_at(file, x, y), 6);
  }
  EXPECT_EQ(4, intake_halvings(13000, 9000));
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
  // A 16-bit file is read at 8 bits: its top byte, not its bottom one.
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

TEST_F(ImageFile, a_truncated_jpeg_is_refused_rather_than_read_grey) {
  tool_test::save_picture(path("whole.jpg"), test_picture(800, 600), 1, "[Q=90]");
  std::ifstream in(path("whole.jpg"), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::ofstream(path("cut.jpg"), std::ios::binary) << bytes.substr(0, bytes.size() / 2);
  EXPECT_THROW(read_image_file(path("cut.jpg")), image_file_error);
}

}  // namespace
