#include "photographs/image_file.h"

#include <vips/vips8>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <utility>

#include "plugin/intake_reduction.h"
#include "photographs/libvips_start.h"

namespace lacewright_tool {
namespace {

using vips::VImage;

// JPEG's decoder reduces by 2, 4 or 8 while it decodes.
constexpr int largest_jpeg_shrink_level = 3;

vips::VOption* load_options() {
  return VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR);
}

int orientation_of(const VImage& image) {
  if (image.get_typeof(VIPS_META_ORIENTATION) == 0) return 1;
  const int orientation = image.get_int(VIPS_META_ORIENTATION);
  return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

// The stored pixels halved `level` times: by the JPEG decoder as far as it
// goes, otherwise by a streaming 2^level box mean cut to the truncated size
// that intake's halving would give.
VImage decoded(const std::string& path, const VImage& header, bool jpeg, int level) {
  const int factor = 1 << level;
  if (jpeg && level > 0) {
    return VImage::jpegload(path.c_str(), load_options()->set("shrink", factor));
  }
  if (level == 0) return header;
  return header.shrink(factor, factor).crop(0, 0, header.width() >> level, header.height() >> level);
}

// Eight-bit sRGB in three bands, whatever the file held (grey, 16 bits,
// CMYK, an alpha band); the alpha band is dropped as the plug-in does.
VImage as_rgb(VImage image) {
  if (image.interpretation() != VIPS_INTERPRETATION_sRGB || image.format() != VIPS_FORMAT_UCHAR) {
    image = image.colourspace(VIPS_INTERPRETATION_sRGB);
  }
  if (image.format() != VIPS_FORMAT_UCHAR) image = image.cast(VIPS_FORMAT_UCHAR);
  if (image.bands() == 1) return image.bandjoin({image, image});
  return image.bands() > 3 ? image.extract_band(0, VImage::option()->set("n", 3)) : image;
}

pixel_image plugin_pixels(const VImage& rgb) {
  std::size_t size = 0;
  uint8_t* bytes = static_cast<uint8_t*>(rgb.write_to_memory(&size));
  pixel_image picture;
  picture.width = rgb.width();
  picture.height = rgb.height();
  picture.pixels.resize(4 * static_cast<std::size_t>(picture.width) * picture.height);
  for (std::size_t i = 0, count = picture.pixels.size() / 4; i < count; ++i) {
    picture.pixels[4 * i] = 255;
    std::copy_n(bytes + 3 * i, 3, picture.pixels.data() + 4 * i + 1);
  }
  g_free(bytes);
  return picture;
}

// The picture of `header` (stored pixels turned by `orientation`), decoded
// no larger than intake keeps it.
image_file reduced(std::string name, const VImage& header, int orientation, const std::function<VImage(int)>& decode,
                   int largest_shrink) {
  image_file file;
  file.path = std::move(name);
  file.orientation = orientation;
  const bool sides_swapped = orientation >= 5;
  file.width = sides_swapped ? header.height() : header.width();
  file.height = sides_swapped ? header.width() : header.height();
  file.scale.level = std::min(intake_halvings(file.width, file.height), largest_shrink);
  // The reduced picture is small: it is turned in memory, not streamed.
  VImage picture = as_rgb(decode(file.scale.level)).copy_memory();
  if (orientation != 1) picture = picture.autorot();
  file.picture = plugin_pixels(picture);
  return file;
}

// The bytes of `pixels` with their samples, pixels and rows packed.
std::vector<uint8_t> packed(const lacewright::image_pixels& pixels) {
  const std::size_t sample = pixels.bits / 8, pixel = sample * pixels.channels;
  const std::ptrdiff_t pixel_stride = pixels.pixel_stride ? pixels.pixel_stride : static_cast<std::ptrdiff_t>(pixel);
  const std::ptrdiff_t row_stride = pixels.row_stride ? pixels.row_stride : pixels.width * pixel_stride;
  std::vector<uint8_t> bytes(pixel * pixels.width * pixels.height);
  const auto* rows = static_cast<const uint8_t*>(pixels.data);
  for (int y = 0; y < pixels.height; ++y) {
    const uint8_t* from = rows + y * row_stride;
    uint8_t* to = bytes.data() + pixel * pixels.width * y;
    for (int x = 0; x < pixels.width; ++x) std::copy_n(from + x * pixel_stride, pixel, to + pixel * x);
  }
  return bytes;
}

void check_pixels(const std::string& name, const lacewright::image_pixels& pixels) {
  auto refuse = [&](const std::string& why) { throw image_file_error("cannot read '" + name + "': " + why); };
  if (!pixels.data) refuse("its pixels are missing");
  if (pixels.width < 1 || pixels.height < 1) {
    refuse("it has " + std::to_string(pixels.width) + " x " + std::to_string(pixels.height) + " pixels");
  }
  if (pixels.channels < 1 || pixels.channels > 4) refuse(std::to_string(pixels.channels) + " channels are not 1 to 4");
  if (pixels.bits != 8 && pixels.bits != 16) refuse(std::to_string(pixels.bits) + "-bit samples are not 8 or 16");
}

}  // namespace

image_file read_image_file(const std::string& path) {
  // libvips says no more than "unknown error" of a file that is not there.
  std::error_code error;
  if (!std::filesystem::exists(path, error)) throw image_file_error("cannot read '" + path + "': there is no such file");
  if (std::filesystem::is_directory(path, error)) throw image_file_error("cannot read '" + path + "': it is a folder");
  start_libvips();
  try {
    const VImage header = VImage::new_from_file(path.c_str(), load_options());
    const bool jpeg = std::string(header.get_string("vips-loader")) == "jpegload";
    return reduced(
        path, header, orientation_of(header), [&](int level) { return decoded(path, header, jpeg, level); },
        jpeg ? largest_jpeg_shrink_level : std::numeric_limits<int>::max());
  } catch (const vips::VError&) {
    throw image_file_error("cannot read '" + path + "': " + libvips_reason());
  }
}

image_file read_image_pixels(const std::string& name, const lacewright::image_pixels& pixels) {
  check_pixels(name, pixels);
  start_libvips();
  const std::vector<uint8_t> bytes = packed(pixels);
  try {
    VImage header = VImage::new_from_memory(const_cast<uint8_t*>(bytes.data()), bytes.size(), pixels.width,
                                            pixels.height, pixels.channels,
                                            pixels.bits == 8 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT);
    const bool grey = pixels.channels < 3;
    const bool deep = pixels.bits == 16;
    header = header.copy(VImage::option()->set(
        "interpretation", grey ? (deep ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W)
                               : (deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB)));
    return reduced(
        name, header, 1, [&](int level) { return decoded(name, header, false, level); },
        std::numeric_limits<int>::max());
  } catch (const vips::VError&) {
    throw image_file_error("cannot read '" + name + "': " + libvips_reason());
  }
}

image_file image_in_memory(std::string name, pixel_image picture) {
  image_file file;
  file.path = std::move(name);
  file.width = picture.width;
  file.height = picture.height;
  file.picture = std::move(picture);
  return file;
}

}  // namespace lacewright_tool
