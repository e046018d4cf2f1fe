// The vertical of a group, fitted to the cameras' axes: the candidates that
// straighten a panorama before it is laid on a cylinder.
#pragma once

#include <array>
#include <optional>
#include <vector>

using axis = std::array<double, 3>;

// The normal of the plane through the origin that most camera x axes lie
// in (the axes of a sweep are perpendicular to its vertical). With a spread
// of inliers the normal is the least direction of their scatter, else the
// sampled plane's own. Nothing with fewer than 2 axes or no plane found.
std::optional<axis> up_from_x_axes(const std::vector<axis>& x_axes);

// The normal of the plane, not through the origin, that most camera z axes
// lie in (the optical axes of a sweep trace a circle of the sphere).
// Nothing with fewer than 3 axes or no plane found.
std::optional<axis> up_from_z_axes(const std::vector<axis>& z_axes);
