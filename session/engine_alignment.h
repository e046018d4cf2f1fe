// An alignment run in the tool's own process through the engine's direct
// entries, so that the transform objects survive for the tool's outputs.
// Images go in through the script function addImage, as a host hands them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pipeline/pair_outcomes.h"
#include "pipeline/multi_view_params.h"
#include "pipeline/rotation_group_cameras.h"
#include "photographs/frame_scale.h"
#include "photographs/image_file.h"
#include "session/plugin_session.h"

namespace lacewright_tool {

// One image as it was handed in.
struct input_image {
  std::string name;
  int width = 0;   // of the image as given: full size, after its EXIF orientation
  int height = 0;
  int orientation = 1;  // EXIF orientation of the file: its pixels were turned to be given
  frame_scale scale;    // the frame the engine aligned against the image as given
};

// A file not handed in because it repeats another: the same file named
// twice, or the same pixels.
struct duplicate_image {
  std::string file;
  std::string original;
};

struct alignment {
  int32_t type = 0;
  std::string report;
  MultiViewParams results;
  std::vector<input_image> images;  // in the order given; sheet i is image i
  std::vector<duplicate_image> duplicates;  // in the order given
  // The refined camera of each image of a rotation group, by image number.
  std::vector<std::optional<group_camera>> cameras;
  // Every pair with matches, and the inlier matches of those the pair stage
  // accepted, in frame samples; sheets are image numbers.
  std::vector<pair_outcome> pairs;
};

class engine_alignment {
 public:
  engine_alignment();

  void add_image(const image_file& image);
  // Notes a file left out as a repeat of another, for the run's record.
  void add_duplicate(duplicate_image duplicate) { duplicates_.push_back(std::move(duplicate)); }
  // The images added since the last alignment.
  const std::vector<input_image>& images() const { return images_; }
  const std::vector<duplicate_image>& duplicates() const { return duplicates_; }

  // Aligns every image added so far. Throws plugin_status_error when the
  // report would not fit; exceptions of the engine pass through.
  std::unique_ptr<alignment> align(int32_t requested_type);

 private:
  plugin_session session_;
  std::vector<input_image> images_;
  std::vector<duplicate_image> duplicates_;
};

}  // namespace lacewright_tool
