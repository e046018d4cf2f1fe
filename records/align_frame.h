// The frame and rectangle records of the engine's call interface.
#pragma once

#include <cstddef>
#include <cstdint>

// One grey image as the engine sees it: 8-bit samples, row after row. The
// layout (32 bytes) is part of the call interface of MultiViewAlignMain.
struct AlignFrame {
  uint8_t* pixels = nullptr;    // owned by the caller; conditioning rescales them in place
  int32_t index = 0;            // sheet identifier, copied into the results
  uint16_t feature_mode = 0;    // 1 selects the small feature budget
  int16_t reduction_level = 0;  // samples are 2^level times smaller than the image
  int32_t width = 0;
  int32_t height = 0;
  int32_t stride = 0;           // bytes between row starts
  uint32_t reserved = 0;
};

static_assert(sizeof(AlignFrame) == 32);
static_assert(offsetof(AlignFrame, index) == 8);
static_assert(offsetof(AlignFrame, feature_mode) == 12);
static_assert(offsetof(AlignFrame, reduction_level) == 14);
static_assert(offsetof(AlignFrame, width) == 16);
static_assert(offsetof(AlignFrame, height) == 20);
static_assert(offsetof(AlignFrame, stride) == 24);

// A rectangle with exclusive bottom and right: a frame is 0, 0, height, width.
struct FrameRect {
  int32_t top = 0;
  int32_t left = 0;
  int32_t bottom = 0;
  int32_t right = 0;

  friend bool operator==(const FrameRect&, const FrameRect&) = default;
};

static_assert(sizeof(FrameRect) == 16);
