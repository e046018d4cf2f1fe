#include "transforms/compute_overlap.h"

#include <algorithm>
#include <cmath>

#include "transforms/cylindrical_transform.h"
#include "transforms/debug_log.h"
#include "transforms/distort_transform.h"
#include "transforms/int32_arithmetic.h"

namespace {

// Each side of `inner` within `outer`, boundaries included.
bool contains(const FrameRect& outer, const FrameRect& inner) {
  return inner.top >= outer.top && inner.left >= outer.left && inner.bottom <= outer.bottom &&
         inner.right <= outer.right;
}

// Areas are 32-bit products of 32-bit sides, as the rectangles are.
double area(const FrameRect& r) {
  return wrapping_product(wrapping_difference(r.bottom, r.top), wrapping_difference(r.right, r.left));
}

// The share of the base's bounds that the image's bounds cover. The base's
// area is the denominator: what is measured is how much of the reference
// view the image fills. Without a base the image is measured against its own
// frame.
double planar_overlap(const DistortTransform* base, const DistortTransform& xform, const FrameRect& source) {
  FrameRect base_rect = source;
  if (base) base->getBounds(&base_rect, &source);
  FrameRect xform_rect;
  xform.getBounds(&xform_rect, &source);
  DebugLog("baseRect: %d, %d, %d, %d; srcRect: %d, %d, %d, %d, xformRect: %d, %d, %d, %d\n", base_rect.left,
           base_rect.top, base_rect.right, base_rect.bottom, source.left, source.top, source.right, source.bottom,
           xform_rect.left, xform_rect.top, xform_rect.right, xform_rect.bottom);

  const bool base_contains_xform = contains(base_rect, xform_rect);
  if (base_contains_xform || contains(xform_rect, base_rect)) {
    DebugLog("%s, overlap=1.0\n", base_contains_xform ? "base contains xform" : "xform contains base");
    return 1.0;
  }
  const FrameRect common{std::max(base_rect.top, xform_rect.top), std::max(base_rect.left, xform_rect.left),
                         std::min(base_rect.bottom, xform_rect.bottom), std::min(base_rect.right, xform_rect.right)};
  if (common.bottom <= common.top || common.right <= common.left) {
    DebugLog("No overlap\n");
    return 0.0;
  }
  const double overlap = area(common) / area(base_rect);
  DebugLog("Dst Overlap=%5.3f\n", overlap);
  return overlap;
}

// A cylindrical group shares one origin: the image's own turn away from it
// says how much of the frame it still shares with the view at the origin, so
// the base does not enter the number. The base only matters when one of the
// two is a zoomed detail of the other (a focal length more than 1.25 times
// the other's): then containment of the bounds decides.
double cylindrical_overlap(const CylindricalTransform* base, const CylindricalTransform& xform,
                           const FrameRect& source) {
  constexpr double zoom_factor = 1.25;
  if (base) {
    FrameRect base_rect, xform_rect;
    base->getBounds(&base_rect, &source);
    xform.getBounds(&xform_rect, &source);
    if (xform.getFocalLength() > zoom_factor * base->getFocalLength() && contains(base_rect, xform_rect)) return 1.0;
    if (base->getFocalLength() > zoom_factor * xform.getFocalLength() && contains(xform_rect, base_rect)) return 1.0;
  }
  double first = 0.0, second = 0.0;
  xform.getOffset(&first, &second);
  const int32_t width = wrapping_difference(source.right, source.left);
  const int32_t height = wrapping_difference(source.bottom, source.top);
  if (std::abs(first) > width || std::abs(second) > height) return 0.0;
  const double overlap =
      (height - std::abs(second)) * (width - std::abs(first)) / static_cast<double>(wrapping_product(height, width));
  DebugLog("Cyl Overlap=%5.3f\n", overlap);
  return overlap;
}

}  // namespace

double ComputeOverlap(PixelTransform* base, PixelTransform* xform, AlignFrame* frame) {
  if (!xform) {
    DebugLog("No xform, overlap= 0.0\n");
    return 0.0;
  }
  if (base && base == xform) {
    DebugLog("Same xform, overlap=1.0\n");
    return 1.0;
  }
  const FrameRect source{0, 0, frame->height, frame->width};
  // The kind selects the family; the casts confirm it, and a base of another
  // family counts as no base. An object whose kind names a family it does
  // not belong to has no measure.
  switch (xform->kind) {
    case DistortTransform::class_kind:
      if (const auto* planar = dynamic_cast<const DistortTransform*>(xform))
        return planar_overlap(dynamic_cast<const DistortTransform*>(base), *planar, source);
      break;
    case CylindricalTransform::class_kind:
      if (const auto* cylindrical = dynamic_cast<const CylindricalTransform*>(xform))
        return cylindrical_overlap(dynamic_cast<const CylindricalTransform*>(base), *cylindrical, source);
      break;
  }
  DebugLog("unknown transform, overlap=0.0\n");
  return 0.0;
}
