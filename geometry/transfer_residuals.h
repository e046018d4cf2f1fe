// The symmetric transfer error by which the robust search scores a motion.
#pragma once

#include <vector>

#include "geometry/h_matrix_2d.h"
#include "geometry/robust_options.h"
#include "records/correspondences.h"

// One residual per correspondence, in squared pixels: |motion(second[i]) -
// first[i]|^2 + |motion^-1(first[i]) - second[i]|^2. For a motion that is
// not invertible every residual is options.threshold, which makes every
// correspondence an outlier. `residuals` is resized to the lists' length.
void transfer_residuals(const robust_options& options, const point_list& first, const point_list& second,
                        const h_matrix_2d& motion, std::vector<double>& residuals);
