// The engine draws 15 bits from each rand() call and never more: the
// reports of the shared photograph sets, under both pipelines, do not change
// when the generator's bits above the lowest 15 do.
//
// This program defines rand() itself, in place of the C library's, for the
// plug-in it loads: a generator whose lowest 15 bits follow one fixed
// sequence (the classic linear congruential one) and whose bits above them
// are chosen by the test.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "photographs.h"
#include "photographs/image_file.h"
#include "session/plugin_session.h"

namespace {

uint32_t state = 1;
uint32_t upper_bits = 0;  // xor-ed into bits 15 to 30 of every value
uint64_t calls = 0;

// The generator from its start, with `upper` above the 15 bits that count.
void restart_generator(uint32_t upper) {
  state = 1;
  upper_bits = upper & 0xFFFFu;
  calls = 0;
}

}  // namespace

// Visible to the plug-in, which takes rand() from the program it is loaded in.
extern "C" __attribute__((visibility("default"))) int rand() noexcept {
  state = state * 1103515245u + 12345u;
  ++calls;
  const uint32_t low = (state >> 16) & 0x7FFFu;
  // Bits that move with every call, so that no draw can mistake them for a
  // constant offset.
  const uint32_t high = (upper_bits ^ (state & 0xFFFFu) * upper_bits) & 0xFFFFu;
  return static_cast<int>(high << 15 | low);
}

namespace {

using namespace lacewright_tool;

std::string report_of(const std::vector<pixel_image>& pictures, int32_t type) {
  plugin_session session(".");
  for (const pixel_image& picture : pictures) session.add_image(picture, "photograph");
  return session.align(type);
}

class RandomBits : public testing::TestWithParam<const char*> {};

TEST_P(RandomBits, reports_do_not_change_with_the_generators_bits_above_the_lowest_15) {
  const auto paths = test_support::photograph_set(GetParam());
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  std::vector<pixel_image> pictures;
  for (const auto& path : paths) pictures.push_back(read_image_file(path.string()).picture);
  for (const int32_t type : {1, -1}) {
    SCOPED_TRACE(type);
    restart_generator(0);
    const std::string plain = report_of(pictures, type);
    EXPECT_GT(calls, 0u);  // the pair stage does draw
    restart_generator(0xB5C3);
    EXPECT_EQ(plain, report_of(pictures, type));
  }
}

INSTANTIATE_TEST_SUITE_P(SharedSets, RandomBits, testing::Values("hill", "ledge", "pier", "rainier", "uttower"));

}  // namespace
