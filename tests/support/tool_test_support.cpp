#include "tool_test_support.h"

#include <sys/wait.h>
#include <unistd.h>
#include <vips/vips8>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "photographs/libvips_start.h"

namespace tool_test {
namespace {

using vips::VImage;

VImage oriented_for_storage(VImage image, int orientation) {
  // The stored pixels are the picture turned back against its orientation.
  switch (orientation) {
    case 3: image = image.rot(VIPS_ANGLE_D180); break;
    case 6: image = image.rot(VIPS_ANGLE_D270); break;
    case 8: image = image.rot(VIPS_ANGLE_D90); break;
    default: break;
  }
  image = image.copy();
  image.set(VIPS_META_ORIENTATION, orientation);
  return image;
}

void save(VImage image, const std::string& path, int orientation, const std::string& options) {
  lacewright_tool::start_libvips();
  oriented_for_storage(image, orientation).write_to_file((path + options).c_str());
}

}  // namespace

std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool shell_succeeds(const std::string& command) {
  const int status = std::system(command.c_str());
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool on_path(const std::vector<std::string>& programs) {
  std::string command = "true";
  for (const std::string& program : programs) command += " && command -v '" + program + "'";
  return shell_succeeds("{ " + command + "; } >/dev/null 2>&1");
}

void ToolTest::SetUp() {
  folder_ = std::filesystem::temp_directory_path() /
            ("lacewright_tool_test_" + std::to_string(::getpid()) + "_" +
             testing::UnitTest::GetInstance()->current_test_info()->name());
  std::filesystem::create_directories(folder_);
}

void ToolTest::TearDown() { std::filesystem::remove_all(folder_); }

outcome ToolTest::run(const std::string& arguments, const std::string& environment) const {
  const auto out = folder_ / "stdout", err = folder_ / "stderr";
  const std::string command = environment + " " + std::string(LACEWRIGHT_TOOL) + " " + arguments + " >" +
                              out.string() + " 2>" + err.string();
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

void save_picture(const std::string& path, const rgba_image& picture, int orientation, const std::string& options) {
  lacewright_tool::start_libvips();
  const VImage image = VImage::new_from_memory(const_cast<uint8_t*>(picture.rgba.data()), picture.rgba.size(),
                                               picture.width, picture.height, 4, VIPS_FORMAT_UCHAR);
  save(image.extract_band(0, VImage::option()->set("n", 3)).copy(VImage::option()->set(
           "interpretation", VIPS_INTERPRETATION_sRGB)),
       path, orientation, options);
}

void save_picture_16_bits(const std::string& path, const rgba_image& picture) {
  lacewright_tool::start_libvips();
  const VImage image = VImage::new_from_memory(const_cast<uint8_t*>(picture.rgba.data()), picture.rgba.size(),
                                               picture.width, picture.height, 4, VIPS_FORMAT_UCHAR);
  const VImage deep = (image.extract_band(0, VImage::option()->set("n", 3)).cast(VIPS_FORMAT_USHORT) * 257)
                          .cast(VIPS_FORMAT_USHORT)
                          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  deep.write_to_file(path.c_str());
}

void save_grey(const std::string& path, const test_support::grey_image& picture, int orientation,
               const std::string& options) {
  lacewright_tool::start_libvips();
  const VImage image = VImage::new_from_memory(const_cast<uint8_t*>(picture.samples.data()), picture.samples.size(),
                                               picture.width, picture.height, 1, VIPS_FORMAT_UCHAR);
  save(image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W)), path, orientation, options);
}

rgba_image read_rgba(const std::string& path) {
  lacewright_tool::start_libvips();
  VImage image = VImage::new_from_file(path.c_str());
  if (image.bands() == 3) image = image.bandjoin_const({255});
  rgba_image out{image.width(), image.height(), {}};
  std::size_t size = 0;
  auto* bytes = static_cast<uint8_t*>(image.write_to_memory(&size));
  out.rgba.assign(bytes, bytes + size);
  g_free(bytes);
  return out;
}

std::vector<std::string> enlarged_set(const std::string& set, const std::filesystem::path& folder, int width,
                                      int height, int orientation) {
  lacewright_tool::start_libvips();
  std::vector<std::string> paths;
  std::filesystem::create_directories(folder);
  for (const auto& source : test_support::photograph_set(set)) {
    const VImage image = VImage::new_from_file(source.c_str());
    const VImage resized = image.resize(static_cast<double>(width) / image.width(),
                                        VImage::option()->set("vscale", static_cast<double>(height) / image.height()));
    const std::string path = (folder / (source.stem().string() + ".jpg")).string();
    save(resized.extract_band(0, VImage::option()->set("n", 3)), path, orientation, "[Q=92]");
    paths.push_back(path);
  }
  return paths;
}

}  // namespace tool_test
