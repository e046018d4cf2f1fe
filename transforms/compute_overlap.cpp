#include "transforms/compute_overlap.h"

#include "transforms/debug_log.h"

double ComputeOverlap(PixelTransform* base, PixelTransform* xform, AlignFrame* /*frame*/) {
  if (!xform) {
    DebugLog("No xform, overlap= 0.0\n");
    return 0.0;
  }
  if (base && base == xform) {
    DebugLog("Same xform, overlap=1.0\n");
    return 1.0;
  }
  // Each transform family has its own measure; a kind without one has none.
  DebugLog("unknown transform, overlap=0.0\n");
  return 0.0;
}
