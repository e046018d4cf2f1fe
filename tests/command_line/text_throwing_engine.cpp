// The tool's engine run replaced, for a test program built from the tool's
// own main, by one whose alignment fails as the view graph fails: with its
// message thrown as a plain character pointer.
#include "session/engine_alignment.h"

namespace lacewright_tool {

engine_alignment::engine_alignment() : session_(".") {}

void engine_alignment::add_image(const image_file& image) {
  images_.push_back({image.path, image.width, image.height, image.orientation, image.scale});
}

std::unique_ptr<alignment> engine_alignment::align(int32_t) {
  throw "nview_manager::get_component_graph(): component index is too large.";
}

}  // namespace lacewright_tool
