// The one random sample search of the engine: samples of a minimal size are
// solved in closed form, every candidate is scored over all the data, the
// best is kept, and the search stops once a clean sample has been drawn
// with the wanted confidence: once the count t of samples passes
// log(1 - confidence) / log(1 - w^k), w being the newest best candidate's
// share of inliers and k the sample size (a candidate that fits everything
// stops it at once). The test follows every sample that gave a candidate;
// whether it also follows one that gave none is the kernel's to say. The
// pair motions, the rotation pairs and the planes of the cameras' axes are
// kernels of it.
//
// A kernel K states its problem:
//   using model                  what a sample is solved into
//   using inlier_set             a mark per datum (a bit mask, bytes, ...)
//   std::size_t sample_size() const           the minimal sample
//   std::size_t data_size() const
//   inlier_set inlier_storage() const          sized, for score to fill
//   candidate_list<model, N> fit(std::span<const std::size_t> sample) const
//                                the candidates of a sample, none when it is
//                                degenerate
//   search_score score(const model&, inlier_set& inliers) const
//                                the cost over all the data, marking inliers
//   bool improves(const search_score& candidate, const search_score* best) const
//                                whether the candidate replaces the best so
//                                far (null before the first): each search has
//                                its own rule for ties
//   static constexpr bool confidence_test_after_failed_sample
//                                whether a sample that gave no candidate
//                                still ends with the confidence test, and so
//                                may stop the search
// A sampler S gives the samples: samples() of them, each next() a span of
// sample_size() indices, and random() tells whether they are drawn or every
// subset is walked.
#pragma once

#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

struct search_score {
  double cost = 0.0;
  std::size_t inliers = 0;
};

// Up to N candidates of one sample, on the stack.
template <class Model, std::size_t N>
struct candidate_list {
  std::array<Model, N> items;
  std::size_t count = 0;

  void add(const Model& candidate) { items[count++] = candidate; }
  bool empty() const { return count == 0; }
  const Model* begin() const { return items.data(); }
  const Model* end() const { return items.data() + count; }
};

template <class K>
concept search_kernel = requires(const K& kernel, std::span<const std::size_t> sample, const typename K::model& model,
                                 typename K::inlier_set& inliers, const search_score& score) {
  { kernel.sample_size() } -> std::convertible_to<std::size_t>;
  { kernel.data_size() } -> std::convertible_to<std::size_t>;
  { kernel.inlier_storage() } -> std::same_as<typename K::inlier_set>;
  { *kernel.fit(sample).begin() } -> std::convertible_to<const typename K::model&>;
  { kernel.score(model, inliers) } -> std::same_as<search_score>;
  { kernel.improves(score, &score) } -> std::same_as<bool>;
  { K::confidence_test_after_failed_sample } -> std::convertible_to<bool>;
};

template <class S>
concept sample_source = requires(S& sampler) {
  { sampler.samples() } -> std::convertible_to<uint64_t>;
  { sampler.random() } -> std::same_as<bool>;
  { sampler.next() } -> std::convertible_to<std::span<const std::size_t>>;
};

template <class Model, class InlierSet>
struct search_result {
  std::optional<Model> best;
  search_score score;
  InlierSet inliers;          // of the best
  bool confident = false;     // the confidence test ended the search
};

// x^e by repeated squaring.
constexpr double power_by_squaring(double x, std::size_t e) {
  double result = 1.0;
  for (;; x *= x) {
    if (e & 1) result *= x;
    if ((e >>= 1) == 0) return result;
  }
}

template <search_kernel Kernel, sample_source Sampler>
search_result<typename Kernel::model, typename Kernel::inlier_set> robust_search(const Kernel& kernel,
                                                                                  Sampler& sampler,
                                                                                  double confidence) {
  search_result<typename Kernel::model, typename Kernel::inlier_set> result{{}, {}, kernel.inlier_storage(), false};
  typename Kernel::inlier_set working = kernel.inlier_storage();
  const std::size_t n = kernel.data_size();
  const double target = std::log(1.0 - confidence);
  double log_miss = 0.0;  // no candidate yet: the test cannot pass
  for (uint64_t t = 1; t <= sampler.samples(); ++t) {
    const auto candidates = kernel.fit(sampler.next());
    for (const typename Kernel::model& candidate : candidates) {
      const search_score score = kernel.score(candidate, working);
      if (!kernel.improves(score, result.best ? &result.score : nullptr)) continue;
      result.best = candidate;
      result.score = score;
      result.inliers = working;
      const double w = static_cast<double>(score.inliers) / static_cast<double>(n);
      log_miss = std::log(1.0 - power_by_squaring(w, kernel.sample_size()));
    }
    if (candidates.empty() && !Kernel::confidence_test_after_failed_sample) continue;
    const bool fits_everything = result.best && result.score.inliers == n;
    if (fits_everything || target > static_cast<double>(t) * log_miss) {
      result.confident = true;
      break;
    }
  }
  return result;
}
