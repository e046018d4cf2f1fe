// The three angles of a camera rotation, as the cylindrical transform reports
// them and measures its offset from.
#pragma once

// For a row-major rotation R = Ry(a0) Rx(-a1) Rz(-a2), with Ry, Rx, Rz the
// right-handed turns about the axes: angles = (a0, a1, a2). a0 is the turn
// about the vertical axis (the cylinder's phase of the optical axis), a1 the
// optical axis's elevation towards +y, a2 the roll. a1 comes out within
// [-pi/2, pi/2]; a0 and a2 within [-pi, pi], or within [0, 2 pi] when the
// decomposition had to turn them by a half turn.
void RotationAngles(const double R[9], double angles[3]);
