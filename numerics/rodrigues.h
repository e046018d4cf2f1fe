// Rotations as axis-angle vectors (Rodrigues vectors) and as 3 x 3
// row-major matrices.
#pragma once

// R = exp([r]x) from the vector r. When dR is given it receives the 27
// derivatives: dR[3 k + j] is the derivative of R[k] with respect to r[j].
void rodrigues(const double r[3], double R[9], double dR[27] = nullptr);

// The vector of a rotation matrix. Throws std::runtime_error when the trace
// is too far out of range for a rotation. Near the identity and near a half
// turn it takes the numerically safe forms.
void rodrigues_inv(const double R[9], double r[3]);

// The vector of R(turn) R(current): a rotation moved by a turn applied on
// its left, the local update of rotation unknowns. Throws as rodrigues_inv.
void rodrigues_turn(const double current[3], const double turn[3], double moved[3]);
