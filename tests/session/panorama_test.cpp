// The default request from pixels to report, through the plug-in's script
// functions as the host calls them, on the shared photograph sets: each set
// was taken by a camera turning about its centre and comes back as one
// group of cylindrical images.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include "photographs.h"
#include "report_lists.h"
#include "photographs/image_file.h"
#include "session/plugin_session.h"

namespace {

using namespace lacewright_tool;

using test_support::list_of;
using test_support::numbers_of;

std::string align_set(const std::string& name, std::size_t& images, int32_t type = 1) {
  plugin_session session(".");
  const auto paths = test_support::photograph_set(name);
  std::vector<pixel_image> pictures;
  for (const auto& path : paths) pictures.push_back(read_image_file(path.string()).picture);
  for (std::size_t i = 0; i < pictures.size(); ++i) session.add_image(pictures[i], paths[i].string());
  images = pictures.size();
  return session.align(type);
}

// The automatic request keeps every set in one group too, of whatever kind.
TEST(Panorama, every_set_is_one_group_and_cylindrical_with_agreeing_focal_lengths_when_asked) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  for (const char* name : {"hill", "ledge", "pier", "rainier", "uttower"}) {
    for (const int32_t type : {1, -1}) {
      SCOPED_TRACE(std::string(name) + " type " + std::to_string(type));
      std::size_t images = 0;
      const std::string report = align_set(name, images, type);
      EXPECT_EQ(std::vector<std::string>{std::to_string(images)}, list_of(report, "groupCount")) << report;
      EXPECT_EQ(std::vector<std::string>(images, "true"), list_of(report, "renderable")) << report;
      EXPECT_EQ(images, list_of(report, "sheetID").size()) << report;
      if (type == -1) continue;
      EXPECT_EQ(std::vector<std::string>{"1"}, list_of(report, "transformType")) << report;
      const std::vector<double> focal = numbers_of(report, "fl");
      ASSERT_EQ(images, focal.size()) << report;
      const auto [low, high] = std::minmax_element(focal.begin(), focal.end());
      EXPECT_GT(*low, 0.0) << report;
      EXPECT_LE(*high, 1.05 * *low) << report;
      const std::vector<double> overlap = numbers_of(report, "overlap");
      ASSERT_EQ(images, overlap.size()) << report;
      for (const double value : overlap) {
        EXPECT_GT(value, 0.0) << report;
        EXPECT_LE(value, 1.0) << report;
      }
    }
  }
}

}  // namespace
