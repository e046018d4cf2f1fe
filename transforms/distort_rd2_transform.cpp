#include "transforms/distort_rd2_transform.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "platform/debug_channel.h"

namespace {

template <class... Values>
void print_to_debug_channel(const char* format, Values... values) {
  const int length = std::snprintf(nullptr, 0, format, values...);
  std::string text(static_cast<std::size_t>(length), '\0');
  std::snprintf(text.data(), text.size() + 1, format, values...);
  OutputDebugStringA(text.c_str());
}

}  // namespace

DistortRd2Transform::DistortRd2Transform(const double projective[9], const double image_size[2],
                                         const double lens_center[2], const double radial[2]) {
  std::copy_n(projective, 9, matrix);
  std::copy_n(image_size, 2, size);
  std::copy_n(lens_center, 2, center);
  std::copy_n(radial, 2, coefficients);
  kind = class_kind;
}

DistortRd2Transform::~DistortRd2Transform() = default;

void DistortRd2Transform::debugPrint() const {
  const double* m = matrix;
  print_to_debug_channel("rd2_mat = [%5.3f %5.3f %5.3f; %5.3f %5.3f %5.3f; %5.3f %5.3f %5.3f];\n", m[0], m[1], m[2],
                         m[3], m[4], m[5], m[6], m[7], m[8]);
  print_to_debug_channel("rd2_xform = [ %5.3f %5.3f;  %5.3f %3.5f; %3.5f %3.5f];\n", size[0], size[1], center[0],
                         center[1], coefficients[0], coefficients[1]);
}
