// The view graph: a vertex per image, an edge per accepted pair. It finds
// the connected components, each with its own subgraph and its reference
// image, chains the pair motions into one motion per image, and hands out
// the components with their frames, pair tables and motions.
//
// Failures are thrown as bare character pointers to their texts.
#pragma once

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/subgraph.hpp>
#include <cstdint>
#include <vector>

#include "geometry/h_matrix_2d.h"
#include "records/frame_features.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"
#include "records/rotation_pair.h"

// The root graph and the components' subgraphs: undirected, with a 64-bit
// edge index (the rank of the pair among the accepted ones in row order)
// and a float weight per edge.
using view_graph = boost::subgraph<boost::adjacency_list<
    boost::vecS, boost::vecS, boost::undirectedS, boost::no_property,
    boost::property<boost::edge_index_t, uint64_t, boost::property<boost::edge_weight_t, float>>>>;

// One component, over local positions: a vertex's rank in the component,
// which is the rank of its image number among the component's images.
template <class Motion>
struct component_record {
  std::vector<frame_features_ptr> frames;  // in ascending image order
  std::vector<uint64_t> frame_ids;         // their image numbers
  pair_table<pair_matches_ptr> pairs;
  pair_table<bool> links;
  std::vector<Motion> motions;
  uint64_t reference_position = 0;
};

class nview_manager {
 public:
  // The graph of the pairs whose bit is set in `connected` (n - 1 rows,
  // row i with n - 1 - i entries, like `pairs`).
  nview_manager(const std::vector<frame_features_ptr>& frames, const pair_table<pair_matches_ptr>& pairs,
                const pair_table<bool>& connected);

  // One motion per image: the pair motions chained along shortest paths
  // from each component's reference, where a pair with more inliers is a
  // shorter edge. Every image starts with `first_motion`, which the
  // references keep. A homography maps the reference image to its own
  // image; a rotation takes directions of the reference to its own.
  std::vector<h_matrix_2d> compute_motion(const pair_table<h_matrix_2d>& pair_motions,
                                          const h_matrix_2d& first_motion);
  std::vector<rotation_motion> compute_motion(const pair_table<rotation_pair>& pair_rotations,
                                              const rotation_motion& first_rotation);

  uint64_t number_of_components() const { return component_count; }

  // The component `index` with the motions of its images, taken from
  // `motions` (one per image).
  component_record<h_matrix_2d> component_with_motion(uint64_t index, const std::vector<h_matrix_2d>& motions) const;
  component_record<rotation_motion> component_with_motion(uint64_t index,
                                                          const std::vector<rotation_motion>& motions) const;

  view_graph& get_component_graph(uint64_t index);

  std::vector<frame_features_ptr> frames;
  pair_table<pair_matches_ptr> pairs;
  pair_table<bool> connected;
  view_graph graph;
  uint64_t component_count = 0;
  std::vector<uint64_t> component;  // of each image
  std::vector<uint64_t> reference;  // of each component, local to its subgraph

 private:
  template <class Motion>
  component_record<Motion> component_of(uint64_t index, const std::vector<Motion>& motions) const;
  // The shared walk of both forms of compute_motion; `relax` composes the
  // motion of an edge's target when the search relaxes the edge.
  template <class Edge, class Motion, class Relax>
  std::vector<Motion> chain(const pair_table<Edge>& pair_motions, const Motion& first, Relax relax);
  const view_graph& child(uint64_t index) const;
  uint64_t find_reference(const view_graph& subgraph) const;
};
