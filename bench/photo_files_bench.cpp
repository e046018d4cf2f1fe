// Photographs as cameras write them, through the tool: the time and memory
// to read a 27-megapixel JPEG and a 16-bit TIFF of the same size, beside a
// plain full-size decode, and the whole tool on a folder of twenty such
// JPEGs with one and with two threads.
//
// The pictures are views of a shared photograph rendered by a camera that
// turns about its centre, 6000 x 4500 pixels, with a little sensor noise
// so that the files are as large as a camera's (about 8 MB at quality 92).
//
//   photo_files_bench [FOLDER]    FOLDER keeps the pictures between runs
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vips/vips8>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "photographs.h"
#include "photographs/image_file.h"
#include "photographs/libvips_start.h"
#include "turning_views.h"

namespace {

using clock_type = std::chrono::steady_clock;
using vips::VImage;

constexpr int width = 6000, height = 4500, view_count = 20;

double milliseconds_since(clock_type::time_point start) {
  return std::chrono::duration<double, std::milli>(clock_type::now() - start).count();
}

// One view: every pixel a bilinear sample of the photograph through the
// camera's turn (one sample a pixel: the views enlarge the photograph).
std::vector<uint8_t> render_view(const test_support::grey_image& photograph, double yaw, double pitch,
                                 std::mt19937& noise_source) {
  const double source_focal = 600.0, focal = 5000.0;
  const double sx = (photograph.width - 1) / 2.0, sy = (photograph.height - 1) / 2.0;
  const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0;
  const double cy_ = std::cos(yaw), sy_ = std::sin(yaw), cp = std::cos(pitch), sp = std::sin(pitch);
  // Camera to scene: yaw about the vertical, then pitch.
  const double r[9] = {cy_, sy_ * sp, sy_ * cp, 0, cp, -sp, -sy_, cy_ * sp, cy_ * cp};
  std::vector<uint8_t> pixels(static_cast<std::size_t>(width) * height);
#pragma omp parallel for schedule(static)
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double u = (x - cx) / focal, v = (y - cy) / focal;
      const double X = r[0] * u + r[1] * v + r[2], Y = r[3] * u + r[4] * v + r[5], Z = r[6] * u + r[7] * v + r[8];
      const double px = source_focal * X / Z + sx, py = source_focal * Y / Z + sy;
      uint8_t value = 0;
      if (Z > 0 && px >= 0 && py >= 0 && px < photograph.width - 1 && py < photograph.height - 1) {
        const int x0 = static_cast<int>(px), y0 = static_cast<int>(py);
        const double fx = px - x0, fy = py - y0;
        const auto at = [&](int i, int j) { return double(photograph.samples[std::size_t(j) * photograph.width + i]); };
        value = static_cast<uint8_t>((1 - fy) * ((1 - fx) * at(x0, y0) + fx * at(x0 + 1, y0)) +
                                     fy * ((1 - fx) * at(x0, y0 + 1) + fx * at(x0 + 1, y0 + 1)));
      }
      pixels[static_cast<std::size_t>(y) * width + x] = value;
    }
  }
  std::normal_distribution<double> noise(0.0, 5.0);
  for (uint8_t& p : pixels) p = static_cast<uint8_t>(std::clamp(p + noise(noise_source), 0.0, 255.0));
  return pixels;
}

VImage as_image(std::vector<uint8_t>& grey) {
  const VImage plane = VImage::new_from_memory(grey.data(), grey.size(), width, height, 1, VIPS_FORMAT_UCHAR);
  // A colour picture: the channels a little apart, as in a photograph.
  return plane.bandjoin({plane.linear(0.9, 8.0).cast(VIPS_FORMAT_UCHAR), plane.linear(0.8, 20.0).cast(VIPS_FORMAT_UCHAR)})
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

std::vector<std::string> make_pictures(const std::filesystem::path& folder, std::string& tiff) {
  std::filesystem::create_directories(folder);
  std::vector<std::string> jpegs;
  for (int k = 0; k < view_count; ++k) {
    jpegs.push_back((folder / ("view" + std::to_string(100 + k) + ".jpg")).string());
  }
  tiff = (folder / "deep.tif").string();
  if (std::filesystem::exists(tiff)) return jpegs;
  const auto paths = test_support::photograph_set("uttower");
  if (paths.empty()) {
    std::fprintf(stderr, "photo_files_bench: no photograph folder (set LACEWRIGHT_DATA_DIR)\n");
    std::exit(0);
  }
  const test_support::grey_image photograph = test_support::read_grey(paths[0]);
  std::mt19937 noise_source(5);
  constexpr double degree = 3.141592653589793 / 180.0;
  for (int k = 0; k < view_count; ++k) {
    std::vector<uint8_t> grey = render_view(photograph, (-9.0 + 2.0 * (k % 10)) * degree,
                                            (k < 10 ? -2.5 : 2.5) * degree, noise_source);
    const VImage picture = as_image(grey);
    picture.write_to_file((jpegs[static_cast<std::size_t>(k)] + "[Q=92]").c_str());
    if (k == 0) (picture.cast(VIPS_FORMAT_USHORT) * 257).cast(VIPS_FORMAT_USHORT)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16))
        .write_to_file(tiff.c_str());
  }
  return jpegs;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// The peak resident memory, in MB, of this program started afresh to read
// one file in `way` ("tool" or "full"): a process of its own, so that
// nothing else it ever held counts.
double peak_megabytes(const char* self, const char* way, const std::string& file) {
  const pid_t child = fork();
  if (child == 0) {
    execl(self, self, "--read", way, file.c_str(), static_cast<char*>(nullptr));
    std::_Exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  return usage.ru_maxrss / 1024.0;
}

void full_size_decode(const std::string& path) {
  const VImage image = VImage::new_from_file(path.c_str(), VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
  std::size_t size = 0;
  g_free(image.write_to_memory(&size));
}

void tool_read(const std::string& path) { lacewright_tool::read_image_file(path); }

void print_reading(const char* self, const char* what, const char* way, const std::vector<std::string>& files) {
  const auto read = std::string(way) == "tool" ? tool_read : full_size_decode;
  std::vector<double> times;
  for (const std::string& file : files) {
    const auto start = clock_type::now();
    read(file);
    times.push_back(milliseconds_since(start));
  }
  const double memory = peak_megabytes(self, way, files.front());
  std::printf("  %-40s %8.1f ms   peak %6.1f MB\n", what, median(times), memory);
}

// The tool on the folder: its wall time and its own summary of stages.
void run_tool(const std::filesystem::path& folder, int threads) {
  const std::string summary = (std::filesystem::temp_directory_path() / "photo_files_bench.txt").string();
  const std::string command = "OMP_NUM_THREADS=" + std::to_string(threads) + " VIPS_CONCURRENCY=" +
                              std::to_string(threads) + " " + LACEWRIGHT_TOOL + " " + folder.string() +
                              " >/dev/null 2>" + summary;
  const auto start = clock_type::now();
  const int status = std::system(command.c_str());
  const double seconds = milliseconds_since(start) / 1000.0;
  std::printf("  %d thread%s: %.2f s%s\n", threads, threads == 1 ? " " : "s", seconds,
              status == 0 ? "" : " (the tool failed)");
  if (FILE* in = std::fopen(summary.c_str(), "r")) {
    char line[512];
    while (std::fgets(line, sizeof line, in)) std::printf("    %s", line);
    std::fclose(in);
  }
}

}  // namespace

int main(int argc, char** argv) {
  setenv("VIPS_CONCURRENCY", "1", 1);  // reading is timed on one thread
  lacewright_tool::start_libvips();
  if (argc == 4 && std::string(argv[1]) == "--read") {
    (std::string(argv[2]) == "tool" ? tool_read : full_size_decode)(argv[3]);
    return 0;
  }
  const std::filesystem::path folder =
      argc > 1 ? std::filesystem::path(argv[1]) : std::filesystem::temp_directory_path() / "lacewright_photo_files";
  std::string tiff;
  const std::vector<std::string> jpegs = make_pictures(folder, tiff);
  double megabytes = 0.0;
  for (const std::string& file : jpegs) megabytes += std::filesystem::file_size(file) / 1e6;
  std::printf("%d JPEGs of %d x %d (%.1f MB each on average), one 16-bit TIFF (%.0f MB) in %s\n", view_count, width,
              height, megabytes / view_count, std::filesystem::file_size(tiff) / 1e6, folder.c_str());

  std::printf("reading one picture, one thread (median over the files):\n");
  print_reading(argv[0], "tool, JPEG reduced while decoded", "tool", jpegs);
  print_reading(argv[0], "full-size JPEG decode, for comparison", "full", jpegs);
  const std::vector<std::string> tiffs(5, tiff);
  print_reading(argv[0], "tool, 16-bit TIFF", "tool", tiffs);
  print_reading(argv[0], "full-size 16-bit TIFF decode", "full", tiffs);

  std::filesystem::create_directories(folder / "jpegs");
  for (const std::string& file : jpegs) {
    const auto link = folder / "jpegs" / std::filesystem::path(file).filename();
    if (!std::filesystem::exists(link)) std::filesystem::create_symlink(file, link);
  }
  std::printf("the tool on the %d JPEGs:\n", view_count);
  run_tool(folder / "jpegs", 1);
  run_tool(folder / "jpegs", 2);
  return 0;
}
