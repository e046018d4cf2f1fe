// What an alignment is given and asked for: image files or pictures in
// memory, the alignment type, the calls that follow its progress, and the
// files to write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace lacewright {

// A picture in memory, as shown (no EXIF turn is applied): `channels`
// samples of `bits` bits a pixel, grey (1), grey and alpha (2), RGB (3) or
// RGBA (4); an alpha channel is ignored. The samples of a pixel follow each
// other; pixels and rows may lie any whole number of bytes apart, so that a
// view into a larger buffer or an array with padded rows is taken as it is.
// The memory is read during the call that is given it, and not kept.
struct image_pixels {
  const void* data = nullptr;
  int width = 0;
  int height = 0;
  int channels = 3;
  int bits = 8;                    // 8 or 16, in the machine's byte order
  std::ptrdiff_t pixel_stride = 0;  // bytes from a pixel to the next; 0 for channels * bits / 8
  std::ptrdiff_t row_stride = 0;    // bytes from a row to the next; 0 for width * pixel_stride
};

// One image of an alignment: a file, read through libvips and turned as its
// EXIF orientation says, or pixels in memory with a name for messages and
// outputs.
struct image_input {
  std::string name;
  std::optional<image_pixels> pixels;  // none: `name` is the file to read

  static image_input file(std::string path) { return {std::move(path), std::nullopt}; }
  static image_input memory(std::string name, const image_pixels& pixels) { return {std::move(name), pixels}; }
};

// Told when a stage begins (`done` 0) and as its items finish, in order and
// by one thread at a time, though not always the caller's; `total` is 0
// when the stage cannot count its work. Stages: "reading", then the
// engine's ("extraction", "matching", "pairs", "groups"), and "writing" when
// outputs are written. Answer false to cancel: the work stops at the next
// stage at the latest and throws cancelled_error; an exception the callback
// throws stops it the same way and is thrown in its place. The callback
// must not start another alignment: they run one at a time.
using progress_callback = std::function<bool(std::string_view stage, std::size_t done, std::size_t total)>;

// A sentence about something the alignment works around: a file named
// twice, a picture that repeats another.
using warning_callback = std::function<void(std::string_view sentence)>;

struct options {
  // 1: the images are views of a camera turning about its centre, aligned
  // on a cylinder or a sphere; -1: a plane seen from anywhere, or a turn,
  // chosen per group. Other types throw unknown_type_error.
  int32_t type = 1;
  // Level each turning group's horizon in its cameras' placements, its
  // previews and its projects.
  bool level = true;
  // Keep the decoded pictures, which write() draws previews from.
  bool keep_pictures = false;
  progress_callback progress;
  warning_callback warning;
};

// The files to write; an empty path writes nothing.
struct outputs {
  std::string json;     // the alignment as JSON ("-" for standard output)
  std::string preview;  // a picture per group, PNG, JPEG, TIFF or WebP by extension: FILE, FILE-2, ...
  int preview_size = 2000;  // the longest side of a preview, in pixels
  std::string project;      // a Hugin project per turning group: FILE, FILE-2, ...
  progress_callback progress;  // told of the "writing" stage
};

}  // namespace lacewright
