// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tolerance_plan.h"

#include <algorithm>
#include <cmath>

#include "dimensions.h"
#include "failure.h"

namespace inspect {
namespace {

using C = Characteristic;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;

constexpr double kAngleTolerance = 0.1;  // degrees
constexpr double kSame = 1e-3;           // mm, and the sine of an angle, that count as none

bool isPlane(const Nominal& feature) { return std::holds_alternative<XFPlane>(feature.ideal); }
bool isFullCylinder(const Nominal& feature) {
  return std::holds_alternative<XFCylinder>(feature.ideal) && feature.sector.reach >= CV_PI;
}

bool parallel(const Nominal& a, const Nominal& b) {
  return cv::norm(tell(a.ideal).direction.cross(tell(b.ideal).direction)) < kSame;
}
bool square(const Nominal& a, const Nominal& b) {
  return std::abs(tell(a.ideal).direction.dot(tell(b.ideal).direction)) < kSame;
}

// The made part.

/// How a feature of the made part is found: a plane by its outward normal and its distance from the
/// origin, another one by a point of its axis and its size.
struct Place {
  double x, y, z, size;
  bool plane;
};

Place plane(double x, double y, double z, double offset) { return {x, y, z, offset, true}; }
Place about(double x, double y, double z, double size) { return {x, y, z, size, false}; }

bool isAt(const Nominal& feature, const Place& place) {
  const Telling telling = tell(feature.ideal);
  if (isPlane(feature) != place.plane || std::abs(telling.size - place.size) > kSame) return false;
  const cv::Vec3d wanted(place.x, place.y, place.z);
  if (place.plane) return cv::norm(telling.direction - wanted) < kSame;
  const cv::Vec3d off = wanted - telling.point;
  return cv::norm(off - off.dot(telling.direction) * telling.direction) < kSame;
}

int numberOf(const std::vector<Nominal>& features, const Place& place) {
  const auto found = std::find_if(features.begin(), features.end(),
                                  [&](const Nominal& feature) { return isAt(feature, place); });
  if (found == features.end())
    throw Failure(kUnexpected, "the made part lacks a feature of its plan");
  return static_cast<int>(found - features.begin());
}

struct DesignRow {
  C what;
  Place feature;
  const Place* datum;
  double nominal;
  const char* note;
};

const Place kBase = plane(0, 0, -1, 0), kTop = plane(0, 0, 1, 40), kFront = plane(0, -1, 0, 0),
            kLeft = plane(-1, 0, 0, 0), kStep = plane(0, 0, 1, 25),
            kSlotSide = plane(0, -1, 0, -26), kBore = about(60, 55, 0, 12),
            kBoss = about(32, 58, 0, 8), kHole = about(105, 60, 0, 7),
            kCounterbore = about(105, 60, 0, 10), kBall = about(79, 66, 44, 9),
            kCone = about(76, 22, 0, 15.945395900922854);

// Angles and lengths follow from the numbers that the part is made of.
const DesignRow kDesign[] = {
    {C::Flatness, kBase, nullptr, 0, "base"},
    {C::Flatness, kTop, nullptr, 0, "top"},
    {C::Straightness, kTop, nullptr, 0, "top, lengthwise"},
    {C::Straightness, kBore, nullptr, 0, "axis of the bore"},
    {C::Circularity, kBore, nullptr, 0, "bore, worst section"},
    {C::Circularity, kBoss, nullptr, 0, "boss, worst section"},
    {C::Cylindricity, kBore, nullptr, 0, "bore"},
    {C::Cylindricity, kBoss, nullptr, 0, "boss"},
    {C::Sphericity, kBall, nullptr, 0, "ball"},
    {C::Conicity, kCone, nullptr, 0, "conical boss"},
    {C::Parallelism, kTop, &kBase, 0, "top to base"},
    {C::Parallelism, plane(0, 0, -1, -6), &kBase, 0, "groove to base"},
    {C::Parallelism, kBoss, &kBore, 0, "boss to bore"},
    {C::Perpendicularity, kFront, &kBase, 0, "front to base"},
    {C::Perpendicularity, kLeft, &kFront, 0, "left side to front"},
    {C::Perpendicularity, kBore, &kBase, 0, "bore to base"},
    {C::Concentricity, kCounterbore, &kHole, 0, "counterbore to blind hole"},
    {C::Coaxiality, kCounterbore, &kHole, 0, "counterbore to blind hole"},
    {C::Position, kBore, nullptr, 0, "bore"},
    {C::Position, kBall, nullptr, 0, "ball"},
    {C::Distance, kTop, &kBase, 40, "height"},
    {C::Distance, kStep, &kBase, 25, "step over base"},
    {C::Distance, plane(0, 1, 0, 14), &kSlotSide, 12, "width of the slot"},
    {C::Distance, kBoss, &kBore, 28.160255680657446, "boss from bore"},
    {C::Distance, kBall, &kBase, 44, "ball over base"},
    {C::Distance, kBore, &kFront, 55, "bore from front"},
    {C::Angle, plane(-0.6, 0, 0.8, 22.4), &kTop, 36.86989764584402, "slope to top"},
    {C::Angle, plane(2. / 3, -1. / 3, 2. / 3, 254. / 3), &kTop, 48.18968510422141, "cut to top"},
    {C::Angle, kCone, nullptr, 31.890791801845708, "cone"},
    {C::Diameter, kBore, nullptr, 24, "bore"},
    {C::Diameter, kBoss, nullptr, 16, "boss"},
    {C::Diameter, kHole, nullptr, 14, "blind hole"},
    {C::Diameter, kCounterbore, nullptr, 20, "counterbore"},
    {C::Diameter, kBall, nullptr, 18, "ball"},
};

// Any part.

/// Builds up a plan over the features.
class Planner {
 public:
  Planner(const std::vector<Nominal>& features, double tolerance)
      : m_features(features), m_tolerance(tolerance) {}

  std::vector<Requirement> plan() {
    chooseDatums();
    for (int i = 0; i < static_cast<int>(m_features.size()); ++i) {
      if (at(i).trouble.empty()) planForm(i);
    }
    for (int i = 0; i < static_cast<int>(m_features.size()); ++i) {
      if (!at(i).trouble.empty()) continue;
      if (isPlane(at(i))) planPlane(i);
      if (isFullCylinder(at(i))) planAxis(i);
    }
    return m_plan;
  }

 private:
  const Nominal& at(int i) const { return m_features[static_cast<std::size_t>(i)]; }

  void add(C what, int feature, int datum = -1) {
    const Ideal* other = datum < 0 ? nullptr : &at(datum).ideal;
    const double nominal = isDimension(what) ? dimension(what, at(feature).ideal, other) : 0.0;
    m_plan.push_back(
        {what, feature, datum, nominal, what == C::Angle ? kAngleTolerance : m_tolerance, ""});
  }

  /// The largest plane, the largest one square to it, and the largest one square to both.
  void chooseDatums() {
    for (int round = 0; round < 3; ++round) {
      int largest = -1;
      double area = 0.0;
      for (int i = 0; i < static_cast<int>(m_features.size()); ++i) {
        const auto* candidate = std::get_if<XFPlane>(&at(i).ideal);
        if (candidate == nullptr || !at(i).trouble.empty()) continue;
        const double own = static_cast<double>(candidate->length) * candidate->width;
        const bool free = std::all_of(m_datums.begin(), m_datums.end(),
                                      [&](int datum) { return square(at(i), at(datum)); });
        if (!free || !(own > area)) continue;
        area = own;
        largest = i;
      }
      if (largest < 0) return;
      m_datums.push_back(largest);
    }
  }

  void planForm(int i) {
    const bool full = isFullCylinder(at(i));
    if (isPlane(at(i))) {
      add(C::Flatness, i);
    } else if (isSphere(at(i).ideal)) {
      add(C::Sphericity, i);
      add(C::Diameter, i);
    } else if (std::holds_alternative<XFCylinder>(at(i).ideal)) {
      add(C::Cylindricity, i);
      if (full) add(C::Circularity, i);
      add(C::Diameter, i);
    } else {
      add(C::Conicity, i);
      add(C::Angle, i);
    }
  }

  void planPlane(int i) {
    for (const int datum : m_datums) {
      if (datum == i) return;  // the datums before it have been dealt with
      if (parallel(at(i), at(datum))) {
        add(C::Parallelism, i, datum);
        add(C::Distance, i, datum);
        return;
      }
      if (square(at(i), at(datum))) {
        // Only among themselves the datums are square for a reason of their own.
        if (std::count(m_datums.begin(), m_datums.end(), i) > 0) {
          add(C::Perpendicularity, i, datum);
        }
        continue;
      }
      add(C::Angle, i, datum);
      return;
    }
  }

  void planAxis(int i) {
    for (const int datum : m_datums) {
      if (!parallel(at(i), at(datum))) continue;
      add(C::Perpendicularity, i, datum);
      break;
    }
    for (int k = 0; k < i; ++k) {
      if (!isFullCylinder(at(k)) || !at(k).trouble.empty() || !parallel(at(i), at(k))) continue;
      if (dimension(C::Distance, at(i).ideal, &at(k).ideal) > kSame) continue;
      add(C::Concentricity, i, k);
      add(C::Coaxiality, i, k);
      return;
    }
  }

  const std::vector<Nominal>& m_features;
  double m_tolerance;
  std::vector<int> m_datums;
  std::vector<Requirement> m_plan;
};

}  // namespace

const char* nameOf(Characteristic what) {
  static constexpr const char* kNames[] = {"flatness",    "sphericity",       "cylindricity",
                                           "conicity",    "straightness",     "circularity",
                                           "parallelism", "perpendicularity", "concentricity",
                                           "coaxiality",  "position",         "distance",
                                           "angle",       "diameter"};
  return kNames[static_cast<int>(what)];
}

bool isDimension(Characteristic what) {
  return what == C::Distance || what == C::Angle || what == C::Diameter;
}

std::vector<Requirement> planOfMadePart(const std::vector<Nominal>& features, double tolerance) {
  std::vector<Requirement> plan;
  for (const DesignRow& row : kDesign) {
    const int datum = row.datum == nullptr ? -1 : numberOf(features, *row.datum);
    plan.push_back({row.what, numberOf(features, row.feature), datum, row.nominal,
                    row.what == C::Angle ? kAngleTolerance : tolerance, row.note});
  }
  return plan;
}

std::vector<Requirement> planFrom(const std::vector<Nominal>& features, double tolerance) {
  return Planner(features, tolerance).plan();
}

}  // namespace inspect
