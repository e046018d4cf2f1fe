#include "pipeline/condition_frame.h"

#include <array>
#include <cstddef>
#include <numeric>

#include "platform/host_suites.h"

namespace {

using histogram_counts = std::array<uint64_t, 256>;

// Levels 0 to 69 are dark and 186 to 255 bright; a frame is stretched when
// more than 60 per cent of its samples fall in one of the two ends.
constexpr int dark_end = 70;
constexpr int bright_start = 186;

// The first level whose running count exceeds `median_count`, walking from
// `first` towards `last` (inclusive); -1 when none does.
int median_level(const histogram_counts& counts, int first, int last, int64_t median_count) {
  const int step = first <= last ? 1 : -1;
  int64_t running = 0;
  for (int level = first; level != last + step; level += step) {
    running += static_cast<int64_t>(counts[level]);
    if (running > median_count) return level;
  }
  return -1;
}

void apply_gain(uint8_t* pixels, std::size_t count, double gain) {
  std::array<uint8_t, 256> mapped;
  for (int level = 0; level < 256; ++level) {
    const int64_t scaled = static_cast<int64_t>(level * gain);
    mapped[level] = static_cast<uint8_t>(scaled > 255 ? 255 : scaled < 0 ? 0 : scaled);
  }
  for (std::size_t i = 0; i < count; ++i) pixels[i] = mapped[pixels[i]];
}

}  // namespace

bool ConditionFrame(int32_t height, int32_t width, uint8_t* pixels) {
  if (height <= 0 || width <= 0 || !pixels) return false;
  histogram_counts counts{};
  host::entry(host::histogram_entry)(pixels, height, width, width, counts.data());

  const int64_t total = static_cast<int32_t>(static_cast<uint32_t>(width) * static_cast<uint32_t>(height));
  const int64_t limit = total * 60 / 100;
  // Black samples count towards neither side of the median.
  const int64_t median_count = (total - static_cast<int64_t>(counts[0])) * 50 / 100;
  if (static_cast<int64_t>(counts[0]) == total || static_cast<int64_t>(counts[255]) == total) {
    return false;
  }

  const auto low = static_cast<int64_t>(std::accumulate(counts.begin(), counts.begin() + dark_end, uint64_t{0}));
  const auto high = static_cast<int64_t>(std::accumulate(counts.begin() + bright_start, counts.end(), uint64_t{0}));
  int median;
  if (low > limit) {
    median = median_level(counts, 1, 255, median_count);
  } else if (high > limit) {
    median = median_level(counts, 255, 1, median_count);
  } else {
    return true;
  }
  if (median <= 0 || median == 255 || median == 127) return true;

  apply_gain(pixels, static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 127.0 / median);
  return true;
}
