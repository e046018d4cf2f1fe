// The tool's own pieces: EXIF turns, folder listing, the command line, the
// rotation angles of its Hugin projects and its all-or-nothing outputs.
#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tools/command_line.h"
#include "tools/exif_orientation.h"
#include "tools/hugin_project.h"
#include "tools/image_file.h"
#include "tools/image_inputs.h"
#include "tools/output_files.h"
#include "transforms/square_to_quad.h"

namespace {

using namespace lacewright_tool;

// A 3 x 2 image whose pixels are numbered 0 to 5 in their first byte.
pixel_image numbered_image() {
  pixel_image image;
  image.width = 3;
  image.height = 2;
  image.pixels.assign(24, 0);
  for (int i = 0; i < 6; ++i) image.pixels[4 * i] = static_cast<uint8_t>(i);
  return image;
}

int at(const pixel_image& image, int x, int y) { return image.pixels[4 * (y * image.width + x)]; }

// An APP1 block with one orientation entry, in either byte order.
std::vector<uint8_t> exif_block(int orientation, bool big_endian) {
  const auto u16 = [&](std::vector<uint8_t>& out, int v) {
    if (big_endian) out.insert(out.end(), {uint8_t(v >> 8), uint8_t(v)});
    else out.insert(out.end(), {uint8_t(v), uint8_t(v >> 8)});
  };
  std::vector<uint8_t> tiff = big_endian ? std::vector<uint8_t>{'M', 'M'} : std::vector<uint8_t>{'I', 'I'};
  u16(tiff, 42);
  u16(tiff, big_endian ? 0 : 8);
  u16(tiff, big_endian ? 8 : 0);
  u16(tiff, 1);                 // one entry
  u16(tiff, 0x0112);            // orientation
  u16(tiff, 3);                 // short
  u16(tiff, big_endian ? 0 : 1);
  u16(tiff, big_endian ? 1 : 0);
  u16(tiff, orientation);
  u16(tiff, 0);
  std::vector<uint8_t> block = {0xFF, 0xE1};
  const std::size_t length = 2 + 6 + tiff.size();
  block.insert(block.end(), {uint8_t(length >> 8), uint8_t(length)});
  block.insert(block.end(), {'E', 'x', 'i', 'f', 0, 0});
  block.insert(block.end(), tiff.begin(), tiff.end());
  return block;
}

std::vector<uint8_t> jpeg_of(int width, int height, int orientation, bool big_endian) {
  std::vector<uint8_t> plain;
  const std::vector<uint8_t> samples(static_cast<std::size_t>(width) * height * 3, 128);
  stbi_write_jpg_to_func([](void* context, void* data, int size) {
    auto* out = static_cast<std::vector<uint8_t>*>(context);
    out->insert(out->end(), static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
  }, &plain, width, height, 3, samples.data(), 90);
  std::vector<uint8_t> file(plain.begin(), plain.begin() + 2);
  const std::vector<uint8_t> block = exif_block(orientation, big_endian);
  file.insert(file.end(), block.begin(), block.end());
  file.insert(file.end(), plain.begin() + 2, plain.end());
  return file;
}

TEST(ExifOrientation, is_read_in_both_byte_orders_and_is_1_for_anything_else) {
  EXPECT_EQ(6, exif_orientation(jpeg_of(8, 4, 6, false)));
  EXPECT_EQ(8, exif_orientation(jpeg_of(8, 4, 8, true)));
  EXPECT_EQ(1, exif_orientation(jpeg_of(8, 4, 9, false)));
  std::vector<uint8_t> cut = jpeg_of(8, 4, 6, false);
  cut.resize(20);
  EXPECT_EQ(1, exif_orientation(cut));
  EXPECT_EQ(1, exif_orientation(std::vector<uint8_t>{0x89, 'P', 'N', 'G'}));
}

TEST(ExifOrientation, turns_the_picture_the_way_viewers_show_it) {
  const pixel_image image = numbered_image();
  // Where the source's top-left pixel (0) is shown, and the shown size.
  const std::array<std::array<int, 4>, 9> expected = {{
      {0, 0, 0, 0}, {0, 0, 3, 2}, {2, 0, 3, 2}, {2, 1, 3, 2}, {0, 1, 3, 2},
      {0, 0, 2, 3}, {1, 0, 2, 3}, {1, 2, 2, 3}, {0, 2, 2, 3}}};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(orientation);
    const pixel_image shown = oriented(image, orientation);
    ASSERT_EQ(expected[orientation][2], shown.width);
    ASSERT_EQ(expected[orientation][3], shown.height);
    EXPECT_EQ(0, at(shown, expected[orientation][0], expected[orientation][1]));
    // Each turn is undone by its inverse: 6 and 8 undo each other, the
    // others themselves.
    const int inverse = orientation == 6 ? 8 : orientation == 8 ? 6 : orientation;
    EXPECT_EQ(image.pixels, oriented(shown, inverse).pixels);
  }
}

TEST(ExifOrientation, a_turned_jpeg_is_read_with_its_sides_swapped) {
  const auto path = std::filesystem::temp_directory_path() / ("lacewright_exif_" + std::to_string(::getpid()) + ".jpg");
  const std::vector<uint8_t> bytes = jpeg_of(8, 4, 6, false);
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const pixel_image image = read_image_file(path.string());
  std::filesystem::remove(path);
  EXPECT_EQ(4, image.width);
  EXPECT_EQ(8, image.height);
  EXPECT_EQ(6, image.orientation);
}

TEST(ImageInputs, folders_give_their_image_files_in_name_order_and_files_stay_as_given) {
  const auto folder = std::filesystem::temp_directory_path() / ("lacewright_inputs_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder / "sub.jpg");
  for (const char* name : {"b.png", "a.JPG", "c.txt", "a2.jpeg"}) std::ofstream(folder / name) << "x";
  const std::vector<std::string> files = expand_inputs({(folder / "c.txt").string(), folder.string()});
  EXPECT_EQ((std::vector<std::string>{(folder / "c.txt").string(), (folder / "a.JPG").string(),
                                      (folder / "a2.jpeg").string(), (folder / "b.png").string()}),
            files);
  try {
    expand_inputs({(folder / "nothing.png").string()});
    ADD_FAILURE() << "a missing file was accepted";
  } catch (const tool_error& error) {
    EXPECT_EQ(exit_unreadable_input, error.code);
  }
  std::filesystem::remove_all(folder);
}

TEST(CommandLine, reads_options_in_both_spellings_and_refuses_mistakes) {
  const options parsed = parse_command_line(
      {"align", "--type=-1", "--json", "a.json", "--preview=p.png", "--pto", "x.pto", "--quiet", "--", "--odd.jpg"});
  EXPECT_EQ(-1, parsed.type);
  EXPECT_EQ("a.json", parsed.json_path);
  EXPECT_EQ("p.png", parsed.preview_path);
  EXPECT_EQ("x.pto", parsed.pto_path);
  EXPECT_TRUE(parsed.quiet);
  EXPECT_EQ(std::vector<std::string>{"--odd.jpg"}, parsed.inputs);
  const auto code_of = [](std::vector<std::string> arguments) {
    try {
      parse_command_line(arguments);
    } catch (const tool_error& error) {
      return error.code;
    }
    return exit_success;
  };
  EXPECT_EQ(exit_unknown_type, code_of({"--type", "2"}));
  EXPECT_EQ(exit_unknown_type, code_of({"--type", "-2"}));
  EXPECT_EQ(exit_usage, code_of({"--json"}));
  EXPECT_EQ(exit_usage, code_of({"--preview-size", "8"}));
  EXPECT_EQ(exit_success, code_of({"--type", "6"}));
}

TEST(HuginAngles, follow_the_panorama_conventions_and_round_trip) {
  // Yaw looks right (+x), pitch looks up (-y, rows grow downwards).
  const auto yawed = rotation_of({30, 0, 0});
  EXPECT_NEAR(std::sin(M_PI / 6), yawed[2], 1e-12);
  const auto pitched = rotation_of({0, 30, 0});
  EXPECT_NEAR(-std::sin(M_PI / 6), pitched[5], 1e-12);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> turn(-179.0, 179.0), tilt(-85.0, 85.0);
  for (int trial = 0; trial < 200; ++trial) {
    const std::array<double, 3> angles = {turn(random), tilt(random), turn(random)};
    const std::array<double, 3> back = yaw_pitch_roll(rotation_of(angles));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(angles[k], back[k], 1e-9);
  }
}

TEST(SquareToQuad, its_matrix_is_the_same_map) {
  const double quad[8] = {10, 5, 110, 20, 95, 140, -4, 120};
  const square_to_quad map(quad);
  const std::array<double, 9> m = map.matrix();
  for (const auto& [u, v] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.3, 0.7}}) {
    const auto expected = map(u, v);
    const double w = m[6] * u + m[7] * v + m[8];
    EXPECT_NEAR(expected[0], (m[0] * u + m[1] * v + m[2]) / w, 1e-9);
    EXPECT_NEAR(expected[1], (m[3] * u + m[4] * v + m[5]) / w, 1e-9);
  }
}

TEST(OutputFiles, are_all_written_or_none) {
  const auto folder = std::filesystem::temp_directory_path() / ("lacewright_outputs_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  {
    output_files outputs;
    outputs.stage_text((folder / "a.txt").string(), "first");
    EXPECT_THROW(outputs.stage_text((folder / "missing" / "b.txt").string(), "second"), tool_error);
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  output_files outputs;
  outputs.stage_text((folder / "a.txt").string(), "first");
  outputs.commit();
  std::ifstream in(folder / "a.txt");
  std::string text;
  in >> text;
  EXPECT_EQ("first", text);
  std::filesystem::remove_all(folder);
}

}  // namespace
