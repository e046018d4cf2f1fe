// The command-line tool as a person runs it: the report on stdout, the JSON,
// previews and Hugin projects it writes, and one clear line on stderr with
// its own exit code for every mistake, never a crash or a half-written file.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "photographs.h"
#include "report_lists.h"
#include "tool_test_support.h"
#include "photographs/default_scene.h"

namespace {

using nlohmann::json;
using test_support::list_of;
using namespace tool_test;

class Tool : public ToolTest {
 protected:
  // A view of the built-in scene saved as `name`; its path.
  std::string scene_view(const std::string& name, double yaw_degrees, double pitch_degrees = 0.0) {
    lacewright_tool::turning_camera camera;
    camera.yaw_degrees = yaw_degrees;
    camera.pitch_degrees = pitch_degrees;
    const lacewright_tool::pixel_image image = lacewright_tool::render_scene_view(camera);
    rgba_image picture{image.width, image.height, {}};
    for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
      picture.rgba.insert(picture.rgba.end(), {image.pixels[i + 1], image.pixels[i + 2], image.pixels[i + 3], 255});
    }
    const std::string path = in_folder(name);
    save_picture(path, picture);
    return path;
  }

  std::string grey_png(const std::string& name, int width, int height, uint8_t level) {
    const std::string path = in_folder(name);
    save_grey(path, {width, height, std::vector<uint8_t>(static_cast<std::size_t>(width) * height, level)});
    return path;
  }
};

void expect_failure(const outcome& result, int exit_code, const std::string& fragment) {
  EXPECT_EQ(exit_code, result.exit_code) << result.err;
  ASSERT_FALSE(result.err.empty());
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  EXPECT_EQ(0u, result.err.rfind("lacewright: ", 0)) << result.err;
  EXPECT_NE(std::string::npos, result.err.find(fragment)) << result.err;
  EXPECT_TRUE(result.out.empty()) << result.out;
}

// The JSON says what the report says: the same groups, references, kinds,
// links and focal lengths (the report's in pixels of the frames the engine
// aligned, the JSON's in pixels of the images as given), and the report.
void expect_agreement(const json& document, const std::string& report) {
  EXPECT_EQ(report, document["report"].get<std::string>() + "\n");
  std::vector<std::string> sheets, counts, references, types, renderable, focal_lengths;
  for (const json& group : document["groups"]) {
    counts.push_back(std::to_string(group["images"].size()));
    references.push_back(std::to_string(group["reference"].get<int>()));
    types.push_back(std::to_string(group["transformType"].get<int>()));
    EXPECT_EQ(group["images"].size(), group["connectivity"].size());
    for (const json& sheet : group["images"]) {
      sheets.push_back(std::to_string(sheet.get<int>()));
      const json& image = document["images"][sheet.get<std::size_t>()];
      EXPECT_EQ(group["group"], image["group"]);
      renderable.push_back(image["renderable"].get<bool>() ? "true" : "false");
      const json& transform = image["transform"];
      char text[32] = "0.0";
      if (!transform.is_null() && transform["kind"] == "cylindrical") {
        const double reduction = std::ldexp(1.0, image["reduction_level"].get<int>());
        std::snprintf(text, sizeof text, "%5.1f", transform["focal_length"][0].get<double>() / reduction);
      }
      focal_lengths.push_back(text);
    }
  }
  EXPECT_EQ(list_of(report, "sheetID"), sheets);
  EXPECT_EQ(list_of(report, "groupCount"), counts);
  EXPECT_EQ(list_of(report, "refSheetID"), references);
  EXPECT_EQ(list_of(report, "transformType"), types);
  EXPECT_EQ(list_of(report, "renderable"), renderable);
  EXPECT_EQ(list_of(report, "fl"), focal_lengths);
}

// The preview exists with the size the JSON gives, within the size asked
// for, and covered by images at least as far as `least_cover` says.
void expect_preview(const json& group, int longest_side, double least_cover = 0.5) {
  ASSERT_TRUE(group.contains("preview")) << group.dump();
  const rgba_image preview = read_rgba(group["preview"]["file"]);
  EXPECT_EQ(group["preview"]["width"].get<int>(), preview.width);
  EXPECT_EQ(group["preview"]["height"].get<int>(), preview.height);
  EXPECT_LE(std::max(preview.width, preview.height), longest_side);
  EXPECT_GE(std::max(preview.width, preview.height), longest_side - 1);
  std::size_t covered = 0;
  for (int i = 0; i < preview.width * preview.height; ++i) covered += preview.rgba[4 * i + 3] == 255;
  EXPECT_GT(static_cast<double>(covered) / (preview.width * preview.height), least_cover);
}

TEST_F(Tool, without_images_it_aligns_the_built_in_scene_and_writes_every_output) {
  const outcome result = run("--json " + in_folder("run.json") + " --preview " + in_folder("run.png") + " --pto " +
                             in_folder("run.pto") + " --preview-size 300");
  ASSERT_EQ(0, result.exit_code) << result.err;
  EXPECT_EQ(0u, result.out.rfind("({'sheetID':[0,1,2], 'renderable':[true,true,true], 'groupCount':[3]", 0))
      << result.out;
  EXPECT_NE(std::string::npos, result.err.find("3 images, 1 group (3 cylindrical)")) << result.err;
  EXPECT_NE(std::string::npos, result.err.find("time: reading")) << result.err;
  const json document = json::parse(slurp(in_folder("run.json")));
  expect_agreement(document, result.out);
  expect_preview(document["groups"][0], 300);
  EXPECT_EQ(in_folder("run.pto"), document["groups"][0]["project"]);
  EXPECT_EQ(0u, slurp(in_folder("run.pto")).rfind("# hugin project file\n", 0));
}

TEST_F(Tool, mistakes_have_their_own_sentence_and_exit_code) {
  const std::string a = grey_png("a.png", 32, 24, 255);
  const std::string b = grey_png("b.png", 32, 24, 0);
  expect_failure(run("--frobnicate"), 2, "unknown option '--frobnicate' (see lacewright --help)");
  expect_failure(run("--type"), 2, "--type needs a value");
  expect_failure(run("--type=one"), 2, "--type needs an integer, not 'one'");
  // Only a turning camera and the automatic choice align; the other types
  // would report no group.
  for (const char* type : {"0", "2", "6", "-2"}) {
    expect_failure(run(std::string("--type ") + type + " " + a + " " + b), 6,
                   std::string("type ") + type +
                       " does not align images: use type 1 (a camera turning about its centre) or type -1");
  }
  expect_failure(run("controlpoints --type 4 -o " + in_folder("o.pto") + " " + in_folder("i.pto")), 6,
                 "type 4 does not align images");
  // A file that is no image names itself and then the cause.
  expect_failure(run(in_folder("missing.png") + " " + a), 3, "cannot read '" + in_folder("missing.png") + "': ");
  std::ofstream(in_folder("fake.png")) << "not an image";
  expect_failure(run(in_folder("fake.png") + " " + a), 3, "cannot read '" + in_folder("fake.png") + "': ");
  expect_failure(run(a), 4, "at least two images are needed (1 given)");
  expect_failure(run(a + " " + b), 4, "fewer than two of the images are usable");
  // Names of one file are one image, links to it are not.
  std::string many;
  for (int i = 0; i < 106; ++i) {
    const std::string link = in_folder("link" + std::to_string(i) + ".png");
    std::filesystem::create_hard_link(a, link);
    many += " " + link;
  }
  expect_failure(run(many), 5, "more than 105 images (106 given)");
  EXPECT_EQ(0, run("--help").exit_code);
  // An output that cannot be written leaves no other behind.
  std::filesystem::create_directory(folder_ / "out");
  expect_failure(run("--quiet --preview " + in_folder("out/run.png") + " --json " + in_folder("missing/run.json")), 7,
                 "cannot write '" + in_folder("missing/run.json") + "'");
  EXPECT_TRUE(std::filesystem::is_empty(folder_ / "out"));
}

// Views of the scene half a turn apart share nothing; a file with the same
// pixels as another is left out before the run.
TEST_F(Tool, says_which_images_it_left_out_and_why) {
  const std::string ahead = scene_view("ahead.png", 0.0), behind = scene_view("behind.png", 180.0);
  const std::string beside = scene_view("beside.png", 18.0), copy = in_folder("copy.png");
  std::filesystem::copy_file(ahead, copy);
  const std::string json_path = in_folder("run.json"), preview = in_folder("run.png");
  const struct {
    const char* name;
    std::string images;
    int exit_code;
    std::string said;  // on stderr
    std::vector<std::pair<std::string, std::string>> left_out;  // file, reason
    bool previewed;
  } cases[] = {
      {"nothing overlaps", ahead + " " + behind, 1, "lacewright: no two images overlap enough to align: ",
       {{ahead, ""}, {behind, ""}}, false},
      {"a copy and a view that overlaps nothing", ahead + " " + copy + " " + beside + " " + behind, 0,
       "lacewright: warning: '" + copy + "' has the same pixels as '" + ahead + "'; it is left out",
       {{copy, "duplicate"}, {behind, ""}}, true},
  };
  for (const auto& case_ : cases) {
    SCOPED_TRACE(case_.name);
    std::filesystem::remove(json_path);
    std::filesystem::remove(preview);
    const outcome result = run("--json " + json_path + " --preview " + preview + " " + case_.images);
    EXPECT_EQ(case_.exit_code, result.exit_code) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(case_.said)) << result.err;
    EXPECT_EQ(case_.previewed, std::filesystem::exists(preview));
    const json document = json::parse(slurp(json_path));
    ASSERT_EQ(case_.left_out.size(), document["left_out"].size()) << document["left_out"].dump();
    for (std::size_t k = 0; k < case_.left_out.size(); ++k) {
      const auto& [file, reason] = case_.left_out[k];
      const json& entry = document["left_out"][k];
      EXPECT_EQ(file, entry["file"]);
      if (reason.empty()) {
        // Without matches, or with matches that fit no motion.
        EXPECT_TRUE(entry["reason"] == "no match" || entry["reason"] == "too few inliers") << entry;
      } else {
        EXPECT_EQ(reason, entry["reason"]);
      }
      EXPECT_NE(std::string::npos, result.err.find(file)) << result.err;
    }
  }
}

TEST_F(Tool, shared_sets_give_agreeing_json_and_previews_for_both_pipelines) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  for (const char* set : {"hill", "pier"}) {
    for (const char* type : {"1", "-1"}) {
      SCOPED_TRACE(std::string(set) + " type " + type);
      const std::string folder = (test_support::photograph_folder() / set).string();
      const outcome result = run(std::string("--quiet --type ") + type + " --preview-size 400 --json " +
                                 in_folder("run.json") + " --preview " + in_folder("run.png") + " " + folder);
      ASSERT_EQ(0, result.exit_code) << result.err;
      EXPECT_TRUE(result.err.empty()) << result.err;
      const json document = json::parse(slurp(in_folder("run.json")));
      expect_agreement(document, result.out);
      ASSERT_EQ(1u, document["groups"].size());
      expect_preview(document["groups"][0], 400);
      const std::string expected_kind = std::string(type) == "1" ? "cylindrical" : "planar";
      // The reference too: a plane's reference is placed by the identity.
      for (const json& image : document["images"]) {
        ASSERT_FALSE(image["transform"].is_null()) << image.dump();
        EXPECT_EQ(expected_kind, image["transform"]["kind"]);
      }
    }
  }
}

TEST_F(Tool, a_group_reaching_far_up_is_drawn_and_exported_on_the_sphere) {
  // A column of views from the horizon to high above it: the automatic
  // request finds a turn, and the group reaches too far up for a cylinder.
  std::string images;
  for (int view = 0; view < 5; ++view) {
    images.append(" ").append(scene_view("view" + std::to_string(view) + ".png", 10.0 * view, 22.0 * view));
  }
  const outcome result = run("--quiet --type -1 --preview-size 300 --json " + in_folder("run.json") + " --preview " +
                             in_folder("run.png") + " --pto " + in_folder("run.pto") + images);
  ASSERT_EQ(0, result.exit_code) << result.err;
  EXPECT_NE(std::string::npos, result.out.find("'transformType':[2]")) << result.out;
  const json document = json::parse(slurp(in_folder("run.json")));
  expect_agreement(document, result.out);
  ASSERT_EQ(1u, document["groups"].size());
  // Levelled, the column reaches the zenith, where it spreads across all
  // longitudes of the sphere's picture.
  expect_preview(document["groups"][0], 300, 0.3);
  for (const json& image : document["images"]) {
    EXPECT_EQ("spherical", image["transform"]["kind"]);
    EXPECT_NEAR(640.0, image["transform"]["focal_length"][0].get<double>(), 6.4);
  }
  EXPECT_NE(std::string::npos, slurp(in_folder("run.pto")).find("\np f2 ")) << slurp(in_folder("run.pto"));
}

TEST_F(Tool, the_report_does_not_depend_on_the_thread_count_or_the_process) {
  const auto paths = test_support::photograph_set("rainier");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  std::string images;
  for (const auto& path : paths) images.append(" ").append(path.string());
  const outcome one = run(images, "OMP_NUM_THREADS=1");
  ASSERT_EQ(0, one.exit_code) << one.err;
  EXPECT_NE(std::string::npos, one.out.find("'groupCount':[6]")) << one.out;
  EXPECT_EQ(one.out, run(images, "OMP_NUM_THREADS=2").out);
  EXPECT_EQ(one.out, run(images, "OMP_NUM_THREADS=1").out);
}

}  // namespace
