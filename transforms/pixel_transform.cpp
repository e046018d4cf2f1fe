#include "transforms/pixel_transform.h"

#include <cstdio>

#include "platform/debug_channel.h"

// Defined here, with every virtual operation, so that the class's virtual
// table lives only inside the library.
PixelTransform::~PixelTransform() = default;

void PixelTransform::debugPrint() const { OutputDebugStringA("No debug print\n"); }

void PixelTransform::getOffset(double*, double*) const {
  std::printf("Transform kind: %d has no getOffset\n", kind);
}
