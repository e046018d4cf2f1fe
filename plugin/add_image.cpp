// Intake of one image: the caller's pixels become a grey frame in the list.
#include <algorithm>
#include <cstring>
#include <new>

#include "plugin/address_argument.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "records/grey_from_pixel.h"

namespace {

struct source_image {
  const uint8_t* pixels;
  uint32_t rows;
  uint32_t columns;
  uint32_t row_bytes;

  const uint8_t* pixel(std::size_t row, std::size_t column) const {
    return pixels + row * row_bytes + 4 * column;
  }
};

// Turned copies walk the destination in square tiles, so that neither the
// source nor the destination is read across whole rows for every sample.
constexpr std::size_t tile = 64;

template <class SourceOf>
void convert_turned(const source_image& source, uint8_t* destination, SourceOf source_of) {
  const std::size_t out_rows = source.columns;
  const std::size_t out_columns = source.rows;
  for (std::size_t r0 = 0; r0 < out_rows; r0 += tile) {
    for (std::size_t c0 = 0; c0 < out_columns; c0 += tile) {
      const std::size_t r1 = std::min(out_rows, r0 + tile);
      const std::size_t c1 = std::min(out_columns, c0 + tile);
      for (std::size_t r = r0; r < r1; ++r) {
        for (std::size_t c = c0; c < c1; ++c) {
          destination[r * out_columns + c] = GreyFromPixel(source_of(r, c));
        }
      }
    }
  }
}

// Four-byte pixels to grey. 180 degrees is deliberately the same as 0, and
// any other rotation leaves the new frame unwritten.
void convert_four_byte(const source_image& source, int32_t rotation, uint8_t* destination) {
  switch (rotation) {
    case 0:
    case 180:
      for (std::size_t r = 0; r < source.rows; ++r) {
        uint8_t* out = destination + r * source.columns;
        for (std::size_t c = 0; c < source.columns; ++c) out[c] = GreyFromPixel(source.pixel(r, c));
      }
      break;
    case 90:
      convert_turned(source, destination, [&](std::size_t r, std::size_t c) {
        return source.pixel(source.rows - 1 - c, r);
      });
      break;
    case -90:
      convert_turned(source, destination, [&](std::size_t r, std::size_t c) {
        return source.pixel(c, source.columns - 1 - r);
      });
      break;
    default:
      break;
  }
}

// The frame's sample count: the product of the sizes taken in 32 bits. A
// product that does not fit is answered as a lack of memory instead of a
// buffer smaller than the samples written into it.
int64_t frame_bytes(uint32_t rows, uint32_t columns) {
  const int64_t in_32_bits = static_cast<int32_t>(columns * rows);
  const uint64_t exact = static_cast<uint64_t>(columns) * rows;
  return in_32_bits >= 0 && static_cast<uint64_t>(in_32_bits) == exact ? in_32_bits : -1;
}

}  // namespace

int32_t addImage(const ScriptValue* arguments, int32_t count, ScriptValue* result) {
  clear_result(result);
  if (count != 5) return status_argument_count;
  if (arguments[0].type != script_uint32 || arguments[1].type != script_uint32 ||
      arguments[2].type != script_uint32 || arguments[3].type != script_int32) {
    return status_argument_type;
  }
  const uint32_t rows = low_uint32(arguments[0]);
  const uint32_t columns = low_uint32(arguments[1]);
  const uint32_t row_bytes = low_uint32(arguments[2]);
  const int32_t rotation = low_int32(arguments[3]);
  const bool rotated = rotation == 90 || rotation == -90;

  const uint64_t address = ParseAddressArgument(arguments, 4);
  if (address == 0) return status_argument_type;
  const source_image source{reinterpret_cast<const uint8_t*>(address), rows, columns, row_bytes};

  const int64_t bytes = frame_bytes(rows, columns);
  if (bytes < 0) return status_no_memory;

  AlignFrame frame;
  frame.index = static_cast<int32_t>(imageList.size());
  frame.height = static_cast<int32_t>(rotated ? columns : rows);
  frame.width = frame.stride = static_cast<int32_t>(rotated ? rows : columns);
  frame.pixels = new (std::nothrow) uint8_t[static_cast<std::size_t>(bytes)];
  if (!frame.pixels) return status_no_memory;

  if (columns * 4 == row_bytes) {
    convert_four_byte(source, rotation, frame.pixels);
  } else {
    // One byte per pixel without row gaps, whatever rowBytes and rotation say.
    std::memcpy(frame.pixels, source.pixels, static_cast<std::size_t>(bytes));
  }

  // ShrinkImage swaps buffers only after the reduced one exists, so
  // frame.pixels is always the one live buffer here.
  try {
    ShrinkImage(&frame);
    imageList.push_back(frame);
  } catch (const std::bad_alloc&) {
    delete[] frame.pixels;
    return status_no_memory;
  } catch (...) {
    delete[] frame.pixels;
    throw;
  }
  return status_ok;
}
