#include "tools/image_file.h"

#include <vips/vips8>

#include <algorithm>
#include <utility>

#include "plugin/intake_reduction.h"
#include "tools/libvips_start.h"

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

}  // namespace

image_file read_image_file(const std::string& path) {
  start_libvips();
  try {
    const VImage header = VImage::new_from_file(path.c_str(), load_options());
    image_file file;
    file.path = path;
    file.orientation = orientation_of(header);
    const bool sides_swapped = file.orientation >= 5;
    file.width = sides_swapped ? header.height() : header.width();
    file.height = sides_swapped ? header.width() : header.height();
    const int halvings = intake_halvings(file.width, file.height);
    const bool jpeg = std::string(header.get_string("vips-loader")) == "jpegload";
    file.scale.level = jpeg ? std::min(halvings, largest_jpeg_shrink_level) : halvings;
    // The reduced picture is small: it is turned in memory, not streamed.
    VImage picture = as_rgb(decoded(path, header, jpeg, file.scale.level)).copy_memory();
    if (file.orientation != 1) picture = picture.autorot();
    file.picture = plugin_pixels(picture);
    return file;
  } catch (const vips::VError&) {
    throw image_file_error("cannot read '" + path + "': " + libvips_reason());
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
