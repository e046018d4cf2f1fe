// Point correspondences with their own storage, for the tests of the planar
// estimators and the robust search: points of the second image and their
// images under a known motion, exact or with noise.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <random>
#include <vector>

#include "geometry/h_matrix_2d.h"
#include "records/correspondences.h"

namespace test_support {

using point = std::array<double, 2>;

// The list of pointers the estimators take; it points into `points`.
inline point_list pointers(const std::vector<point>& points) {
  point_list list;
  for (const point& p : points) list.push_back(p.data());
  return list;
}

// The lists point into the set: take them once the set is complete.
struct correspondence_set {
  std::vector<point> a;  // points of the first image
  std::vector<point> b;  // points of the second image

  void add(point first, point second) {
    a.push_back(first);
    b.push_back(second);
  }
  std::size_t size() const { return a.size(); }
  point_list first() const { return pointers(a); }
  point_list second() const { return pointers(b); }
};

inline h_matrix_2d motion_of(HomographyType kind, std::initializer_list<double> values) {
  h_matrix_2d h(kind);
  int i = 0;
  for (const double v : values) h.parameters[i++] = v;
  return h;
}

inline point apply(const h_matrix_2d& motion, const point& p) {
  point out;
  motion(p.data(), out.data());
  return out;
}

// The largest distance between the images of `points` under two motions.
inline double largest_gap(const h_matrix_2d& u, const h_matrix_2d& v, const std::vector<point>& points) {
  double worst = 0.0;
  for (const point& p : points) {
    const point pu = apply(u, p), pv = apply(v, p);
    worst = std::max(worst, std::hypot(pu[0] - pv[0], pu[1] - pv[1]));
  }
  return worst;
}

// `count` points uniformly over a frame of the given size.
inline std::vector<point> scattered_points(std::size_t count, double width, double height, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> x(0.0, width), y(0.0, height);
  std::vector<point> points(count);
  for (point& p : points) p = {x(generator), y(generator)};
  return points;
}

// Each point of `second` with its image under `motion`, moved by Gaussian
// noise of `sigma` pixels in each coordinate.
inline correspondence_set mapped(const h_matrix_2d& motion, const std::vector<point>& second, double sigma = 0.0,
                                 unsigned seed = 1) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> noise(0.0, sigma > 0.0 ? sigma : 1.0);
  correspondence_set set;
  for (const point& b : second) {
    point a = apply(motion, b);
    if (sigma > 0.0) {
      a[0] += noise(generator);
      a[1] += noise(generator);
    }
    set.add(a, b);
  }
  return set;
}

inline bit_mask all_marked(std::size_t n) {
  bit_mask mask(n);
  for (std::size_t i = 0; i < n; ++i) mask.set(i, true);
  return mask;
}

}  // namespace test_support
