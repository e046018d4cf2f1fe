// The engine's answer for one image: how it lies in its group's common frame.
//
// Group refinements create the objects, MultiViewParams owns them, the
// overlap measure and the report query them, and the host renders from them.
// `kind` names the concrete class for callers that cannot cast at run time.
#pragma once

#include <cstdint>

class PixelTransform {
 public:
  static constexpr int32_t base_kind = 14;

  PixelTransform() = default;
  virtual ~PixelTransform();

  // Writes the transform's values to the debugger channel or the error stream.
  virtual void debugPrint() const;

  // The image's displacement from the group's origin, where a class defines it.
  virtual void getOffset(double* first, double* second) const;

  int32_t kind = base_kind;

 protected:
  PixelTransform(const PixelTransform&) = default;
  PixelTransform& operator=(const PixelTransform&) = default;
};
