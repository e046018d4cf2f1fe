#include "graph/nview_manager.h"

#include <algorithm>
#include <boost/graph/connected_components.hpp>
#include <boost/graph/dijkstra_shortest_paths.hpp>
#include <boost/graph/johnson_all_pairs_shortest.hpp>
#include <functional>
#include <limits>
#include <utility>

#include "numerics/matrix_3x3.h"

namespace {

constexpr float infinity = std::numeric_limits<float>::max();

// The table has n - 1 rows for n images, row i with n - 1 - i entries.
template <class Element>
bool has_pair_shape(const pair_table<Element>& table, std::size_t images) {
  if (table.size() + 1 != images && !(images == 0 && table.empty())) return false;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].size() != images - 1 - i) return false;
  }
  return true;
}

// Calls relax(u, w, edge index) with global image numbers on each relaxed
// edge, u being the vertex the search expands.
template <class Relax>
struct relaxed_edge_visitor {
  using event_filter = boost::on_edge_relaxed;
  Relax* relax;
  template <class Edge, class Graph>
  void operator()(Edge e, const Graph& g) const {
    (*relax)(g.local_to_global(boost::source(e, g)), g.local_to_global(boost::target(e, g)),
             boost::get(boost::edge_index, g, e));
  }
};

lens_record mean_of(const lens_record& a, const lens_record& b) {
  return {(a.fx + b.fx) / 2.0, (a.fy + b.fy) / 2.0, (a.cx + b.cx) / 2.0,
          (a.cy + b.cy) / 2.0, (a.k1 + b.k1) / 2.0, (a.k2 + b.k2) / 2.0};
}

}  // namespace

nview_manager::nview_manager(const std::vector<frame_features_ptr>& frame_list,
                             const pair_table<pair_matches_ptr>& pair_list, const pair_table<bool>& connected_list)
    : frames(frame_list), pairs(pair_list), connected(connected_list), graph(frame_list.size()) {
  for (std::size_t i = 0; i < connected.size(); ++i) {
    for (std::size_t position = 0; position < connected[i].size(); ++position) {
      if (connected[i][position]) boost::add_edge(i, i + 1 + position, graph);
    }
  }
  for (const auto e : boost::make_iterator_range(boost::edges(graph))) boost::put(boost::edge_weight, graph, e, 1.0f);

  component.assign(frames.size(), 0);
  component_count = frames.empty() ? 0 : static_cast<uint64_t>(boost::connected_components(graph, component.data()));
  for (uint64_t c = 0; c < component_count; ++c) {
    std::vector<std::size_t> members;
    for (std::size_t i = 0; i < frames.size(); ++i) {
      if (component[i] == c) members.push_back(i);
    }
    graph.create_subgraph(members.begin(), members.end());
  }
  for (uint64_t c = 0; c < component_count; ++c) reference.push_back(find_reference(child(c)));
}

// The centre of the component with every edge of length 1: the vertex with
// the smallest largest distance, then the smallest sum; the earlier on a
// tie.
uint64_t nview_manager::find_reference(const view_graph& subgraph) const {
  const std::size_t m = boost::num_vertices(subgraph);
  std::vector<float> block(m * m);
  std::vector<float*> row_list(m);
  for (std::size_t r = 0; r < m; ++r) row_list[r] = block.data() + r * m;
  float** rows = row_list.data();
  boost::johnson_all_pairs_shortest_paths(subgraph, rows,
                                          boost::weight_map(boost::get(boost::edge_weight, subgraph))
                                              .distance_inf(infinity)
                                              .distance_zero(0.0f));
  uint64_t best = 0;
  float best_far = 0.0f, best_sum = 0.0f;
  for (std::size_t v = 0; v < m; ++v) {
    float far = 0.0f, sum = 0.0f;
    for (std::size_t u = 0; u < m; ++u) {
      far = std::max(far, rows[v][u]);
      sum += rows[v][u];
    }
    if (v == 0 || far < best_far || (far == best_far && sum < best_sum)) {
      best = v;
      best_far = far;
      best_sum = sum;
    }
  }
  return best;
}

const view_graph& nview_manager::child(uint64_t index) const {
  auto [it, end] = graph.children();
  std::advance(it, static_cast<std::ptrdiff_t>(index));
  return *it;
}

view_graph& nview_manager::get_component_graph(uint64_t index) {
  if (index >= component_count) throw "nview_manager::get_component_graph(): component index is too large.";
  return const_cast<view_graph&>(child(index));
}

template <class Edge, class Motion, class Relax>
std::vector<Motion> nview_manager::chain(const pair_table<Edge>& pair_motions, const Motion& first, Relax relax) {
  if (!has_pair_shape(pair_motions, frames.size())) throw "nview_manager::compute_motion(): input does not match";
  std::vector<Edge> edge_motions;
  for (std::size_t i = 0; i < connected.size(); ++i) {
    for (std::size_t position = 0; position < connected[i].size(); ++position) {
      if (connected[i][position]) edge_motions.push_back(pair_motions[i][position]);
    }
  }
  // Pairs with many inliers are short: from 100 on they cost nothing.
  for (const auto e : boost::make_iterator_range(boost::edges(graph))) {
    const std::size_t i = boost::source(e, graph), j = boost::target(e, graph);
    const auto [low, high] = std::minmax(i, j);
    const float inliers = static_cast<float>(pairs[low][pair_position(low, high)]->inlier_count);
    boost::put(boost::edge_weight, graph, e, std::max(0.0f, (100.0f - inliers) / 100.0f));
  }
  std::vector<Motion> motions(frames.size(), first);
  if (edge_motions.empty()) return motions;

  for (uint64_t c = 0; c < component_count; ++c) {
    const view_graph& subgraph = child(c);
    std::vector<float> distance(boost::num_vertices(subgraph));
    auto on_edge = relax.start_component(motions, edge_motions);
    relaxed_edge_visitor<decltype(on_edge)> visitor{&on_edge};
    boost::dijkstra_shortest_paths(subgraph, reference[c],
                                   boost::weight_map(boost::get(boost::edge_weight, subgraph))
                                       .distance_map(distance.data())
                                       .distance_compare(std::less<float>())
                                       .distance_combine(boost::closed_plus<float>(infinity))
                                       .distance_inf(infinity)
                                       .distance_zero(0.0f)
                                       .visitor(boost::make_dijkstra_visitor(visitor)));
  }
  return motions;
}

namespace {

// The homography form: the motion of w is the edge, oriented from u to w,
// after the motion of u, both promoted to a common kind when they differ.
struct compose_homographies {
  struct on_edge {
    std::vector<h_matrix_2d>& motions;
    const std::vector<h_matrix_2d>& edges;
    void operator()(std::size_t u, std::size_t w, uint64_t index) {
      h_matrix_2d edge = edges[index];
      if (u < w) edge = edge.inverse();  // pair motions map the higher image to the lower
      h_matrix_2d from = motions[u];
      if (edge.type != from.type) {
        const HomographyType common = common_type(edge, from);
        edge = convert(edge, common);
        from = convert(from, common);
      }
      motions[w] = compose_same(edge, from);
    }
  };
  on_edge start_component(std::vector<h_matrix_2d>& motions, const std::vector<h_matrix_2d>& edges) const {
    return {motions, edges};
  }
};

// The rotation form: the rotation of w is the edge's after that of u; the
// camera of w is the edge's, and the camera of u drifts towards the mean of
// what its edges say, the first edge of a component setting it outright.
struct compose_rotations {
  struct on_edge {
    std::vector<rotation_motion>& motions;
    const std::vector<rotation_pair>& edges;
    bool first_edge = true;
    void operator()(std::size_t u, std::size_t w, uint64_t index) {
      rotation_pair edge = edges[index];
      if (u < w) {
        // Oriented so that camera_second is u's and the rotation takes u to w.
        std::swap(edge.camera_first, edge.camera_second);
        std::array<double, 9> turned;
        transpose_3x3(edge.rotation.data(), turned.data());
        edge.rotation = turned;
      }
      const lens_record camera_u = first_edge ? edge.camera_second : mean_of(motions[u].camera, edge.camera_second);
      multiply_3x3(edge.rotation.data(), motions[u].rotation.data(), motions[w].rotation.data());
      motions[w].camera = edge.camera_first;
      motions[u].camera = camera_u;
      first_edge = false;
    }
  };
  on_edge start_component(std::vector<rotation_motion>& motions, const std::vector<rotation_pair>& edges) const {
    return {motions, edges};
  }
};

}  // namespace

std::vector<h_matrix_2d> nview_manager::compute_motion(const pair_table<h_matrix_2d>& pair_motions,
                                                       const h_matrix_2d& first_motion) {
  return chain(pair_motions, first_motion, compose_homographies{});
}

std::vector<rotation_motion> nview_manager::compute_motion(const pair_table<rotation_pair>& pair_rotations,
                                                           const rotation_motion& first_rotation) {
  return chain(pair_rotations, first_rotation, compose_rotations{});
}

template <class Motion>
component_record<Motion> nview_manager::component_of(uint64_t index, const std::vector<Motion>& motions) const {
  if (index >= component_count) throw "nview_manager::component_with_motion(): component index is too large.";
  if (motions.size() != frames.size()) {
    throw "nview_manager::number_of_components(): the size of input motions does not match the size of frames.";
  }
  const view_graph& subgraph = child(index);
  const std::size_t m = boost::num_vertices(subgraph);
  component_record<Motion> record;
  record.pairs.resize(m > 0 ? m - 1 : 0);
  record.links.resize(m > 0 ? m - 1 : 0);
  for (std::size_t a = 0; a < m; ++a) {
    const std::size_t g = subgraph.local_to_global(a);
    record.frames.push_back(frames[g]);
    record.frame_ids.push_back(g);
    record.motions.push_back(motions[g]);
    for (std::size_t b = a + 1; b < m; ++b) {
      const std::size_t h = subgraph.local_to_global(b);
      record.pairs[a].push_back(pairs[g][pair_position(g, h)]);
      const auto [neighbour, end] = boost::adjacent_vertices(a, subgraph);
      record.links[a].push_back(std::find(neighbour, end, b) != end);
    }
  }
  record.reference_position = reference[index];
  return record;
}

component_record<h_matrix_2d> nview_manager::component_with_motion(uint64_t index,
                                                                   const std::vector<h_matrix_2d>& motions) const {
  return component_of(index, motions);
}

component_record<rotation_motion> nview_manager::component_with_motion(
    uint64_t index, const std::vector<rotation_motion>& motions) const {
  return component_of(index, motions);
}
