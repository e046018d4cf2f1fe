// Lacewright's C++ interface: align a set of overlapping photographs and
// write what the command-line tool writes of them.
//
//   #include <lacewright/align.h>
//
//   lacewright::options options;
//   options.type = 1;              // a camera turning about its centre
//   options.keep_pictures = true;  // for the preview
//   const lacewright::alignment result = lacewright::align(
//       {lacewright::image_input::file("a.jpg"), lacewright::image_input::file("b.jpg")}, options);
//   lacewright::write(result, {.json = "a.json", .preview = "a.png"});
//
// One alignment runs at a time in a process: the engine's random draws are
// the C library's rand(), the process's own, and part of its results. Calls
// from several threads wait for each other, and each starts the draws as a
// fresh process does (srand(1)), so that it gives what the tool gives on the
// same images, to the bit; a program that uses rand() itself finds it
// restarted after each call. Failures throw the exceptions of <lacewright/errors.h>.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <lacewright/alignment.h>
#include <lacewright/errors.h>
#include <lacewright/request.h>
#include <lacewright/visibility.h>

namespace lacewright {

// The image files of `paths`, in order: a file as it is, a folder as the
// image files in it in name order. Throws unreadable_input_error for a
// name that is neither.
LACEWRIGHT_PUBLIC std::vector<image_input> image_files(const std::vector<std::string>& paths);

// Aligns `images` (2 to 105, duplicates left out with a warning). Answers
// an alignment even when no two images overlap: aligned() then is false and
// left_out says why; require_aligned() turns that into an exception.
LACEWRIGHT_PUBLIC alignment align(const std::vector<image_input>& images, const options& options = {});

// Throws alignment_error, with a sentence naming each image and why it was
// left out, unless `result` aligned at least two images.
LACEWRIGHT_PUBLIC void require_aligned(const alignment& result);

// Writes the outputs asked for, all or none: each goes to a temporary file
// beside its place and is renamed there once every one is complete. Answers
// the paths written, in order. Throws usage_error for a preview of an
// alignment that did not keep its pictures or for two outputs at one path,
// output_error when a file cannot be written or a group cannot be a Hugin
// project.
LACEWRIGHT_PUBLIC std::vector<std::string> write(const alignment& result, const outputs& outputs);

// Reads the Hugin project `input`, aligns its images and writes the project
// to `output` with the inlier matches of every accepted pair as control
// points and the aligned orientation and field of view of every image of a
// turning group.
LACEWRIGHT_PUBLIC control_point_summary detect_control_points(const std::string& input, const std::string& output,
                                                              const options& options = {});

}  // namespace lacewright
