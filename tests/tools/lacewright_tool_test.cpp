// The command-line tool as a person runs it: one clear line on stderr and a
// non-zero exit for every mistake, never a crash.
#include <gtest/gtest.h>
#include <stb_image_write.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "photographs.h"

namespace {

struct outcome {
  int exit_code;
  std::string out;
  std::string err;
};

std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class Tool : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("lacewright_tool_test_" + std::to_string(::getpid()) + "_" +
               testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  // Runs the tool in a fresh process; `environment` prefixes assignments.
  outcome run(const std::string& arguments, const std::string& environment = "") {
    const auto out = folder_ / "stdout", err = folder_ / "stderr";
    const std::string command = environment + " " + std::string(LACEWRIGHT_TOOL) + " " + arguments + " >" +
                                out.string() + " 2>" + err.string();
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
  }

  std::string grey_png(const std::string& name, int width, int height, uint8_t level) {
    const std::vector<uint8_t> samples(static_cast<std::size_t>(width) * height, level);
    const std::string path = (folder_ / name).string();
    EXPECT_TRUE(stbi_write_png(path.c_str(), width, height, 1, samples.data(), width));
    return path;
  }

  std::filesystem::path folder_;
};

void expect_one_line(const outcome& result, const std::string& fragment) {
  EXPECT_NE(0, result.exit_code);
  ASSERT_FALSE(result.err.empty());
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  EXPECT_EQ(0u, result.err.rfind("lacewright: ", 0)) << result.err;
  EXPECT_NE(std::string::npos, result.err.find(fragment)) << result.err;
}

TEST_F(Tool, prints_the_report_of_the_default_scene) {
  const outcome result = run("align --type 0");
  EXPECT_EQ(0, result.exit_code) << result.err;
  EXPECT_EQ(0u, result.out.rfind("({'sheetID':", 0)) << result.out;
  EXPECT_NE(std::string::npos, result.out.find("'overlap':[0.00000,0.00000,0.00000]"));
}

TEST_F(Tool, usage_mistakes_exit_with_2) {
  const outcome unknown = run("--frobnicate");
  expect_one_line(unknown, "unknown option '--frobnicate'");
  EXPECT_EQ(2, unknown.exit_code);
  expect_one_line(run("--type"), "--type needs a value");
  expect_one_line(run("--type=one"), "--type needs an integer");
  EXPECT_EQ(0, run("--help").exit_code);
}

TEST_F(Tool, unreadable_files_are_named) {
  expect_one_line(run((folder_ / "missing.png").string()), "missing.png");
  const auto fake = folder_ / "fake.png";
  std::ofstream(fake) << "not an image";
  expect_one_line(run(fake.string()), "cannot read '" + fake.string() + "'");
}

TEST_F(Tool, engine_refusals_become_clear_messages) {
  const std::string a = grey_png("a.png", 32, 24, 255);
  const std::string b = grey_png("b.png", 32, 24, 255);
  expect_one_line(run(a), "at least two images are needed");
  expect_one_line(run(a + " " + b), "fewer than two of the images are usable");
  expect_one_line(run("--type 12 " + a + " " + b), "unknown input type");
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
