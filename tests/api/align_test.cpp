// lacewright::align through the shared library: the same numbers as the
// tool from files and from pictures in memory in every layout a program
// holds them in, each failure as its own exception type, progress in order,
// cancellation, and one alignment at a time.
#include <lacewright/align.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

#include "photographs/default_scene.h"
#include "tool_test_support.h"

namespace {

using tool_test::outcome;
using tool_test::rgba_image;
using tool_test::slurp;

class Api : public tool_test::ToolTest {
 protected:
  // The JSON the interface writes of an alignment.
  std::string json_of(const lacewright::alignment& result, const std::string& name) const {
    lacewright::write(result, {.json = in_folder(name)});
    return slurp(in_folder(name));
  }
};

std::vector<lacewright::image_input> files_of(const std::string& set) {
  std::vector<std::string> paths;
  for (const auto& path : test_support::photograph_set(set)) paths.push_back(path.string());
  return lacewright::image_files(paths);
}

TEST_F(Api, writes_byte_for_byte_the_json_of_the_tool) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "skipped: no photograph folder";
  for (const char* set : {"hill", "rainier"}) {
    for (const int32_t type : {1, -1}) {
      SCOPED_TRACE(std::string(set) + " type " + std::to_string(type));
      const std::string folder = (test_support::photograph_folder() / set).string();
      const outcome tool =
          run("--quiet --type " + std::to_string(type) + " --json " + in_folder("tool.json") + " " + folder);
      ASSERT_EQ(0, tool.exit_code) << tool.err;
      const lacewright::alignment result = lacewright::align(files_of(set), {.type = type});
      EXPECT_EQ(slurp(in_folder("tool.json")), json_of(result, "api.json"));
      EXPECT_EQ(tool.out, result.report + "\n");
    }
  }
}

// A picture's pixels held as a program might: `bytes` with its layout.
struct held_picture {
  const char* name;
  std::vector<uint8_t> bytes;
  lacewright::image_pixels pixels;
};

// The picture in the layouts a program holds pictures in, with the same picture in them.
std::vector<held_picture> layouts_of(const rgba_image& picture) {
  const int w = picture.width, h = picture.height;
  std::vector<held_picture> held;
  auto add = [&](const char* name, int channels, int bits, std::size_t bytes_per_pixel, std::ptrdiff_t row_stride,
                 auto&& fill) {
    held_picture p{name, std::vector<uint8_t>(static_cast<std::size_t>(row_stride) * h), {}};
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        fill(&picture.rgba[4 * (static_cast<std::size_t>(y) * w + x)], p.bytes.data() + y * row_stride +
                                                                           x * bytes_per_pixel);
      }
    }
    p.pixels = {p.bytes.data(), w, h, channels, bits, static_cast<std::ptrdiff_t>(bytes_per_pixel), row_stride};
    held.push_back(std::move(p));
  };
  add("rgb, packed", 3, 8, 3, 3 * w, [](const uint8_t* from, uint8_t* to) { std::copy_n(from, 3, to); });
  add("rgba", 4, 8, 4, 4 * w, [](const uint8_t* from, uint8_t* to) { std::copy_n(from, 4, to); });
  add("rgb, padded rows", 3, 8, 3, 3 * w + 13, [](const uint8_t* from, uint8_t* to) { std::copy_n(from, 3, to); });
  add("rgb, 16 bits", 3, 16, 6, 6 * w, [](const uint8_t* from, uint8_t* to) {
    for (int c = 0; c < 3; ++c) {
      const uint16_t sample = static_cast<uint16_t>(from[c] * 257);
      std::memcpy(to + 2 * c, &sample, 2);
    }
  });
  held.back().pixels.pixel_stride = 0;  // packed: worked out from channels and bits
  held.back().pixels.row_stride = 0;
  return held;
}

TEST_F(Api, pictures_in_memory_in_any_layout_align_as_their_files) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "skipped: no photograph folder";
  const std::string from_files = json_of(lacewright::align(files_of("hill")), "files.json");
  std::vector<std::vector<held_picture>> held;
  for (const auto& path : test_support::photograph_set("hill")) held.push_back(layouts_of(tool_test::read_rgba(path)));
  for (std::size_t layout = 0; layout < held.front().size(); ++layout) {
    SCOPED_TRACE(held.front()[layout].name);
    std::vector<lacewright::image_input> inputs;
    for (std::size_t i = 0; i < held.size(); ++i) {
      inputs.push_back(lacewright::image_input::memory(test_support::photograph_set("hill")[i].string(),
                                                       held[i][layout].pixels));
    }
    EXPECT_EQ(from_files, json_of(lacewright::align(inputs), "memory.json"));
  }
}

template <typename Error>
void expect_thrown(const std::function<void()>& call, lacewright::error_kind kind, const std::string& fragment) {
  try {
    call();
    ADD_FAILURE() << "nothing thrown";
  } catch (const Error& error) {
    EXPECT_EQ(kind, error.kind());
    EXPECT_NE(std::string::npos, std::string(error.what()).find(fragment)) << error.what();
  } catch (const std::exception& error) {
    ADD_FAILURE() << "another exception: " << error.what();
  }
}

TEST_F(Api, each_failure_is_an_exception_of_its_own_type) {
  using kind = lacewright::error_kind;
  rgba_image grey{64, 48, std::vector<uint8_t>(64 * 48 * 4, 128)};
  tool_test::save_picture(in_folder("a.png"), grey);
  tool_test::save_picture(in_folder("b.png"), rgba_image{64, 48, std::vector<uint8_t>(64 * 48 * 4, 0)});
  const auto a = lacewright::image_input::file(in_folder("a.png"));
  const auto b = lacewright::image_input::file(in_folder("b.png"));
  const auto missing = lacewright::image_input::file(in_folder("missing.png"));
  expect_thrown<lacewright::unknown_type_error>([&] { lacewright::align({a, b}, {.type = 0}); }, kind::unknown_type,
                                                "type 0 does not align images");
  expect_thrown<lacewright::unreadable_input_error>([&] { lacewright::align({a, missing}); }, kind::unreadable_input,
                                                    "cannot read '" + missing.name + "'");
  expect_thrown<lacewright::unreadable_input_error>([&] { lacewright::image_files({in_folder("none")}); },
                                                    kind::unreadable_input, "there is no such file or folder");
  const lacewright::image_pixels empty{};
  expect_thrown<lacewright::unreadable_input_error>(
      [&] { lacewright::align({a, lacewright::image_input::memory("empty", empty)}); }, kind::unreadable_input,
      "cannot read 'empty': its pixels are missing");
  expect_thrown<lacewright::too_few_images_error>([&] { lacewright::align({a}); }, kind::too_few_images,
                                                  "at least two images are needed (1 given)");
  expect_thrown<lacewright::too_few_images_error>([&] { lacewright::align({a, b}); }, kind::too_few_images,
                                                  "fewer than two of the images are usable");
  std::vector<lacewright::image_input> many;
  for (int i = 0; i < 106; ++i) many.push_back(lacewright::image_input::file(in_folder(std::to_string(i) + ".png")));
  expect_thrown<lacewright::too_many_images_error>([&] { lacewright::align(many); }, kind::too_many_images,
                                                   "more than 105 images (106 given)");
  expect_thrown<lacewright::cancelled_error>(
      [&] { lacewright::align({a, b}, {.progress = [](auto...) { return false; }}); }, kind::cancelled,
      "the alignment was cancelled");
  // Every kind is one family.
  EXPECT_THROW(lacewright::align({a}), lacewright::error);
}

// The built-in scene's three views, held in the engine's own layout (an
// unused byte before red, green and blue), as a program hands pictures in.
class Scene : public Api {
 protected:
  Scene() : views_(lacewright_tool::render_default_scene()) {
    for (const lacewright_tool::pixel_image& view : views_) {
      inputs_.push_back(lacewright::image_input::memory(
          "view " + std::to_string(inputs_.size()),
          {view.pixels.data() + 1, view.width, view.height, 3, 8, 4, view.row_bytes()}));
    }
  }

  std::vector<lacewright_tool::pixel_image> views_;
  std::vector<lacewright::image_input> inputs_;
};

TEST_F(Scene, reports_the_stages_in_order_and_each_count_as_it_grows) {
  std::vector<std::string> stages;
  std::size_t last = 0;
  const lacewright::alignment result =
      lacewright::align(inputs_, {.progress = [&](std::string_view stage, std::size_t done, std::size_t total) {
                          if (done == 0) {
                            stages.emplace_back(stage);
                          } else {
                            EXPECT_EQ(stages.back(), stage);
                            EXPECT_GE(done, last);
                            if (total > 0) {
                              EXPECT_LE(done, total);
                            }
                          }
                          last = done;
                          return true;
                        }});
  const std::vector<std::string> expected = {"reading", "extraction", "matching", "pairs", "groups"};
  EXPECT_EQ(expected, stages);
  ASSERT_EQ(expected.size(), result.times.size());
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(expected[i], result.times[i].name);
  ASSERT_TRUE(result.aligned());
  ASSERT_EQ(1u, result.groups.size());
  const lacewright::group& group = result.groups[0];
  EXPECT_EQ(3u, group.images.size());
  EXPECT_TRUE(group.level.has_value());
  // Every pair of the three views overlaps; each inlier lies in both views.
  EXPECT_EQ(3u, group.pairs.size());
  for (const lacewright::image_pair& pair : group.pairs) {
    EXPECT_GE(pair.matches, pair.inliers.size());
    EXPECT_GT(pair.inliers.size(), 20u);
    for (const lacewright::match& m : pair.inliers) {
      EXPECT_TRUE(m.first[0] >= -0.5 && m.first[0] <= 639.5 && m.second[1] >= -0.5 && m.second[1] <= 479.5);
    }
  }
  for (const lacewright::image& image : result.images) {
    const auto* cylinder = std::get_if<lacewright::cylindrical_transform>(&image.transform);
    ASSERT_NE(nullptr, cylinder) << image.file;
    // The scene's camera has a 640-pixel focal length.
    EXPECT_NEAR(640.0, cylinder->camera.focal_length[0], 6.4) << image.file;
  }
}

TEST_F(Scene, a_cancelled_alignment_leaves_the_next_one_as_it_would_have_been) {
  const std::string before = json_of(lacewright::align(inputs_), "before.json");
  for (const char* stage : {"reading", "extraction", "matching", "groups"}) {
    SCOPED_TRACE(stage);
    EXPECT_THROW(lacewright::align(inputs_, {.progress = [&](std::string_view now, std::size_t, std::size_t) {
                                     return now != stage;
                                   }}),
                 lacewright::cancelled_error);
    EXPECT_EQ(before, json_of(lacewright::align(inputs_), "after.json"));
  }
}

TEST_F(Scene, what_a_progress_callback_throws_stops_the_alignment_and_is_thrown) {
  struct callback_failure {};
  for (const char* stage : {"reading", "matching"}) {
    SCOPED_TRACE(stage);
    EXPECT_THROW(lacewright::align(inputs_, {.progress = [&](std::string_view now, std::size_t done, std::size_t) {
                                     if (now == stage && done > 0) throw callback_failure{};
                                     return true;
                                   }}),
                 callback_failure);
  }
}

TEST_F(Scene, alignments_from_several_threads_wait_for_each_other_and_agree) {
  const std::string alone = json_of(lacewright::align(inputs_), "alone.json");
  std::vector<lacewright::alignment> results(3);
  std::vector<std::thread> threads;
  for (lacewright::alignment& result : results) {
    threads.emplace_back([&] { result = lacewright::align(inputs_); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const lacewright::alignment& result : results) EXPECT_EQ(alone, json_of(result, "together.json"));
}

TEST_F(Scene, writing_refuses_what_it_cannot_write_and_writes_nothing) {
  using kind = lacewright::error_kind;
  const lacewright::alignment without_pictures = lacewright::align(inputs_);
  expect_thrown<lacewright::usage_error>(
      [&] { lacewright::write(without_pictures, {.json = in_folder("a.json"), .preview = in_folder("a.png")}); },
      kind::usage, "a preview needs the pictures");
  const lacewright::alignment with_pictures = lacewright::align(inputs_, {.keep_pictures = true});
  expect_thrown<lacewright::output_error>(
      [&] { lacewright::write(with_pictures, {.json = in_folder("no/such/a.json"), .preview = in_folder("a.png")}); },
      kind::output_failed, "cannot write '" + in_folder("no/such/a.json") + "'");
  EXPECT_FALSE(std::filesystem::exists(in_folder("a.png")));
  EXPECT_FALSE(std::filesystem::exists(in_folder("a.json")));
  const std::vector<std::string> written =
      lacewright::write(with_pictures, {.json = in_folder("a.json"), .preview = in_folder("a.png"),
                                        .project = in_folder("a.pto")});
  EXPECT_EQ((std::vector<std::string>{in_folder("a.png"), in_folder("a.pto"), in_folder("a.json")}), written);
  expect_thrown<lacewright::usage_error>(
      [&] { lacewright::write(with_pictures, {.json = in_folder("a.json"), .project = in_folder("./a.json")}); },
      kind::usage, "two outputs would be written to one file");
  expect_thrown<lacewright::usage_error>(
      [&] { lacewright::write(with_pictures, {.preview = in_folder("a.gif")}); }, kind::usage,
      "a preview needs a file ending in .png");
  expect_thrown<lacewright::usage_error>(
      [&] { lacewright::write(with_pictures, {.preview = in_folder("b.png"), .preview_size = 15}); }, kind::usage,
      "at least 16 pixels");
  // A stop asked for while the files are made writes none of them.
  EXPECT_THROW(lacewright::write(with_pictures, {.json = in_folder("c.json"), .progress = [](auto...) { return false; }}),
               lacewright::cancelled_error);
  EXPECT_FALSE(std::filesystem::exists(in_folder("c.json")));
  expect_thrown<lacewright::usage_error>([&] { lacewright::write({}, {.json = in_folder("b.json")}); }, kind::usage,
                                         "it was not made by align()");
}

TEST_F(Api, images_that_do_not_overlap_answer_why_and_require_aligned_says_so) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "skipped: no photograph folder";
  const lacewright::image_input hill = files_of("hill")[0];
  std::filesystem::copy_file(hill.name, in_folder("copy.jpg"));
  std::vector<std::string> warnings;
  const lacewright::alignment result =
      lacewright::align({hill, files_of("pier")[0], lacewright::image_input::file(in_folder("copy.jpg"))},
                        {.warning = [&](std::string_view sentence) { warnings.emplace_back(sentence); }});
  EXPECT_FALSE(result.aligned());
  ASSERT_EQ(3u, result.left_out.size());
  EXPECT_EQ("duplicate", result.left_out[0].reason);
  EXPECT_EQ(hill.name, result.left_out[0].duplicate_of);
  EXPECT_EQ((std::vector<std::string>{"'" + in_folder("copy.jpg") + "' has the same pixels as '" + hill.name +
                                      "'; it is left out"}),
            warnings);
  expect_thrown<lacewright::alignment_error>([&] { lacewright::require_aligned(result); },
                                             lacewright::error_kind::alignment_failed,
                                             "no two images overlap enough to align: ");
}

}  // namespace
