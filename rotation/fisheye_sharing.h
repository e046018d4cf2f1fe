// The lens values of a fisheye camera in a bundle adjustment, and which of
// them a fisheye mode makes unknown, shared by all cameras or each
// camera's own.
//
// The adjustment fits the short polynomial R(theta) = theta (a0 theta^2 +
// a1 theta + a2) about the centre (cx, cy).
//
// | mode | shared block      | camera block      |
// | 0    | none              | a0 a1 a2          |
// | 1    | none              | a0 a1 a2 cx cy    |
// | 2    | cx cy             | a0 a1 a2          |
// | 3    | a0 a1 a2          | none              |
// | 4    | a0 a1 a2 cx cy    | none              |
//
// Any other mode makes no lens value unknown: the camera adjusts its
// rotation alone. Values stay in this order in both blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "solvers/camera_sharing.h"

enum fisheye_quantity { fisheye_a0, fisheye_a1, fisheye_a2, fisheye_cx, fisheye_cy, fisheye_quantity_count };

struct fisheye_lens {
  double a0 = 0.0, a1 = 0.0, a2 = 0.0;  // pixels per radian cubed, squared, and per radian
  double cx = 0.0, cy = 0.0;            // the centre, in pixels

  friend bool operator==(const fisheye_lens&, const fisheye_lens&) = default;
};

// The lens values a group's fisheye cameras share, with the mode that says
// which of them are unknowns.
struct fisheye_shared_lens {
  double a0 = 0.0, a1 = 0.0, a2 = 0.0, cx = 0.0, cy = 0.0;
  int32_t mode = 0;

  // The start of a shared adjustment: every value the mean over the
  // cameras' own estimates.
  static fisheye_shared_lens mean_of(const std::vector<fisheye_lens>& lenses, int32_t mode);

  // The shared block's unknowns in their order: `read` takes them from a
  // block, `write` puts them into one.
  void read(const double* block);
  void write(double* block) const;
  std::size_t block_size() const;
};

// A quantity of a record with fields a0, a1, a2, cx, cy.
template <class Record>
auto& fisheye_value(Record& record, int quantity) {
  using plain = std::remove_const_t<Record>;
  double plain::*const fields[] = {&plain::a0, &plain::a1, &plain::a2, &plain::cx, &plain::cy};
  return record.*fields[quantity];
}

using fisheye_layout = quantity_layout<fisheye_quantity_count>;

// Where each quantity of a fisheye camera comes from in `mode`.
fisheye_layout fisheye_layout_of(int32_t mode);
