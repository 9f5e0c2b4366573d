// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <climits>
#include <cmath>
#include <vector>

#include <opencv2/core/cvdef.h>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/console.h"
#include "zelmo/internal/deviation_statistics.h"
#include "zelmo/lmfit/filter.h"
#include "zelmo/lmfit/internal/kth_largest.h"
#include "zelmo/lmfit/staged_fit.h"

namespace zelmolm {
class XPlaneFitLM;
class XSphereFitLM;
class XCylinderFitLM;
}  // namespace zelmolm

namespace zelmo::internal {

// The stages, as a set.
constexpr unsigned kSigmaStage = 1;
constexpr unsigned kProportionStage = 2;
constexpr unsigned kAngleStage = 4;
constexpr unsigned kSigmaAngleStage = 8;
constexpr unsigned kProportionAngleStage = 16;
constexpr unsigned kNoStage = 0;
constexpr unsigned kAllButSigma =
    kProportionStage | kAngleStage | kSigmaAngleStage | kProportionAngleStage;

/// When a normal n agrees with the direction u that the shape has at the point, c being the cosine of
/// the limit.
enum class AngleTest {
  Along,   ///< |n . u| >= c: u is the surface normal
  Across,  ///< |n . u| <= c: u is the axis
};

/// When a residual r counts as tied with the threshold T of a proportion filter.
enum class TieTest {
  Near,   ///< |T - r| below 1e-5; asked only for a residual that is not above T
  Exact,  ///< r == T; asked first
};

/// Which points the derived values of a shape see after the refit.
enum class ExtentOf { Nothing, AllPoints, KeptPoints };

/// What differs between the shapes in the stages of filtering and fitting again.
struct StageTraits {
  int minimum_count;    ///< of the first fit
  int parameter_count;  ///< of the solver
  int solver_failure;   ///< result of a stage whose refit failed
  int refit_above;      ///< the refit runs with more kept points than this
  AngleTest angle_test;
  TieTest tie_test;
  double late_drop_margin;  ///< below the threshold, where the proportion-and-angle stage drops
  ExtentOf extent_of;
  int sample_variance_above;  ///< the variance is divided by n - 1 for more points than this
  unsigned band_line;         ///< stages that print mean, deviation, upper and lower limit
  unsigned threshold_line;    ///< stages that print the threshold
  unsigned kept_line;         ///< stages that print the numbers of kept and of all points
};

constexpr int kAlways = -1;
constexpr int kNever = INT_MAX;

template <typename Fit>
inline constexpr StageTraits kStagesOf{};

// clang-format off
// CONTRACT: the rows differ in every column on purpose; the cylinder tests its normals against the
// axis, sees only kept points in its extent and breaks ties exactly.
//                       min m fail  refit_above  angle test         tie test        margin extent                variance> band line                           threshold line           kept line
template <> inline constexpr StageTraits kStagesOf<zelmolm::XPlaneFitLM> =
                        {3,  4, -1,  3,           AngleTest::Along,  TieTest::Near,  0.0,   ExtentOf::AllPoints,  kNever,   kSigmaStage | kSigmaAngleStage,     kProportionAngleStage,   kAllButSigma};
template <> inline constexpr StageTraits kStagesOf<zelmolm::XSphereFitLM> =
                        {4,  4, -2,  kAlways,     AngleTest::Along,  TieTest::Near,  0.0,   ExtentOf::Nothing,    kNever,   kSigmaStage,                        kProportionAngleStage,   kNoStage};
template <> inline constexpr StageTraits kStagesOf<zelmolm::XCylinderFitLM> =
                        {6,  7, -2,  kAlways,     AngleTest::Across, TieTest::Exact, 1e-5,  ExtentOf::KeptPoints, 10,       kNoStage,                           kNoStage,                kProportionAngleStage};
// clang-format on

/// The deviations of all points, as floats in point order, and their largest, smallest, mean and
/// variance: what calcStatistics of every shape gives.
template <typename Fit, typename Deviation>
void fillStatistics(const float* points, int count, const Deviation& deviation, float* stats,
                    std::vector<float>& residuals) {
  residuals.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  const PointView view(points, count);
  if (view.empty()) return;
  const auto divisor = count > kStagesOf<Fit>.sample_variance_above ? VarianceDivisor::CountLessOne
                                                                    : VarianceDivisor::Count;
  const auto statistics = deviationStatistics(view, deviation, residuals.data(), divisor);
  stats[0] = static_cast<float>(statistics.extremes.largest);
  stats[1] = static_cast<float>(statistics.extremes.smallest);
  stats[2] = static_cast<float>(statistics.mean);
  stats[3] = static_cast<float>(statistics.variance);
}

/// The stages over one fit object: a first fit on all points, one filter, one refit from the first
/// fit. Every stage gives 0, -1 when the first fit or the filter fails, or the shape's code when the
/// refit fails.
///
/// The fit object offers Fit1, calcStatistics, Fit_LM, surfaceDirection (u at a point), paramsOf
/// (solver parameters from its floats), storeParams (the way back) and, where its row of the table
/// asks for an extent, getValue.
template <typename Fit>
class FitStages {
 public:
  FitStages(Fit& fit, const float* points, const float* normals, const int& count)
      : m_fit(fit), m_points(points, count), m_normals(normals, count), m_count(count) {}

  /// Runs the stage that \p method names on \p fit, with what it takes from \p param.
  /// \return 0, the stage's negative code, or -1 for a method that there is not
  static int run(Fit& fit, const float* points, const float* normals, const int& count,
                 const xfeaturefitfilter::FilterParam& param,
                 xfeaturefitfilter::FilterMethod method) {
    const int result = runStage(fit, points, normals, count, param, method);
    return result < 0 ? result : 0;
  }

  int sigma(float factor) {
    if (!firstFit()) return -1;
    const SigmaBand band = bandOf(factor, kSigmaStage);
    for (int i = 0; i < m_count; ++i) {
      if (band.keeps(residual(i))) keep(i);
    }
    return refit(kSigmaStage);
  }

  int proportion(float share) {
    if (!firstFit()) return -1;
    measureAbsolute();
    const int k = shareOf(m_count, share);
    if (k == 0) return 0;
    const float threshold = kthLargest(m_residuals, k);
    if (threshold <= kNoSuchValue) return -1;
    dropLargest(k, threshold, threshold);
    return refit(kProportionStage);
  }

  int angle(float degrees) {
    if (!firstFit()) return -1;
    const double cosine = cosineOf(degrees);
    const int limit = static_cast<int>(m_count * 0.5);
    int dropped = 0;
    for (int i = 0; i < m_count; ++i) {
      // CONTRACT: beyond half of the points everything is kept, good or bad.
      if (dropped < limit && !passesAngle(i, cosine)) {
        ++dropped;
      } else {
        keep(i);
      }
    }
    return refit(kAngleStage);
  }

  int sigmaAngle(float factor, float degrees) {
    if (!firstFit()) return -1;
    const SigmaBand band = bandOf(factor, kSigmaAngleStage);
    const double cosine = cosineOf(degrees);
    for (int i = 0; i < m_count; ++i) {
      if (band.keeps(residual(i)) && passesAngle(i, cosine)) keep(i);
    }
    return refit(kSigmaAngleStage);
  }

  int proportionAngle(float share, float degrees) {
    if (!firstFit()) return -1;
    const double cosine = cosineOf(degrees);
    m_flagged.resize(static_cast<std::size_t>(m_count));
    int left = m_count;
    for (int i = 0; i < m_count; ++i) {
      const bool is_flagged = !passesAngle(i, cosine);
      m_flagged[static_cast<std::size_t>(i)] = is_flagged;
      left -= static_cast<int>(is_flagged);
    }
    measureAbsolute();
    const int k = shareOf(left, share);
    if (k == 0 && left == m_count) return 0;
    // CONTRACT: points dropped by angle alone fail the stage.
    if (k < 1 || k > left) return -1;
    std::vector<float> candidates;
    candidates.reserve(static_cast<std::size_t>(left));
    for (int i = 0; i < m_count; ++i) {
      if (!m_flagged[static_cast<std::size_t>(i)]) candidates.push_back(residual(i));
    }
    const float threshold = kthLargest(std::move(candidates), k);
    if (threshold <= kNoSuchValue) return -1;
    if (prints(kTraits.threshold_line, kProportionAngleStage)) {
      ConsoleText() << "min_n_maxvalue=" << threshold << "\n";
    }
    dropLargest(k, threshold, static_cast<float>(threshold - kTraits.late_drop_margin));
    return refit(kProportionAngleStage);
  }

 private:
  static constexpr const StageTraits& kTraits = kStagesOf<Fit>;

  static int runStage(Fit& fit, const float* points, const float* normals, const int& count,
                      const xfeaturefitfilter::FilterParam& param,
                      xfeaturefitfilter::FilterMethod method) {
    switch (method) {
      case xfeaturefitfilter::FilterNone:
        return fit.Fit1(points, normals, count);
      case xfeaturefitfilter::FilterSigma:
        return fit.Fit2(points, normals, count, param.sigmaFactor);
      case xfeaturefitfilter::FilterProportion:
        return fit.Fit3(points, normals, count, param.proportion);
      case xfeaturefitfilter::FilterAngle:
        return fit.Fit4(points, normals, count, param.angle);
      case xfeaturefitfilter::FilterSigmaAngle:
        return fit.Fit5(points, normals, count, param.sigmaFactor, param.angle);
      case xfeaturefitfilter::FilterProportionAngle:
        return fit.Fit6(points, normals, count, param.proportion, param.angle);
    }
    return -1;
  }

  static constexpr bool prints(unsigned stages, unsigned stage) { return (stages & stage) != 0; }

  bool firstFit() { return m_fit.Fit1(m_points.data(), m_normals.data(), m_count) >= 0; }

  float residual(int i) const { return m_residuals[static_cast<std::size_t>(i)]; }

  void keep(int i) {
    const float* p = m_points.at(i);
    m_kept.insert(m_kept.end(), p, p + 3);
  }

  SigmaBand bandOf(float factor, unsigned stage) {
    float stats[4] = {};
    m_fit.calcStatistics(m_points.data(), m_count, stats, m_residuals);
    const float mean = stats[2];
    const float deviation = std::sqrt(stats[3]);
    const double half_width = static_cast<double>(factor) * deviation;
    const SigmaBand band{mean - half_width, mean + half_width};
    if (prints(kTraits.band_line, stage)) {
      ConsoleText() << mean << " " << deviation << " " << band.high << " " << band.low << "\n";
    }
    return band;
  }

  void measureAbsolute() {
    float stats[4] = {};
    m_fit.calcStatistics(m_points.data(), m_count, stats, m_residuals);
    // What can't be measured counts as farthest off.
    for (float& r : m_residuals) r = std::isnan(r) ? HUGE_VALF : std::fabs(r);
  }

  // How many of \p count points the share comes to; -1, which no selection has, for a share that is
  // none.
  static int shareOf(int count, float share) {
    if (!(share >= 0.0F && share <= 1.0F)) return -1;
    return static_cast<int>(static_cast<float>(count) * share);
  }

  static double cosineOf(float degrees) { return std::cos(degrees / 180.0 * CV_PI); }

  // CONTRACT: a reversed normal counts the same as a true one.
  bool passesAngle(int i, double cosine) const {
    if (m_normals.empty()) return false;
    const float* n = m_normals.at(i);
    double u[3];
    m_fit.surfaceDirection(m_points.at(i), u);
    const double dot = std::fabs(n[0] * u[0] + n[1] * u[1] + n[2] * u[2]);
    return kTraits.angle_test == AngleTest::Along ? dot >= cosine : dot <= cosine;
  }

  // Keeps all but the \p k largest of the residuals that are not flagged; of those tied with the
  // threshold the earliest stay.
  // CONTRACT: the limit is first come, first served; once k points are dropped, larger ones stay.
  void dropLargest(int k, float threshold, float limit) {
    std::vector<int> pending;
    int dropped = 0;
    for (int i = 0; i < m_count; ++i) {
      if (!m_flagged.empty() && m_flagged[static_cast<std::size_t>(i)]) continue;
      const float r = residual(i);
      const bool is_above = dropped < k && r > limit;
      bool is_tied = r == threshold;
      if constexpr (kTraits.tie_test == TieTest::Near) {
        const float apart = std::fabs(threshold - r);
        is_tied = is_tied || 1e-5 > apart;
        if (is_above) is_tied = false;
      }
      if (is_tied) {
        pending.push_back(i);
      } else if (is_above) {
        ++dropped;
      } else {
        keep(i);
      }
    }
    const int still = k - dropped;
    const int appended = still > 0 ? static_cast<int>(pending.size()) - still : 0;
    for (int i = 0; i < appended; ++i) keep(pending[static_cast<std::size_t>(i)]);
  }

  int refit(unsigned stage) {
    const int kept = static_cast<int>(m_kept.size() / 3);
    double params[7];
    m_fit.paramsOf(params);
    int result = 0;
    if (kept > kTraits.refit_above) {
      result = m_fit.Fit_LM(m_kept.data(), kept, params, nullptr, kTraits.parameter_count);
    }
    m_fit.storeParams(params);
    if constexpr (kTraits.extent_of == ExtentOf::AllPoints) {
      m_fit.getValue(m_points.data(), m_normals.data(), m_count);
    } else if constexpr (kTraits.extent_of == ExtentOf::KeptPoints) {
      m_fit.getValue(m_kept.data(), m_normals.data(), kept);
    }
    if (prints(kTraits.kept_line, stage)) ConsoleText() << kept << " " << m_count << "\n";
    return result < 0 ? kTraits.solver_failure : 0;
  }

  Fit& m_fit;
  PointView m_points;
  PointView m_normals;
  int m_count;
  std::vector<float> m_residuals;
  std::vector<char> m_flagged;  // failed the angle test, where a stage tests it first
  std::vector<float> m_kept;    // interleaved, in the order of the refit
};

}  // namespace zelmo::internal

namespace zelmolm {

template <typename Shape>
int StagedFit<Shape>::Fit2(const float* points, const float* normals, const int& count,
                           const float& value) {
  return zelmo::internal::FitStages<Shape>(static_cast<Shape&>(*this), points, normals, count)
      .sigma(value);
}

template <typename Shape>
int StagedFit<Shape>::Fit3(const float* points, const float* normals, const int& count,
                           const float& value) {
  return zelmo::internal::FitStages<Shape>(static_cast<Shape&>(*this), points, normals, count)
      .proportion(value);
}

template <typename Shape>
int StagedFit<Shape>::Fit4(const float* points, const float* normals, const int& count,
                           const float& value) {
  return zelmo::internal::FitStages<Shape>(static_cast<Shape&>(*this), points, normals, count)
      .angle(value);
}

template <typename Shape>
int StagedFit<Shape>::Fit5(const float* points, const float* normals, const int& count,
                           const float& value, const float& angle) {
  return zelmo::internal::FitStages<Shape>(static_cast<Shape&>(*this), points, normals, count)
      .sigmaAngle(value, angle);
}

template <typename Shape>
int StagedFit<Shape>::Fit6(const float* points, const float* normals, const int& count,
                           const float& value, const float& angle) {
  return zelmo::internal::FitStages<Shape>(static_cast<Shape&>(*this), points, normals, count)
      .proportionAngle(value, angle);
}

}  // namespace zelmolm
