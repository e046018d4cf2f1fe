// Pixels of a picture as shown against the pixels its file stores: files
// written with each turning EXIF orientation, read back as stored, must hold
// every shown pixel where the conversion says.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tool_test_support.h"
#include "outputs/stored_pixels.h"

namespace {

using namespace lacewright_tool;
using tool_test::rgba_image;

// Red counts columns and green rows, so that every pixel tells its place.
rgba_image numbered_picture(int width, int height) {
  rgba_image picture{width, height, std::vector<uint8_t>(4 * static_cast<std::size_t>(width) * height)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t* p = &picture.rgba[4 * (static_cast<std::size_t>(y) * width + x)];
      p[0] = static_cast<uint8_t>(x);
      p[1] = static_cast<uint8_t>(y);
      p[2] = 7;
      p[3] = 255;
    }
  }
  return picture;
}

class StoredPixels : public tool_test::ToolTest {};

TEST_F(StoredPixels, every_shown_pixel_is_where_the_turned_file_stores_it) {
  constexpr int width = 60, height = 40;
  const rgba_image shown = numbered_picture(width, height);
  for (const int orientation : {1, 3, 6, 8}) {
    SCOPED_TRACE(orientation);
    const std::string path = in_folder("turned" + std::to_string(orientation) + ".tif");
    tool_test::save_picture(path, shown, orientation);
    const rgba_image stored = tool_test::read_rgba(path);  // as stored: no turn applied
    const input_image image{path, width, height, orientation, {}};
    const point size = stored_size(image);
    ASSERT_EQ(stored.width, size[0]);
    ASSERT_EQ(stored.height, size[1]);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const point at = to_stored(image, {static_cast<double>(x), static_cast<double>(y)});
        const long column = std::lround(at[0]), row = std::lround(at[1]);
        ASSERT_DOUBLE_EQ(static_cast<double>(column), at[0]);
        ASSERT_DOUBLE_EQ(static_cast<double>(row), at[1]);
        const uint8_t* p = &stored.rgba[4 * (static_cast<std::size_t>(row) * stored.width + column)];
        ASSERT_EQ(x, p[0]) << "shown pixel " << x << ", " << y;
        ASSERT_EQ(y, p[1]) << "shown pixel " << x << ", " << y;
      }
    }
  }
}

TEST(StoredTurn, adds_the_turn_that_shows_the_file_to_the_roll) {
  EXPECT_EQ(0.0, stored_turn_of(1).roll);
  EXPECT_EQ(180.0, stored_turn_of(3).roll);
  EXPECT_EQ(90.0, stored_turn_of(6).roll);
  EXPECT_EQ(-90.0, stored_turn_of(8).roll);
  EXPECT_FALSE(stored_turn_of(3).swaps_sides());
  EXPECT_TRUE(stored_turn_of(6).swaps_sides());
  EXPECT_TRUE(stored_turn_of(8).swaps_sides());
  // A mirrored file is written as shown.
  EXPECT_EQ((point{5, -2}), stored_turn_of(2).offset({5, -2}));
}

}  // namespace
