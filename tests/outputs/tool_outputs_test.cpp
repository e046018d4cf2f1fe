// Where the tool's outputs go: a file it replaces whole or not at all, and
// what it must write through instead (standard output, a FIFO, a device, a
// symbolic link's target), in the format the name asks for, with nothing
// left behind when a signal ends it on the way.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>
#include <vips/vips8>

#include "tool_test_support.h"
#include "photographs.h"
#include "photographs/default_scene.h"
#include "outputs/group_preview.h"

namespace {

using nlohmann::json;
using namespace tool_test;
namespace fs = std::filesystem;

class ToolOutputs : public ToolTest {
 protected:
  bool no_temporaries_left() const {
    for (const auto& entry : fs::directory_iterator(folder_)) {
      if (entry.path().string().find(".part") != std::string::npos) return false;
    }
    return true;
  }
};

// Each destination gets the whole JSON of the built-in scene, and is still
// what it was: a link stays a link, a FIFO a FIFO.
TEST_F(ToolOutputs, go_to_files_links_fifos_and_standard_output) {
  struct destination {
    const char* name;
    std::function<std::string()> prepare;                  // the --json argument
    std::function<std::string(const outcome&)> written;  // what reached it
  };
  const auto file_at = [this](const char* name) {
    return [this, name](const outcome&) { return slurp(in_folder(name)); };
  };
  const auto standard_output = [](const outcome& result) { return result.out; };
  const destination destinations[] = {
      {"a new file", [this] { return in_folder("new.json"); }, file_at("new.json")},
      {"a link to an existing file",
       [this] {
         std::ofstream(in_folder("old.json")) << "old";
         fs::create_symlink("old.json", in_folder("link.json"));
         return in_folder("link.json");
       },
       file_at("old.json")},
      {"a dangling link",
       [this] {
         fs::create_symlink("target.json", in_folder("dangling.json"));
         return in_folder("dangling.json");
       },
       file_at("target.json")},
      {"standard output as -", [] { return std::string("-"); }, standard_output},
      {"/dev/stdout", [] { return std::string("/dev/stdout"); }, standard_output},
      {"a FIFO with a reader",
       [this] {
         ::mkfifo(in_folder("fifo").c_str(), 0600);
         EXPECT_EQ(0, std::system(("cat " + in_folder("fifo") + " > " + in_folder("read") + " &").c_str()));
         return in_folder("fifo");
       },
       [this](const outcome&) {
         std::this_thread::sleep_for(std::chrono::milliseconds(200));
         return slurp(in_folder("read"));
       }},
  };
  for (const destination& case_ : destinations) {
    SCOPED_TRACE(case_.name);
    const outcome result = run("--quiet --json " + case_.prepare());
    ASSERT_EQ(0, result.exit_code) << result.err;
    const json document = json::parse(case_.written(result));
    EXPECT_EQ(3u, document["images"].size());
    EXPECT_TRUE(no_temporaries_left());
  }
  EXPECT_TRUE(fs::is_symlink(in_folder("link.json")));
  EXPECT_TRUE(fs::is_symlink(in_folder("dangling.json")));
  EXPECT_TRUE(fs::is_fifo(in_folder("fifo")));
}

TEST_F(ToolOutputs, a_device_that_cannot_hold_them_leaves_every_file_unwritten) {
  const outcome result = run("--quiet --preview " + in_folder("scene.png") + " --json /dev/full");
  EXPECT_EQ(7, result.exit_code);
  EXPECT_NE(std::string::npos, result.err.find("cannot write '/dev/full': No space left on device")) << result.err;
  EXPECT_FALSE(fs::exists(in_folder("scene.png")));
  EXPECT_TRUE(no_temporaries_left());
}

// The JSON goes to a FIFO that nobody reads, so the tool waits there with
// the preview's temporary file made; a signal then ends it.
TEST_F(ToolOutputs, a_signal_leaves_no_temporary_file_behind) {
  ::mkfifo(in_folder("unread").c_str(), 0600);
  const std::string command = std::string(LACEWRIGHT_TOOL) + " --quiet --preview " + in_folder("scene.png") +
                              " --json " + in_folder("unread") + " >/dev/null 2>&1 & echo $! > " + in_folder("pid");
  ASSERT_EQ(0, std::system(command.c_str()));
  const auto waited_for = [&] {
    for (int tries = 0; tries < 600; ++tries) {
      if (!no_temporaries_left()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  };
  const bool made = waited_for();
  std::string pid = slurp(in_folder("pid"));
  pid.erase(pid.find_last_not_of(" \n") + 1);
  ASSERT_EQ(0, std::system(("kill -TERM " + pid).c_str()));
  ASSERT_TRUE(made) << "the tool never reached its outputs";
  for (int tries = 0; tries < 100 && std::system(("kill -0 " + pid + " 2>/dev/null").c_str()) == 0; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_TRUE(no_temporaries_left());
  EXPECT_FALSE(fs::exists(in_folder("scene.png")));
}

// The automatic request finds the built-in scene's views planar; their
// homographies are turns of one camera, 18 degrees of yaw apart, which a
// Hugin project holds. A plane sheared between two views is no such turn,
// and the project is refused before anything is written.
TEST_F(ToolOutputs, a_hugin_project_holds_a_planar_group_only_when_it_is_a_turning_camera) {
  const outcome turning = run("--quiet --type -1 --pto " + in_folder("scene.pto"));
  ASSERT_EQ(0, turning.exit_code) << turning.err;
  std::vector<double> yaws;
  std::istringstream project(slurp(in_folder("scene.pto")));
  for (std::string line; std::getline(project, line);) {
    const std::size_t yaw = line.find(" y");
    if (line.starts_with("i ") && yaw != std::string::npos) yaws.push_back(std::stod(line.substr(yaw + 2)));
  }
  ASSERT_EQ(3u, yaws.size());
  EXPECT_NEAR(18.0, yaws[1] - yaws[0], 0.5);
  EXPECT_NEAR(18.0, yaws[2] - yaws[1], 0.5);

  const lacewright_tool::pixel_image view = lacewright_tool::render_scene_view({});
  test_support::grey_image grey{view.width, view.height, {}};
  for (std::size_t i = 0; i < view.pixels.size(); i += 4) grey.samples.push_back(view.pixels[i + 2]);
  const test_support::homography shear = {1.0, 0.3, -60.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  save_grey(in_folder("plane.png"), grey);
  save_grey(in_folder("sheared.png"), test_support::warp(grey, shear, grey.width, grey.height));
  const outcome sheared = run("--quiet --type -1 --json " + in_folder("run.json") + " --pto " + in_folder("run.pto") +
                              " " + in_folder("plane.png") + " " + in_folder("sheared.png"));
  EXPECT_EQ(7, sheared.exit_code) << sheared.err;
  EXPECT_NE(std::string::npos, sheared.err.find("are not the views of one turning camera")) << sheared.err;
  EXPECT_FALSE(fs::exists(folder_ / "run.json"));
  EXPECT_FALSE(fs::exists(folder_ / "run.pto"));
}

TEST(PreviewFiles, are_in_the_format_their_extension_names) {
  lacewright_tool::group_picture picture;
  picture.width = 30;
  picture.height = 20;
  picture.rgba.assign(30 * 20 * 4, 200);
  const struct {
    const char* name;
    const char* loader;
    int bands;  // JPEG has no alpha
  } formats[] = {
      {"p.png", "pngload_buffer", 4}, {"p.JPG", "jpegload_buffer", 3}, {"p.jpeg", "jpegload_buffer", 3},
      {"p.tif", "tiffload_buffer", 4}, {"p.webp", "webpload_buffer", 4}};
  for (const auto& format : formats) {
    SCOPED_TRACE(format.name);
    const std::string bytes = lacewright_tool::encode_picture(picture, format.name);
    const vips::VImage image = vips::VImage::new_from_buffer(bytes.data(), bytes.size(), "");
    EXPECT_EQ(std::string(format.loader), image.get_string("vips-loader"));
    EXPECT_EQ(format.bands, image.bands());
    EXPECT_EQ(30, image.width());
  }
}

}  // namespace
