// The fisheye lenses the library knows, by type number, as measured on
// their cameras' sensors.
#pragma once

#include <cstdint>
#include <memory>

#include "rotation/fisheye_projection.h"

// The lens of `lens_type` (2 to 10) for an image of `image_size` pixels
// along the side the lens was measured on, times `scale`: its coefficients
// scaled from the measuring sensor (4368, 3872, 4256 or 5616 pixels wide)
// to the image. The centre is left at (0, 0) for the caller to place.
// Throws std::runtime_error for another type.
std::unique_ptr<fisheye_equidist5> construct_fisheye_projection(int32_t lens_type, double image_size, double scale);
