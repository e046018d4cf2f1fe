// Bundle adjustment of a group of cameras and scene points as one sparse
// least-squares problem, the models of the sparse Levenberg-Marquardt
// solver.
//
// The unknowns fall into three levels: lens values shared by all cameras
// (as the shared record's mode says), each camera's own block, and the 2-vector
// of each scene point. The damped normal equations are solved by
// eliminating the points (a 2 x 2 block each) and solving the reduced
// system of shared and camera unknowns densely, so that the point count can
// be large.
//
// A camera type C offers:
//   using shared_record                      the record of the lens values the
//                                             cameras share (shared_lens for the
//                                             pinhole family): a mode, read and
//                                             write of the shared block, and its
//                                             block_size()
//   static constexpr bool spherical_points   points are (longitude, latitude):
//                                             the longitude wraps at +-pi
//   static constexpr bool robust             residual components pass the
//                                             robust map of robust_threshold
//   double robust_threshold                  (robust types only)
//   std::size_t block_size() const           its unknowns
//   void pack(double* block) const           writes them
//   void unpack(const shared_record&, const double* block)
//                                             takes them (and the shared values
//                                             its mode reads), refreshing what
//                                             derives from them
//   void project(const double point[2], double image[2]) const
//   void derivatives(const double point[2], double* shared_rows, std::size_t shared_stride,
//                    double* camera_rows, std::size_t camera_stride, double point_rows[4]) const
//                                             the 2-row Jacobians of project over
//                                             the shared block, its own block and
//                                             the point; the rows come zeroed
//   void advance(const double* block, const double* step, double* block_new) const
// and optionally, for a camera that lets some observations drop out,
//   void residual(const double point[2], const double measured[2], double r[2]) const
//                                             in place of project minus measured;
//                                             derivatives then follow it
// and, for sparse_bundle_adjuster, whose points are in the frame of one
// reference camera:
//   const double* rotation_matrix() const    its rotation matrix
//   void set_frame(const double frame[9])    a rotation applied to a point's
//                                             direction before the camera's own
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "numerics/dense_matrix.h"
#include "numerics/minimum_norm_factor.h"
#include "solvers/camera_sharing.h"
#include "solvers/lm_control.h"
#include "solvers/normal_blocks.h"
#include "solvers/point_elimination.h"
#include "solvers/sparse_levenberg_marquardt.h"

// The shared record's part of the contract above.
template <class R>
concept shared_record_of_cameras = requires(R& record, const R& held, const double* block, double* out) {
  { held.mode } -> std::convertible_to<int32_t>;
  record.read(block);
  held.write(out);
  { held.block_size() } -> std::convertible_to<std::size_t>;
};

// The camera types' contract above, checked where an adjuster is made.
template <class C>
concept bundle_camera =
    shared_record_of_cameras<typename C::shared_record> &&
    requires(C& camera, const C& held, const typename C::shared_record& shared, const double* block, double* out,
             std::size_t stride) {
      { C::spherical_points } -> std::convertible_to<bool>;
      { C::robust } -> std::convertible_to<bool>;
      { held.block_size() } -> std::convertible_to<std::size_t>;
      held.pack(out);
      camera.unpack(shared, block);
      held.project(block, out);
      held.derivatives(block, out, stride, out, stride, out);
      held.advance(block, block, out);
    } &&
    (!C::robust || requires(const C& held) { { held.robust_threshold } -> std::convertible_to<double>; });

// A camera of sparse_bundle_adjuster, whose points lie in the frame of its
// reference camera.
template <class C>
concept reference_frame_camera = bundle_camera<C> && requires(C& camera, const C& held, const double* frame) {
  { held.rotation_matrix() } -> std::convertible_to<const double*>;
  camera.set_frame(frame);
};

// A measured image position of a scene point in one camera.
struct scene_observation {
  std::size_t point;
  double x;
  double y;
};

using scene_point = std::array<double, 2>;

// The root of the Huber cost of a residual component for the radius t:
// unchanged within t, and sqrt((2 |r| - t) t), positive on both sides,
// beyond it.
inline double robust_residual(double r, double t) {
  if (r > t) return std::sqrt((2.0 * r - t) * t);
  if (-t >= r) return std::sqrt(-(2.0 * r + t) * t);
  return r;
}

// The derivative of robust_residual by r: the factor of a Jacobian row.
inline double robust_gain(double r, double t) {
  if (r > t) return t / std::sqrt((2.0 * r - t) * t);
  if (-t >= r) return -(t / std::sqrt(-(2.0 * r + t) * t));
  return 1.0;
}

// A longitude plus a step, brought back once into [-pi, pi].
inline double wrap_longitude(double sum) {
  constexpr double pi = 3.141592653589793, two_pi = 6.283185307179586;
  if (sum > pi) return sum - two_pi;
  if (sum < -pi) return sum + two_pi;
  return sum;
}

// The two classes share everything but the frame of the points, the name in
// their messages and what their constructors take.
struct reference_frame_points {
  static constexpr const char* name = "sparse_bundle_adjuster";
  static constexpr bool in_reference_frame = true;
};
struct common_frame_points {
  static constexpr const char* name = "sparse_bundle_adjuster2";
  static constexpr bool in_reference_frame = false;
};

template <bundle_camera Camera, class Form>
class bundle_model {
 public:
  using shared_record = typename Camera::shared_record;

  // The model of the sparse solver.
  std::size_t unknown_count() const { return unknowns_; }
  std::size_t residual_count() const { return 2 * observation_count_; }
  void residuals(const double* x, double* fvec);
  void jacobian(const double* x, const double* fvec);
  void column_norms(double* acnorm) const;
  void gradient(const double* fvec, double* g) const;
  double quadratic_form(const double* p) const;
  void make_X(const double* d);
  void Xinv_b(const double* b, double* y);
  bool full_rank() const { return rank_ == static_cast<int>(reduced_size_); }
  void advance(const double* x, const double* p, double* x_new) const;

  // The free point j after the run.
  scene_point point(std::size_t j) const { return {parameters_[point_offset(j)], parameters_[point_offset(j) + 1]}; }

  // The unknowns in their layout: the shared block, each camera's block,
  // two per free point.
  const std::vector<double>& parameters() const { return parameters_; }

  std::vector<Camera> cameras;
  shared_record shared;
  bool analytic_jacobian = true;
  bool failed = false;
  std::size_t camera_count = 0;
  std::size_t point_count = 0;
  std::size_t fixed_point_count = 0;
  lm_control control;

 protected:
  bundle_model() = default;

  // The whole use: lay out, fill, run, write back. Any exception sets
  // `failed`, and the caller's values stay as they were.
  void adjust(const shared_record& start_shared, const std::vector<Camera>& start_cameras,
              const std::vector<scene_point>& points, const std::vector<scene_point>& fixed_points,
              const std::vector<std::vector<scene_observation>>& observations,
              const std::vector<std::vector<scene_observation>>& fixed_observations, std::size_t reference);

 private:
  void lay_out(const std::vector<scene_point>& points, const std::vector<scene_point>& fixed_points,
               const std::vector<std::vector<scene_observation>>& observations,
               const std::vector<std::vector<scene_observation>>& fixed_observations);
  void allocate_blocks();
  void unpack_cameras(const double* x);
  void point_of(const double* x, std::size_t o, double point[2]) const;
  void raw_residual(const Camera& camera, const double point[2], std::size_t o, double r[2]) const;
  void mapped_residual(const Camera& camera, const double point[2], std::size_t o, double r[2]) const;
  void analytic_blocks(const double* x);
  void difference_blocks(const double* x);
  void normal_blocks();

  std::size_t point_offset(std::size_t j) const { return shared_count_ + camera_total_ + 2 * j; }
  double* A(std::size_t o) { return blocks_.data() + a_offset_ + o * 2 * shared_count_; }
  double* B(std::size_t o) { return blocks_.data() + b_offset_[o]; }
  double* C(std::size_t f) { return blocks_.data() + c_offset_ + 4 * f; }
  double* W(std::size_t i) { return blocks_.data() + w_offset_[i]; }
  double* V(std::size_t i) { return blocks_.data() + v_offset_[i]; }
  // The point elimination's couplings: first P_j of every point, then Q_f
  // of every free observation.
  std::size_t p_coupling(std::size_t j) const { return j; }
  std::size_t q_coupling(std::size_t f) const { return point_count + f; }
  double* P(std::size_t j) { return points_.C(p_coupling(j)); }
  double* Q(std::size_t f) { return points_.C(q_coupling(f)); }
  double* T(std::size_t j) { return points_.T(j); }
  double* U() { return blocks_.data() + u_offset_; }
  double* X() { return blocks_.data() + x_offset_; }
  const double* A(std::size_t o) const { return const_cast<bundle_model*>(this)->A(o); }
  const double* B(std::size_t o) const { return const_cast<bundle_model*>(this)->B(o); }
  const double* C(std::size_t f) const { return const_cast<bundle_model*>(this)->C(f); }
  const double* W(std::size_t i) const { return const_cast<bundle_model*>(this)->W(i); }
  const double* V(std::size_t i) const { return const_cast<bundle_model*>(this)->V(i); }
  const double* P(std::size_t j) const { return const_cast<bundle_model*>(this)->P(j); }
  const double* Q(std::size_t f) const { return const_cast<bundle_model*>(this)->Q(f); }
  const double* T(std::size_t j) const { return const_cast<bundle_model*>(this)->T(j); }
  const double* U() const { return const_cast<bundle_model*>(this)->U(); }

  std::size_t reference_ = 0;
  std::vector<Camera> evaluated_;  // the cameras at the point being evaluated
  std::vector<scene_point> fixed_points_;
  std::size_t shared_count_ = 0;
  std::vector<std::size_t> camera_sizes_, camera_offsets_;
  std::size_t camera_total_ = 0, unknowns_ = 0, reduced_size_ = 0;

  // Observations camera by camera, each camera's free points first.
  std::size_t observation_count_ = 0, free_count_ = 0;
  std::vector<std::size_t> camera_first_, camera_free_end_, camera_end_;
  std::vector<std::size_t> observation_camera_, observation_point_, free_index_;  // free_index: or npos
  std::vector<double> measured_;
  // The free observations of each point.
  std::vector<std::size_t> point_first_, point_observations_;

  std::vector<double> parameters_;
  std::vector<double> blocks_;  // the Jacobian and camera-level blocks, one allocation
  std::size_t a_offset_ = 0, c_offset_ = 0, u_offset_ = 0, x_offset_ = 0, scratch_offset_ = 0;
  std::vector<std::size_t> b_offset_, w_offset_, v_offset_;
  point_elimination points_;  // T, P, Q and their eliminated forms
  dense_vector<double> reduced_rhs_, reduced_solution_;
  // The damped solver solves each X twice or more (its step, then the
  // slope of the step's length), and after a refused step it starts again
  // from no damping on the same Jacobian: the first X of each Jacobian stays
  // factorised while the dampings after it take turns in the other place.
  struct factored_system {
    minimum_norm_factor factor;
    std::vector<double> damping;
    bool made = false;      // X of this damping made on the present Jacobian
    bool factored = false;  // and factorised
  };
  std::array<factored_system, 2> factored_;  // the first X of the Jacobian, then the last other
  std::size_t current_ = 0;                  // the one of the damping last made
  int rank_ = 0;

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
};

// The short form: rotation cameras, points in the frame of one reference
// camera, analytic Jacobian, no robust residuals, every point free.
template <reference_frame_camera Camera>
class sparse_bundle_adjuster : public bundle_model<Camera, reference_frame_points> {
 public:
  sparse_bundle_adjuster(const typename Camera::shared_record& shared_start, const std::vector<Camera>& start_cameras,
                         std::size_t reference, const std::vector<scene_point>& points,
                         const std::vector<std::vector<scene_observation>>& observations)
      : reference_camera(reference) {
    this->adjust(shared_start, start_cameras, points, {}, observations,
                 std::vector<std::vector<scene_observation>>(start_cameras.size()), reference);
  }
  std::size_t reference_camera;
};

// The general form: points in a common frame, observed points that can be
// held fixed, robust residuals for robust camera types, and a
// forward-difference Jacobian on request.
template <bundle_camera Camera>
class sparse_bundle_adjuster2 : public bundle_model<Camera, common_frame_points> {
 public:
  sparse_bundle_adjuster2(const typename Camera::shared_record& shared_start, const std::vector<Camera>& start_cameras,
                          const std::vector<scene_point>& points, const std::vector<scene_point>& fixed_points,
                          const std::vector<std::vector<scene_observation>>& observations,
                          const std::vector<std::vector<scene_observation>>& fixed_observations,
                          bool analytic = true) {
    this->analytic_jacobian = analytic;
    this->adjust(shared_start, start_cameras, points, fixed_points, observations, fixed_observations, 0);
  }
};

#include "solvers/bundle_adjuster_impl.h"
