// Hostile image sets through the plug-in's script functions and its direct
// entry: frames without structure, noise, stripes, a single sample, a
// single row, frames of different sizes, duplicates, and more images than
// one report holds. Each ends in a status code or in one of the exceptions
// that the engine lets through, never in a crash.
#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "photographs/default_scene.h"

namespace {

// One-byte samples, row after row.
struct grey_frame {
  uint32_t rows = 0;
  uint32_t columns = 0;
  std::vector<uint8_t> samples;
};

grey_frame constant(uint32_t rows, uint32_t columns, uint8_t level) {
  return {rows, columns, std::vector<uint8_t>(std::size_t{rows} * columns, level)};
}

grey_frame noise(uint32_t rows, uint32_t columns, unsigned seed) {
  grey_frame frame = constant(rows, columns, 0);
  std::mt19937 generator(seed);
  for (uint8_t& sample : frame.samples) sample = static_cast<uint8_t>(generator());
  return frame;
}

// Vertical black and white bars: every window along a row has many twins.
grey_frame stripes(uint32_t rows, uint32_t columns, uint32_t period) {
  grey_frame frame = constant(rows, columns, 0);
  for (std::size_t i = 0; i < frame.samples.size(); ++i) frame.samples[i] = (i % columns) / period % 2 ? 230 : 25;
  return frame;
}

// A view of the tool's synthetic scene, textured at every scale, from a
// camera of focal length 320 turned by `yaw_degrees`: views of one turn
// but different sizes share their centre and overlap for real.
grey_frame scene(uint32_t rows, uint32_t columns, double yaw_degrees) {
  lacewright_tool::turning_camera camera;
  camera.width = static_cast<int>(columns);
  camera.height = static_cast<int>(rows);
  camera.focal_length = 320.0;
  camera.yaw_degrees = yaw_degrees;
  const lacewright_tool::pixel_image view = lacewright_tool::render_scene_view(camera);
  grey_frame frame = constant(rows, columns, 0);
  for (std::size_t i = 0; i < frame.samples.size(); ++i) frame.samples[i] = view.pixels[4 * i + 2];  // green
  return frame;
}

std::string address_of(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
  return text;
}

class AdversarialImages : public testing::Test {
 protected:
  // The engine never seeds rand(); every case starts from one state so
  // that its pairs do not depend on the cases run before it.
  void SetUp() override { std::srand(1); }
  void TearDown() override { ClearImages(); }

  static int32_t add(const grey_frame& frame) {
    // A frame without samples still comes from a real address: 0 is refused.
    static const uint8_t no_samples = 0;
    // A row-byte count other than four a pixel means packed one-byte samples.
    const std::string address = address_of(frame.samples.empty() ? &no_samples : frame.samples.data());
    const ScriptValue arguments[5] = {{frame.rows, script_uint32, 0},
                                      {frame.columns, script_uint32, 0},
                                      {frame.columns, script_uint32, 0},
                                      {0, script_int32, 0},
                                      {reinterpret_cast<uintptr_t>(address.c_str()), script_text, 0}};
    ScriptValue result{};
    return addImage(arguments, 5, &result);
  }

  void add_all(const std::vector<grey_frame>& frames) {
    for (const grey_frame& frame : frames) ASSERT_EQ(status_ok, add(frame));
  }

  int32_t align(int32_t type) {
    const ScriptValue argument{static_cast<uint32_t>(type), script_int32, 0};
    ScriptValue result{};
    const int32_t status = alignImages(&argument, 1, &result);
    report_ = status == status_ok ? reinterpret_cast<const char*>(result.value) : "";
    return status;
  }

  // The report up to its overlap list, which holds measured values.
  std::string groups() const { return report_.substr(0, report_.find(", 'overlap'")); }

  // The numbers of the report's list `key` ("overlap" or "fl").
  std::vector<double> values_of(const std::string& key) const {
    std::vector<double> values;
    const char* next = report_.c_str() + report_.find("'" + key + "':[") + key.size() + 4;
    for (char* end = nullptr;; next = end + 1) {
      values.push_back(std::strtod(next, &end));
      if (*end != ',') break;
    }
    return values;
  }

  std::string report_;
};

template <class Exception>
void expect_exception(const std::function<void()>& call, const char* text) {
  try {
    call();
    ADD_FAILURE() << "no exception, expected \"" << text << "\"";
  } catch (const Exception& error) {
    EXPECT_STREQ(text, error.what());
  }
}


// The report's lists of `count` frames that each stand alone, up to its
// overlap list, under the pipeline of `type`.
std::string alone(int count, int type) {
  std::string sheets, flags, ones, types, links;
  for (int i = 0; i < count; ++i) {
    const std::string comma = i ? "," : "";
    sheets += comma + std::to_string(i);
    flags += comma + "false";
    ones += comma + "1";
    types += comma + (type == 1 ? "1" : "0");
    links += comma + "[1]";
  }
  return "({'sheetID':[" + sheets + "], 'renderable':[" + flags + "], 'groupCount':[" + ones + "], 'refSheetID':[" +
         sheets + "], 'transformType':[" + types + "], 'connectivity':[" + links + "]";
}

// Frames of one grey level (128 is balanced and kept as it is; 1 is dark
// and lifted to 127), noise, stripes, a single sample and a single row or
// column are kept, find no partner, and each is a group of its own.
TEST_F(AdversarialImages, frames_without_a_partner_stand_alone_under_both_pipelines) {
  const std::vector<std::vector<grey_frame>> sets = {
      {constant(40, 30, 128), constant(40, 30, 1)},
      {noise(200, 200, 1), noise(200, 200, 2), stripes(200, 200, 4), stripes(200, 200, 7)},
      {noise(1, 1, 3), noise(1, 1, 4), noise(1, 5000, 5), noise(5000, 1, 6), constant(1, 5000, 90)}};
  for (const auto& frames : sets) {
    std::srand(1);
    for (const int32_t type : {1, -1}) {
      SCOPED_TRACE(std::to_string(frames.size()) + " frames, type " + std::to_string(type));
      add_all(frames);
      ASSERT_EQ(status_ok, align(type));
      EXPECT_EQ(alone(static_cast<int>(frames.size()), type), groups());
    }
  }
  // The whole report: nothing overlaps and no focal length is known.
  std::srand(1);
  add_all(sets[2]);
  ASSERT_EQ(status_ok, align(1));
  EXPECT_EQ(alone(5, 1) + ", 'overlap':[0.00000,0.00000,0.00000,0.00000,0.00000], 'fl':[0.0,0.0,0.0,0.0,0.0]})",
            report_);
}

TEST_F(AdversarialImages, frames_of_different_sizes_and_a_duplicate_join_one_group) {
  const std::vector<grey_frame> frames = {scene(240, 320, 0), scene(150, 250, 0), scene(240, 320, 0),
                                          scene(240, 320, 10)};
  add_all(frames);
  ASSERT_EQ(status_ok, align(1));
  EXPECT_EQ(
      "({'sheetID':[0,1,2,3], 'renderable':[true,true,true,true], 'groupCount':[4], 'refSheetID':[0], "
      "'transformType':[1], 'connectivity':[[1,1,1,1],[1,1,1,1],[1,1,1,1],[1,1,1,1]]",
      groups());
  for (const double focal : values_of("fl")) EXPECT_NEAR(320.0, focal, 8.0);

  // A turn of 10 degrees is below the automatic request's 40: one plane.
  add_all(frames);
  ASSERT_EQ(status_ok, align(-1));
  EXPECT_EQ(
      "({'sheetID':[0,1,2,3], 'renderable':[true,true,true,true], 'groupCount':[4], 'refSheetID':[1], "
      "'transformType':[0], 'connectivity':[[1,1,1,1],[1,1,1,1],[1,1,1,1],[1,1,1,1]]",
      groups());
}

// addImage takes a frame of 0 rows; conditioning refuses it. The overlap
// list still pairs result position i with the caller's frame i, so the
// reference's transform, which has no offset, is measured on the empty
// frame: the cylindrical measure divides an area of 0 by an area of 0.
TEST_F(AdversarialImages, an_empty_frame_is_refused_but_still_measured_by_its_position) {
  add_all({constant(0, 0, 0), scene(240, 320, 0), scene(240, 320, 10)});
  ASSERT_EQ(status_ok, align(1));
  EXPECT_EQ(
      "({'sheetID':[1,2], 'renderable':[true,true], 'groupCount':[2], 'refSheetID':[1], 'transformType':[1], "
      "'connectivity':[[1,1],[1,1]]",
      groups());
  const std::vector<double> overlap = values_of("overlap");
  ASSERT_EQ(3u, overlap.size());
  EXPECT_TRUE(std::isnan(overlap[0]));
  EXPECT_EQ(1.0, overlap[1]);  // the reference's own transform: the same object as the base
  EXPECT_EQ(0.0, overlap[2]);  // beyond the renderable bits
}

TEST_F(AdversarialImages, a_report_holds_105_images_and_106_are_aligned_for_nothing) {
  std::vector<grey_frame> frames;
  for (unsigned i = 0; i < 106; ++i) frames.push_back(noise(8, 8, i));
  add_all(frames);
  EXPECT_EQ(status_no_memory, align(1));
  EXPECT_EQ(106u, imageList.size());  // kept for another try
  ClearImages();
  frames.pop_back();
  add_all(frames);
  ASSERT_EQ(status_ok, align(1));
  EXPECT_TRUE(imageList.empty());
}

// The same kinds of frames handed straight to MultiViewAlignMain, under
// every requested type: an unknown type is refused before any work, the
// two pipelines report every frame that conditioning keeps, and the other
// types leave the results empty.
TEST(AdversarialFrames, every_requested_type_ends_as_the_driver_prescribes) {
  std::srand(1);
  const std::vector<grey_frame> originals = {scene(240, 320, 0), constant(20, 30, 0),   noise(1, 1, 7),
                                             noise(1, 5000, 8),  stripes(64, 64, 3),    scene(150, 250, 0),
                                             scene(240, 320, 0), constant(9, 9, 255), scene(240, 320, 10)};
  for (int32_t type = -2; type <= 12; ++type) {
    std::vector<grey_frame> kinds = originals;  // conditioning rescales samples in place
    std::vector<AlignFrame> frames;
    for (grey_frame& kind : kinds) {
      AlignFrame frame;
      frame.pixels = kind.samples.data();
      frame.index = static_cast<int32_t>(frames.size());
      frame.width = frame.stride = static_cast<int32_t>(kind.columns);
      frame.height = static_cast<int32_t>(kind.rows);
      frames.push_back(frame);
    }
    MultiViewParams params;
    params.requested_type = type;
    if (type == -2 || type == 10 || type == 12) {
      expect_exception<std::invalid_argument>([&] { MultiViewAlignMain(&params, &frames); },
                                              "TransformationTypeToHomographyType(): unknown input type");
      continue;
    }
    ASSERT_NO_THROW(MultiViewAlignMain(&params, &frames)) << "type " << type;
    if (type != 1 && type != -1) {
      EXPECT_TRUE(params.sheetID.empty() && params.groupCount.empty()) << "type " << type;
      continue;
    }
    // The black and the white frame are dropped; the other seven are reported.
    std::vector<int32_t> reported = params.sheetID;
    std::sort(reported.begin(), reported.end());
    EXPECT_EQ((std::vector<int32_t>{0, 2, 3, 4, 5, 6, 8}), reported) << "type " << type;
    EXPECT_EQ(params.sheetID.size(), params.transforms.size());
  }
}

}  // namespace
