#include "session/left_out_images.h"

#include "session/image_placement.h"

namespace lacewright_tool {
namespace {

// Whether each image lies in a group of two or more, where the group kept it.
std::vector<bool> aligned_images(const alignment& run) {
  std::vector<bool> aligned(run.images.size(), false);
  for (const result_group& group : groups_of(run.results)) {
    if (group.positions.size() < 2) continue;
    for (const std::size_t position : group.positions) {
      const auto sheet = static_cast<std::size_t>(run.results.sheetID[position]);
      if (sheet < aligned.size()) aligned[sheet] = run.results.renderable[position];
    }
  }
  return aligned;
}

// Whether each image is in the results at all: frames without any
// structure are refused before features are looked for.
std::vector<bool> reported_images(const alignment& run) {
  std::vector<bool> reported(run.images.size(), false);
  for (const int32_t sheet : run.results.sheetID) {
    if (static_cast<std::size_t>(sheet) < reported.size()) reported[static_cast<std::size_t>(sheet)] = true;
  }
  return reported;
}

const char* reason_for(std::size_t image, bool reported, const std::vector<pair_outcome>& pairs) {
  if (!reported) return "blank";
  bool matched = false, accepted = false;
  for (const pair_outcome& pair : pairs) {
    if (static_cast<std::size_t>(pair.first_sheet) != image && static_cast<std::size_t>(pair.second_sheet) != image) {
      continue;
    }
    matched = true;
    accepted = accepted || pair.accepted;
  }
  if (!matched) return "no match";
  return accepted ? "not kept by its group" : "too few inliers";
}

}  // namespace

std::vector<lacewright::left_out_image> left_out_images(const alignment& run) {
  std::vector<lacewright::left_out_image> left_out;
  for (const duplicate_image& duplicate : run.duplicates) {
    left_out.push_back({duplicate.file, std::nullopt, "duplicate", duplicate.original});
  }
  const std::vector<bool> aligned = aligned_images(run), reported = reported_images(run);
  for (std::size_t image = 0; image < run.images.size(); ++image) {
    if (aligned[image]) continue;
    left_out.push_back({run.images[image].name, image, reason_for(image, reported[image], run.pairs), {}});
  }
  return left_out;
}

}  // namespace lacewright_tool
