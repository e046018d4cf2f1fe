#include "rotation/fisheye_sharing.h"

namespace {

// The quantities of each block as bits, a0 the lowest.
struct fisheye_mode {
  unsigned shared;
  unsigned camera;
};

constexpr unsigned coefficients = 0b00111, centre = 0b11000;
constexpr fisheye_mode modes[] = {
    {0, coefficients}, {0, coefficients | centre}, {centre, coefficients}, {coefficients, 0}, {coefficients | centre, 0},
};

fisheye_mode mode_of(int32_t mode) {
  if (mode < 0 || mode >= static_cast<int32_t>(std::size(modes))) return {0, 0};
  return modes[mode];
}

// visit(quantity, position) for each quantity of `bits`, in order.
template <class Visit>
int walk_block(unsigned bits, Visit visit) {
  int position = 0;
  for (int q = 0; q < fisheye_quantity_count; ++q) {
    if (bits & (1u << q)) visit(q, position++);
  }
  return position;
}

}  // namespace

fisheye_shared_lens fisheye_shared_lens::mean_of(const std::vector<fisheye_lens>& lenses, int32_t mode) {
  fisheye_shared_lens mean;
  for (const fisheye_lens& lens : lenses) {
    for (int q = 0; q < fisheye_quantity_count; ++q) {
      fisheye_value(mean, q) += fisheye_value(lens, q) / static_cast<double>(lenses.size());
    }
  }
  mean.mode = mode;
  return mean;
}

void fisheye_shared_lens::read(const double* block) {
  walk_block(mode_of(mode).shared, [&](int q, int position) { fisheye_value(*this, q) = block[position]; });
}

void fisheye_shared_lens::write(double* block) const {
  walk_block(mode_of(mode).shared, [&](int q, int position) { block[position] = fisheye_value(*this, q); });
}

std::size_t fisheye_shared_lens::block_size() const {
  return static_cast<std::size_t>(walk_block(mode_of(mode).shared, [](int, int) {}));
}

fisheye_layout fisheye_layout_of(int32_t mode) {
  const fisheye_mode m = mode_of(mode);
  fisheye_layout layout;
  walk_block(m.shared, [&](int q, int position) { layout.slots[q] = {lens_slot::shared_block, position, true}; });
  layout.camera_count = walk_block(m.camera, [&](int q, int position) {
    layout.slots[q] = {lens_slot::camera_block, position, true};
  });
  return layout;
}
