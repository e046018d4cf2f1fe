// The fisheye refinement against ground truth: a synthetic rig of four
// fisheye views a quarter turn apart with a known lens, observed with half
// a pixel of noise,
// from start rotations a degree or so off and a start lens a few per cent
// off.
#include <gtest/gtest.h>

#include <cmath>

#include "fisheye_rig.h"
#include "graph/feature_tracks.h"
#include "rotation/construct_fisheye_projection.h"
#include "rotation/refine_fisheye_cameras.h"

namespace {

using namespace test_support;

// The truth: the short polynomial of lens type 2 on an 800-pixel side,
// centred on the frame.
fisheye_lens true_lens() {
  auto lens = construct_fisheye_projection(2, 800.0, 1.0);
  lens->cx = 399.5;
  lens->cy = 299.5;
  return short_polynomial_of(*lens);
}

fisheye_lens start_lens(const fisheye_lens& truth) {
  return {truth.a0 - 4.0, truth.a1 + 6.0, truth.a2 * 1.04, truth.cx, truth.cy};
}

struct refined_rig {
  fisheye_rig rig;
  fisheye_group_cameras cameras;
};

refined_rig refine(const fisheye_refinement_options& options, unsigned seed) {
  refined_rig result{make_fisheye_rig(true_lens(), 600, 0.5, 1.5, seed), {}};
  const component_record<rotation_motion>& component = result.rig.component;
  for (std::size_t i = 0; i < component.frames.size(); ++i) {
    result.cameras.rotations.push_back(transposed(component.motions[i].rotation));
    result.cameras.lenses.push_back(start_lens(result.rig.lens));
  }
  const feature_tracks tracks = build_feature_tracks(component.frames, component.pairs, component.links);
  refine_fisheye_cameras(options, component.frames, tracks, 0, result.cameras);
  return result;
}

double worst_rotation_error(const refined_rig& refined) {
  double worst = 0.0;
  for (std::size_t i = 0; i < refined.rig.rotations.size(); ++i) {
    worst = std::max(worst, degrees_between(transposed(refined.cameras.rotations[i]), refined.rig.rotations[i]));
  }
  return worst;
}

// The largest error of the radius the lens gives over its field, in pixels.
double worst_radius_error(const fisheye_lens& fitted, const fisheye_lens& truth) {
  double worst = 0.0;
  for (double theta = 0.0; theta <= 1.4; theta += 0.05) {
    const auto radius = [theta](const fisheye_lens& l) { return theta * ((l.a0 * theta + l.a1) * theta + l.a2); };
    worst = std::max(worst, std::fabs(radius(fitted) - radius(truth)));
  }
  return worst;
}

TEST(FisheyeRefinement, one_shared_lens_recovers_the_rotations_and_the_coefficients) {
  const refined_rig refined = refine({true, true, 3, 2.0}, 3);
  const fisheye_lens& fitted = refined.cameras.lenses[0];
  const fisheye_lens& truth = refined.rig.lens;
  ASSERT_GT(worst_radius_error(start_lens(truth), truth), 10.0);  // the start lens is pixels off
  EXPECT_LT(worst_rotation_error(refined), 0.05);
  // The three coefficients trade against each other over a field of 80
  // degrees; the radius they give together is held much closer.
  EXPECT_NEAR(truth.a2, fitted.a2, 0.003 * truth.a2);
  EXPECT_NEAR(truth.a1, fitted.a1, 2.0);
  EXPECT_NEAR(truth.a0, fitted.a0, 1.5);
  EXPECT_LT(worst_radius_error(fitted, truth), 0.5);
  for (const fisheye_lens& lens : refined.cameras.lenses) EXPECT_EQ(fitted, lens);  // one lens for all
  EXPECT_EQ(truth.cx, fitted.cx);  // the centre stays
}

TEST(FisheyeRefinement, every_mode_of_the_robust_and_the_plain_adjuster_recovers_the_rig) {
  for (const bool robust : {true, false}) {
    for (int32_t mode = 0; mode <= 4; ++mode) {
      SCOPED_TRACE(testing::Message() << (robust ? "robust" : "plain") << " mode " << mode);
      const refined_rig refined = refine({true, robust, mode, 2.0}, 5);
      // With a centre of its own a camera can trade a pixel of centre
      // against a sixth of a degree of turn, which half a pixel of noise
      // does not pin down; elsewhere the turns are held ten times closer.
      EXPECT_LT(worst_rotation_error(refined), mode == 1 ? 0.5 : 0.05);
      for (const fisheye_lens& lens : refined.cameras.lenses) {
        EXPECT_LT(worst_radius_error(lens, refined.rig.lens), 1.5);
        EXPECT_NEAR(refined.rig.lens.cx, lens.cx, 1.5);
        EXPECT_NEAR(refined.rig.lens.cy, lens.cy, 1.5);
      }
    }
  }
}

TEST(FisheyeRefinement, without_group_refinement_the_start_values_stay) {
  const refined_rig refined = refine({false, true, 3, 2.0}, 3);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(transposed(refined.rig.component.motions[i].rotation), refined.cameras.rotations[i]);
    EXPECT_EQ(start_lens(refined.rig.lens), refined.cameras.lenses[i]);
  }
}

}  // namespace
