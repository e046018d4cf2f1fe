// Closed-form starts for explaining a plane-to-plane motion H as a camera
// that turned about its centre: H ~ K1 R K2^-1 with K = diag(f, f, 1), in
// coordinates centred on each image's principal point, H mapping the second
// image onto the first. Both estimates rescale the focal lengths until
// M = K1^-1 H K2 is a rotation up to scale, and then take the rotation
// closest to M.
//
// `h` is the 3 x 3 motion row by row. f1 and f2 come in as the start focal
// lengths of the first and second image and go out as the estimate;
// `rotation` receives R row by row. A false result means no estimate: the
// focal lengths may then have moved and `rotation` is left unset.
#pragma once

// The orthonormality of M's rows, solved for the three squared scales of
// diag(1 / sqrt(t1), 1 / sqrt(t1), 1 / sqrt(t2)) M diag(sqrt(t0), sqrt(t0), 1)
// in the least-squares sense. Fails on a near-singular system (a rotation
// about the optical axis alone fixes no focal length) or on scales that
// are not positive.
bool factorisation_estimate(const double h[9], double& f1, double& f2, double rotation[9]);

// A scale of M's last row that makes two of its columns orthogonal (or the
// first two equally long), then a scale of its last column that does the
// same for two rows, each from the first pair whose signs allow a positive
// scale. Fails when no pair does.
bool constraint_estimate(const double h[9], double& f1, double& f2, double rotation[9]);
