#include "tools/exif_orientation.h"

#include <array>
#include <cstring>

namespace lacewright_tool {
namespace {

// Reads the TIFF structure inside an EXIF block in its own byte order.
struct tiff_reader {
  std::span<const uint8_t> bytes;
  bool big_endian;

  bool has(std::size_t offset, std::size_t count) const {
    return offset <= bytes.size() && count <= bytes.size() - offset;
  }
  uint32_t u16(std::size_t offset) const {
    const uint32_t a = bytes[offset], b = bytes[offset + 1];
    return big_endian ? (a << 8 | b) : (b << 8 | a);
  }
  uint32_t u32(std::size_t offset) const {
    const uint32_t high = u16(offset + (big_endian ? 0 : 2)), low = u16(offset + (big_endian ? 2 : 0));
    return high << 16 | low;
  }
};

constexpr uint32_t orientation_tag = 0x0112;
constexpr uint32_t short_type = 3;

int orientation_in_tiff(std::span<const uint8_t> tiff) {
  if (tiff.size() < 8) return 1;
  const bool big = tiff[0] == 'M' && tiff[1] == 'M';
  if (!big && !(tiff[0] == 'I' && tiff[1] == 'I')) return 1;
  const tiff_reader reader{tiff, big};
  const std::size_t directory = reader.u32(4);
  if (!reader.has(directory, 2)) return 1;
  const std::size_t entries = reader.u16(directory);
  for (std::size_t e = 0; e < entries; ++e) {
    const std::size_t entry = directory + 2 + 12 * e;
    if (!reader.has(entry, 12)) return 1;
    if (reader.u16(entry) != orientation_tag) continue;
    if (reader.u16(entry + 2) != short_type) return 1;
    const uint32_t value = reader.u16(entry + 8);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
  }
  return 1;
}

// Source column and row of output pixel (x, y) for each orientation, with
// w and h the source's width and height.
std::array<int, 2> source_of(int orientation, int x, int y, int w, int h) {
  switch (orientation) {
    case 2: return {w - 1 - x, y};
    case 3: return {w - 1 - x, h - 1 - y};
    case 4: return {x, h - 1 - y};
    case 5: return {y, x};
    case 6: return {y, h - 1 - x};
    case 7: return {w - 1 - y, h - 1 - x};
    case 8: return {w - 1 - y, x};
    default: return {x, y};
  }
}

}  // namespace

int exif_orientation(std::span<const uint8_t> file) {
  if (file.size() < 4 || file[0] != 0xFF || file[1] != 0xD8) return 1;
  std::size_t at = 2;
  // Markers up to the start of the scan; APP1 holds the EXIF block.
  while (at + 4 <= file.size() && file[at] == 0xFF) {
    const uint8_t marker = file[at + 1];
    const std::size_t length = static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3];
    if (marker == 0xDA || length < 2 || at + 2 + length > file.size()) return 1;
    const std::span<const uint8_t> body = file.subspan(at + 4, length - 2);
    if (marker == 0xE1 && body.size() >= 6 && std::memcmp(body.data(), "Exif\0\0", 6) == 0) {
      return orientation_in_tiff(body.subspan(6));
    }
    at += 2 + length;
  }
  return 1;
}

pixel_image oriented(const pixel_image& image, int orientation) {
  if (orientation < 2 || orientation > 8) return image;
  const bool swapped = orientation >= 5;
  pixel_image out;
  out.width = swapped ? image.height : image.width;
  out.height = swapped ? image.width : image.height;
  out.pixels.resize(image.pixels.size());
  for (int y = 0; y < out.height; ++y) {
    for (int x = 0; x < out.width; ++x) {
      const auto [sx, sy] = source_of(orientation, x, y, image.width, image.height);
      const std::size_t from = 4 * (static_cast<std::size_t>(sy) * image.width + sx);
      std::memcpy(out.pixels.data() + 4 * (static_cast<std::size_t>(y) * out.width + x), image.pixels.data() + from, 4);
    }
  }
  return out;
}

}  // namespace lacewright_tool
