// Keypoint detection after Lowe, "Distinctive image features from
// scale-invariant keypoints" (IJCV 2004), sections 3 to 5.
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "host/extremum_kernels.h"
#include "host/extremum_refinement.h"
#include "host/keypoint_jobs.h"
#include "host/octave_planes.h"
#include "records/scale_space.h"

namespace host {
namespace {

// Candidates below half the contrast threshold cannot reach it after
// refinement in practice; the cut saves the neighbourhood test.
constexpr float candidate_share = 0.5f;
constexpr std::size_t orientation_bins = 36;
constexpr int orientation_smoothing_passes = 6;
constexpr float orientation_peak_ratio = 0.8f;  // secondary peaks within 80 % of the highest
constexpr std::size_t octave_limit = 64;

// Offsets of the octave's extrema in extrema_list_a: octave o holds
// [start[o], start[o + 1]).
using octave_starts = std::array<std::size_t, octave_limit + 1>;

// The rows of one level of differences D_l = g_l (L_(l+1) - L_l) that the
// search needs, made as the search goes down the octave instead of as a
// whole plane written and read back. A tall octave keeps a ring of three
// rows, each stored twice (at slots r mod 3 and r mod 3 + 3) so that any
// three consecutive rows lie one after another, as the search reads them;
// an octave of fewer than six rows, for which six rows might not fit the
// storage, keeps them all.
class difference_rows {
 public:
  difference_rows(const octave_planes& planes, std::size_t level, float* storage)
      : upper_(planes.level(level + 1).samples),
        lower_(planes.level(level).samples),
        gain_(planes.gain(level)),
        width_(static_cast<std::size_t>(planes.width())),
        ring_(planes.height() >= 6),
        storage_(storage) {}

  // Row y, computed into its slots.
  void make(std::size_t y) {
    const float* upper = upper_ + y * width_;
    const float* lower = lower_ + y * width_;
    float* out = storage_ + slot(y) * width_;
    if (ring_) {
      float* twin = out + 3 * width_;
      for (std::size_t x = 0; x < width_; ++x) out[x] = twin[x] = gain_ * (upper[x] - lower[x]);
    } else {
      for (std::size_t x = 0; x < width_; ++x) out[x] = gain_ * (upper[x] - lower[x]);
    }
  }

  // Rows y - 1, y and y + 1, one after another.
  const float* window(std::size_t y) const { return storage_ + slot(y - 1) * width_; }

 private:
  std::size_t slot(std::size_t y) const { return ring_ ? y % 3 : y; }

  const float* upper_;
  const float* lower_;
  float gain_;
  std::size_t width_;
  bool ring_;
  float* storage_;
};

// Extrema of level l of differences, row by row, into the candidate list
// until it is full. A row is searched a stretch of columns at a time, so
// that the columns found fit on the stack. The three work planes hold the
// rows of the differences below, at and above the level.
void find_candidates(scale_space& record, const octave_planes& planes, std::size_t l, float threshold) {
  difference_rows below(planes, l - 1, record.work_image_a.samples);
  difference_rows here(planes, l, record.work_image_b.samples);
  difference_rows above(planes, l + 1, record.work_image_c.samples);
  difference_rows* const levels[3] = {&below, &here, &above};
  const auto w = static_cast<std::size_t>(planes.width()), h = static_cast<std::size_t>(planes.height());
  for (difference_rows* rows : levels) {
    rows->make(0);
    rows->make(1);
  }
  auto& candidates = record.candidate_list;
  constexpr std::size_t stretch = 64;
  uint32_t columns[stretch];
  for (std::size_t y = 1; y + 1 < h; ++y) {
    for (difference_rows* rows : levels) rows->make(y + 1);
    for (std::size_t first = 0; first < w; first += stretch) {
      // Row 1 of the three rows from y - 1 on is row y.
      const std::size_t found = extrema_in_row(below.window(y), here.window(y), above.window(y), w, 1,
                                               {first, first + stretch}, threshold, columns);
      for (std::size_t k = 0; k < found; ++k) {
        if (candidates.size() == candidates.capacity()) return;  // the work area is full
        candidates.push_back({static_cast<uint32_t>(y * w + columns[k]), static_cast<uint32_t>(l)});
      }
    }
  }
}

// The extrema of one octave into extrema_list_a.
void detect_octave(scale_space& record, uint64_t octave, const detection_limits& limits) {
  const octave_planes planes(record, octave);
  if (planes.width() < 3 || planes.height() < 3) return;
  const std::size_t samples = static_cast<std::size_t>(planes.width() * planes.height());
  std::fill_n(record.pixel_flags.data(), samples, uint8_t{0});

  record.candidate_list.clear();
  for (uint64_t l = 1; l <= limits.levels; ++l) find_candidates(record, planes, l, candidate_share * limits.contrast);

  for (const sift_candidate& candidate : record.candidate_list) {
    sift_extremum extremum;
    int64_t index = 0;
    std::size_t level = 0;
    if (!refine_extremum(planes, limits, candidate, extremum, index, level)) continue;
    // Several candidates can converge on one sample and level: keep the first.
    uint8_t& flags = record.pixel_flags[static_cast<std::size_t>(index)];
    const auto bit = static_cast<uint8_t>(1u << std::min<std::size_t>(level, 7));
    if (flags & bit) continue;
    flags |= bit;
    if (record.extrema_list_a.size() == record.extrema_list_a.capacity()) return;
    record.extrema_list_a.push_back(extremum);
  }
}

// Keeps the `target` strongest extrema, in their order; of equal responses
// at the cut, the earlier ones.
void keep_strongest(scale_space& record, octave_starts& starts, std::size_t octaves, std::size_t target) {
  auto& extrema = record.extrema_list_a;
  if (extrema.size() <= target) return;
  auto& responses = record.extrema_list_b;
  responses.assign(extrema.begin(), extrema.end());
  const auto stronger = [](const sift_extremum& a, const sift_extremum& b) { return a.response > b.response; };
  std::nth_element(responses.begin(), responses.begin() + static_cast<std::ptrdiff_t>(target - 1),
                   responses.end(), stronger);
  const float cut = responses[target - 1].response;
  const auto above_cut = static_cast<std::size_t>(
      std::count_if(extrema.begin(), extrema.end(), [&](const sift_extremum& e) { return e.response > cut; }));
  std::size_t ties_left = target - above_cut;

  std::size_t kept = 0;
  for (std::size_t o = 0; o < octaves; ++o) {
    const std::size_t begin = starts[o], end = starts[o + 1];
    starts[o] = kept;
    for (std::size_t i = begin; i < end; ++i) {
      const bool keep = extrema[i].response > cut || (extrema[i].response == cut && ties_left > 0);
      if (!keep) continue;
      if (extrema[i].response == cut) --ties_left;
      extrema[kept++] = extrema[i];
    }
  }
  starts[octaves] = kept;
  extrema.resize(kept);
}

// Lowe's orientation histogram: 36 bins of gradient directions around the
// keypoint, weighted by magnitude and a Gaussian of orientation_sigma_factor
// times its scale, smoothed; every peak within 80 % of the highest gives an
// orientation, refined by a parabola through the peak and its neighbours.
std::size_t dominant_orientations(const octave_planes& planes, const scale_space& record,
                                  const sift_extremum& extremum, float angles[orientation_bins]) {
  const auto level_index = static_cast<std::size_t>(std::lround(extremum.level));
  const float_image& plane = planes.level(level_index);
  const float window_sigma = record.orientation_sigma_factor * planes.sigma_at(extremum.level);
  const auto radius = static_cast<int64_t>(std::lround(3.0f * window_sigma));
  const gaussian_profile profile(radius, -1.0f / (2.0f * window_sigma * window_sigma));
  const int64_t cx = std::lround(extremum.x), cy = std::lround(extremum.y);

  std::array<float, orientation_bins> histogram{};
  for_each_gradient(plane, cx, cy, radius, [&](int64_t i, int64_t j, float magnitude, float direction) {
    const auto bin = std::min(static_cast<std::size_t>(direction * (orientation_bins / two_pi)), orientation_bins - 1);
    histogram[bin] += profile(i) * profile(j) * magnitude;
  });
  for (int pass = 0; pass < orientation_smoothing_passes; ++pass) {
    const float first = histogram[0];
    float previous = histogram[orientation_bins - 1];
    for (std::size_t b = 0; b < orientation_bins; ++b) {
      const float next = b + 1 < orientation_bins ? histogram[b + 1] : first;
      const float current = histogram[b];
      histogram[b] = (previous + current + next) / 3.0f;
      previous = current;
    }
  }
  const float highest = *std::max_element(histogram.begin(), histogram.end());
  std::size_t count = 0;
  for (std::size_t b = 0; b < orientation_bins; ++b) {
    const float left = histogram[(b + orientation_bins - 1) % orientation_bins];
    const float right = histogram[(b + 1) % orientation_bins];
    const float centre = histogram[b];
    if (!(centre > left && centre > right && centre >= orientation_peak_ratio * highest)) continue;
    const float offset = 0.5f * (left - right) / (left - 2.0f * centre + right);
    angles[count++] = wrap_angle((static_cast<float>(b) + 0.5f + offset) * (two_pi / orientation_bins));
  }
  return count;
}

void orient_octave(scale_space& record, uint64_t octave, std::size_t begin, std::size_t end) {
  const octave_planes planes(record, octave);
  auto& keypoints = record.keypoints[octave];
  for (std::size_t i = begin; i < end; ++i) {
    const sift_extremum& extremum = record.extrema_list_a[i];
    float angles[orientation_bins];
    const std::size_t count = dominant_orientations(planes, record, extremum, angles);
    for (std::size_t a = 0; a < count; ++a) {
      if (keypoints.size() == keypoints.capacity()) return;
      keypoints.push_back({extremum.x, extremum.y, extremum.level, angles[a]});
    }
  }
}

void detect_record(scale_space& record) {
  const detection_limits limits{record.levels_per_octave, record.contrast_threshold, record.edge_threshold};
  const std::size_t octaves = std::min<std::size_t>(record.octave_count, octave_limit);
  record.extrema_list_a.clear();
  for (auto& list : record.keypoints) list.clear();
  if (record.levels_per_octave == 0 || record.levels_per_octave > 7) return;

  octave_starts starts{};
  for (std::size_t o = 0; o < octaves; ++o) {
    starts[o] = record.extrema_list_a.size();
    detect_octave(record, o, limits);
  }
  starts[octaves] = record.extrema_list_a.size();
  keep_strongest(record, starts, octaves, static_cast<std::size_t>(std::max<uint64_t>(record.keypoint_target, 1)));
  for (std::size_t o = 0; o < octaves; ++o) orient_octave(record, o, starts[o], starts[o + 1]);
}

}  // namespace

void detect_keypoints(std::vector<scale_space>* batch) {
  const auto count = static_cast<std::ptrdiff_t>(batch->size());
#pragma omp parallel for schedule(dynamic, 1)
  for (std::ptrdiff_t r = 0; r < count; ++r) detect_record((*batch)[static_cast<std::size_t>(r)]);
}

}  // namespace host
