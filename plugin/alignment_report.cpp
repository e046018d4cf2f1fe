#include "plugin/alignment_report.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "transforms/compute_overlap.h"
#include "transforms/cylindrical_transform.h"

namespace {

// Appends to a fixed buffer and remembers whether everything fitted. Numbers
// are formatted without the C locale's say, so that a host that switched its
// numeric locale still gets a decimal point.
class report_writer {
 public:
  explicit report_writer(std::span<char> buffer)
      : cursor_(buffer.data()), end_(buffer.data() + (buffer.empty() ? 0 : buffer.size() - 1)) {}

  void text(std::string_view piece) {
    if (static_cast<std::size_t>(end_ - cursor_) < piece.size()) {
      fitted_ = false;
      cursor_ = end_;
      return;
    }
    cursor_ = std::copy(piece.begin(), piece.end(), cursor_);
  }

  // printf's "%d".
  void integer(int32_t value) {
    char digits[16];
    const auto converted = std::to_chars(digits, digits + sizeof digits, value);
    text({digits, converted.ptr});
  }

  // printf's "%<width>.<precision>f": fixed notation, blanks on the left.
  void fixed(double value, int width, int precision) {
    char digits[400];
    const auto converted =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, precision);
    const auto length = static_cast<int>(converted.ptr - digits);
    for (int pad = length; pad < width; ++pad) text(" ");
    text({digits, converted.ptr});
  }

  // Ends the text with its NUL; false when something did not fit.
  bool finish() {
    if (cursor_) *cursor_ = '\0';
    return fitted_ && cursor_;
  }

 private:
  char* cursor_;
  char* end_;
  bool fitted_ = true;
};

void key(report_writer& out, bool first, const char* name) {
  out.text(first ? "" : ", ");
  out.text("'");
  out.text(name);
  out.text("':");
}

// The opening bracket comes with the first element, so an empty list is "]".
template <class List, class WriteElement>
void list(report_writer& out, const List& values, WriteElement write_element) {
  bool first = true;
  for (const auto& value : values) {
    out.text(first ? "[" : ",");
    write_element(value);
    first = false;
  }
  out.text("]");
}

void integer_list(report_writer& out, const std::vector<int32_t>& values) {
  list(out, values, [&](int32_t value) { out.integer(value); });
}

// The rows of all groups one after the other: the reader splits them by
// "groupCount".
void connectivity_list(report_writer& out, const std::vector<connectivity_matrix>& groups) {
  out.text("[");
  bool first = true;
  for (const connectivity_matrix& group : groups) {
    for (const std::vector<int32_t>& row : group) {
      if (!first) out.text(",");
      integer_list(out, row);
      first = false;
    }
  }
  out.text("]");
}

bool bit(const std::vector<bool>& bits, std::size_t position) {
  return position < bits.size() && bits[position];
}

// The reference for the overlap measure: the first non-empty group's
// reference frame number, or -1 when no image is renderable.
int64_t overlap_reference(const MultiViewParams& params) {
  bool any_renderable = false;
  for (std::size_t i = 0; i < params.sheetID.size(); ++i) any_renderable |= bit(params.renderable, i);
  if (!any_renderable) return -1;
  std::size_t k = 0;
  while (k < params.groupCount.size() && params.groupCount[k] == 0) ++k;
  return k < params.refSheetID.size() ? params.refSheetID[k] : -1;
}

PixelTransform* transform_at(const MultiViewParams& params, int64_t position) {
  if (position < 0 || static_cast<std::size_t>(position) >= params.transforms.size()) return nullptr;
  return params.transforms[static_cast<std::size_t>(position)].get();
}

// One value per frame of the caller's list. The reference frame number is
// used as a position in `transforms`: a frame number and a result position
// coincide when no frame was refused.
void overlap_list(report_writer& out, const MultiViewParams& params, std::vector<AlignFrame>& frames) {
  PixelTransform* const base = transform_at(params, overlap_reference(params));
  out.text("[");
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const double overlap =
        bit(params.renderable, i) ? ComputeOverlap(base, transform_at(params, static_cast<int64_t>(i)), &frames[i])
                                  : 0.0;
    out.fixed(overlap, 6, 5);
    out.text(i + 1 < frames.size() ? "," : "");
  }
  out.text("]");
}

// Only cylindrical transforms report a focal length; every other entry is 0.0.
void focal_length_list(report_writer& out, const MultiViewParams& params) {
  out.text("[");
  for (std::size_t i = 0; i < params.transforms.size(); ++i) {
    if (const auto* cylindrical = dynamic_cast<const CylindricalTransform*>(params.transforms[i].get()))
      out.fixed(cylindrical->getFocalLength(), 5, 1);
    else
      out.text("0.0");
    out.text(i + 1 < params.transforms.size() ? "," : "");
  }
}

}  // namespace

bool report_admits(std::size_t image_count) {
  return (image_count + 8) * image_count * 5 + 130 <= 60000;
}

bool write_alignment_report(const MultiViewParams& params, std::vector<AlignFrame>& frames,
                            std::span<char> buffer) {
  report_writer out(buffer);
  out.text("({");
  key(out, true, "sheetID");
  integer_list(out, params.sheetID);
  key(out, false, "renderable");
  list(out, params.renderable, [&](bool value) { out.text(value ? "true" : "false"); });
  key(out, false, "groupCount");
  integer_list(out, params.groupCount);
  key(out, false, "refSheetID");
  integer_list(out, params.refSheetID);
  key(out, false, "transformType");
  integer_list(out, params.transformType);
  key(out, false, "connectivity");
  connectivity_list(out, params.connectivity);
  key(out, false, "overlap");
  overlap_list(out, params, frames);
  key(out, false, "fl");
  focal_length_list(out, params);
  out.text("]})");
  return out.finish();
}
