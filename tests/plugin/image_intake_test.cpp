// addImage: argument checks, the four-byte and one-byte layouts with each
// rotation, the grey conversion and reduction at intake.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "records/grey_from_pixel.h"
#include "script_arguments.h"

namespace {

using namespace test_support;

class ImageIntake : public testing::Test {
 protected:
  void SetUp() override { ClearImages(); }
  void TearDown() override { ClearImages(); }

  int32_t add(uint32_t rows, uint32_t columns, uint32_t row_bytes, int32_t rotation,
              const std::string& address, int32_t count = 5) {
    const ScriptValue arguments[5] = {unsigned_argument(rows), unsigned_argument(columns),
                                      unsigned_argument(row_bytes), signed_argument(rotation),
                                      text_argument(address.c_str())};
    result = stale_result();
    return addImage(arguments, count, &result);
  }

  std::vector<uint8_t> samples(const AlignFrame& frame) const {
    return {frame.pixels, frame.pixels + static_cast<std::size_t>(frame.stride) * frame.height};
  }

  ScriptValue result{};
};

// A 2-row, 3-column four-byte image with the grey rows 20 32 40 / 50 64 72
// (levels whose three equal bytes convert without truncation loss).
std::vector<uint8_t> labelled_image() {
  std::vector<uint8_t> pixels;
  for (const uint8_t grey : {20, 32, 40, 50, 64, 72}) pixels.insert(pixels.end(), {0xEE, grey, grey, grey});
  return pixels;
}

TEST(GreyFromPixel, weights_the_last_three_bytes_in_single_precision_and_truncates) {
  const uint8_t white[4] = {0, 255, 255, 255};
  const uint8_t seven[4] = {255, 7, 7, 7};  // 6.9999995 in floats
  const uint8_t mixed[4] = {9, 200, 100, 50};
  const uint8_t blue[4] = {255, 0, 0, 1};
  EXPECT_EQ(255, GreyFromPixel(white));
  EXPECT_EQ(6, GreyFromPixel(seven));
  EXPECT_EQ(124, GreyFromPixel(mixed));  // 124.5
  EXPECT_EQ(0, GreyFromPixel(blue));
}

// 180 degrees keeps the orientation too; a turn the conversion does not
// know leaves the frame unwritten but accepted.
TEST_F(ImageIntake, four_byte_pixels_turn_by_a_quarter_either_way_and_keep_their_orientation_otherwise) {
  const std::vector<uint8_t> image = labelled_image();
  const struct {
    int32_t rotation;
    std::string address;
    int32_t width, height;
    std::vector<uint8_t> samples;  // none for an unwritten frame
  } cases[] = {
      {0, hexadecimal_address(image.data()), 3, 2, {20, 32, 40, 50, 64, 72}},
      {180, decimal_address(image.data()), 3, 2, {20, 32, 40, 50, 64, 72}},
      {90, hexadecimal_address(image.data()), 2, 3, {50, 20, 64, 32, 72, 40}},
      {-90, hexadecimal_address(image.data()), 2, 3, {40, 72, 32, 64, 20, 50}},
      {45, hexadecimal_address(image.data()), 3, 2, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rotation);
    ASSERT_EQ(status_ok, add(2, 3, 12, c.rotation, c.address));
    const AlignFrame& frame = imageList.back();
    EXPECT_EQ(static_cast<int32_t>(imageList.size()) - 1, frame.index);
    EXPECT_EQ(c.width, frame.width);
    EXPECT_EQ(c.height, frame.height);
    EXPECT_EQ(c.width, frame.stride);
    EXPECT_NE(nullptr, frame.pixels);
    if (!c.samples.empty()) {
      EXPECT_EQ(c.samples, samples(frame));
    }
    EXPECT_EQ(script_none, result.type);
    EXPECT_EQ(0u, result.value);
    EXPECT_EQ(untouched, result.reserved);
  }
}

TEST_F(ImageIntake, one_byte_pixels_are_copied_as_they_are_whatever_the_rotation) {
  const std::vector<uint8_t> image = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(status_ok, add(2, 3, 3, 0, hexadecimal_address(image.data())));
  ASSERT_EQ(status_ok, add(2, 3, 5, 90, hexadecimal_address(image.data())));
  const std::vector<uint8_t> first_six = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(first_six, samples(imageList[0]));
  EXPECT_EQ(first_six, samples(imageList[1]));
  EXPECT_EQ(3, imageList[0].width);
  EXPECT_EQ(2, imageList[1].width);  // the sizes still swap
  EXPECT_EQ(3, imageList[1].height);
}

TEST_F(ImageIntake, bad_arguments_are_answered_by_status_and_leave_the_list_alone) {
  const std::vector<uint8_t> image(64, 9);
  const std::string address = hexadecimal_address(image.data());
  EXPECT_EQ(status_argument_count, add(2, 2, 2, 0, address, 4));
  EXPECT_EQ(status_argument_type, add(2, 2, 2, 0, "0x"));
  EXPECT_EQ(status_argument_type, add(2, 2, 2, 0, "zzz"));

  ScriptValue arguments[5] = {unsigned_argument(2), unsigned_argument(2), unsigned_argument(2),
                              signed_argument(0), text_argument(address.c_str())};
  for (int wrong = 0; wrong < 5; ++wrong) {
    ScriptValue swapped[5] = {arguments[0], arguments[1], arguments[2], arguments[3], arguments[4]};
    swapped[wrong].type = wrong == 3 ? script_uint32 : script_int32;
    ScriptValue answer = stale_result();
    EXPECT_EQ(status_argument_type, addImage(swapped, 5, &answer)) << "argument " << wrong;
    EXPECT_EQ(script_none, answer.type);
    EXPECT_EQ(0u, answer.value);
  }
  EXPECT_TRUE(imageList.empty());
}

TEST_F(ImageIntake, sizes_whose_product_does_not_fit_32_bits_are_refused_as_out_of_memory) {
  const std::vector<uint8_t> image(16, 0);
  EXPECT_EQ(status_no_memory, add(65536, 65537, 7, 0, hexadecimal_address(image.data())));
  EXPECT_EQ(status_no_memory, add(46341, 46341, 7, 0, hexadecimal_address(image.data())));
  EXPECT_TRUE(imageList.empty());
}

struct shrink_case {
  uint32_t rows, columns;
  int32_t height, width;
};

TEST_F(ImageIntake, frames_are_halved_while_both_sides_exceed_760) {
  const shrink_case cases[] = {
      {700, 1000, 700, 1000},  // one side is below the limit
      {1600, 1600, 400, 400},  // 800 is still above it
      {1601, 1603, 400, 400},  // 800 x 801, then 400 x 400
      {761, 5000, 380, 2500},
      {760, 5000, 760, 5000},
  };
  for (const shrink_case& c : cases) {
    std::vector<uint8_t> image(static_cast<std::size_t>(c.rows) * c.columns, 128);
    ClearImages();
    ASSERT_EQ(status_ok, add(c.rows, c.columns, c.columns, 0, hexadecimal_address(image.data())));
    EXPECT_EQ(c.height, imageList[0].height) << c.rows << " x " << c.columns;
    EXPECT_EQ(c.width, imageList[0].width) << c.rows << " x " << c.columns;
    EXPECT_EQ(c.width, imageList[0].stride);
  }
}

}  // namespace
