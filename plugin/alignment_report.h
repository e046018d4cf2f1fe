// The report of one alignment: a script expression that the host's script
// engine evaluates into an object, written byte for byte, e.g.
//
//   ({'sheetID':[0,1,2], 'renderable':[true,true,true], 'groupCount':[3],
//     'refSheetID':[1], 'transformType':[1],
//     'connectivity':[[1,1,0],[1,1,1],[0,1,1]],
//     'overlap':[0.81250,1.00000,0.79000], 'fl':[812.3,812.3,812.3]})
//
// (on one line). Script readers take the keys by name, so every byte of the
// format is fixed, down to the quirk that an empty integer list is written as
// a lone "]".
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "pipeline/multi_view_params.h"
#include "records/align_frame.h"

// Size of the report buffer, the terminating NUL included.
inline constexpr std::size_t report_capacity = 60001;

// Whether a report on `image_count` images is written at all: the bound
// (n + 8) n 5 + 130 <= 60000 admits at most 105 images.
bool report_admits(std::size_t image_count);

// Writes the report on `params` into `buffer` as a NUL-terminated text.
// "overlap" has one value per entry of `frames`: position i of the result
// lists is measured against frames[i], without any mapping between the two.
// Returns false when the text does not fit.
bool write_alignment_report(const MultiViewParams& params, std::vector<AlignFrame>& frames,
                            std::span<char> buffer);
