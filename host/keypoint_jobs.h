// The host's feature jobs on a batch of pyramids: Lowe's scale-invariant
// keypoints (filt 198) and their descriptors (filt 199).
//
// Records are worked in parallel; every record is read and written only
// through its own buffers and in a fixed order, so the results do not depend
// on the number of threads.
#pragma once

#include <vector>

struct scale_space;
struct feature_record;

namespace host {

// Extrema of differences of adjacent Gaussian levels over their 3 x 3 x 3
// neighbourhoods on the S middle levels of each octave, refined to sub-sample
// positions, kept when their contrast reaches contrast_threshold and their
// principal curvature ratio stays below edge_threshold; when there are more
// than keypoint_target, the strongest are kept. Each gets one keypoint per
// dominant gradient orientation. Writes keypoints[o] of every record, never
// past the lists' reserved capacity.
void detect_keypoints(std::vector<scale_space>* batch);

// The 4 x 4 x 8 gradient histogram of each keypoint, in cells of
// descriptor_window_factor times its scale, turned to its orientation,
// normalised, clipped at descriptor_clip, normalised again and quantised to
// bytes. Keypoints are numbered octave by octave in list order; features[r]
// receives record r's.
void describe_keypoints(std::vector<scale_space>* batch, feature_record* const* features);

}  // namespace host
