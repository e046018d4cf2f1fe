// The plug-in as the host loads it: every call goes into the shared library
// through its exported names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin/lacewright.h"
#include "script_arguments.h"

namespace {

using namespace test_support;

// The host performs the handshake once before any script call.
class handshake : public testing::Environment {
 public:
  void SetUp() override {
    const ScriptValue folder = text_argument("/test/plugins");
    ASSERT_NE(nullptr, ScrivelInitialize(&folder, 1));
  }
  void TearDown() override { ScrivelTerminate(); }
};
[[maybe_unused]] testing::Environment* const environment = testing::AddGlobalTestEnvironment(new handshake);

template <class Exception, class Call>
void expect_thrown(Call call, const char* message) {
  try {
    call();
    ADD_FAILURE() << "no exception";
  } catch (const Exception& error) {
    EXPECT_STREQ(message, error.what());
  }
}

class Plugin : public testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }

  static void reset() {
    ScriptValue result{};
    ASSERT_EQ(status_ok, resetImages(nullptr, 0, &result));
  }

  // Adds a one-byte-per-pixel image of noise, or of one grey `level`; the
  // buffers outlive the calls.
  int32_t add_noise_image(uint32_t rows, uint32_t columns, int level = -1) {
    images_.emplace_back(static_cast<std::size_t>(rows) * columns);
    std::mt19937 generator(static_cast<unsigned>(images_.size()));
    for (uint8_t& sample : images_.back()) sample = static_cast<uint8_t>(level < 0 ? generator() % 200 + 30 : level);
    const std::string address = hexadecimal_address(images_.back().data());
    const ScriptValue arguments[5] = {unsigned_argument(rows), unsigned_argument(columns),
                                      unsigned_argument(columns), signed_argument(0),
                                      text_argument(address.c_str())};
    ScriptValue result = stale_result();
    return addImage(arguments, 5, &result);
  }

  int32_t align(const ScriptValue* arguments, int32_t count) {
    result_ = stale_result();
    return alignImages(arguments, count, &result_);
  }

  int32_t align_type(int32_t type) {
    const ScriptValue argument = signed_argument(type);
    return align(&argument, 1);
  }

  std::string report() const { return reinterpret_cast<const char*>(result_.value); }

  ScriptValue result_{};
  std::vector<std::vector<uint8_t>> images_;
};

TEST_F(Plugin, align_and_reset_check_their_arguments_and_the_image_count) {
  const ScriptValue text = text_argument("1");
  const ScriptValue two[2] = {signed_argument(1), signed_argument(1)};
  EXPECT_EQ(status_argument_count, align(two, 2));
  EXPECT_EQ(status_too_few_images, align(nullptr, 0));
  ASSERT_EQ(status_ok, add_noise_image(16, 16));
  EXPECT_EQ(status_too_few_images, align(nullptr, 0));
  ASSERT_EQ(status_ok, add_noise_image(16, 16));
  EXPECT_EQ(status_argument_type, align(&text, 1));
  EXPECT_EQ(script_none, result_.type);
  EXPECT_EQ(0u, result_.value);
  EXPECT_EQ(untouched, result_.reserved);
  const ScriptValue stray = signed_argument(0);
  ScriptValue result = stale_result();
  EXPECT_EQ(status_argument_count, resetImages(&stray, 1, &result));

  // The failed calls kept both images: a run without a pipeline reports them.
  ASSERT_EQ(status_ok, align_type(0));
  EXPECT_EQ(script_source, result_.type);
  EXPECT_EQ(
      "({'sheetID':], 'renderable':], 'groupCount':], 'refSheetID':], 'transformType':], "
      "'connectivity':[], 'overlap':[0.00000,0.00000], 'fl':[]})",
      report());
  // A successful run uses the list up.
  EXPECT_EQ(status_too_few_images, align_type(0));
}

TEST_F(Plugin, engine_exceptions_pass_through_and_keep_the_images) {
  ASSERT_EQ(status_ok, add_noise_image(16, 16));
  ASSERT_EQ(status_ok, add_noise_image(16, 16));
  expect_thrown<std::invalid_argument>([&] { align_type(12); },
                                       "TransformationTypeToHomographyType(): unknown input type");
  EXPECT_EQ(status_ok, align_type(5));
}

TEST_F(Plugin, too_few_usable_frames_end_the_default_request_in_a_length_error) {
  ASSERT_EQ(status_ok, add_noise_image(8, 8, 255));
  ASSERT_EQ(status_ok, add_noise_image(8, 8, 255));
  expect_thrown<std::length_error>([&] { align(nullptr, 0); }, "vector<T> too long");
  EXPECT_EQ(status_ok, align_type(0));  // the images were kept
}

TEST_F(Plugin, a_report_holds_at_most_105_images_and_a_refused_one_keeps_them) {
  for (int i = 0; i < 106; ++i) ASSERT_EQ(status_ok, add_noise_image(8, 8));
  EXPECT_EQ(status_no_memory, align_type(0));
  EXPECT_EQ(script_none, result_.type);
  EXPECT_EQ(status_no_memory, align_type(0));  // all 106 are still there

  reset();
  for (int i = 0; i < 105; ++i) ASSERT_EQ(status_ok, add_noise_image(8, 8));
  ASSERT_EQ(status_ok, align_type(0));
  const std::string text = report();
  EXPECT_EQ(105, std::count(text.begin(), text.end(), '.'));  // one "0.00000" per image
}

// ---- The direct entries

// Frames that own their samples for the test's lifetime.
struct frame_set {
  std::vector<std::vector<uint8_t>> samples;
  std::vector<AlignFrame> frames;

  void add(int width, int height, uint8_t level) {
    samples.emplace_back(static_cast<std::size_t>(width) * height, level);
    AlignFrame frame;
    frame.pixels = samples.back().data();
    frame.index = static_cast<int32_t>(frames.size());
    frame.width = frame.stride = width;
    frame.height = height;
    frames.push_back(frame);
  }
};

void run(int32_t type, frame_set& set) {
  MultiViewParams params;
  params.requested_type = type;
  MultiViewAlignMain(&params, &set.frames);
  EXPECT_TRUE(params.sheetID.empty());
  EXPECT_TRUE(params.transforms.empty());
  EXPECT_TRUE(params.connectivity.empty());
}

TEST(PluginDriver, unknown_types_fail_before_any_frame_is_looked_at) {
  frame_set set;
  set.add(16, 16, 1);  // dark: conditioning would lift it to 127
  set.add(16, 16, 1);
  for (const int32_t type : {10, 12}) {
    expect_thrown<std::invalid_argument>([&] { run(type, set); },
                                         "TransformationTypeToHomographyType(): unknown input type");
  }
  EXPECT_EQ(1, set.samples[0][0]);
}

TEST(PluginDriver, conditioning_rescales_the_callers_samples_in_place) {
  frame_set set;
  set.add(16, 16, 1);
  set.add(20, 12, 0);  // refused: all black
  set.add(16, 16, 200);
  set.add(16, 16, 128);  // balanced: unchanged
  run(0, set);
  EXPECT_EQ(127, set.samples[0][0]);
  EXPECT_EQ(0, set.samples[1][0]);
  EXPECT_EQ(127, set.samples[2][0]);
  EXPECT_EQ(128, set.samples[3][0]);
}

TEST(PluginDriver, pipelines_without_two_usable_frames_end_in_a_length_error) {
  frame_set white;
  white.add(8, 8, 255);
  white.add(8, 8, 255);
  frame_set single;
  single.add(8, 8, 90);
  frame_set none;
  for (frame_set* set : {&white, &single, &none}) {
    expect_thrown<std::length_error>([&] { run(1, *set); }, "vector<T> too long");
    expect_thrown<std::length_error>([&] { run(-1, *set); }, "vector<T> too long");
    run(0, *set);  // no pipeline: nothing to size
    run(6, *set);
  }
}

TEST(PluginDriver, missing_records_are_refused) {
  MultiViewParams params;
  std::vector<AlignFrame> frames;
  EXPECT_THROW(MultiViewAlignMain(nullptr, &frames), std::invalid_argument);
  EXPECT_THROW(MultiViewAlignMain(&params, nullptr), std::invalid_argument);
}

TEST(PluginShrinkImage, each_reduced_sample_comes_from_its_2_by_2_block) {
  // 1540 x 1538 samples in constant 2 x 2 blocks, with a row gap of 6 bytes.
  const int32_t height = 1540, width = 1538, stride = 1544;
  auto* pixels = new uint8_t[static_cast<std::size_t>(stride) * height];
  const auto block_value = [](int by, int bx) { return static_cast<uint8_t>((by * 7 + bx * 3) % 256); };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < stride; ++x) pixels[y * stride + x] = x < width ? block_value(y / 2, x / 2) : 255;
  }
  AlignFrame frame;
  frame.pixels = pixels;
  frame.width = width;
  frame.height = height;
  frame.stride = stride;
  frame.index = 42;
  ShrinkImage(&frame);  // 770 x 769 is still above the limit: halved twice
  EXPECT_EQ(42, frame.index);
  ASSERT_EQ(385, frame.height);
  ASSERT_EQ(384, frame.width);
  ASSERT_EQ(386, frame.stride);
  // After two halvings a sample is the mean of 4 x 4 source samples, that
  // is of 2 x 2 blocks.
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const int sum = block_value(2 * y, 2 * x) + block_value(2 * y, 2 * x + 1) +
                      block_value(2 * y + 1, 2 * x) + block_value(2 * y + 1, 2 * x + 1);
      ASSERT_NEAR(sum / 4.0, frame.pixels[y * frame.stride + x], 1.0) << y << ", " << x;
    }
  }
  delete[] frame.pixels;
}

}  // namespace
