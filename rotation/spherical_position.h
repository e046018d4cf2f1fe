// Where a pixel of a rotating camera lies on the sphere of directions.
#pragma once

#include "rotation/three_point_rotation.h"
#include "solvers/bundle_adjuster.h"
#include "solvers/camera_sharing.h"

// The direction (longitude, latitude) of the ray R^T K^-1 (x, y, 1) of a
// pixel, for a camera with rotation R (row-major) and lens K: longitude
// atan2(y, x), latitude asin(z / |ray|) of the ray.
scene_point spherical_position(const lens_record& lens, const double rotation[9], const image_point& pixel);
