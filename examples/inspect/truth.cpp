// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "truth.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <TopExp_Explorer.hxx>

#include "numbers.h"

namespace inspect {
namespace {

/// What became of the points of one kind.
struct Score {
  std::string kind;
  int features = 0;
  double present = 0.0, picked = 0.0, picked_true = 0.0, used = 0.0, used_true = 0.0;
};

class Scorer {
 public:
  Scorer(const Scan& scan, const std::vector<TruePoint>& truth) : m_scan(scan), m_truth(truth) {}

  const TruePoint& of(int index) const {
    return m_truth[static_cast<std::size_t>(m_scan.lines[static_cast<std::size_t>(index)]) - 2];
  }

  /// Adds a feature. \param belongs whether the scan's point of this number is the feature's
  void add(const std::string& kind, const std::vector<PickedPoint>& points,
           const std::function<bool(int)>& belongs) {
    auto score = std::find_if(m_scores.begin(), m_scores.end(),
                              [&kind](const Score& one) { return one.kind == kind; });
    if (score == m_scores.end()) {
      m_scores.push_back({kind});
      score = m_scores.end() - 1;
    }
    ++score->features;
    for (int i = 0; i < m_scan.count(); ++i) {
      if (!of(i).outlier && belongs(i)) ++score->present;
    }
    for (const PickedPoint& point : points) {
      const double right = !of(point.index).outlier && belongs(point.index) ? 1.0 : 0.0;
      ++score->picked;
      score->picked_true += right;
      if (point.state != PointState::Used) continue;
      ++score->used;
      score->used_true += right;
    }
  }

  const std::vector<Score>& scores() const { return m_scores; }

 private:
  const Scan& m_scan;
  const std::vector<TruePoint>& m_truth;
  std::vector<Score> m_scores;
};

/// By the number of a face in the model: whether it is one of the feature's.
std::vector<char> facesOf(const TopoDS_Shape& model, const Nominal& feature) {
  std::vector<char> own;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    own.push_back(std::any_of(feature.patches.begin(), feature.patches.end(),
                              [&](const TopoDS_Face& face) { return face.IsSame(walk.Current()); })
                      ? 1
                      : 0);
  }
  return own;
}

/// Whether an undisturbed point lies on the surface that the search for the outline covers.
bool onSurface(const Outline& outline, const GrownBox& box, const cv::Vec3d& place,
               const cv::Vec3d& normal) {
  constexpr double kOn = 1e-3;
  if (std::abs(box.height(place)) > kOn || std::abs(normal.dot(box.normal)) < 0.99) return false;
  if (const auto* circle = std::get_if<xgeofeature::XFCircle3D>(&outline)) {
    return std::abs(box.distance(place)) <= std::min(3.0, 0.9 * circle->radius);
  }
  const cv::Vec3d off = place - box.center;
  return std::abs(off.dot(box.along)) <= 0.55 * box.length() &&
         std::abs(off.dot(box.across())) <= 0.55 * box.width();
}

std::string percent(double part, double whole) {
  return whole > 0.0 ? fixed(100.0 * part / whole, 2, 11) : padLeft("-", 11);
}

}  // namespace

std::string truthTable(const TopoDS_Shape& model, const Scan& scan,
                       const std::vector<TruePoint>& truth,
                       const std::vector<Measurement>& measurements,
                       const std::vector<OutlineMeasurement>& outlines) {
  Scorer scorer(scan, truth);
  for (const Measurement& one : measurements) {
    const std::vector<char> own = facesOf(model, one.nominal);
    scorer.add(std::string(tell(one.nominal.ideal).kind) + "s", one.points,
               [&](int i) { return own[static_cast<std::size_t>(scorer.of(i).face)] != 0; });
  }
  for (const OutlineMeasurement& one : outlines) {
    const GrownBox box = boxOf(one.nominal.ideal);
    scorer.add(std::string(box.kind) + "s, surface", one.surface, [&](int i) {
      return onSurface(one.nominal.ideal, box, scorer.of(i).place, vec(scan.normal(i)));
    });
    scorer.add(std::string(box.kind) + "s, wall", one.wall, [&](int i) {
      const cv::Vec3d& place = scorer.of(i).place;
      return one.nominal.atWall(place) && std::abs(box.distance(place)) < 1e-3;
    });
  }
  std::string text = "\n" + padRight("found, percent", 24) + padLeft("features", 9) +
                     padLeft("points", 9) + padLeft("recall", 11) + padLeft("precision", 11) +
                     padLeft("used recall", 13) + padLeft("precision", 11) + "\n";
  for (const Score& score : scorer.scores()) {
    text += padRight(score.kind, 24) + padLeft(std::to_string(score.features), 9) +
            fixed(score.present, 0, 9) + percent(score.picked_true, score.present) +
            percent(score.picked_true, score.picked) + "  " +
            percent(score.used_true, score.present) + percent(score.used_true, score.used) + "\n";
  }
  return text;
}

}  // namespace inspect
