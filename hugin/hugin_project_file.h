// A Hugin project file (.pto) that another program wrote, read so that it
// can be handed back with additions, as Hugin's control point detectors do.
// Its image lines ("i") are understood as far as an aligner needs them:
// file, size, projection and the values that place the image (field of
// view, yaw, pitch, roll), each either a number or "=k", a link to image
// k's value. Every other line is kept as it was, in its place; so are the
// "#-hugin" lines, each of which belongs to the image line after it.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace lacewright_tool {

// A Hugin control point: pixel (x, y) of image n and (X, Y) of image N,
// in pixels of the files as stored, (0, 0) at the centre of the first.
struct hugin_control_point {
  std::size_t n = 0, N = 0;
  double x = 0.0, y = 0.0, X = 0.0, Y = 0.0;
};

class hugin_project_file {
 public:
  // Throws std::invalid_argument, with the line's number, for an image
  // line without a positive width and height or without a file name.
  explicit hugin_project_file(const std::string& text);

  std::size_t image_count() const { return images_.size(); }
  // The file name as written, and the size of its pixels as stored.
  std::string file(std::size_t image) const;
  int width(std::size_t image) const;
  int height(std::size_t image) const;
  // The lens projection ("f"): 0 is rectilinear.
  int projection(std::size_t image) const;

  // The image whose `name` value this image's line uses: the one its link
  // names, or the image itself.
  std::size_t owner(std::size_t image, const std::string& name) const;

  // Writes the value on the image's own line; a line that had none gets it
  // before its file name.
  void set(std::size_t image, const std::string& name, double value);

  // After the project's last control point, or under the heading that
  // opens their section, or at the end.
  void add_control_points(const std::vector<hugin_control_point>& points);

  std::string text() const;

 private:
  using field = std::pair<std::string, std::string>;  // name, value as written
  struct image_line {
    std::size_t line = 0;
    std::vector<field> fields;
    bool changed = false;
  };

  const std::string* value(std::size_t image, const std::string& name) const;
  int integer(std::size_t image, const std::string& name) const;
  std::string line_number(std::size_t image) const;
  std::size_t control_point_place() const;

  std::vector<std::string> lines_;
  std::vector<image_line> images_;
};

}  // namespace lacewright_tool
