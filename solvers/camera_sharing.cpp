#include "solvers/camera_sharing.h"

#include <stdexcept>
#include <string>

namespace {

constexpr sharing_mode modes[30] = {
    {0, 0, 0, 2, 2, 0}, {0, 0, 0, 1, 2, 0}, {0, 2, 0, 2, 0, 0}, {0, 2, 0, 1, 0, 0}, {2, 2, 0, 0, 0, 0},
    {1, 2, 0, 0, 0, 0}, {0, 0, 0, 2, 0, 0}, {0, 0, 0, 1, 0, 0}, {2, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0, 0},
    {0, 0, 0, 2, 2, 2}, {0, 0, 0, 1, 2, 2}, {0, 2, 0, 2, 0, 2}, {0, 2, 0, 1, 0, 2}, {2, 2, 2, 0, 0, 0},
    {1, 2, 2, 0, 0, 0}, {0, 0, 0, 2, 0, 2}, {0, 0, 0, 1, 0, 2}, {2, 0, 2, 0, 0, 0}, {1, 0, 2, 0, 0, 0},
    {2, 0, 1, 0, 0, 0}, {1, 0, 1, 0, 0, 0}, {0, 0, 0, 0, 0, 2}, {0, 0, 0, 0, 2, 2}, {0, 0, 2, 0, 0, 0},
    {0, 2, 2, 0, 0, 0}, {0, 0, 2, 2, 0, 0}, {0, 0, 2, 1, 0, 0}, {0, 0, 2, 2, 2, 0}, {0, 0, 2, 1, 2, 0},
};

// The modes whose shared block is read back after a run. The others among
// those with shared unknowns (12 to 15, 24, 25) write nothing shared: their
// shared values, and the cameras' copies of them, keep their start values.
bool read_back(int32_t mode) { return !(mode >= 12 && mode <= 15) && mode != 24 && mode != 25; }

// Walks a block with the given numbers of focal, principal point and
// distortion values: visit(quantity, position), one f visiting fy and fx at
// the same position. Returns the block's size.
template <class Visit>
int walk_block(int focal, int principal, int distortion, Visit visit) {
  int position = 0;
  if (focal == 2) {
    visit(lens_fx, position++);
    visit(lens_fy, position++);
  } else if (focal == 1) {  // fx is the one written last into a block
    visit(lens_fy, position);
    visit(lens_fx, position++);
  }
  if (principal == 2) {
    visit(lens_cx, position++);
    visit(lens_cy, position++);
  }
  if (distortion >= 1) visit(lens_k1, position++);
  if (distortion == 2) visit(lens_k2, position++);
  return position;
}

// The shared block of a mode.
template <class Visit>
void for_each_shared(int32_t mode, Visit visit) {
  const sharing_mode m = sharing_of(mode);
  walk_block(m.shared_focal, m.shared_principal, m.shared_distortion, visit);
}

}  // namespace

sharing_mode sharing_of(int32_t mode) {
  if (mode < 0 || mode > 29) throw std::invalid_argument("sharing_of(): unknown camera sharing mode " + std::to_string(mode));
  return modes[mode];
}

int shared_parameter_count(int32_t mode) {
  const sharing_mode m = sharing_of(mode);
  return m.shared_focal + m.shared_principal + m.shared_distortion;
}

int camera_parameter_count(int32_t mode) {
  const sharing_mode m = sharing_of(mode);
  return m.camera_focal + m.camera_principal + m.camera_distortion;
}

void shared_lens::read(const double* block) {
  if (!read_back(mode)) return;
  for_each_shared(mode, [&](int quantity, int position) { lens_value(*this, quantity) = block[position]; });
}

void shared_lens::write(double* block) const {
  shared_lens copy = *this;
  for_each_shared(mode, [&](int quantity, int position) { block[position] = lens_value(copy, quantity); });
}

shared_lens shared_lens::mean_of(const lens_record& a, const lens_record& b, int32_t mode) {
  shared_lens mean;
  for (int q = 0; q < lens_quantity_count; ++q) {
    lens_value(mean, q) = (lens_value(a, q) + lens_value(b, q)) / 2.0;
  }
  mean.mode = mode;
  return mean;
}

lens_layout lens_layout_of(int32_t mode) {
  lens_layout layout;
  const bool follows = read_back(mode);
  for_each_shared(mode, [&](int quantity, int position) {
    if (mode == 5 && (quantity == lens_cx || quantity == lens_cy)) return;
    layout.slots[quantity] = {lens_slot::shared_block, position, follows};
  });
  const sharing_mode m = sharing_of(mode);
  layout.camera_count = walk_block(m.camera_focal, m.camera_principal, m.camera_distortion, [&](int quantity, int at) {
    layout.slots[quantity] = {lens_slot::camera_block, at, true};
  });
  return layout;
}
