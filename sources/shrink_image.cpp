#include <memory>

#include "host/host_suites.h"
#include "sources/lacewright.h"

namespace {
// Frames are halved until one side is at most this many samples.
constexpr int32_t intake_side_limit = 760;
}  // namespace

void ShrinkImage(AlignFrame* frame) {
  if (!frame) return;
  while (frame->height > intake_side_limit && frame->width > intake_side_limit) {
    const int32_t height = frame->height / 2;
    const int32_t width = frame->width / 2;
    const int32_t stride = frame->stride / 2;
    std::unique_ptr<uint8_t[]> reduced(new uint8_t[static_cast<std::size_t>(stride) * height]);
    host::entry(host::reduce_plane_entry)(frame->pixels, reduced.get(), height, width,
                                          frame->stride, 1, stride, 1, 2, 2);
    delete[] frame->pixels;
    frame->pixels = reduced.release();
    frame->height = height;
    frame->width = width;
    frame->stride = stride;
  }
}
