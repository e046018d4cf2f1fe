#include "transforms/distort_transform.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/debug_channel.h"
#include "transforms/int32_arithmetic.h"
#include "transforms/round_corner.h"
#include "transforms/square_to_quad.h"

DistortTransform::DistortTransform(const double image_rect[4], const double corners[8]) {
  const double top = image_rect[0], left = image_rect[1], bottom = image_rect[2], right = image_rect[3];
  if (top <= bottom && left <= right) {
    rect[0] = 0.0;
    rect[1] = 0.0;
    rect[2] = bottom - top;
    rect[3] = right - left;
  } else {
    std::copy_n(image_rect, 4, rect);
  }
  std::copy_n(corners, 8, quad);
  kind = class_kind;
}

DistortTransform::~DistortTransform() { OutputDebugStringA("Nuke distort\n"); }

void DistortTransform::debugPrint() const {
  std::fprintf(stderr, "rd2_mat = [%5.3f %5.3f; %5.3f %5.3f; %5.3f %5.3f; %5.3f %5.3f];\n", quad[0], quad[1], quad[2],
               quad[3], quad[4], quad[5], quad[6], quad[7]);
}

void DistortTransform::getOffset(double*, double*) const {}

void DistortTransform::getBounds(FrameRect* out, const FrameRect* source) const {
  const FrameRect whole{saturating_int32(std::floor(rect[0])), saturating_int32(std::floor(rect[1])),
                        saturating_int32(std::ceil(rect[2])), saturating_int32(std::ceil(rect[3]))};
  const square_to_quad map(quad);
  // A rectangle of zero width or height makes a reciprocal infinite; the
  // arithmetic carries that through to the bounds without a check.
  const double per_column = 1.0 / saturating_difference(whole.right, whole.left);
  const double per_row = 1.0 / saturating_difference(whole.bottom, whole.top);
  const double corners[4][2] = {{1.0 * source->left, 1.0 * source->top},
                                {1.0 * source->right, 1.0 * source->top},
                                {1.0 * source->right, 1.0 * source->bottom},
                                {1.0 * source->left, 1.0 * source->bottom}};
  double x[4], y[4];
  for (int k = 0; k < 4; ++k) {
    const double u = (corners[k][0] - whole.left) * per_column;
    const double v = (corners[k][1] - whole.top) * per_row;
    const auto mapped = map(u, v);
    x[k] = mapped[0];
    y[k] = mapped[1];
  }
  int32_t rounded_x[4], rounded_y[4];
  for (int k = 0; k < 4; ++k) {
    const int previous = (k + 3) % 4, next = (k + 1) % 4;
    rounded_x[k] = RoundCorner(x[previous], x[k], x[next]);
    rounded_y[k] = RoundCorner(y[previous], y[k], y[next]);
  }
  out->top = *std::min_element(rounded_y, rounded_y + 4);
  out->bottom = *std::max_element(rounded_y, rounded_y + 4);
  out->left = *std::min_element(rounded_x, rounded_x + 4);
  out->right = *std::max_element(rounded_x, rounded_x + 4);
}
