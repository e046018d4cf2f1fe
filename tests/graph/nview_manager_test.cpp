// The view graph on hand-built pair tables: components, references, the
// chaining of motions and the failures.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <tuple>
#include <vector>

#include "graph/nview_manager.h"

namespace {

// n images with the pairs (i, j) -> inlier count given; every other pair is
// present but not connected.
struct pair_set {
  std::vector<frame_features_ptr> frames;
  pair_table<pair_matches_ptr> pairs;
  pair_table<bool> connected;

  pair_set(std::size_t n, const std::vector<std::tuple<std::size_t, std::size_t, uint64_t>>& accepted) {
    for (std::size_t i = 0; i < n; ++i) {
      frames.push_back(new frame_features);
      frames.back()->frame_position = i;
    }
    pairs.resize(n > 0 ? n - 1 : 0);
    connected.resize(n > 0 ? n - 1 : 0);
    for (std::size_t i = 0; i + 1 < n; ++i) {
      for (std::size_t j = i + 1; j < n; ++j) {
        pair_matches_ptr record(new pair_matches);
        record->first = frames[i];
        record->second = frames[j];
        bool linked = false;
        for (const auto& [a, b, inliers] : accepted) {
          if (a == i && b == j) {
            linked = true;
            record->inlier_count = inliers;
          }
        }
        pairs[i].push_back(record);
        connected[i].push_back(linked);
      }
    }
  }
  nview_manager manager() const { return nview_manager(frames, pairs, connected); }
};

h_matrix_2d shift(double x, double y) {
  h_matrix_2d m(homography_translation);
  m.parameters[0] = x;
  m.parameters[1] = y;
  return m;
}

// A table of pair motions of n images, all `fill` but the given ones.
pair_table<h_matrix_2d> motion_table(std::size_t n, const std::vector<std::tuple<std::size_t, std::size_t, h_matrix_2d>>& given,
                                     const h_matrix_2d& fill) {
  pair_table<h_matrix_2d> table(n - 1);
  for (std::size_t i = 0; i + 1 < n; ++i) table[i].assign(n - 1 - i, fill);
  for (const auto& [i, j, m] : given) table[i][j - i - 1] = m;
  return table;
}

std::string thrown_by(const std::function<void()>& call) {
  try {
    call();
  } catch (const char* text) {
    return text;
  }
  return "";
}

TEST(NviewManager, components_and_references) {
  // 0 - 1 - 2 in a chain, 3 and 4 joined, 5 alone.
  const pair_set set(6, {{0, 1, 50}, {1, 2, 50}, {3, 4, 50}});
  const nview_manager manager = set.manager();
  ASSERT_EQ(3u, manager.number_of_components());
  EXPECT_EQ((std::vector<uint64_t>{0, 0, 0, 1, 1, 2}), manager.component);
  EXPECT_EQ((std::vector<uint64_t>{1, 0, 0}), manager.reference);  // the chain's middle; the tie to the first

  // Clearing the bit of (1, 2) splits the chain without renumbering.
  pair_set split = set;
  split.connected[1][0] = false;
  const nview_manager parts = split.manager();
  EXPECT_EQ(4u, parts.number_of_components());
  EXPECT_EQ((std::vector<uint64_t>{0, 0, 1, 2, 2, 3}), parts.component);

  // A star is centred on its hub; a longer tail moves the centre along it.
  EXPECT_EQ(2u, pair_set(4, {{0, 2, 9}, {1, 2, 9}, {2, 3, 9}}).manager().reference[0]);
  EXPECT_EQ(2u, pair_set(5, {{0, 1, 9}, {1, 2, 9}, {2, 3, 9}, {3, 4, 9}}).manager().reference[0]);
  EXPECT_EQ(0u, pair_set(0, {}).manager().number_of_components());
}

TEST(NviewManager, component_records_use_local_positions) {
  const pair_set set(5, {{0, 2, 40}, {2, 4, 40}, {1, 3, 40}});
  const nview_manager manager = set.manager();
  std::vector<h_matrix_2d> motions;
  for (int i = 0; i < 5; ++i) motions.push_back(shift(i, 0));
  const component_record<h_matrix_2d> record = manager.component_with_motion(0, motions);
  EXPECT_EQ((std::vector<uint64_t>{0, 2, 4}), record.frame_ids);
  EXPECT_EQ(set.frames[4], record.frames[2]);
  EXPECT_EQ(4.0, record.motions[2].parameters[0]);
  ASSERT_EQ(2u, record.pairs.size());
  EXPECT_EQ(set.pairs[0][3], record.pairs[0][1]);  // (0, 4) at local (0, 2)
  EXPECT_EQ((std::vector<bool>{true, false}), record.links[0]);
  EXPECT_EQ((std::vector<bool>{true}), record.links[1]);
  EXPECT_EQ(1u, record.reference_position);
}

TEST(NviewManager, failures_are_thrown_as_texts) {
  pair_set set(3, {{0, 1, 50}});
  nview_manager manager = set.manager();
  EXPECT_EQ("nview_manager::compute_motion(): input does not match",
            thrown_by([&] { manager.compute_motion(motion_table(4, {}, shift(0, 0)), shift(0, 0)); }));
  EXPECT_EQ("nview_manager::component_with_motion(): component index is too large.",
            thrown_by([&] { manager.component_with_motion(2, std::vector<h_matrix_2d>(3)); }));
  EXPECT_EQ("nview_manager::number_of_components(): the size of input motions does not match the size of frames.",
            thrown_by([&] { manager.component_with_motion(0, std::vector<h_matrix_2d>(2)); }));
  EXPECT_EQ("nview_manager::get_component_graph(): component index is too large.",
            thrown_by([&] { manager.get_component_graph(2); }));
  EXPECT_EQ(2u, boost::num_vertices(manager.get_component_graph(0)));
}

TEST(ComputeMotion, a_target_reached_directly_is_recomposed_through_the_cheaper_path) {
  // Weights 0.3, 0.3 along 0 - 1 - 2 and 0.7 on 0 - 2; the reference is 0.
  const pair_set set(3, {{0, 1, 70}, {1, 2, 70}, {0, 2, 30}});
  nview_manager manager = set.manager();
  ASSERT_EQ(0u, manager.reference[0]);
  // Pair motions map the higher image onto the lower; the direct edge
  // disagrees with the chain.
  const auto table = motion_table(3, {{0, 1, shift(10, 0)}, {1, 2, shift(0, 5)}, {0, 2, shift(99, 99)}}, shift(0, 0));
  const std::vector<h_matrix_2d> motions = manager.compute_motion(table, h_matrix_2d::identity(homography_translation));
  EXPECT_EQ(0.0, motions[0].parameters[0]);
  EXPECT_EQ(-10.0, motions[1].parameters[0]);
  EXPECT_EQ(-10.0, motions[2].parameters[0]);
  EXPECT_EQ(-5.0, motions[2].parameters[1]);
}

TEST(ComputeMotion, weights_follow_inliers_and_stop_at_zero) {
  const pair_set set(4, {{0, 1, 150}, {1, 2, 5000}, {2, 3, 40}});
  nview_manager manager = set.manager();
  manager.compute_motion(motion_table(4, {}, shift(1, 1)), h_matrix_2d::identity(homography_translation));
  std::vector<float> weights;
  for (const auto e : boost::make_iterator_range(boost::edges(manager.graph))) {
    weights.push_back(boost::get(boost::edge_weight, manager.graph, e));
  }
  EXPECT_EQ((std::vector<float>{0.0f, 0.0f, 0.6f}), weights);
}

TEST(ComputeMotion, kinds_promote_to_the_pairs_and_lone_images_keep_the_first_motion) {
  const pair_set set(3, {{0, 1, 50}});
  nview_manager manager = set.manager();
  h_matrix_2d projective = h_matrix_2d::identity(homography_projective);
  projective.parameters[2] = 3.0;
  const std::vector<h_matrix_2d> motions =
      manager.compute_motion(motion_table(3, {{0, 1, projective}}, projective), h_matrix_2d::identity(homography_translation));
  EXPECT_EQ(homography_translation, motions[0].type);  // the reference keeps the first motion
  EXPECT_EQ(homography_projective, motions[1].type);
  EXPECT_NEAR(-3.0, motions[1].parameters[2] / motions[1].parameters[8], 1e-12);
  EXPECT_EQ(homography_translation, motions[2].type);  // alone
}

TEST(ComputeMotion, rotations_chain_and_cameras_average_over_the_edges) {
  // A star on image 0 with three pairs; each pair tells its own camera for 0.
  const pair_set set(4, {{0, 1, 60}, {0, 2, 60}, {0, 3, 60}});
  nview_manager manager = set.manager();
  ASSERT_EQ(0u, manager.reference[0]);
  const auto turn = [](double degrees) {
    const double c = std::cos(degrees * std::numbers::pi / 180), s = std::sin(degrees * std::numbers::pi / 180);
    return std::array<double, 9>{c, 0, s, 0, 1, 0, -s, 0, c};
  };
  const auto camera = [](double f) { return lens_record{f, f, 200, 150, 0, 0}; };
  pair_table<rotation_pair> table(3);
  table[0] = {{camera(500), camera(510), turn(20)}, {camera(520), camera(530), turn(40)}, {camera(560), camera(540), turn(60)}};
  table[1] = {{camera(1), camera(1), turn(0)}, {camera(1), camera(1), turn(0)}};
  table[2] = {{camera(1), camera(1), turn(0)}};
  rotation_motion first{camera(0), turn(0)};
  const std::vector<rotation_motion> motions = manager.compute_motion(table, first);
  // Image 0 takes the first edge's camera, then half of each newer one.
  EXPECT_DOUBLE_EQ(((500.0 + 520.0) / 2 + 560.0) / 2, motions[0].camera.fx);
  EXPECT_EQ(0.0, motions[0].rotation[2]);
  EXPECT_EQ(540.0, motions[3].camera.fx);
  // The pair rotation takes directions of j to i: image j turns the other way.
  const std::array<double, 9> expected = turn(-40);
  for (std::size_t k = 0; k < 9; ++k) EXPECT_NEAR(expected[k], motions[2].rotation[k], 1e-15);
}

}  // namespace
