// The planar motion value: facts per kind, application, inverse and
// composition, promotion with its kept oddities, and the Jacobians.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "allocation_counter.h"
#include "geometry/h_matrix_2d.h"
#include "numerics/matrix_3x3.h"

namespace {

constexpr HomographyType all_kinds[] = {homography_translation, homography_scale, homography_rotation,
                                        homography_rigid,       homography_similarity, homography_affine,
                                        homography_projective};

h_matrix_2d make(HomographyType kind, std::initializer_list<double> values) {
  h_matrix_2d h(kind);
  int i = 0;
  for (const double v : values) h.parameters[i++] = v;
  return h;
}

// A value of each kind in general position.
h_matrix_2d sample(HomographyType kind) {
  switch (kind) {
    case homography_translation: return make(kind, {3.5, -2.0});
    case homography_scale: return make(kind, {1.7});
    case homography_rotation: return make(kind, {0.4});
    case homography_rigid: return make(kind, {3.5, -2.0, 0.4});
    case homography_similarity: return make(kind, {3.5, -2.0, 0.4, 1.3});
    case homography_affine: return make(kind, {3.5, -2.0, 1.1, 0.2, -0.3, 0.9});
    default: return make(kind, {1.1, 0.2, 30.0, -0.1, 0.95, -12.0, 1e-4, -2e-4, 1.0});
  }
}

std::array<double, 2> apply(const h_matrix_2d& h, double x, double y) {
  const double in[2] = {x, y};
  double out[2];
  h(in, out);
  return {out[0], out[1]};
}

template <class Call>
void expect_invalid(Call call, const std::string& text) {
  try {
    call();
    FAIL() << "no exception for " << text;
  } catch (const std::invalid_argument& error) {
    EXPECT_EQ(text, error.what());
  }
}

TEST(HMatrix2d, facts_by_kind) {
  const int counts[] = {2, 1, 1, 3, 4, 6, 9}, minimum[] = {1, 1, 1, 2, 2, 3, 4};
  for (int k = 0; k < 7; ++k) {
    const h_matrix_2d_base base(all_kinds[k]);
    EXPECT_EQ(counts[k], base.parameter_count());
    EXPECT_EQ(minimum[k], base.number_of_minimum_points());
    EXPECT_EQ(k >= 5, base.need_nonlinear_estimator());
  }
}

TEST(HMatrix2d, an_unknown_kind_is_named_in_every_refusal) {
  for (const auto kind : {HomographyType{0}, HomographyType{8}}) {
    h_matrix_2d h(kind);
    const double point[2] = {1, 2};
    double out[2], jacobian[18];
    expect_invalid([&] { h.parameter_count(); }, "h_matrix_2d_base::parameter_count(): Un-recognized homography type");
    expect_invalid([&] { h.need_nonlinear_estimator(); },
                   "h_matrix_2d_base::need_nonlinear_estimator(): Un-recognized homography type");
    expect_invalid([&] { h.number_of_minimum_points(); },
                   "h_matrix_2d_base::number_of_minimum_points(): Un-recognized homography type");
    expect_invalid([&] { h.normalize(); }, "h_matrix_2d::normalize(): Un-recognized homography type");
    expect_invalid([&] { h_matrix_2d::identity(kind); }, "h_matrix_2d::identity(): Un-recognized homography type");
    expect_invalid([&] { h(point, out); }, "h_matrix_2d::operator(): Un-recognized homography type");
    expect_invalid([&] { h.derivatives(point, jacobian, 9, nullptr, 2); },
                   "h_matrix_2d::operator(): Un-recognized homography type");
    EXPECT_FALSE(h.is_invertible());
    EXPECT_EQ(kind, h.inverse().type);
    EXPECT_EQ(kind, compose_same(h, h).type);
  }
}

TEST(HMatrix2d, application_follows_the_parameter_layouts) {
  const double c = std::cos(0.4), s = std::sin(0.4), w = 1e-3 - 1e-3 + 1.0;
  const struct {
    HomographyType kind;
    double x, y;  // the image of (10, 5) under sample(kind)
  } cases[] = {
      {homography_translation, 13.5, 3.0},
      {homography_scale, 17.0, 8.5},
      {homography_rotation, 10 * c - 5 * s, 10 * s + 5 * c},
      {homography_rigid, 10 * c - 5 * s + 3.5, 10 * s + 5 * c - 2},
      {homography_similarity, 1.3 * (10 * c - 5 * s) + 3.5, 1.3 * (10 * s + 5 * c) - 2},
      {homography_affine, 11 + 1 + 3.5, -3 + 4.5 - 2},
      {homography_projective, (11 + 1 + 30) / w, (-1 + 4.75 - 12) / w},
  };
  for (const auto& k : cases) {
    const auto moved = apply(sample(k.kind), 10, 5);
    EXPECT_NEAR(k.x, moved[0], 1e-12) << k.kind;
    EXPECT_NEAR(k.y, moved[1], 1e-12) << k.kind;
  }
}

TEST(HMatrix2d, identities_fix_points_inverses_undo_their_values_and_composition_applies_the_second_first) {
  for (const HomographyType kind : all_kinds) {
    SCOPED_TRACE(kind);
    const auto moved = apply(h_matrix_2d::identity(kind), 7.25, -3.5);
    EXPECT_DOUBLE_EQ(7.25, moved[0]);
    EXPECT_DOUBLE_EQ(-3.5, moved[1]);
    const h_matrix_2d h = sample(kind);
    ASSERT_TRUE(h.is_invertible());
    const h_matrix_2d back = h.inverse();
    EXPECT_EQ(kind, back.type);
    h_matrix_2d other = back;
    other.parameters[0] += 0.5;  // not simply the inverse
    for (const auto& [x, y] : {std::pair{7.25, -3.5}, std::pair{-40.0, 12.0}}) {
      const auto there = apply(h, x, y);
      const auto again = apply(back, there[0], there[1]);
      EXPECT_NEAR(x, again[0], 1e-9);
      EXPECT_NEAR(y, again[1], 1e-9);
      const auto composed = apply(compose_same(back, h), x, y);
      EXPECT_NEAR(x, composed[0], 1e-9);
      EXPECT_NEAR(y, composed[1], 1e-9);
      const auto first = apply(other, x, y), both = apply(h, first[0], first[1]);
      const auto direct = apply(compose_same(h, other), x, y);
      EXPECT_NEAR(both[0], direct[0], 1e-9);
      EXPECT_NEAR(both[1], direct[1], 1e-9);
    }
  }
}

TEST(HMatrix2d, normalisation_takes_the_signed_cube_root_of_the_determinant) {
  h_matrix_2d h = make(homography_projective, {2, 0, 0, 0, 2, 0, 0, 0, -2});  // determinant -8
  h.normalize();
  EXPECT_EQ(-1.0, h.parameters[0]);
  EXPECT_EQ(1.0, h.parameters[8]);
  EXPECT_DOUBLE_EQ(1.0, determinant_3x3(h.parameters));
  h_matrix_2d singular = make(homography_projective, {1, 2, 3, 2, 4, 6, 0, 0, 1});
  singular.normalize();
  EXPECT_EQ(2.0, singular.parameters[1]);
  h_matrix_2d affine = sample(homography_affine);
  affine.normalize();
  EXPECT_EQ(1.1, affine.parameters[2]);
}

TEST(HMatrix2d, a_projective_inverse_needs_a_determinant_strictly_above_1e_minus_8) {
  h_matrix_2d tiny = make(homography_projective, {1e-8, 0, 0, 0, 1, 0, 0, 0, 1});
  EXPECT_FALSE(tiny.is_invertible());
  const h_matrix_2d refused = tiny.inverse();
  EXPECT_EQ(homography_projective, refused.type);
  EXPECT_EQ(0.0, refused.parameters[0]);  // nothing written
  tiny.parameters[0] = 1.1e-8;
  ASSERT_TRUE(tiny.is_invertible());
  EXPECT_NEAR(1.0, determinant_3x3(tiny.inverse().parameters), 1e-12);
  EXPECT_FALSE(make(homography_affine, {0, 0, 1, 1, 1, 1}).is_invertible());
  EXPECT_FALSE(make(homography_scale, {0}).is_invertible());
  EXPECT_TRUE(make(homography_similarity, {0, 0, 0, std::nan("")}).is_invertible());
}

TEST(HMatrix2d, promotions_follow_their_table_with_its_kept_oddities) {
  // Translation to rigid sets the angle to one radian.
  const h_matrix_2d rigid = convert(make(homography_translation, {2, 3}), homography_rigid);
  EXPECT_EQ(homography_rigid, rigid.type);
  EXPECT_EQ((std::vector<double>{2, 3, 1.0}), std::vector<double>(rigid.parameters, rigid.parameters + 3));
  // Rigid and similarity to affine take the rotation from the x shift.
  const h_matrix_2d affine = convert(make(homography_rigid, {0.5, 0, 1.2}), homography_affine);
  EXPECT_EQ(std::cos(0.5), affine.parameters[2]);
  EXPECT_EQ(-std::sin(0.5), affine.parameters[3]);
  const h_matrix_2d similar = convert(make(homography_similarity, {0.5, 0, 1.2, 2.0}), homography_affine);
  EXPECT_EQ(2.0 * std::sin(0.5), similar.parameters[4]);
  // The way to projective uses the stored angle.
  const h_matrix_2d projective = convert(make(homography_rigid, {0.5, 0, 1.2}), homography_projective);
  EXPECT_EQ(std::cos(1.2), projective.parameters[0]);
  EXPECT_EQ(0.5, projective.parameters[2]);
  // An impossible promotion gives the value back, kind included.
  const h_matrix_2d unchanged = convert(sample(homography_projective), homography_affine);
  EXPECT_EQ(homography_projective, unchanged.type);
  EXPECT_EQ(30.0, unchanged.parameters[2]);
  // Faithful promotions keep the mapping.
  for (const auto& [from, to] : {std::pair{homography_scale, homography_similarity}, {homography_rotation, homography_affine},
                                 {homography_similarity, homography_projective}, {homography_affine, homography_projective},
                                 {homography_translation, homography_affine}, {homography_rotation, homography_rigid}}) {
    const auto before = apply(sample(from), 3, 4), after = apply(convert(sample(from), to), 3, 4);
    EXPECT_NEAR(before[0], after[0], 1e-12) << from << " to " << to;
    EXPECT_NEAR(before[1], after[1], 1e-12) << from << " to " << to;
  }
}

TEST(HMatrix2d, the_promotion_lattice_and_its_asymmetric_scale_row) {
  const HomographyType T = homography_translation, S = homography_scale, R = homography_rotation,
                       G = homography_rigid, M = homography_similarity, A = homography_affine, P = homography_projective;
  // Translation: the other kind, but rigid with rotation and similarity with
  // scale; scale: similarity with everything else, affine and projective too.
  const HomographyType expected[7][7] = {
      {T, M, G, G, M, A, P}, {M, S, M, M, M, M, M}, {G, M, R, G, M, A, P}, {G, M, G, G, M, A, P},
      {M, M, M, M, M, A, P}, {A, A, A, A, A, A, P}, {P, P, P, P, P, P, P},
  };
  const HomographyType kinds[7] = {T, S, R, G, M, A, P};
  for (int a = 0; a < 7; ++a) {
    for (int b = 0; b < 7; ++b) EXPECT_EQ(expected[a][b], common_type(kinds[a], kinds[b])) << kinds[a] << ", " << kinds[b];
  }
  EXPECT_EQ(P, common_type(HomographyType{9}, T));

  const bool convertible[7][7] = {
      {1, 0, 0, 1, 1, 1, 1}, {0, 1, 0, 0, 1, 1, 1}, {0, 0, 1, 1, 1, 1, 1}, {0, 0, 0, 1, 1, 1, 1},
      {0, 0, 0, 0, 1, 1, 1}, {0, 0, 0, 0, 0, 1, 1}, {0, 0, 0, 0, 0, 0, 1},
  };
  for (int a = 0; a < 7; ++a) {
    for (int b = 0; b < 7; ++b) EXPECT_EQ(convertible[a][b], can_convert(kinds[a], kinds[b])) << a << ", " << b;
  }
}

TEST(HMatrix2d, mixed_compositions_promote_both_sides_first) {
  const h_matrix_2d shift = make(homography_translation, {1, 2}), turn = make(homography_rotation, {0.3});
  const h_matrix_2d product = shift * turn;
  EXPECT_EQ(homography_rigid, product.type);
  // The translation's promotion brings its angle of one radian along.
  EXPECT_DOUBLE_EQ(1.3, product.parameters[2]);
  const h_matrix_2d projective = sample(homography_affine) * sample(homography_projective);
  EXPECT_EQ(homography_projective, projective.type);
  const auto direct = apply(projective, 2, 3);
  const auto first = apply(sample(homography_projective), 2, 3);
  const auto both = apply(sample(homography_affine), first[0], first[1]);
  EXPECT_NEAR(both[0], direct[0], 1e-9);
  EXPECT_NEAR(both[1], direct[1], 1e-9);
}

TEST(HMatrix2d, jacobians_agree_with_finite_differences) {
  const double point[2] = {12.0, -7.0};
  const double h = 1e-6;
  for (const HomographyType kind : all_kinds) {
    const h_matrix_2d value = sample(kind);
    const int n = value.parameter_count();
    double jp[2 * 9] = {}, jx[4] = {};
    value.derivatives(point, jp, 9, jx, 2);
    for (int j = 0; j < n; ++j) {
      h_matrix_2d plus = value, minus = value;
      plus.parameters[j] += h;
      minus.parameters[j] -= h;
      const auto a = apply(plus, point[0], point[1]), b = apply(minus, point[0], point[1]);
      EXPECT_NEAR((a[0] - b[0]) / (2 * h), jp[j], 1e-5) << kind << " parameter " << j;
      EXPECT_NEAR((a[1] - b[1]) / (2 * h), jp[9 + j], 1e-5) << kind << " parameter " << j;
    }
    if (kind == homography_scale) {
      // Only the first column is written, with the scale twice.
      EXPECT_EQ(1.7, jx[0]);
      EXPECT_EQ(1.7, jx[2]);
      continue;
    }
    for (int d = 0; d < 2; ++d) {
      const auto a = apply(value, point[0] + (d == 0 ? h : 0), point[1] + (d == 1 ? h : 0));
      const auto b = apply(value, point[0] - (d == 0 ? h : 0), point[1] - (d == 1 ? h : 0));
      EXPECT_NEAR((a[0] - b[0]) / (2 * h), jx[d], 1e-6) << kind;
      EXPECT_NEAR((a[1] - b[1]) / (2 * h), jx[2 + d], 1e-6) << kind;
    }
  }
}

TEST(HMatrix2d, operations_allocate_nothing) {
  const std::size_t count = test_support::allocations_during([] {
    for (const HomographyType kind : all_kinds) {
      h_matrix_2d h = sample(kind);
      const double point[2] = {1, 2};
      double out[2], jp[18], jx[4];
      h(point, out);
      h.derivatives(point, jp, 9, jx, 2);
      h = compose_same(h.inverse(), h);
      h.normalize();
      h = convert(h, homography_projective) * sample(homography_affine);
      (void)common_type(h, h);
    }
  });
  EXPECT_EQ(0u, count);
}

}  // namespace
