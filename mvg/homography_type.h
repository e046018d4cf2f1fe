// The kinds of planar motion inside the engine, from the fewest parameters to
// the most.
#pragma once

#include <cstdint>

enum class HomographyType : int32_t {
  translation = 1,
  scale = 2,
  rotation = 3,
  rigid = 4,
  similarity = 5,
  affine = 6,
  projective = 7,
};
