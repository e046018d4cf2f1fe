// The tool when the engine fails with a plain text, as the view graph
// throws its messages: one sentence on stderr and the exit code of a failed
// alignment, as for every other failure.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "tool_test_support.h"

namespace {

TEST(ToolOnAnEngineTextFailure, says_so_in_one_sentence_with_the_exit_code_of_a_failed_alignment) {
  const auto folder = std::filesystem::temp_directory_path() / ("lacewright_text_failure_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string command = std::string(TEXT_THROWING_TOOL) + " --quiet >" + (folder / "stdout").string() + " 2>" +
                              (folder / "stderr").string();
  const int status = std::system(command.c_str());
  const std::string out = tool_test::slurp(folder / "stdout"), err = tool_test::slurp(folder / "stderr");
  std::filesystem::remove_all(folder);

  ASSERT_TRUE(WIFEXITED(status)) << err;
  EXPECT_EQ(1, WEXITSTATUS(status)) << err;
  EXPECT_EQ("lacewright: alignment failed: nview_manager::get_component_graph(): component index is too large.\n",
            err);
  EXPECT_TRUE(out.empty()) << out;
}

}  // namespace
