#include "session/engine_alignment.h"

#include "plugin/align_image_list.h"
#include "plugin/alignment_report.h"
#include "plugin/image_list.h"
#include "plugin/script_value.h"

namespace lacewright_tool {
namespace {

// What the engine tells the run while it works, collected into the run's
// record; the observers go when the run ends, however it ends.
class run_observers {
 public:
  explicit run_observers(alignment& run) {
    observe_rotation_groups([&cameras = run.cameras](std::span<const group_camera> group) {
      for (const group_camera& camera : group) cameras.at(static_cast<std::size_t>(camera.sheet)) = camera;
    });
    observe_pair_outcomes([&pairs = run.pairs](std::span<const pair_outcome> accepted) {
      pairs.assign(accepted.begin(), accepted.end());
    });
  }
  ~run_observers() {
    observe_rotation_groups({});
    observe_pair_outcomes({});
  }
  run_observers(const run_observers&) = delete;
  run_observers& operator=(const run_observers&) = delete;
};

}  // namespace

engine_alignment::engine_alignment() : session_(".") {}

void engine_alignment::add_image(const image_file& image) {
  session_.add_image(image.picture, image.path);
  // The frame intake kept tells how far the picture was reduced in all.
  const AlignFrame& frame = imageList.back();
  images_.push_back({image.path, image.width, image.height, image.orientation,
                     frame_scale::between(image.width, image.height, frame.width, frame.height)});
}

std::unique_ptr<alignment> engine_alignment::align(int32_t requested_type) {
  auto run = std::make_unique<alignment>();
  run->type = requested_type;
  run->cameras.resize(images_.size());
  std::vector<char> report(report_capacity);
  int32_t status = status_ok;
  {
    const run_observers observers(*run);
    status = align_image_list(requested_type, run->results, report);
  }
  if (status != status_ok) {
    throw plugin_status_error("too many images for one report (at most 105 can be reported)", status_no_memory);
  }
  run->report = report.data();
  run->images = std::move(images_);
  run->duplicates = std::move(duplicates_);
  images_.clear();
  duplicates_.clear();
  return run;
}

}  // namespace lacewright_tool
