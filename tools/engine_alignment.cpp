#include "tools/engine_alignment.h"

#include "sources/align_image_list.h"
#include "sources/alignment_report.h"
#include "sources/image_list.h"
#include "sources/script_value.h"

namespace lacewright_tool {

engine_alignment::engine_alignment() : session_(".") {}

void engine_alignment::add_image(const pixel_image& image, const std::string& name) {
  session_.add_image(image, name);
  images_.push_back({name, image.width, image.height, imageList.back().reduction_level, image.orientation});
}

std::unique_ptr<alignment> engine_alignment::align(int32_t requested_type) {
  auto run = std::make_unique<alignment>();
  run->type = requested_type;
  std::vector<char> report(report_capacity);
  if (align_image_list(requested_type, run->results, report) != status_ok) {
    throw plugin_status_error("too many images for one report (at most 105 can be reported)", status_no_memory);
  }
  run->report = report.data();
  run->images = std::move(images_);
  images_.clear();
  return run;
}

}  // namespace lacewright_tool
