// The tool's Hugin project rendered by Hugin's own nona: each image of a
// shared set is remapped onto the panorama on its own, and wherever two of
// them cover the same panorama pixel they must show the same scene. A wrong
// sign of yaw, pitch or roll, a wrong field of view or a wrong centre would
// set them apart by many grey levels.
#include <gtest/gtest.h>
#include <stb_image.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "photographs.h"

namespace {

struct layer {
  int width = 0, height = 0;
  std::vector<uint8_t> rgba;
};

layer read_layer(const std::filesystem::path& path) {
  layer out;
  int channels = 0;
  std::unique_ptr<stbi_uc, void (*)(void*)> pixels(stbi_load(path.c_str(), &out.width, &out.height, &channels, 4),
                                                   stbi_image_free);
  if (pixels) out.rgba.assign(pixels.get(), pixels.get() + 4 * static_cast<std::size_t>(out.width) * out.height);
  return out;
}

double grey(const layer& l, std::size_t i) {
  return (l.rgba[4 * i] + l.rgba[4 * i + 1] + l.rgba[4 * i + 2]) / 3.0;
}

bool run(const std::string& command) {
  const int status = std::system(command.c_str());
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(HuginRender, nona_renders_the_project_of_a_shared_set_into_one_consistent_panorama) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  if (!run("command -v nona >/dev/null 2>&1")) GTEST_SKIP() << "Hugin's nona is not installed (hugin-tools)";
  const auto folder = std::filesystem::temp_directory_path() / ("lacewright_hugin_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string project = (folder / "set.pto").string();
  const auto images = test_support::photograph_set("hill");
  ASSERT_TRUE(run(std::string(LACEWRIGHT_TOOL) + " --quiet --pto " + project + " " +
                  (test_support::photograph_folder() / "hill").string() + " >/dev/null"));

  std::vector<layer> layers;
  for (std::size_t i = 0; i < images.size(); ++i) {
    const auto out = folder / ("layer" + std::to_string(i));
    ASSERT_TRUE(run("nona -m PNG -i " + std::to_string(i) + " -o " + out.string() + " " + project + " >/dev/null 2>&1"));
    layers.push_back(read_layer(out.string() + ".png"));
    ASSERT_FALSE(layers.back().rgba.empty());
  }
  ASSERT_TRUE(run("nona -m PNG -o " + (folder / "panorama").string() + " " + project + " >/dev/null 2>&1"));
  const layer panorama = read_layer(folder / "panorama.png");
  EXPECT_EQ(layers[0].width, panorama.width);
  EXPECT_EQ(layers[0].height, panorama.height);

  for (std::size_t a = 0; a + 1 < layers.size(); ++a) {
    const layer& first = layers[a];
    const layer& second = layers[a + 1];
    double difference = 0.0;
    std::size_t shared = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(first.width) * first.height; ++i) {
      if (first.rgba[4 * i + 3] != 255 || second.rgba[4 * i + 3] != 255) continue;
      difference += std::fabs(grey(first, i) - grey(second, i));
      ++shared;
    }
    ASSERT_GT(shared, 1000u) << "images " << a << " and " << a + 1 << " do not overlap";
    EXPECT_LT(difference / shared, 8.0) << "images " << a << " and " << a + 1;
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
