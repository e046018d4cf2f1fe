#include "transforms/square_to_quad.h"

square_to_quad::square_to_quad(const double quad[8]) : x0_(quad[0]), y0_(quad[1]) {
  const double x1 = quad[2], y1 = quad[3], x2 = quad[4], y2 = quad[5], x3 = quad[6], y3 = quad[7];
  const double dx3 = x0_ - x1 + x2 - x3;
  const double dy3 = y0_ - y1 + y2 - y3;
  if (dx3 == 0.0 && dy3 == 0.0) {
    a_ = x1 - x0_;
    b_ = x2 - x1;
    d_ = y1 - y0_;
    e_ = y2 - y1;
    return;
  }
  const double dx1 = x1 - x2, dx2 = x3 - x2, dy1 = y1 - y2, dy2 = y3 - y2;
  const double den = dx1 * dy2 - dx2 * dy1;
  if (den == 0.0) {
    collapsed_ = true;
    return;
  }
  g_ = (dx3 * dy2 - dx2 * dy3) / den;
  h_ = (dx1 * dy3 - dy1 * dx3) / den;
  a_ = x1 - x0_ + g_ * x1;
  b_ = x3 - x0_ + h_ * x3;
  d_ = y1 - y0_ + g_ * y1;
  e_ = y3 - y0_ + h_ * y3;
}

std::array<double, 2> square_to_quad::operator()(double u, double v) const {
  if (collapsed_) return {0.0, 0.0};
  const double w = g_ * u + h_ * v + 1.0;
  return {(a_ * u + b_ * v + x0_) / w, (d_ * u + e_ * v + y0_) / w};
}

std::array<double, 9> square_to_quad::matrix() const {
  if (collapsed_) return {0, 0, 0, 0, 0, 0, 0, 0, 1};
  return {a_, b_, x0_, d_, e_, y0_, g_, h_, 1.0};
}
