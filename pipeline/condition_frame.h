// The check that every frame passes before feature extraction: a frame
// without any structure is refused, and a frame whose tones sit at one end of
// the scale is stretched in place so that the median of its non-black
// samples lands on 127.
#pragma once

#include <cstdint>

// `pixels` holds `height` rows of `width` bytes. Returns false to refuse the
// frame (all black, all white, or no samples); may rescale the samples.
bool ConditionFrame(int32_t height, int32_t width, uint8_t* pixels);
