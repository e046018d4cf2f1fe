#include "geometry/h_matrix_2d.h"

#include <cmath>
#include <stdexcept>

#include "numerics/matrix_3x3.h"

namespace {

// Below this size a determinant counts as singular.
constexpr double singular_limit = 1e-8;

struct kind_facts {
  int parameter_count;
  int minimum_points;
  bool nonlinear;
};

bool known(HomographyType type) { return type >= homography_translation && type <= homography_projective; }

kind_facts facts_of(HomographyType type, const char* operation) {
  static constexpr kind_facts table[] = {
      {2, 1, false}, {1, 1, false}, {1, 1, false}, {3, 2, false}, {4, 2, false}, {6, 3, true}, {9, 4, true}};
  if (!known(type)) throw std::invalid_argument(std::string(operation) + ": Un-recognized homography type");
  return table[type - 1];
}

[[noreturn]] void unknown(const char* operation) {
  throw std::invalid_argument(std::string(operation) + ": Un-recognized homography type");
}

// Rotation by `angle` of (x, y).
void rotate(double angle, double x, double y, double& out_x, double& out_y) {
  const double c = std::cos(angle), s = std::sin(angle);
  out_x = c * x - s * y;
  out_y = s * x + c * y;
}

}  // namespace

int h_matrix_2d_base::parameter_count() const {
  return facts_of(type, "h_matrix_2d_base::parameter_count()").parameter_count;
}

int h_matrix_2d_base::number_of_minimum_points() const {
  return facts_of(type, "h_matrix_2d_base::number_of_minimum_points()").minimum_points;
}

bool h_matrix_2d_base::need_nonlinear_estimator() const {
  return facts_of(type, "h_matrix_2d_base::need_nonlinear_estimator()").nonlinear;
}

h_matrix_2d h_matrix_2d::identity(HomographyType kind) {
  h_matrix_2d h(kind);
  double* p = h.parameters;
  switch (kind) {
    case homography_translation:
    case homography_rotation:
    case homography_rigid: break;
    case homography_scale: p[0] = 1.0; break;
    case homography_similarity: p[3] = 1.0; break;
    case homography_affine: p[2] = p[5] = 1.0; break;
    case homography_projective: p[0] = p[4] = p[8] = 1.0; break;
    default: unknown("h_matrix_2d::identity()");
  }
  return h;
}

void h_matrix_2d::operator()(const double in[2], double out[2]) const {
  const double x = in[0], y = in[1];
  const double* p = parameters;
  switch (type) {
    case homography_translation: out[0] = x + p[0]; out[1] = y + p[1]; break;
    case homography_scale: out[0] = p[0] * x; out[1] = p[0] * y; break;
    case homography_rotation: rotate(p[0], x, y, out[0], out[1]); break;
    case homography_rigid:
      rotate(p[2], x, y, out[0], out[1]);
      out[0] += p[0];
      out[1] += p[1];
      break;
    case homography_similarity:
      rotate(p[2], x, y, out[0], out[1]);
      out[0] = p[3] * out[0] + p[0];
      out[1] = p[3] * out[1] + p[1];
      break;
    case homography_affine: out[0] = p[2] * x + p[3] * y + p[0]; out[1] = p[4] * x + p[5] * y + p[1]; break;
    case homography_projective: {
      const double w = p[6] * x + p[7] * y + p[8];
      out[0] = (p[0] * x + p[1] * y + p[2]) / w;
      out[1] = (p[3] * x + p[4] * y + p[5]) / w;
      break;
    }
    default: unknown("h_matrix_2d::operator()");
  }
}

void h_matrix_2d::normalize() {
  if (!known(type)) unknown("h_matrix_2d::normalize()");
  if (type != homography_projective) return;
  const double d = determinant_3x3(parameters);
  double divisor;
  if (d < 0.0) {
    divisor = -std::pow(-d, 1.0 / 3.0);
  } else if (d > 0.0) {
    divisor = std::pow(d, 1.0 / 3.0);
  } else {
    return;  // 0 or not a number
  }
  for (double& p : parameters) p /= divisor;
}

bool h_matrix_2d::is_invertible() const {
  const double* p = parameters;
  switch (type) {
    case homography_translation:
    case homography_rotation:
    case homography_rigid: return true;
    case homography_scale:
    case homography_similarity: return p[type == homography_scale ? 0 : 3] != 0.0;
    case homography_affine: return std::fabs(p[2] * p[5] - p[3] * p[4]) > singular_limit;
    case homography_projective: return std::fabs(determinant_3x3(p)) > singular_limit;
    default: return false;
  }
}

h_matrix_2d h_matrix_2d::inverse() const {
  h_matrix_2d result(type);
  const double* p = parameters;
  double* q = result.parameters;
  switch (type) {
    case homography_translation: q[0] = -p[0]; q[1] = -p[1]; break;
    case homography_rotation: q[0] = -p[0]; break;
    case homography_scale:
      if (p[0] != 0.0) q[0] = 1.0 / p[0];
      break;
    case homography_rigid:
      rotate(-p[2], p[0], p[1], q[0], q[1]);
      q[0] = -q[0];
      q[1] = -q[1];
      q[2] = -p[2];
      break;
    case homography_similarity:
      if (p[3] == 0.0) break;
      rotate(-p[2], p[0], p[1], q[0], q[1]);
      q[0] = -q[0] / p[3];
      q[1] = -q[1] / p[3];
      q[2] = -p[2];
      q[3] = 1.0 / p[3];
      break;
    case homography_affine: {
      const double e = p[5] * p[2] - p[4] * p[3];
      if (!(std::fabs(e) > singular_limit)) break;
      q[2] = p[5] / e;
      q[3] = -p[3] / e;
      q[4] = -p[4] / e;
      q[5] = p[2] / e;
      q[0] = -(q[2] * p[0] + q[3] * p[1]);
      q[1] = -(q[4] * p[0] + q[5] * p[1]);
      break;
    }
    case homography_projective: {
      const double d = determinant_3x3(p);
      if (!(std::fabs(d) > singular_limit)) break;
      adjugate_3x3(p, q);
      for (int i = 0; i < 9; ++i) q[i] /= d;
      result.normalize();
      break;
    }
    default: break;
  }
  return result;
}

void h_matrix_2d::derivatives(const double point[2], double* jp, int ps, double* jx, int xs) const {
  const double x = point[0], y = point[1];
  const double* p = parameters;
  // Rows of the parameter Jacobian (x' and y') and of the point Jacobian.
  const auto parameter_rows = [&](std::initializer_list<double> first, std::initializer_list<double> second) {
    if (!jp) return;
    int i = 0;
    for (const double v : first) jp[i++] = v;
    i = 0;
    for (const double v : second) jp[ps + i++] = v;
  };
  const auto point_rows = [&](double a, double b, double c, double d) {
    if (!jx) return;
    jx[0] = a;
    jx[1] = b;
    jx[xs] = c;
    jx[xs + 1] = d;
  };
  switch (type) {
    case homography_translation:
      parameter_rows({1.0, 0.0}, {0.0, 1.0});
      point_rows(1.0, 0.0, 0.0, 1.0);
      break;
    case homography_scale:
      parameter_rows({x}, {y});
      // Only the first column is written; the refinements never ask for it.
      if (jx) {
        jx[0] = p[0];
        jx[xs] = p[0];
      }
      break;
    case homography_rotation:
    case homography_rigid: {
      const double c = std::cos(p[type == homography_rotation ? 0 : 2]), n = std::sin(p[type == homography_rotation ? 0 : 2]);
      if (type == homography_rotation) {
        parameter_rows({-n * x - c * y}, {c * x - n * y});
      } else {
        parameter_rows({1.0, 0.0, -n * x - c * y}, {0.0, 1.0, c * x - n * y});
      }
      point_rows(c, -n, n, c);
      break;
    }
    case homography_similarity: {
      const double c = std::cos(p[2]), n = std::sin(p[2]), s = p[3];
      parameter_rows({1.0, 0.0, s * (-n * x - c * y), c * x - n * y}, {0.0, 1.0, s * (c * x - n * y), n * x + c * y});
      point_rows(s * c, -s * n, s * n, s * c);
      break;
    }
    case homography_affine:
      parameter_rows({1.0, 0.0, x, y, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0, x, y});
      point_rows(p[2], p[3], p[4], p[5]);
      break;
    case homography_projective: {
      const double w = p[6] * x + p[7] * y + p[8];
      const double u = (p[0] * x + p[1] * y + p[2]) / w, v = (p[3] * x + p[4] * y + p[5]) / w;
      parameter_rows({x / w, y / w, 1.0 / w, 0.0, 0.0, 0.0, -u * x / w, -u * y / w, -u / w},
                     {0.0, 0.0, 0.0, x / w, y / w, 1.0 / w, -v * x / w, -v * y / w, -v / w});
      point_rows((p[0] - u * p[6]) / w, (p[1] - u * p[7]) / w, (p[3] - v * p[6]) / w, (p[4] - v * p[7]) / w);
      break;
    }
    default: unknown("h_matrix_2d::operator()");
  }
}

h_matrix_2d compose_same(const h_matrix_2d& a, const h_matrix_2d& b) {
  h_matrix_2d result(a.type);
  const double* p = a.parameters;
  const double* q = b.parameters;
  double* r = result.parameters;
  switch (a.type) {
    case homography_translation: r[0] = p[0] + q[0]; r[1] = p[1] + q[1]; break;
    case homography_scale: r[0] = p[0] * q[0]; break;
    case homography_rotation: r[0] = p[0] + q[0]; break;
    case homography_rigid:
      rotate(p[2], q[0], q[1], r[0], r[1]);
      r[0] += p[0];
      r[1] += p[1];
      r[2] = p[2] + q[2];
      break;
    case homography_similarity:
      rotate(p[2], q[0], q[1], r[0], r[1]);
      r[0] = p[3] * r[0] + p[0];
      r[1] = p[3] * r[1] + p[1];
      r[2] = p[2] + q[2];
      r[3] = p[3] * q[3];
      break;
    case homography_affine:
      r[0] = p[2] * q[0] + p[3] * q[1] + p[0];
      r[1] = p[4] * q[0] + p[5] * q[1] + p[1];
      r[2] = p[2] * q[2] + p[3] * q[4];
      r[3] = p[2] * q[3] + p[3] * q[5];
      r[4] = p[4] * q[2] + p[5] * q[4];
      r[5] = p[4] * q[3] + p[5] * q[5];
      break;
    case homography_projective: multiply_3x3(p, q, r); break;
    default: break;
  }
  return result;
}

h_matrix_2d operator*(const h_matrix_2d& a, const h_matrix_2d& b) {
  if (a.type == b.type) return compose_same(a, b);
  const HomographyType common = common_type(a, b);
  return compose_same(convert(a, common), convert(b, common));
}

HomographyType common_type(HomographyType a, HomographyType b) {
  if (a == b) return a;
  switch (a) {
    case homography_translation:
      if (b == homography_rotation) return homography_rigid;
      if (b == homography_scale) return homography_similarity;
      return b;
    case homography_scale: return homography_similarity;
    case homography_rotation:
      if (b == homography_scale) return homography_similarity;
      if (b == homography_translation) return homography_rigid;
      return b;
    case homography_rigid:
      if (b == homography_translation || b == homography_rotation) return homography_rigid;
      if (b == homography_scale) return homography_similarity;
      return b;
    case homography_similarity:
      return b == homography_affine || b == homography_projective ? b : homography_similarity;
    case homography_affine: return b == homography_projective ? homography_projective : homography_affine;
    default: return homography_projective;
  }
}

bool can_convert(HomographyType from, HomographyType to) {
  if (from == to) return true;
  const bool richer_planar = to == homography_affine || to == homography_projective;
  switch (from) {
    case homography_translation:
    case homography_rotation: return to == homography_rigid || to == homography_similarity || richer_planar;
    case homography_scale: return to == homography_similarity || richer_planar;
    case homography_rigid: return to == homography_similarity || richer_planar;
    case homography_similarity: return richer_planar;
    case homography_affine: return to == homography_projective;
    default: return false;
  }
}

namespace {

// The projective matrix of a value of the six other kinds.
void as_projective(const h_matrix_2d& source, double* r) {
  const double* p = source.parameters;
  double a = 1.0, b = 0.0, c = 0.0, d = 1.0, tx = 0.0, ty = 0.0;
  switch (source.type) {
    case homography_translation: tx = p[0]; ty = p[1]; break;
    case homography_scale: a = d = p[0]; break;
    case homography_rotation: a = d = std::cos(p[0]); c = std::sin(p[0]); b = -c; break;
    case homography_rigid:
    case homography_similarity: {
      const double s = source.type == homography_similarity ? p[3] : 1.0;
      a = d = s * std::cos(p[2]);
      c = s * std::sin(p[2]);
      b = -c;
      tx = p[0];
      ty = p[1];
      break;
    }
    default: a = p[2]; b = p[3]; c = p[4]; d = p[5]; tx = p[0]; ty = p[1]; break;  // affine
  }
  const double matrix[9] = {a, b, tx, c, d, ty, 0.0, 0.0, 1.0};
  for (int i = 0; i < 9; ++i) r[i] = matrix[i];
}

}  // namespace

h_matrix_2d convert(const h_matrix_2d& source, HomographyType target) {
  if (source.type == target || !can_convert(source.type, target)) return source;
  h_matrix_2d result(target);
  const double* p = source.parameters;
  double* r = result.parameters;
  const auto set = [r](std::initializer_list<double> values) {
    int i = 0;
    for (const double v : values) r[i++] = v;
  };
  switch (target) {
    case homography_rigid:
      // From translation the angle becomes one radian, not zero: kept as it
      // has always been.
      if (source.type == homography_translation) set({p[0], p[1], 1.0});
      else set({0.0, 0.0, p[0]});  // rotation
      break;
    case homography_similarity:
      switch (source.type) {
        case homography_translation: set({p[0], p[1], 0.0, 1.0}); break;
        case homography_scale: set({0.0, 0.0, 0.0, p[0]}); break;
        case homography_rotation: set({0.0, 0.0, p[0], 1.0}); break;
        default: set({p[0], p[1], p[2], 1.0}); break;  // rigid
      }
      break;
    case homography_affine:
      switch (source.type) {
        case homography_translation: set({p[0], p[1], 1.0, 0.0, 0.0, 1.0}); break;
        case homography_scale: set({0.0, 0.0, p[0], 0.0, 0.0, p[0]}); break;
        case homography_rotation: set({0.0, 0.0, std::cos(p[0]), -std::sin(p[0]), std::sin(p[0]), std::cos(p[0])}); break;
        default: {
          // Rigid and similarity take their rotation from the first
          // parameter, the x shift: kept as it has always been.
          const double u = p[0], s = source.type == homography_similarity ? p[3] : 1.0;
          set({p[0], p[1], s * std::cos(u), -s * std::sin(u), s * std::sin(u), s * std::cos(u)});
          break;
        }
      }
      break;
    default: as_projective(source, r); break;  // projective
  }
  return result;
}
