#include "outputs/exposure_gains.h"

#include <tuple>

#include "numerics/dense_matrix.h"
#include "numerics/linear_solve.h"

namespace lacewright_tool {
namespace {

// The spread of a colour between two images where they agree, in 8-bit
// levels, against that of a gain about 1: the pull towards 1 weighs a
// hundredth of the agreement of a mid-grey overlap, so that it settles the
// overall brightness and moves the gains between images by well under 1 %.
constexpr double colour_spread = 10.0;
constexpr double gain_spread = 1.0;

// The normal equations of one channel: for every overlap, the error
// (g_i m_i - g_j m_j)^2 / colour_spread^2 + (1 - g_i)^2 / gain_spread^2 of
// each image's side, weighted by the overlap's size.
std::vector<double> channel_gains(std::size_t images, const std::vector<overlap_means>& overlaps, int channel) {
  dense_matrix<double> normal(images, images);
  dense_vector<double> right(images), gains(images);
  const double agree = 1.0 / (colour_spread * colour_spread), pull = 1.0 / (gain_spread * gain_spread);
  for (std::size_t i = 0; i < images; ++i) {
    normal(i, i) = pull * 1e-9;  // an image without overlaps keeps its gain of 1
    right[i] = pull * 1e-9;
  }
  for (const overlap_means& overlap : overlaps) {
    for (const auto& [own, other, own_mean, other_mean] :
         {std::tuple{overlap.first, overlap.second, overlap.first_mean[channel], overlap.second_mean[channel]},
          std::tuple{overlap.second, overlap.first, overlap.second_mean[channel], overlap.first_mean[channel]}}) {
      const double n = overlap.count;
      normal(own, own) += n * (agree * own_mean * own_mean + pull);
      normal(own, other) -= n * agree * own_mean * other_mean;
      right[own] += n * pull;
    }
  }
  if (!solve_positive_definite(normal, right, gains)) return std::vector<double>(images, 1.0);
  return std::vector<double>(gains.data, gains.data + images);
}

}  // namespace

std::vector<rgb> exposure_gains(std::size_t images, const std::vector<overlap_means>& overlaps) {
  std::vector<rgb> gains(images, rgb{1.0, 1.0, 1.0});
  for (int channel = 0; channel < 3; ++channel) {
    const std::vector<double> channel_gain = channel_gains(images, overlaps, channel);
    for (std::size_t i = 0; i < images; ++i) gains[i][channel] = channel_gain[i];
  }
  return gains;
}

}  // namespace lacewright_tool
