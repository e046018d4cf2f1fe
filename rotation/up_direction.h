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

// A fitted vertical has no sign of its own: `up` or its opposite, whichever
// more of the cameras' y axes (their image's downwards) point along.
axis oriented_up(const axis& up, const std::vector<axis>& y_axes);

// The rotation (row-major) about from x to by the angle between the unit
// vectors `from` and `to`: the least turn that takes `from` onto `to`; the
// unit rotation when they are parallel.
std::array<double, 9> turn_onto(const axis& from, const axis& to);
