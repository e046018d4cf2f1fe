#include <memory>

#include "platform/host_suites.h"
#include "plugin/intake_reduction.h"
#include "plugin/lacewright.h"

namespace {

// One 2:1 reduction by the host; the old buffer goes only once the new one
// is written.
void halve(AlignFrame& frame) {
  const int32_t height = frame.height / 2;
  const int32_t width = frame.width / 2;
  const int32_t stride = frame.stride / 2;
  std::unique_ptr<uint8_t[]> reduced(new uint8_t[static_cast<std::size_t>(stride) * height]);
  host::entry(host::reduce_plane_entry)(frame.pixels, reduced.get(), height, width, frame.stride, 1, stride, 1, 2, 2);
  delete[] frame.pixels;
  frame.pixels = reduced.release();
  frame.height = height;
  frame.width = width;
  frame.stride = stride;
}

}  // namespace

void ShrinkImage(AlignFrame* frame) {
  if (!frame) return;
  for (int halvings = intake_halvings(frame->width, frame->height); halvings > 0; --halvings) halve(*frame);
}
