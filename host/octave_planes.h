// Reading one octave of a pyramid: Gaussian samples, their differences and
// their gradients.
#pragma once

#include <algorithm>
#include <utility>
#include <cmath>
#include <cstdint>

#include "host/gradient_kernels.h"
#include "records/scale_space.h"

namespace host {

// The blur variance of every level of an octave, in that octave's samples.
//
// The engine's taps integrate the Gaussian over each sample, so every filter
// step adds sigma^2 + 1/12 of variance, not sigma^2; and an octave starts
// from the level of twice the base blur of the octave below. The steps
// between levels are therefore not exactly geometric, and differ between the
// first octave and the others.
class level_variances {
 public:
  static constexpr std::size_t max_levels = 16;

  level_variances(const scale_space& record, uint64_t octave);

  double operator[](std::size_t level) const { return variance_[level]; }

  // The blur of a fractional level, interpolated geometrically between the
  // levels around it.
  float sigma_at(float level) const;

 private:
  double variance_[max_levels] = {};
  std::size_t count_ = 0;
};

// Scales each difference of Gaussians to what it would be with geometric
// steps of 2^(1/S), so that responses compare across levels and across the
// boundary between octaves as a scale-normalised Laplacian does.
class difference_gains {
 public:
  difference_gains(const level_variances& variances, uint64_t levels_per_octave);

  float operator[](std::size_t level) const { return gain_[level]; }

 private:
  float gain_[level_variances::max_levels] = {};
};

class octave_planes {
 public:
  octave_planes(const scale_space& record, uint64_t octave)
      : levels_(record.octaves[octave]),
        width_(levels_[0].width),
        height_(levels_[0].height),
        variances_(record, octave),
        gains_(variances_, record.levels_per_octave) {}

  int64_t width() const { return static_cast<int64_t>(width_); }
  int64_t height() const { return static_cast<int64_t>(height_); }
  const float_image& level(std::size_t l) const { return levels_[l]; }

  float gaussian(std::size_t l, int64_t x, int64_t y) const { return levels_[l].samples[y * width() + x]; }

  // The normalised difference of Gaussians D_l = g_l (L_(l+1) - L_l).
  float difference(std::size_t l, int64_t x, int64_t y) const {
    return gains_[l] * (gaussian(l + 1, x, y) - gaussian(l, x, y));
  }
  float gain(std::size_t l) const { return gains_[l]; }

  // The blur of a fractional level, in this octave's samples.
  float sigma_at(float level) const { return variances_.sigma_at(level); }

 private:
  const vector_slot<float_image>& levels_;
  uint64_t width_;
  uint64_t height_;
  level_variances variances_;
  difference_gains gains_;
};

inline constexpr float two_pi = 6.28318530717958647692f;

// An angle in (-2 pi, 4 pi) brought into [0, 2 pi).
inline float wrap_angle(float angle) {
  if (angle < 0.0f) angle += two_pi;
  if (angle >= two_pi) angle -= two_pi;
  return angle >= two_pi || angle < 0.0f ? 0.0f : angle;
}

// Samples of a window row whose gradients are worked out at once.
inline constexpr int64_t gradient_chunk = 64;

// Calls visit_row(i0, j, magnitude, direction, count) for the inner samples
// (one sample of margin on each side) around (cx, cy) with offsets j from
// -radius to radius and i within span(j), a pair of offsets clipped to the
// window; i and j are offsets from the centre. A call covers up to
// gradient_chunk samples of a row, i0 to i0 + count - 1, through the vector
// gradient kernel. The gradient arrays hold gradient_chunk samples.
template <class Span, class VisitRow>
void for_each_gradient_row(const float_image& plane, int64_t cx, int64_t cy, int64_t radius, Span span,
                           VisitRow visit_row) {
  const auto w = static_cast<int64_t>(plane.width), h = static_cast<int64_t>(plane.height);
  const int64_t y_begin = std::max<int64_t>(cy - radius, 1), y_end = std::min<int64_t>(cy + radius, h - 2);
  constexpr int64_t lanes = 8;
  alignas(32) float magnitude[gradient_chunk], direction[gradient_chunk];
  for (int64_t y = y_begin; y <= y_end; ++y) {
    const auto [first, last] = span(y - cy);
    const int64_t x_begin = std::max<int64_t>(cx + std::max(first, -radius), 1);
    const int64_t x_end = std::min<int64_t>(cx + std::min(last, radius), w - 2);
    for (int64_t x = x_begin; x <= x_end; x += gradient_chunk) {
      const int64_t count = std::min(gradient_chunk, x_end - x + 1);
      // Whole groups of eight, so that the vector kernel leaves no tail,
      // as long as the extra samples' neighbours are still in the plane;
      // their gradients are not visited.
      const int64_t whole = (count + lanes - 1) / lanes * lanes;
      const int64_t worked = (y + 1) * w + x + whole <= w * h ? whole : count;
      gradient_row(plane.samples, plane.width, static_cast<std::size_t>(y), static_cast<std::size_t>(x),
                   static_cast<std::size_t>(worked), magnitude, direction);
      visit_row(x - cx, y - cy, magnitude, direction, static_cast<std::size_t>(count));
    }
  }
}

// Calls visit(i, j, magnitude, direction) for every sample that
// for_each_gradient_row visits.
template <class Span, class Visit>
void for_each_gradient(const float_image& plane, int64_t cx, int64_t cy, int64_t radius, Span span, Visit visit) {
  for_each_gradient_row(plane, cx, cy, radius, span,
                        [&](int64_t i0, int64_t j, const float* magnitude, const float* direction, std::size_t count) {
                          for (std::size_t k = 0; k < count; ++k) {
                            visit(i0 + static_cast<int64_t>(k), j, magnitude[k], direction[k]);
                          }
                        });
}

// The whole square window.
template <class Visit>
void for_each_gradient(const float_image& plane, int64_t cx, int64_t cy, int64_t radius, Visit visit) {
  for_each_gradient(plane, cx, cy, radius, [radius](int64_t) { return std::pair<int64_t, int64_t>(-radius, radius); },
                    visit);
}

// exp(falloff d^2) for the offsets d = -radius to radius: a Gaussian window
// is separable, so a sample's weight is the product of its column's and its
// row's entries. The weights of the nearer distances are kept in a table on
// the stack, so that the jobs allocate nothing per keypoint; the default
// parameters' windows stay within it, and farther distances, which only
// other parameters reach, are computed when asked, to the same values.
class gaussian_profile {
 public:
  gaussian_profile(int64_t radius, float falloff) : falloff_(falloff), kept_(std::min(radius + 1, table_size)) {
    for (int64_t d = 0; d < kept_; ++d) weights_[d] = weight(d);
  }
  float operator()(int64_t d) const {
    const int64_t distance = d < 0 ? -d : d;
    return distance < kept_ ? weights_[distance] : weight(distance);
  }

 private:
  static constexpr int64_t table_size = 32;
  float weight(int64_t distance) const { return std::exp(falloff_ * static_cast<float>(distance * distance)); }

  float falloff_;
  int64_t kept_;
  float weights_[table_size];
};


}  // namespace host
