// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/damped_solver.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "zelmo/internal/jacobian_passes.h"

// The hidden lengths of the character arguments stand last, as Fortran compilers pass them.
extern "C" {
// NOLINTBEGIN(readability-identifier-naming): names of the Fortran library
void dsytrf_(const char* uplo, const int* n, double* a, const int* lda, int* ipiv, double* work,
             const int* lwork, int* info, std::size_t uplo_length);
void dsytrs_(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t uplo_length);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a,
             const int* lda, double* s, double* u, const int* ldu, double* vt, const int* ldvt,
             double* work, const int* lwork, int* info, std::size_t jobu_length,
             std::size_t jobvt_length);
// NOLINTEND(readability-identifier-naming)
}

namespace zelmo::internal {
namespace {

constexpr double kDefaultOptions[5] = {1e-3, 1e-17, 1e-17, 1e-17, 1e-6};
constexpr double kRelativeDifference = 1e-4;
constexpr double kLeastDampingFactor = 0.3333333334;
constexpr double kAlmostSingular = 1e-24;  // |p|^2 over |D|^2
constexpr int kFirstRaise = 2;
constexpr int kRaiseOfRenewal = 16;  // beyond it, four steps in a row were refused

double squareSum(const std::vector<double>& v) {
  double sum = 0.0;
  for (const double value : v) sum += value * value;
  return sum;
}

class DampedSolver {
 public:
  DampedSolver(ResidualFunction func, double* p, const double* x, int m, int n,
               const double* options, void* adata)
      : m_func(func),
        m_p(p),
        m_x(x),
        m_m(m),
        m_n(n),
        m_adata(adata),
        m_damping_scale(options[0]),
        m_gradient_limit(options[1]),
        m_step_limit(options[2]),
        m_error_limit(options[3]),
        m_difference(std::fabs(options[4])),
        m_central(options[4] < 0.0),
        m_renewal_count(std::max(m, 10)) {
    const auto rows = static_cast<std::size_t>(paddedRows(n));
    const auto size = static_cast<std::size_t>(m);
    // Not value-initialised: only the padding needs to be zero before the model fills the rest.
    m_buffer.reset(new double[rows * (size + 2)]);
    m_jacobian = {m_buffer.get(), m, n};
    m_f = m_buffer.get() + rows * size;
    m_trial_f = m_f + rows;
    for (std::size_t i = 0; i < size + 2; ++i) {
      std::fill(m_buffer.get() + rows * i + n, m_buffer.get() + rows * (i + 1), 0.0);
    }
    m_a.resize(size * size);
    m_factor.resize(size * size);
    for (auto* v : {&m_g, &m_step, &m_trial_p}) v->resize(size);
    m_pivots.resize(size);
    m_lapack_work.resize(size * 64);
  }

  int solve(int itmax) {
    m_start_error = m_error = evaluate(m_p, m_f);
    m_stop = std::isfinite(m_error) ? SolverStop::None : SolverStop::NotFinite;
    while (m_passes < itmax && m_stop == SolverStop::None) {
      m_stop = pass();
      if (m_stop == SolverStop::None) ++m_passes;
    }
    if (m_passes >= itmax) m_stop = SolverStop::PassLimit;
    const bool failed = m_stop == SolverStop::AlmostSingular || m_stop == SolverStop::NotFinite;
    return failed ? -1 : m_passes;
  }

  void writeInfo(double* info) const {
    info[0] = m_start_error;
    info[1] = m_error;
    info[2] = m_largest_gradient;
    info[3] = m_step_square;
    info[4] = m_damping / largestDiagonal();
    info[5] = m_passes;
    info[6] = static_cast<double>(m_stop);
    info[7] = m_evaluations;
    info[8] = m_difference_jacobians;
    info[9] = m_systems;
  }

  void writeCovariance(double* covar) const;

 private:
  double evaluate(double* p, double* f) {
    m_func(p, f, m_m, m_n, m_adata);
    ++m_evaluations;
    return errorSquareSum(m_x, f, m_n);
  }

  SolverStop pass();
  SolverStop tryStep(bool& accepted);
  void renewJacobian();
  void renewNormalEquations();
  bool solveDamped();

  double largestDiagonal() const {
    double largest = -std::numeric_limits<double>::max();
    for (int i = 0; i < m_m; ++i) {
      const double entry = m_a[static_cast<std::size_t>(i) * (static_cast<std::size_t>(m_m) + 1)];
      if (entry > largest) largest = entry;
    }
    return largest;
  }

  ResidualFunction m_func;
  double* m_p;
  const double* m_x;
  int m_m;
  int m_n;
  void* m_adata;
  double m_damping_scale, m_gradient_limit, m_step_limit, m_error_limit, m_difference;
  bool m_central;
  int m_renewal_count;  // rank-one updates until the next difference Jacobian

  std::unique_ptr<double[]> m_buffer;
  JacobianView m_jacobian{};
  double* m_f = nullptr;        // model at the accepted point
  double* m_trial_f = nullptr;  // model at the other end of the last step
  std::vector<double> m_a, m_g, m_step, m_trial_p, m_factor, m_lapack_work;
  std::vector<int> m_pivots;
  NormalEquationScratch m_scratch;

  double m_start_error = 0.0, m_error = 0.0, m_largest_gradient = 0.0, m_damping = 0.0;
  double m_step_square = std::numeric_limits<double>::max(), m_point_square = 0.0;
  int m_raise = 20;        // what the next refusal multiplies the damping by
  bool m_moved = true;     // a step was accepted since the last difference Jacobian
  bool m_stale = false;    // the normal equations lag behind the Jacobian
  int m_updates = 0;       // rank-one updates since the last difference Jacobian
  bool m_pending = false;  // one of them still has to be worked into the Jacobian
  bool m_pending_is_accepted = false;
  int m_passes = 0, m_evaluations = 0, m_difference_jacobians = 0, m_systems = 0;
  SolverStop m_stop = SolverStop::None;
};

void DampedSolver::renewJacobian() {
  for (int j = 0; j < m_m; ++j) {
    const double kept = m_p[j];
    double d = std::fabs(kRelativeDifference * kept);
    if (d < m_difference) d = m_difference;
    double* column = m_jacobian.column(j);
    if (m_central) {
      m_p[j] = kept - d;
      m_func(m_p, m_trial_f, m_m, m_n, m_adata);
      m_p[j] = kept + d;
      m_func(m_p, column, m_m, m_n, m_adata);
    } else {
      m_p[j] = kept + d;
      m_func(m_p, column, m_m, m_n, m_adata);
    }
    m_p[j] = kept;
    differenceColumn(column, m_central ? m_trial_f : m_f, (m_central ? 0.5 : 1.0) / d, m_n);
  }
  m_evaluations += m_central ? 2 * m_m : m_m;
  ++m_difference_jacobians;
  m_raise = kFirstRaise;
  m_updates = 0;
  m_pending = false;
  m_moved = false;
  m_stale = true;
}

void DampedSolver::renewNormalEquations() {
  // The model's values were swapped when the step was accepted.
  const RankOneUpdate update = {m_pending_is_accepted ? m_trial_f : m_f,
                                m_pending_is_accepted ? m_f : m_trial_f, m_step.data(),
                                m_step_square};
  normalEquations(m_jacobian, m_pending ? &update : nullptr, m_x, m_f, m_a.data(), m_g.data(),
                  m_scratch);
  m_pending = false;
  m_stale = false;
  m_largest_gradient = 0.0;
  m_point_square = 0.0;
  for (int i = 0; i < m_m; ++i) {
    const double magnitude = std::fabs(m_g[static_cast<std::size_t>(i)]);
    if (magnitude > m_largest_gradient) m_largest_gradient = magnitude;  // passes over NaN
    m_point_square += m_p[i] * m_p[i];
  }
}

bool DampedSolver::solveDamped() {
  m_factor = m_a;
  for (std::size_t i = 0; i < m_factor.size(); i += static_cast<std::size_t>(m_m) + 1) {
    m_factor[i] += m_damping;
  }
  m_step = m_g;
  const int work_size = static_cast<int>(m_lapack_work.size());
  const int one = 1;
  int info = 0;
  ++m_systems;
  dsytrf_("L", &m_m, m_factor.data(), &m_m, m_pivots.data(), m_lapack_work.data(), &work_size,
          &info, 1);
  if (info != 0) return false;
  dsytrs_("L", &m_m, &one, m_factor.data(), &m_m, m_pivots.data(), m_step.data(), &m_m, &info, 1);
  return info == 0;
}

// One step from a solved system.
SolverStop DampedSolver::tryStep(bool& accepted) {
  for (int i = 0; i < m_m; ++i) {
    const auto k = static_cast<std::size_t>(i);
    m_trial_p[k] = m_p[i] + m_step[k];
  }
  m_step_square = squareSum(m_step);
  if (m_step_square <= m_step_limit * m_step_limit * m_point_square) return SolverStop::StepSmall;
  if (m_step_square >= (m_point_square + m_step_limit) / kAlmostSingular) {
    return SolverStop::AlmostSingular;
  }
  const double trial_error = evaluate(m_trial_p.data(), m_trial_f);
  if (!std::isfinite(trial_error)) return SolverStop::NotFinite;

  const double gain = m_error - trial_error;
  double predicted_gain = 0.0;
  for (std::size_t i = 0; i < m_step.size(); ++i) {
    predicted_gain += m_step[i] * (m_damping * m_step[i] + m_g[i]);
  }
  accepted = predicted_gain > 0.0 && gain > 0.0;
  if (m_moved || gain > 0.0) {
    // Worked in together with the next normal equations, unless differences replace the Jacobian.
    ++m_updates;
    m_pending = m_stale = true;
    m_pending_is_accepted = accepted;
  }
  if (accepted) {
    const double excess = 2.0 * (gain / predicted_gain) - 1.0;
    m_damping *= std::max(1.0 - excess * excess * excess, kLeastDampingFactor);
    m_raise = kFirstRaise;
    std::copy(m_trial_p.begin(), m_trial_p.end(), m_p);
    std::swap(m_f, m_trial_f);
    m_error = trial_error;
    m_moved = true;
  }
  return SolverStop::None;
}

SolverStop DampedSolver::pass() {
  if (m_error <= m_error_limit) return SolverStop::ErrorSmall;
  if ((m_moved && m_raise > kRaiseOfRenewal) || m_updates == m_renewal_count) renewJacobian();
  if (m_stale) renewNormalEquations();
  if (m_largest_gradient <= m_gradient_limit) {
    m_step_square = 0.0;
    return SolverStop::GradientSmall;
  }
  if (m_passes == 0) m_damping = m_damping_scale * largestDiagonal();

  bool accepted = false;
  if (solveDamped()) {
    const SolverStop stop = tryStep(accepted);
    if (stop != SolverStop::None) return stop;
  }
  if (accepted) return SolverStop::None;
  m_damping *= m_raise;
  if (m_raise > std::numeric_limits<int>::max() / 2) return SolverStop::DampingLimit;
  m_raise *= 2;
  return SolverStop::None;
}

void DampedSolver::writeCovariance(double* covar) const {
  const auto size = static_cast<std::size_t>(m_m);
  const bool finite =
      std::all_of(m_a.begin(), m_a.end(), [](double v) { return std::isfinite(v); });
  if (!finite) {
    std::fill(covar, covar + size * size, std::numeric_limits<double>::quiet_NaN());
    return;
  }
  std::vector<double> a = m_a;
  std::vector<double> singular(size);
  std::vector<double> u(size * size);
  std::vector<double> vt(size * size);
  std::vector<double> work(size * 64 + 64);
  const int work_size = static_cast<int>(work.size());
  int info = 0;
  dgesvd_("A", "A", &m_m, &m_m, a.data(), &m_m, singular.data(), u.data(), &m_m, vt.data(), &m_m,
          work.data(), &work_size, &info, 1, 1);
  std::fill(covar, covar + size * size, 0.0);
  int rank = 0;
  for (std::size_t r = 0; r < size; ++r) {
    if (!(singular[r] > std::numeric_limits<double>::epsilon() * singular[0])) break;
    ++rank;
    for (std::size_t i = 0; i < size; ++i) {
      for (std::size_t j = 0; j < size; ++j) {
        covar[i * size + j] += vt[r + i * size] * u[j + r * size] / singular[r];
      }
    }
  }
  const double variance = m_error / (m_n - rank);
  if (rank > 0) std::for_each(covar, covar + size * size, [variance](double& v) { v *= variance; });
}

}  // namespace

int dlevmar_dif(ResidualFunction func, double* p, const double* x, int m, int n, int itmax,
                const double* opts, double* info, double* /*work*/, double* covar, void* adata) {
  if (m < 1 || n < m) return -1;
  std::unique_ptr<DampedSolver> solver;
  try {
    solver = std::make_unique<DampedSolver>(func, p, x, m, n, opts ? opts : kDefaultOptions, adata);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  const int result = solver->solve(itmax);
  if (info != nullptr) solver->writeInfo(info);
  if (covar != nullptr) solver->writeCovariance(covar);
  return result;
}

}  // namespace zelmo::internal
