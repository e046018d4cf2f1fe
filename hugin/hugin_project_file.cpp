#include "hugin/hugin_project_file.h"

#include <algorithm>

#include <cctype>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace lacewright_tool {
namespace {

bool starts_with_word(const std::string& line, char word) {
  return line.size() >= 2 && line[0] == word && std::isspace(static_cast<unsigned char>(line[1]));
}

// An image line's fields: a name of letters, then a value up to the next
// space, or for the file name ("n") a quoted text that may hold spaces.
std::vector<std::pair<std::string, std::string>> fields_of(const std::string& line) {
  std::vector<std::pair<std::string, std::string>> fields;
  std::size_t at = 1;
  while (true) {
    while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    if (at == line.size()) return fields;
    const std::size_t name_start = at;
    while (at < line.size() && std::isalpha(static_cast<unsigned char>(line[at]))) ++at;
    const std::size_t value_start = at;
    if (at < line.size() && line[at] == '"') {
      const std::size_t close = line.find('"', at + 1);
      at = close == std::string::npos ? line.size() : close + 1;
    } else {
      while (at < line.size() && !std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    }
    fields.emplace_back(line.substr(name_start, value_start - name_start), line.substr(value_start, at - value_start));
  }
}

std::string number_text(double value) {
  std::ostringstream text;
  text.precision(12);
  text << value + 0.0;  // no negative zero
  return text.str();
}

}  // namespace

hugin_project_file::hugin_project_file(const std::string& text) {
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (starts_with_word(line, 'i')) images_.push_back({lines_.size(), fields_of(line), false});
    lines_.push_back(std::move(line));
  }
  for (std::size_t image = 0; image < images_.size(); ++image) {
    if (!value(image, "n") || width(image) <= 0 || height(image) <= 0) {
      throw std::invalid_argument(line_number(image) + "an image line needs a width (w), a height (h) and a file (n)");
    }
  }
  // Every project Hugin writes describes its panorama on a 'p' line: a file
  // with neither that nor an image line is something else.
  if (images_.empty() &&
      std::none_of(lines_.begin(), lines_.end(), [](const std::string& line) { return starts_with_word(line, 'p'); })) {
    throw std::invalid_argument("it is not a Hugin project (it has no panorama line 'p')");
  }
}

std::string hugin_project_file::line_number(std::size_t image) const {
  return "line " + std::to_string(images_[image].line + 1) + ": ";
}

const std::string* hugin_project_file::value(std::size_t image, const std::string& name) const {
  for (const field& f : images_.at(image).fields) {
    if (f.first == name) return &f.second;
  }
  return nullptr;
}

int hugin_project_file::integer(std::size_t image, const std::string& name) const {
  const std::string* text = value(image, name);
  int number = 0;
  if (!text) return number;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  if (error != std::errc() || end != text->data() + text->size()) {
    throw std::invalid_argument(line_number(image) + name + " is no whole number ('" + *text + "')");
  }
  return number;
}

std::string hugin_project_file::file(std::size_t image) const {
  const std::string& quoted = *value(image, "n");
  const bool closed = quoted.size() >= 2 && quoted.front() == '"' && quoted.back() == '"';
  return closed ? quoted.substr(1, quoted.size() - 2) : quoted;
}

int hugin_project_file::width(std::size_t image) const { return integer(image, "w"); }
int hugin_project_file::height(std::size_t image) const { return integer(image, "h"); }
int hugin_project_file::projection(std::size_t image) const { return integer(owner(image, "f"), "f"); }

std::size_t hugin_project_file::owner(std::size_t image, const std::string& name) const {
  const std::string* text = value(image, name);
  if (!text || text->empty() || text->front() != '=') return image;
  std::size_t linked = 0;
  const auto [end, error] = std::from_chars(text->data() + 1, text->data() + text->size(), linked);
  if (error != std::errc() || end != text->data() + text->size() || linked >= images_.size()) return image;
  return linked;
}

void hugin_project_file::set(std::size_t image, const std::string& name, double number) {
  image_line& line = images_.at(image);
  line.changed = true;
  for (field& f : line.fields) {
    if (f.first == name) {
      f.second = number_text(number);
      return;
    }
  }
  // The file name conventionally ends the line.
  auto before = line.fields.end();
  if (!line.fields.empty() && line.fields.back().first == "n") --before;
  line.fields.insert(before, {name, number_text(number)});
}

std::size_t hugin_project_file::control_point_place() const {
  for (std::size_t k = lines_.size(); k-- > 0;) {
    if (starts_with_word(lines_[k], 'c')) return k + 1;
  }
  for (std::size_t k = 0; k < lines_.size(); ++k) {
    if (lines_[k] == "# control points") return k + 1;
  }
  return lines_.size();
}

void hugin_project_file::add_control_points(const std::vector<hugin_control_point>& points) {
  std::vector<std::string> added;
  for (const hugin_control_point& p : points) {
    added.push_back("c n" + std::to_string(p.n) + " N" + std::to_string(p.N) + " x" + number_text(p.x) + " y" +
                    number_text(p.y) + " X" + number_text(p.X) + " Y" + number_text(p.Y) + " t0");
  }
  const std::size_t place = control_point_place();
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(place), added.begin(), added.end());
  for (image_line& image : images_) {
    if (image.line >= place) image.line += added.size();
  }
}

std::string hugin_project_file::text() const {
  std::vector<std::string> lines = lines_;
  for (const image_line& image : images_) {
    if (!image.changed) continue;
    std::string line("i");
    for (const auto& [name, value] : image.fields) line += " " + name + value;
    lines[image.line] = std::move(line);
  }
  std::string out;
  for (const std::string& line : lines) out += line + "\n";
  return out;
}

}  // namespace lacewright_tool
