#include "numerics/real_polynomial_roots.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// The constants of the method: the floating-point model, the first shift
// direction and its rotation by 94 degrees per retry.
constexpr double eta = 2.220446049250313e-16;  // relative precision
constexpr double are = eta;                     // error bound of additions
constexpr double mre = eta;                     // error bound of multiplications
constexpr double infin = 1.7976931348623157e308;
constexpr double smalno = 2.2250738585072014e-308;
constexpr double lo = smalno / eta;
constexpr double base = 2.0;
constexpr double cosr = -0.069756474, sinr = 0.99756405;
constexpr int retry_budget = 20;

// Divides p (nn coefficients) by the quadratic 1, u, v: quotient into q,
// remainder into a, b.
void quadsd(int nn, double u, double v, const double* p, double* q, double& a, double& b) {
  b = p[0];
  q[0] = b;
  a = p[1] - u * b;
  q[1] = a;
  for (int i = 2; i < nn; ++i) {
    const double c = p[i] - u * a - v * b;
    q[i] = c;
    b = a;
    a = c;
  }
}

// The zeros of a z^2 + b1 z + c: the larger real one by the quadratic
// formula, guarded against overflow, the smaller from the product of the
// two; or the complex pair.
void quad(double a, double b1, double c, double& sr, double& si, double& lr, double& li) {
  si = li = 0.0;
  if (a == 0.0) {
    sr = b1 != 0.0 ? -c / b1 : 0.0;
    lr = 0.0;
    return;
  }
  if (c == 0.0) {
    sr = 0.0;
    lr = -b1 / a;
    return;
  }
  const double b = b1 / 2.0;
  double e, d;
  if (std::fabs(b) >= std::fabs(c)) {
    e = 1.0 - (a / b) * (c / b);
    d = std::sqrt(std::fabs(e)) * std::fabs(b);
  } else {
    e = c < 0.0 ? -a : a;
    e = b * (b / std::fabs(c)) - e;
    d = std::sqrt(std::fabs(e)) * std::sqrt(std::fabs(c));
  }
  if (e >= 0.0) {
    if (b >= 0.0) d = -d;
    lr = (-b + d) / a;
    sr = lr != 0.0 ? (c / lr) / a : 0.0;
    return;
  }
  sr = -b / a;
  lr = sr;
  si = std::fabs(d / a);
  li = -si;
}

// How the scalars of calcsc relate the K polynomial to the quadratic.
enum scaling { divided_by_c = 1, divided_by_d = 2, almost_factor = 3 };

class jenkins_traub {
 public:
  jenkins_traub(const double* op, int degree, double* zeror, double* zeroi)
      : degree_(degree), zeror_(zeror), zeroi_(zeroi), storage_(6 * static_cast<std::size_t>(degree + 1)) {
    const std::size_t stride = static_cast<std::size_t>(degree + 1);
    p_ = storage_.data();
    qp_ = p_ + stride;
    k_ = qp_ + stride;
    qk_ = k_ + stride;
    svk_ = qk_ + stride;
    temp_ = svk_ + stride;
    n_ = degree;
    nn_ = n_ + 1;
    std::copy(op, op + nn_, p_);
  }

  // The published main program after the checks of the leading and the
  // trailing coefficients; returns false when the retries run out.
  bool run();
  int remaining() const { return n_; }

 private:
  void scale();
  double lower_bound() const;
  void unshifted_steps(int count);
  bool fxshfr(int l2, int& nz);
  void quadit(double uu, double vv, int& nz);
  void realit(double& sss, int& nz, int& iflag);
  scaling calcsc();
  void nextk(scaling type);
  void newest(scaling type, double& uu, double& vv);

  int degree_;
  double* zeror_;
  double* zeroi_;
  std::vector<double> storage_;
  double *p_, *qp_, *k_, *qk_, *svk_, *temp_;
  int n_, nn_;
  double sr_ = 0, si_ = 0, u_ = 0, v_ = 0, a_ = 0, b_ = 0, c_ = 0, d_ = 0;
  double a1_ = 0, a3_ = 0, a7_ = 0, e_ = 0, f_ = 0, g_ = 0, h_ = 0;
  double szr_ = 0, szi_ = 0, lzr_ = 0, lzi_ = 0;
  double xx_ = 0.70710678, yy_ = -0.70710678;
};

// Scales by a power of the base when coefficients are very large or very
// small, so that neither overflow nor unnoticed underflow upsets the
// convergence tests.
void jenkins_traub::scale() {
  double largest = 0.0, smallest = infin;
  for (int i = 0; i < nn_; ++i) {
    const double x = std::fabs(p_[i]);
    largest = std::max(largest, x);
    if (x != 0.0 && x < smallest) smallest = x;
  }
  double sc = lo / smallest;
  if (sc > 1.0) {
    if (infin / sc < largest) return;
  } else {
    if (largest < 10.0) return;
    if (sc == 0.0) sc = smalno;
  }
  const int l = static_cast<int>(std::log(sc) / std::log(base) + 0.5);
  const double factor = std::pow(base, l);
  if (factor == 1.0) return;
  for (int i = 0; i < nn_; ++i) p_[i] *= factor;
}

// A lower bound of the moduli of the zeros: the positive root of the
// Cauchy polynomial, to two decimals by Newton's method.
double jenkins_traub::lower_bound() const {
  double* pt = qp_;  // free until the second stage
  for (int i = 0; i < nn_; ++i) pt[i] = std::fabs(p_[i]);
  pt[nn_ - 1] = -pt[nn_ - 1];
  double x = std::exp((std::log(-pt[nn_ - 1]) - std::log(pt[0])) / n_);
  if (pt[n_ - 1] != 0.0) {
    // A Newton step at the origin, when it is the better start.
    const double xm = -pt[nn_ - 1] / pt[n_ - 1];
    if (xm < x) x = xm;
  }
  // Chop the interval (0, x) until the polynomial is not positive.
  for (;;) {
    const double xm = x * 0.1;
    double ff = pt[0];
    for (int i = 1; i < nn_; ++i) ff = ff * xm + pt[i];
    if (ff <= 0.0) break;
    x = xm;
  }
  double dx = x;
  while (std::fabs(dx / x) > 0.005) {
    double ff = pt[0], df = ff;
    for (int i = 1; i < n_; ++i) {
      ff = ff * x + pt[i];
      df = df * x + ff;
    }
    ff = ff * x + pt[nn_ - 1];
    dx = ff / df;
    x -= dx;
  }
  return x;
}

// The first stage: K starts as the scaled derivative and takes `count`
// steps with no shift.
void jenkins_traub::unshifted_steps(int count) {
  for (int i = 1; i < n_; ++i) k_[i] = static_cast<double>(nn_ - 1 - i) * p_[i] / n_;
  k_[0] = p_[0];
  const double aa = p_[nn_ - 1], bb = p_[n_ - 1];
  bool zerok = k_[n_ - 1] == 0.0;
  for (int step = 0; step < count; ++step) {
    const double cc = k_[n_ - 1];
    if (!zerok) {
      // The scaled recurrence while K does not vanish at 0.
      const double t = -aa / cc;
      for (int j = n_ - 1; j >= 1; --j) k_[j] = t * k_[j - 1] + p_[j];
      k_[0] = p_[0];
      zerok = std::fabs(k_[n_ - 1]) <= std::fabs(bb) * eta * 10.0;
    } else {
      for (int j = n_ - 1; j >= 1; --j) k_[j] = k_[j - 1];
      k_[0] = 0.0;
      zerok = k_[n_ - 1] == 0.0;
    }
  }
}

bool jenkins_traub::run() {
  for (;;) {
    if (n_ <= 2) {
      if (n_ < 1) return true;
      if (n_ == 1) {
        zeror_[degree_ - 1] = -p_[1] / p_[0];
        zeroi_[degree_ - 1] = 0.0;
      } else {
        quad(p_[0], p_[1], p_[2], zeror_[degree_ - 2], zeroi_[degree_ - 2], zeror_[degree_ - 1], zeroi_[degree_ - 1]);
      }
      n_ = 0;
      return true;
    }
    scale();
    const double bnd = lower_bound();
    unshifted_steps(5);
    std::copy(k_, k_ + n_, temp_);

    // Each retry shifts to a point of modulus bnd, its direction turned by
    // 94 degrees from the last, and to its conjugate.
    bool found = false;
    for (int cnt = 1; cnt <= retry_budget && !found; ++cnt) {
      const double xxx = cosr * xx_ - sinr * yy_;
      yy_ = sinr * xx_ + cosr * yy_;
      xx_ = xxx;
      sr_ = bnd * xx_;
      si_ = bnd * yy_;
      u_ = -2.0 * sr_;
      v_ = bnd;
      int nz = 0;
      if (!fxshfr(20 * cnt, nz)) {
        std::copy(temp_, temp_ + n_, k_);
        continue;
      }
      // Deflate and store the zero or the pair.
      const int j = degree_ - n_;
      zeror_[j] = szr_;
      zeroi_[j] = szi_;
      nn_ -= nz;
      n_ = nn_ - 1;
      std::copy(qp_, qp_ + nn_, p_);
      if (nz == 2) {
        zeror_[j + 1] = lzr_;
        zeroi_[j + 1] = lzi_;
      }
      found = true;
    }
    if (!found) return false;
  }
}

// The second stage with the fixed shift (u, v), l2 steps long, moving to
// the third stage as soon as the shift or the quadratic seems to converge.
// True when a zero or a pair of zeros was found (nz of them).
bool jenkins_traub::fxshfr(int l2, int& nz) {
  nz = 0;
  double betav = 0.25, betas = 0.25;
  double oss = sr_, ovv = v_, otv = 0.0, ots = 0.0;
  double ui = 0.0, vi = 0.0, s = 0.0;
  quadsd(nn_, u_, v_, p_, qp_, a_, b_);
  scaling type = calcsc();
  for (int j = 1; j <= l2; ++j) {
    nextk(type);
    type = calcsc();
    newest(type, ui, vi);
    const double vv = vi;
    const double ss = k_[n_ - 1] != 0.0 ? -p_[nn_ - 1] / k_[n_ - 1] : 0.0;
    double tv = 1.0, ts = 1.0;
    if (j != 1 && type != almost_factor) {
      // Relative changes of the two sequences; two falling ones multiply.
      if (vv != 0.0) tv = std::fabs((vv - ovv) / vv);
      if (ss != 0.0) ts = std::fabs((ss - oss) / ss);
      const double tvv = tv < otv ? tv * otv : 1.0;
      const double tss = ts < ots ? ts * ots : 1.0;
      const bool vpass = tvv < betav, spass = tss < betas;
      if (spass || vpass) {
        // At least one sequence converges: keep the state, then iterate,
        // the faster sequence first, each kind at most once (a linear
        // iteration that meets an almost double zero hands over to the
        // quadratic one).
        const double svu = u_, svv = v_;
        std::copy(k_, k_ + n_, svk_);
        s = ss;
        bool vtry = false, stry = false;
        enum { quadratic_iteration, linear_iteration, restore } step =
            spass && (!vpass || tss < tvv) ? linear_iteration : quadratic_iteration;
        for (;;) {
          if (step == quadratic_iteration) {
            quadit(ui, vi, nz);
            if (nz > 0) return true;
            vtry = true;
            betav *= 0.25;
            if (stry || !spass) {
              step = restore;
              continue;
            }
            std::copy(svk_, svk_ + n_, k_);
            step = linear_iteration;
          } else if (step == linear_iteration) {
            int iflag = 0;
            realit(s, nz, iflag);
            if (nz > 0) return true;
            stry = true;
            betas *= 0.25;
            if (iflag == 0) {
              step = restore;
              continue;
            }
            ui = -(s + s);
            vi = s * s;
            step = quadratic_iteration;
          } else {
            u_ = svu;
            v_ = svv;
            std::copy(svk_, svk_ + n_, k_);
            if (!vpass || vtry) break;
            step = quadratic_iteration;
          }
        }
        // Back to the second stage.
        quadsd(nn_, u_, v_, p_, qp_, a_, b_);
        type = calcsc();
      }
    }
    ovv = vv;
    oss = ss;
    otv = tv;
    ots = ts;
  }
  return false;
}

// The third stage, variable-shift quadratic iteration from (uu, vv). nz is
// 2 when the pair of zeros (szr, szi), (lzr, lzi) converged.
void jenkins_traub::quadit(double uu, double vv, int& nz) {
  nz = 0;
  bool tried = false;
  u_ = uu;
  v_ = vv;
  int j = 0;
  double omp = 0.0, relstp = 0.0;
  for (;;) {
    quad(1.0, u_, v_, szr_, szi_, lzr_, lzi_);
    // Real zeros that are far apart are not the quadratic's business.
    if (std::fabs(std::fabs(szr_) - std::fabs(lzr_)) > 0.01 * std::fabs(lzr_)) return;
    quadsd(nn_, u_, v_, p_, qp_, a_, b_);
    const double mp = std::fabs(a_ - szr_ * b_) + std::fabs(szi_ * b_);
    // A rigorous bound of the rounding error of the evaluation.
    const double zm = std::sqrt(std::fabs(v_));
    double ee = 2.0 * std::fabs(qp_[0]);
    const double t = -szr_ * b_;
    for (int i = 1; i < n_; ++i) ee = ee * zm + std::fabs(qp_[i]);
    ee = ee * zm + std::fabs(a_ + t);
    ee = (5.0 * mre + 4.0 * are) * ee - (5.0 * mre + 2.0 * are) * (std::fabs(a_ + t) + std::fabs(b_) * zm) +
         2.0 * are * std::fabs(t);
    if (mp <= 20.0 * ee) {
      nz = 2;
      return;
    }
    ++j;
    if (j > 20) return;
    if (j >= 2 && !(relstp > 0.01 || mp < omp || tried)) {
      // A cluster seems to stall convergence: five fixed-shift steps from
      // a quadratic close to it.
      if (relstp < eta) relstp = eta;
      relstp = std::sqrt(relstp);
      u_ -= u_ * relstp;
      v_ += v_ * relstp;
      quadsd(nn_, u_, v_, p_, qp_, a_, b_);
      for (int i = 0; i < 5; ++i) nextk(calcsc());
      tried = true;
      j = 0;
    }
    omp = mp;
    // The next K polynomial and the new quadratic.
    nextk(calcsc());
    double ui = 0.0, vi = 0.0;
    newest(calcsc(), ui, vi);
    if (vi == 0.0) return;  // not converging
    relstp = std::fabs((vi - v_) / vi);
    u_ = ui;
    v_ = vi;
  }
}

// The third stage, variable-shift real iteration from sss. nz is 1 when the
// real zero szr converged; iflag is set, with sss the current iterate, when
// a cluster of zeros near the real axis calls for the quadratic iteration.
void jenkins_traub::realit(double& sss, int& nz, int& iflag) {
  nz = 0;
  double s = sss;
  iflag = 0;
  int j = 0;
  double omp = 0.0, t = 0.0;
  for (;;) {
    double pv = p_[0];
    qp_[0] = pv;
    for (int i = 1; i < nn_; ++i) {
      pv = pv * s + p_[i];
      qp_[i] = pv;
    }
    const double mp = std::fabs(pv);
    const double ms = std::fabs(s);
    double ee = (mre / (are + mre)) * std::fabs(qp_[0]);
    for (int i = 1; i < nn_; ++i) ee = ee * ms + std::fabs(qp_[i]);
    if (mp <= 20.0 * ((are + mre) * ee - mre * mp)) {
      nz = 1;
      szr_ = s;
      szi_ = 0.0;
      return;
    }
    ++j;
    if (j > 10) return;
    if (j >= 2 && std::fabs(t) <= 0.001 * std::fabs(s - t) && mp > omp) {
      iflag = 1;
      sss = s;
      return;
    }
    omp = mp;
    double kv = k_[0];
    qk_[0] = kv;
    for (int i = 1; i < n_; ++i) {
      kv = kv * s + k_[i];
      qk_[i] = kv;
    }
    if (std::fabs(kv) > std::fabs(k_[n_ - 1]) * 10.0 * eta) {
      // The scaled recurrence while K does not vanish at s.
      t = -pv / kv;
      k_[0] = qp_[0];
      for (int i = 1; i < n_; ++i) k_[i] = t * qk_[i - 1] + qp_[i];
    } else {
      k_[0] = 0.0;
      for (int i = 1; i < n_; ++i) k_[i] = qk_[i - 1];
    }
    kv = k_[0];
    for (int i = 1; i < n_; ++i) kv = kv * s + k_[i];
    t = std::fabs(kv) > std::fabs(k_[n_ - 1]) * 10.0 * eta ? -pv / kv : 0.0;
    s += t;
  }
}

// Divides K by the quadratic and computes the scalars the next K and the
// new quadratic are formed from.
scaling jenkins_traub::calcsc() {
  quadsd(n_, u_, v_, k_, qk_, c_, d_);
  if (std::fabs(c_) <= std::fabs(k_[n_ - 1]) * 100.0 * eta && std::fabs(d_) <= std::fabs(k_[n_ - 2]) * 100.0 * eta) {
    return almost_factor;
  }
  if (std::fabs(d_) >= std::fabs(c_)) {
    e_ = a_ / d_;
    f_ = c_ / d_;
    g_ = u_ * b_;
    h_ = v_ * b_;
    a3_ = (a_ + g_) * e_ + h_ * (b_ / d_);
    a1_ = b_ * f_ - a_;
    a7_ = (f_ + u_) * a_ + h_;
    return divided_by_d;
  }
  e_ = a_ / c_;
  f_ = d_ / c_;
  g_ = u_ * e_;
  h_ = v_ * b_;
  a3_ = a_ * e_ + (h_ / c_ + g_) * b_;
  a1_ = b_ - a_ * (d_ / c_);
  a7_ = a_ + g_ * d_ + h_ * f_;
  return divided_by_c;
}

// The next K polynomial by the recurrence of the scaling type.
void jenkins_traub::nextk(scaling type) {
  if (type == almost_factor) {
    k_[0] = k_[1] = 0.0;
    for (int i = 2; i < n_; ++i) k_[i] = qk_[i - 2];
    return;
  }
  const double temp = type == divided_by_c ? b_ : a_;
  if (std::fabs(a1_) <= std::fabs(temp) * eta * 10.0) {
    // a1 nearly 0: the special form.
    k_[0] = 0.0;
    k_[1] = -a7_ * qp_[0];
    for (int i = 2; i < n_; ++i) k_[i] = a3_ * qk_[i - 2] - a7_ * qp_[i - 1];
    return;
  }
  a7_ /= a1_;
  a3_ /= a1_;
  k_[0] = qp_[0];
  k_[1] = qp_[1] - a7_ * qp_[0];
  for (int i = 2; i < n_; ++i) k_[i] = a3_ * qk_[i - 2] - a7_ * qp_[i - 1] + qp_[i];
}

// The new quadratic 1, uu, vv from the current K and the scalars.
void jenkins_traub::newest(scaling type, double& uu, double& vv) {
  uu = vv = 0.0;  // the quadratic is zeroed when it is almost a factor
  if (type == almost_factor) return;
  double a4, a5;
  if (type == divided_by_d) {
    a4 = (a_ + g_) * f_ + h_;
    a5 = (f_ + u_) * c_ + v_ * d_;
  } else {
    a4 = a_ + u_ * b_ + h_ * f_;
    a5 = c_ + (u_ + v_ * f_) * d_;
  }
  const double b1 = -k_[n_ - 1] / p_[nn_ - 1];
  const double b2 = -(k_[n_ - 2] + b1 * p_[n_ - 1]) / p_[nn_ - 1];
  const double c1 = v_ * b2 * a1_;
  const double c2 = b1 * a7_;
  const double c3 = b1 * b1 * a3_;
  const double c4 = c1 - c2 - c3;
  const double temp = a5 + b1 * a4 - c4;
  if (temp == 0.0) return;
  uu = u_ - (u_ * (c3 + c2) + v_ * (b1 * a1_ + b2 * a7_)) / temp;
  vv = v_ * (1.0 + c4 / temp);
}

}  // namespace

std::size_t real_polynomial_roots(const double* coefficients, std::size_t degree, double* real_parts,
                                  double* imaginary_parts, bool& failed) {
  failed = false;
  if (coefficients[0] == 0.0) {
    failed = true;
    return 0;
  }
  // Zeros at the origin first.
  std::size_t n = degree;
  while (n > 0 && coefficients[n] == 0.0) {
    real_parts[degree - n] = 0.0;
    imaginary_parts[degree - n] = 0.0;
    --n;
  }
  if (n == 0) return degree;
  jenkins_traub method(coefficients, static_cast<int>(n), real_parts + (degree - n), imaginary_parts + (degree - n));
  failed = !method.run();
  return degree - static_cast<std::size_t>(method.remaining());
}

std::size_t quintic_roots(const double coefficients[6], double real_parts[5], double imaginary_parts[5]) {
  double falling[6];
  std::reverse_copy(coefficients, coefficients + 6, falling);
  std::fill(real_parts, real_parts + 5, 0.0);
  std::fill(imaginary_parts, imaginary_parts + 5, 0.0);
  bool failed = false;
  real_polynomial_roots(falling, 5, real_parts, imaginary_parts, failed);
  return 5;
}
