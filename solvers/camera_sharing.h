// Which lens quantities of a group of cameras are unknowns of a bundle
// adjustment, and whether shared by all cameras or each camera's own.
//
// A sharing mode (0 to 29) gives, for the focal length, the principal point
// and the radial distortion, how many values are unknown in the shared block
// and how many in each camera's block (2 focal values are fx and fy, 1 is
// one f for both; 1 distortion value is k1 alone). Everything else keeps its
// start value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "records/lens_record.h"

struct sharing_mode {
  int shared_focal;
  int shared_principal;
  int shared_distortion;
  int camera_focal;
  int camera_principal;
  int camera_distortion;
};

// Throws std::invalid_argument for a mode outside 0 to 29.
sharing_mode sharing_of(int32_t mode);
int shared_parameter_count(int32_t mode);
int camera_parameter_count(int32_t mode);

// The lens values shared by a group's cameras, with the mode that says which
// of them are unknowns.
struct shared_lens {
  double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0, k1 = 0.0, k2 = 0.0;
  int32_t mode = 0;

  // The mean of two cameras' lens values, for the mode.
  static shared_lens mean_of(const lens_record& a, const lens_record& b, int32_t mode);

  // The unknowns of the shared block in their order, fx, fy, cx, cy, k1,
  // k2 as the mode has them; one f stands for both focal lengths. `read`
  // takes them from a block, `write` puts them into one. Modes 12 to 15, 24
  // and 25 have shared unknowns that reading does not bring back.
  void read(const double* block);
  void write(double* block) const;
  // The size of the shared block.
  std::size_t block_size() const { return static_cast<std::size_t>(shared_parameter_count(mode)); }
};

// The lens quantities, the columns a camera's derivative is written in
// before it is sorted into the shared and the camera block.
enum lens_quantity { lens_fx, lens_fy, lens_cx, lens_cy, lens_k1, lens_k2, lens_quantity_count };

// Where a camera takes one lens quantity from during an adjustment: its
// own value kept, a place in its own block, or a place in the shared block.
// One focal length for both axes puts fx and fy in the same place.
struct lens_slot {
  enum origin : uint8_t { kept, camera_block, shared_block };
  origin from = kept;
  int position = 0;
  // A shared quantity that the shared record does not read back stays at
  // its start value: no derivative goes to its place.
  bool follows = false;
};

// Where each of a lens model's Count quantities comes from.
template <int Count>
struct quantity_layout {
  lens_slot slots[Count];
  int camera_count = 0;  // lens values in the camera's block
};

using lens_layout = quantity_layout<lens_quantity_count>;

// Every quantity that a mode makes unknown, in either block. In mode 5 the
// shared principal point stays in the shared block and does not reach the
// cameras.
lens_layout lens_layout_of(int32_t mode);

// A quantity of a record with fields fx, fy, cx, cy, k1, k2.
template <class Record>
auto& lens_value(Record& record, int quantity) {
  using plain = std::remove_const_t<Record>;
  double plain::*const fields[] = {&plain::fx, &plain::fy, &plain::cx, &plain::cy, &plain::k1, &plain::k2};
  return record.*fields[quantity];
}
