#include "tools/engine_alignment.h"

#include "plugin/align_image_list.h"
#include "plugin/alignment_report.h"
#include "plugin/image_list.h"
#include "plugin/script_value.h"

namespace lacewright_tool {

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
  observe_rotation_groups([&cameras = run->cameras](std::span<const group_camera> group) {
    for (const group_camera& camera : group) cameras.at(static_cast<std::size_t>(camera.sheet)) = camera;
  });
  std::vector<char> report(report_capacity);
  int32_t status = status_ok;
  try {
    status = align_image_list(requested_type, run->results, report);
  } catch (...) {
    observe_rotation_groups({});
    throw;
  }
  observe_rotation_groups({});
  if (status != status_ok) {
    throw plugin_status_error("too many images for one report (at most 105 can be reported)", status_no_memory);
  }
  run->report = report.data();
  run->images = std::move(images_);
  images_.clear();
  return run;
}

}  // namespace lacewright_tool
