// Exposure gains: for each image of a group and each colour channel, the
// factor that makes the images agree where they overlap, so that a set shot
// on automatic exposure blends without steps. Fitted by least squares over
// the overlaps' mean colours, as Brown and Lowe compensate gains: every
// pair of overlapping images asks that their gained means agree, weighted
// by the overlap's size, and a weak pull of each gain towards 1 fixes the
// overall brightness, which the overlaps cannot tell.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace lacewright_tool {

using rgb = std::array<double, 3>;

// What two images show where both cover the group's output plane.
struct overlap_means {
  std::size_t first = 0;   // image numbers within the group
  std::size_t second = 0;
  double count = 0.0;      // how many points both cover
  rgb first_mean{};       // the first image's mean colour there
  rgb second_mean{};
};

// Gains of `images` images; an image in no overlap keeps gains of 1.
std::vector<rgb> exposure_gains(std::size_t images, const std::vector<overlap_means>& overlaps);

}  // namespace lacewright_tool
