#include "rotation/construct_fisheye_projection.h"

#include <stdexcept>

namespace {

// A measured lens: the polynomial's coefficients p0 to p4 in pixels of a
// sensor `sensor` pixels wide, and a divisor of the caller's scale that two
// of the measurements carry.
struct measured_lens {
  double sensor;
  double divisor;
  double p[5];
};

constexpr int32_t first_type = 2;
constexpr measured_lens lenses[] = {
    {4368.0, 1.005586592178771, {-6.660657106582126, 17.472355261385218, -20.27454098406905, -45.87847066483317, 1888.443270075339}},
    {3872.0, 1.5254237288135593, {-8.3635, 18.1592, -23.0, -69.0, 1746.63}},
    {4256.0, 1.0, {-16.09, 38.77, -41.91, -50.4, 1863.21}},
    {4256.0, 1.0, {7.21, -17.13, 9.18, -33.27, 977.565}},
    {5616.0, 1.0, {0.53, -3.34, -0.97, -40.58, 1289.31}},
    {4256.0, 1.0, {10.3833, -17.9269, 9.5475, -22.3459, 525.8926}},
    {5616.0, 1.0, {-3.0197, 8.8761, -9.5633, -25.4745, 694.5247}},
    {4256.0, 1.0, {-15.2862, 42.0482, -46.8346, -38.8241, 1855.6}},
    {5616.0, 1.0, {-2.4551, 9.6032, -23.0167, -60.9928, 2454.1331}},
};
constexpr int32_t last_type = first_type + static_cast<int32_t>(std::size(lenses)) - 1;

// The factor of a lens's row, evaluated in the order its measurement has
// always been applied, so that the coefficients come out to the last bit:
// with a divisor the scale is divided first, otherwise the size ratio is
// scaled.
double factor_of(const measured_lens& lens, double image_size, double scale) {
  if (lens.divisor != 1.0) return scale / lens.divisor * (image_size / lens.sensor);
  return image_size / lens.sensor * scale;
}

}  // namespace

std::unique_ptr<fisheye_equidist5> construct_fisheye_projection(int32_t lens_type, double image_size, double scale) {
  if (lens_type < first_type || lens_type > last_type) {
    throw std::runtime_error("construct_fisheye_projection(): Unknown fisheye lens type");
  }
  const measured_lens& lens = lenses[lens_type - first_type];
  const double factor = factor_of(lens, image_size, scale);
  auto projection = std::make_unique<fisheye_equidist5>();
  projection->p0 = lens.p[0] * factor;
  projection->p1 = lens.p[1] * factor;
  projection->p2 = lens.p[2] * factor;
  projection->p3 = lens.p[3] * factor;
  projection->p4 = lens.p[4] * factor;
  return projection;
}
