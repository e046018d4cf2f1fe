// The members of bundle_model; included by bundle_adjuster.h.
#pragma once

namespace bundle_detail {

inline double difference_step(double value) {
  const double h = std::fabs(value) * 1e-5;
  return h == 0.0 ? 1e-5 : h;
}

}  // namespace bundle_detail

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::adjust(const shared_record& start_shared, const std::vector<Camera>& start_cameras,
                                        const std::vector<scene_point>& points,
                                        const std::vector<scene_point>& fixed_points,
                                        const std::vector<std::vector<scene_observation>>& observations,
                                        const std::vector<std::vector<scene_observation>>& fixed_observations,
                                        std::size_t reference) {
  try {
    shared = start_shared;
    cameras = start_cameras;
    camera_count = cameras.size();
    if constexpr (Form::in_reference_frame) {
      if (reference >= camera_count) {
        failed = true;
        return;
      }
      reference_ = reference;
    }
    lay_out(points, fixed_points, observations, fixed_observations);
    allocate_blocks();
    if (Form::in_reference_frame && camera_count == 1) return;  // nothing to adjust

    std::vector<double> fvec(residual_count());
    if (!solve_sparse_levenberg_marquardt(*this, parameters_, fvec, control)) {
      failed = true;
      return;
    }
    shared.read(parameters_.data());
    for (std::size_t i = 0; i < camera_count; ++i) cameras[i].unpack(shared, parameters_.data() + camera_offsets_[i]);
  } catch (...) {
    failed = true;
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::lay_out(const std::vector<scene_point>& points,
                                         const std::vector<scene_point>& fixed_points,
                                         const std::vector<std::vector<scene_observation>>& observations,
                                         const std::vector<std::vector<scene_observation>>& fixed_observations) {
  if (observations.size() != camera_count || fixed_observations.size() != camera_count) {
    throw std::invalid_argument(std::string(Form::name) + "(): one observation list per camera is needed");
  }
  point_count = points.size();
  fixed_point_count = fixed_points.size();
  fixed_points_ = fixed_points;
  shared_count_ = shared.block_size();
  camera_sizes_.resize(camera_count);
  camera_offsets_.resize(camera_count);
  camera_total_ = 0;
  for (std::size_t i = 0; i < camera_count; ++i) {
    camera_sizes_[i] = cameras[i].block_size();
    camera_offsets_[i] = shared_count_ + camera_total_;
    camera_total_ += camera_sizes_[i];
  }
  reduced_size_ = shared_count_ + camera_total_;
  unknowns_ = reduced_size_ + 2 * point_count;

  const auto add = [&](std::size_t camera, const scene_observation& seen, bool free) {
    if (seen.point >= (free ? point_count : fixed_point_count)) {
      throw std::invalid_argument(std::string(Form::name) + "(): an observation names no point");
    }
    observation_camera_.push_back(camera);
    observation_point_.push_back(seen.point);
    free_index_.push_back(free ? free_count_++ : npos);
    measured_.push_back(seen.x);
    measured_.push_back(seen.y);
  };
  for (std::size_t i = 0; i < camera_count; ++i) {
    camera_first_.push_back(observation_camera_.size());
    for (const scene_observation& seen : observations[i]) add(i, seen, true);
    camera_free_end_.push_back(observation_camera_.size());
    for (const scene_observation& seen : fixed_observations[i]) add(i, seen, false);
    camera_end_.push_back(observation_camera_.size());
  }
  observation_count_ = observation_camera_.size();

  // The free observations of each point, in observation order.
  point_first_.assign(point_count + 1, 0);
  for (std::size_t o = 0; o < observation_count_; ++o) {
    if (free_index_[o] != npos) ++point_first_[observation_point_[o] + 1];
  }
  for (std::size_t j = 0; j < point_count; ++j) point_first_[j + 1] += point_first_[j];
  point_observations_.resize(free_count_);
  std::vector<std::size_t> next(point_first_.begin(), point_first_.end() - 1);
  for (std::size_t o = 0; o < observation_count_; ++o) {
    if (free_index_[o] != npos) point_observations_[next[observation_point_[o]]++] = o;
  }

  parameters_.assign(unknowns_, 0.0);
  shared.write(parameters_.data());
  for (std::size_t i = 0; i < camera_count; ++i) cameras[i].pack(parameters_.data() + camera_offsets_[i]);
  for (std::size_t j = 0; j < point_count; ++j) {
    parameters_[point_offset(j)] = points[j][0];
    parameters_[point_offset(j) + 1] = points[j][1];
  }
  evaluated_ = cameras;
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::allocate_blocks() {
  const std::size_t s = shared_count_;
  std::size_t total = 0;
  const auto take = [&](std::size_t size) {
    const std::size_t offset = total;
    total += size;
    return offset;
  };
  a_offset_ = take(observation_count_ * 2 * s);
  b_offset_.resize(observation_count_);
  for (std::size_t o = 0; o < observation_count_; ++o) b_offset_[o] = take(2 * camera_sizes_[observation_camera_[o]]);
  c_offset_ = take(4 * free_count_);
  u_offset_ = take(s * s);
  w_offset_.resize(camera_count);
  v_offset_.resize(camera_count);
  for (std::size_t i = 0; i < camera_count; ++i) {
    w_offset_[i] = take(camera_sizes_[i] * s);
    v_offset_[i] = take(camera_sizes_[i] * camera_sizes_[i]);
  }
  x_offset_ = take(reduced_size_ * reduced_size_);
  scratch_offset_ = take(unknowns_ + 2 * observation_count_);  // the difference path's copies
  blocks_.assign(total, 0.0);

  std::vector<point_elimination::coupling> couplings;
  for (std::size_t j = 0; j < point_count; ++j) couplings.push_back({j, 0, s});
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const std::size_t i = observation_camera_[o];
    if (free_index_[o] != npos) couplings.push_back({observation_point_[o], camera_offsets_[i], camera_sizes_[i]});
  }
  points_.lay_out(point_count, std::move(couplings));
  reduced_rhs_ = dense_vector<double>(reduced_size_);
  reduced_solution_ = dense_vector<double>(reduced_size_);
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::unpack_cameras(const double* x) {
  shared_record at_x = shared;
  at_x.read(x);
  for (std::size_t i = 0; i < camera_count; ++i) evaluated_[i].unpack(at_x, x + camera_offsets_[i]);
  if constexpr (Form::in_reference_frame) {
    // Points are directions in the reference camera's frame.
    const double* r = evaluated_[reference_].rotation_matrix();
    const double frame[9] = {r[0], r[3], r[6], r[1], r[4], r[7], r[2], r[5], r[8]};
    for (Camera& camera : evaluated_) camera.set_frame(frame);
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::point_of(const double* x, std::size_t o, double point[2]) const {
  const std::size_t j = observation_point_[o];
  if (free_index_[o] != npos) {
    point[0] = x[point_offset(j)];
    point[1] = x[point_offset(j) + 1];
  } else {
    point[0] = fixed_points_[j][0];
    point[1] = fixed_points_[j][1];
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::raw_residual(const Camera& camera, const double point[2], std::size_t o,
                                              double r[2]) const {
  const double* measured = measured_.data() + 2 * o;
  if constexpr (requires { camera.residual(point, measured, r); }) {
    camera.residual(point, measured, r);
  } else {
    double image[2];
    camera.project(point, image);
    r[0] = image[0] - measured[0];
    r[1] = image[1] - measured[1];
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::mapped_residual(const Camera& camera, const double point[2], std::size_t o,
                                                 double r[2]) const {
  raw_residual(camera, point, o, r);
  if constexpr (Camera::robust) {
    r[0] = robust_residual(r[0], camera.robust_threshold);
    r[1] = robust_residual(r[1], camera.robust_threshold);
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::residuals(const double* x, double* fvec) {
  unpack_cameras(x);
  for (std::size_t o = 0; o < observation_count_; ++o) {
    double point[2];
    point_of(x, o, point);
    mapped_residual(evaluated_[observation_camera_[o]], point, o, fvec + 2 * o);
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::jacobian(const double* x, const double*) {
  unpack_cameras(x);
  if (analytic_jacobian) {
    analytic_blocks(x);
  } else {
    difference_blocks(x);
  }
  normal_blocks();
  for (factored_system& system : factored_) system.made = system.factored = false;
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::analytic_blocks(const double* x) {
  const std::size_t s = shared_count_;
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const Camera& camera = evaluated_[observation_camera_[o]];
    const std::size_t k = camera_sizes_[observation_camera_[o]];
    double point[2], c[4] = {};
    point_of(x, o, point);
    double* a = A(o);
    double* b = B(o);
    std::fill(a, a + 2 * s, 0.0);
    std::fill(b, b + 2 * k, 0.0);
    camera.derivatives(point, a, s, b, k, c);
    if constexpr (Camera::robust) {
      // Each row scaled by the derivative of the robust map of its component.
      double r[2];
      raw_residual(camera, point, o, r);
      for (int row = 0; row < 2; ++row) {
        const double gain = robust_gain(r[row], camera.robust_threshold);
        for (std::size_t e = 0; e < s; ++e) a[row * s + e] *= gain;
        for (std::size_t e = 0; e < k; ++e) b[row * k + e] *= gain;
        c[2 * row] *= gain;
        c[2 * row + 1] *= gain;
      }
    }
    if (free_index_[o] != npos) std::copy(c, c + 4, C(free_index_[o]));
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::difference_blocks(const double* x) {
  const std::size_t s = shared_count_;
  double* perturbed = blocks_.data() + scratch_offset_;
  double* base = perturbed + unknowns_;
  for (std::size_t o = 0; o < observation_count_; ++o) {
    double point[2];
    point_of(x, o, point);
    mapped_residual(evaluated_[observation_camera_[o]], point, o, base + 2 * o);
  }
  const auto column = [&](double* block, std::size_t width, std::size_t entry, const double r[2], std::size_t o,
                          double h) {
    block[entry] = (r[0] - base[2 * o]) / h;
    block[width + entry] = (r[1] - base[2 * o + 1]) / h;
  };
  // Shared entries: every camera repacked, every observation reprojected.
  std::copy(x, x + unknowns_, perturbed);
  for (std::size_t e = 0; e < s; ++e) {
    const double h = bundle_detail::difference_step(x[e]);
    perturbed[e] = x[e] + h;
    unpack_cameras(perturbed);
    for (std::size_t o = 0; o < observation_count_; ++o) {
      double point[2], r[2];
      point_of(x, o, point);
      mapped_residual(evaluated_[observation_camera_[o]], point, o, r);
      column(A(o), s, e, r, o, h);
    }
    perturbed[e] = x[e];
  }
  unpack_cameras(x);
  // Camera entries through the camera's own update, so that a rotation
  // entry is a true local step; only that camera's observations move.
  shared_record at_x = shared;
  at_x.read(x);
  std::vector<double> step, moved;
  for (std::size_t i = 0; i < camera_count; ++i) {
    const std::size_t k = camera_sizes_[i];
    const double* block = x + camera_offsets_[i];
    step.assign(k, 0.0);
    moved.assign(k, 0.0);
    for (std::size_t e = 0; e < k; ++e) {
      const double h = bundle_detail::difference_step(block[e]);
      step[e] = h;
      cameras[i].advance(block, step.data(), moved.data());
      step[e] = 0.0;
      Camera camera = evaluated_[i];
      camera.unpack(at_x, moved.data());
      for (std::size_t o = camera_first_[i]; o < camera_end_[i]; ++o) {
        double point[2], r[2];
        point_of(x, o, point);
        mapped_residual(camera, point, o, r);
        column(B(o), k, e, r, o, h);
      }
    }
  }
  // Free points, one coordinate at a time; the longitude wraps as in advance.
  for (std::size_t j = 0; j < point_count; ++j) {
    for (std::size_t c = 0; c < 2; ++c) {
      const double value = x[point_offset(j) + c];
      const double h = bundle_detail::difference_step(value);
      for (std::size_t n = point_first_[j]; n < point_first_[j + 1]; ++n) {
        const std::size_t o = point_observations_[n];
        double point[2], r[2];
        point_of(x, o, point);
        point[c] = c == 0 && Camera::spherical_points ? wrap_longitude(value + h) : value + h;
        mapped_residual(evaluated_[observation_camera_[o]], point, o, r);
        column(C(free_index_[o]), 2, c, r, o, h);
      }
    }
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::normal_blocks() {
  using normal_blocks::add_transpose_product;
  const std::size_t s = shared_count_;
  std::fill(U(), U() + s * s, 0.0);
  for (std::size_t i = 0; i < camera_count; ++i) {
    std::fill(W(i), W(i) + camera_sizes_[i] * s, 0.0);
    std::fill(V(i), V(i) + camera_sizes_[i] * camera_sizes_[i], 0.0);
  }
  for (std::size_t j = 0; j < point_count; ++j) {
    std::fill(P(j), P(j) + 2 * s, 0.0);
    std::fill(T(j), T(j) + 4, 0.0);
  }
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const std::size_t i = observation_camera_[o], k = camera_sizes_[i];
    add_transpose_product(U(), A(o), s, A(o), s, s);
    add_transpose_product(W(i), B(o), k, A(o), s, s);
    add_transpose_product(V(i), B(o), k, B(o), k, k);
    const std::size_t f = free_index_[o];
    if (f == npos) continue;
    const std::size_t j = observation_point_[o];
    add_transpose_product(P(j), C(f), 2, A(o), s, s);
    std::fill(Q(f), Q(f) + 2 * k, 0.0);
    add_transpose_product(Q(f), C(f), 2, B(o), k, k);
    add_transpose_product(T(j), C(f), 2, C(f), 2, 2);
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::column_norms(double* acnorm) const {
  const std::size_t s = shared_count_;
  std::fill(acnorm, acnorm + unknowns_, 0.0);
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const std::size_t i = observation_camera_[o], k = camera_sizes_[i];
    for (std::size_t row = 0; row < 2; ++row) {
      for (std::size_t e = 0; e < s; ++e) acnorm[e] += A(o)[row * s + e] * A(o)[row * s + e];
      for (std::size_t e = 0; e < k; ++e) acnorm[camera_offsets_[i] + e] += B(o)[row * k + e] * B(o)[row * k + e];
      if (free_index_[o] == npos) continue;
      const double* c = C(free_index_[o]);
      for (std::size_t e = 0; e < 2; ++e) acnorm[point_offset(observation_point_[o]) + e] += c[2 * row + e] * c[2 * row + e];
    }
  }
  for (std::size_t j = 0; j < unknowns_; ++j) acnorm[j] = std::sqrt(acnorm[j]);
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::gradient(const double* fvec, double* g) const {
  const std::size_t s = shared_count_;
  std::fill(g, g + unknowns_, 0.0);
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const std::size_t i = observation_camera_[o], k = camera_sizes_[i];
    for (std::size_t row = 0; row < 2; ++row) {
      const double f = fvec[2 * o + row];
      for (std::size_t e = 0; e < s; ++e) g[e] += A(o)[row * s + e] * f;
      for (std::size_t e = 0; e < k; ++e) g[camera_offsets_[i] + e] += B(o)[row * k + e] * f;
      if (free_index_[o] == npos) continue;
      const double* c = C(free_index_[o]);
      for (std::size_t e = 0; e < 2; ++e) g[point_offset(observation_point_[o]) + e] += c[2 * row + e] * f;
    }
  }
}

template <bundle_camera Camera, class Form>
double bundle_model<Camera, Form>::quadratic_form(const double* p) const {
  using normal_blocks::bilinear;
  const std::size_t s = shared_count_;
  double diagonal = bilinear(U(), s, p, s, p, s), cross = 0.0;
  for (std::size_t i = 0; i < camera_count; ++i) {
    const std::size_t k = camera_sizes_[i];
    const double* pi = p + camera_offsets_[i];
    diagonal += bilinear(V(i), k, pi, k, pi, k);
    cross += bilinear(W(i), s, pi, k, p, s);
  }
  for (std::size_t j = 0; j < point_count; ++j) {
    const double* pj = p + point_offset(j);
    diagonal += bilinear(T(j), 2, pj, 2, pj, 2);
    cross += bilinear(P(j), s, pj, 2, p, s);
  }
  for (std::size_t o = 0; o < observation_count_; ++o) {
    if (free_index_[o] == npos) continue;
    const std::size_t i = observation_camera_[o];
    cross += bilinear(Q(free_index_[o]), camera_sizes_[i], p + point_offset(observation_point_[o]), 2,
                      p + camera_offsets_[i], camera_sizes_[i]);
  }
  return diagonal + 2.0 * cross;
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::make_X(const double* d) {
  const std::size_t s = shared_count_, size = reduced_size_;
  // A damping met again on the same Jacobian gives the same X, already
  // factorised; the points' elimination follows the damping. Compared bit
  // for bit: a zero of the other sign could change a sum.
  for (std::size_t k = 0; k < factored_.size(); ++k) {
    const factored_system& system = factored_[k];
    if (!system.factored || std::memcmp(d, system.damping.data(), unknowns_ * sizeof(double)) != 0) continue;
    if (k != current_) points_.eliminate(d + size);
    current_ = k;
    return;
  }
  current_ = factored_[0].made ? 1 : 0;
  factored_system& system = factored_[current_];
  system.made = true;
  system.factored = false;
  system.damping.assign(d, d + unknowns_);
  points_.eliminate(d + size);

  double* x = X();
  std::fill(x, x + size * size, 0.0);
  for (std::size_t r = 0; r < s; ++r) std::copy(U() + r * s, U() + r * s + s, x + r * size);
  for (std::size_t j = 0; j < point_count; ++j) points_.subtract(x, size, p_coupling(j), p_coupling(j));
  for (std::size_t i = 0; i < camera_count; ++i) {
    const std::size_t k = camera_sizes_[i];
    double* rows = x + camera_offsets_[i] * size;
    for (std::size_t r = 0; r < k; ++r) {
      std::copy(W(i) + r * s, W(i) + r * s + s, rows + r * size);
      std::copy(V(i) + r * k, V(i) + r * k + k, rows + r * size + camera_offsets_[i]);
    }
  }
  for (std::size_t o = 0; o < observation_count_; ++o) {
    const std::size_t f = free_index_[o];
    if (f == npos) continue;
    points_.subtract(x, size, q_coupling(f), p_coupling(observation_point_[o]));
    points_.subtract(x, size, q_coupling(f), q_coupling(f));
  }
  // Cameras that see one point are coupled through it. The pairs are
  // gathered by point rather than by scanning one camera's list for each
  // observation of the other: the same sums at the cost of the views of
  // each point.
  for (std::size_t j = 0; j < point_count; ++j) {
    for (std::size_t n = point_first_[j]; n < point_first_[j + 1]; ++n) {
      const std::size_t low = point_observations_[n];
      for (std::size_t m = point_first_[j]; m < point_first_[j + 1]; ++m) {
        const std::size_t high = point_observations_[m];
        if (observation_camera_[high] <= observation_camera_[low]) continue;
        points_.subtract(x, size, q_coupling(free_index_[high]), q_coupling(free_index_[low]));
      }
    }
  }
  // The upper triangle mirrors the lower; the shared and camera entries of
  // d go onto the diagonal.
  for (std::size_t r = 0; r < size; ++r) {
    for (std::size_t c = r + 1; c < size; ++c) x[r * size + c] = x[c * size + r];
    x[r * size + r] += d[r];
  }
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::Xinv_b(const double* b, double* y) {
  const std::size_t size = reduced_size_;
  std::copy(b, b + size, reduced_rhs_.data);
  points_.reduce(reduced_rhs_.data, b + size);
  rank_ = 0;
  if (size > 0) {
    // The factorisation gives each side the bits of dgelss on X and that side.
    factored_system& system = factored_[current_];
    if (!system.factored && !system.factor.factor(X(), size)) {
      throw std::runtime_error(std::string(Form::name) + "::Xinv_b(): failure in LAPACK solver");
    }
    system.factored = true;
    if (!system.factor.solve(reduced_rhs_.data, reduced_solution_.data)) {
      throw std::runtime_error(std::string(Form::name) + "::Xinv_b(): failure in LAPACK solver");
    }
    rank_ = system.factor.rank();
  }
  std::copy(reduced_solution_.data, reduced_solution_.data + size, y);
  points_.back_substitute(b + size, reduced_solution_.data, y + size);
}

template <bundle_camera Camera, class Form>
void bundle_model<Camera, Form>::advance(const double* x, const double* p, double* x_new) const {
  for (std::size_t e = 0; e < shared_count_; ++e) x_new[e] = x[e] + p[e];
  for (std::size_t i = 0; i < camera_count; ++i) {
    const std::size_t offset = camera_offsets_[i];
    cameras[i].advance(x + offset, p + offset, x_new + offset);
  }
  for (std::size_t j = 0; j < point_count; ++j) {
    const std::size_t offset = point_offset(j);
    x_new[offset] = Camera::spherical_points ? wrap_longitude(x[offset] + p[offset]) : x[offset] + p[offset];
    x_new[offset + 1] = x[offset + 1] + p[offset + 1];
  }
}
