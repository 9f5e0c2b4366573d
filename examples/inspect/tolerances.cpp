// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tolerances.h"

#include <algorithm>
#include <cmath>

#include <zelmo/measure/geo_dimension.h>
#include <zelmo/measure/geo_tolerance.h>

#include "dimensions.h"
#include "numbers.h"
#include "sections.h"

namespace inspect {
namespace {

using C = Characteristic;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;
using xgeomeasure::XGeoDimension;
using xgeomeasure::XGeoTolrance;

constexpr double kNone = -1.0;  // what the library says where there is no tolerance

bool isPlane(const Measurement& one) { return std::holds_alternative<XFPlane>(one.measured); }

/// What the library asks for: points, and the features as arrays. The band has dropped its points
/// before, so that the evaluation takes them all.
struct Question {
  std::vector<float> points;
  Ray feature{};
  Ray datum{};

  int count() const { return static_cast<int>(points.size() / 3); }
};

/// A feature's own points, or for an axis the centres of its sections. The line's given point is its
/// first end, so that all points lie ahead of it and their deviations carry one sign.
Question questionOf(const Measurement& one, const Scan& scan) {
  Question question;
  if (isPlane(one)) {
    question.points = gatherUsed(scan, one.points).points;
    question.feature = rayFrom(tell(one.measured));
    return question;
  }
  question.points = centresOf(sectionsOf(one, scan));
  lineThrough(question.points, question.feature);
  return question;
}

double orientation(C what, const Measurement& one, const Measurement& datum, const Scan& scan) {
  Question q = questionOf(one, scan);
  q.datum = rayFrom(tell(datum.measured));
  const float* points = q.points.data();
  const int count = q.count();
  double *feature = q.feature.data(), *to = q.datum.data();
  const bool of_plane = isPlane(one), to_plane = isPlane(datum), tilt = what == C::Perpendicularity;
  if (of_plane && to_plane) {
    return tilt ? XGeoTolrance::calcPerpendicularity_Plane_Plane(points, count, feature, to, false,
                                                                 0)
                : XGeoTolrance::calcParallelism_Plane_Plane(points, count, feature, to, false, 0);
  }
  if (of_plane) return kNone;
  if (to_plane) {
    return tilt
               ? XGeoTolrance::calcPerpendicularity_Line_Plane(points, count, feature, to, false, 0)
               : XGeoTolrance::calcParallelism_Line_Plane(points, count, feature, to, false, 0);
  }
  return tilt ? XGeoTolrance::calcPerpendicularity_Line_Line(points, count, feature, to, false, 0)
              : XGeoTolrance::calcParallelism_Line_Line(points, count, feature, to, false, 0);
}

double concentricity(const Measurement& one, const Measurement& datum, const Scan& scan) {
  Question q = questionOf(one, scan);
  q.datum = rayFrom(tell(datum.measured));
  // Set the datum's point before the first section, as for every other line.
  const cv::Vec3d origin(q.datum[0], q.datum[1], q.datum[2]);
  const cv::Vec3d axis(q.datum[3], q.datum[4], q.datum[5]);
  double first = 0.0;
  for (std::size_t i = 0; i < q.points.size(); i += 3) {
    first = std::min(first, (vec(&q.points[i]) - origin).dot(axis) - 1.0);
  }
  for (int i = 0; i < 3; ++i) q.datum[static_cast<std::size_t>(i)] += first * axis[i];
  return XGeoTolrance::calcConcentricity(q.points.data(), q.count(), nullptr, q.datum.data(), false,
                                         0);
}

/// Twice the largest distance of the measured centre, or of the ends of the measured axis.
double offAxis(const Ideal& measured, const Ideal& reference) {
  const FloatRay to = rayOf(reference), from = rayOf(measured);
  if (isSphere(measured)) {
    return 2.0 * XGeoDimension::calcDistance_Point2Point(from.values, to.values);
  }
  const auto* cylinder = std::get_if<XFCylinder>(&measured);
  if (cylinder == nullptr) return kNone;
  return 2.0 * std::max(XGeoDimension::calcDistance_Point2Line(cylinder->base, to.values),
                        XGeoDimension::calcDistance_Point2Line(cylinder->top, to.values));
}

double circularity(const Measurement& one, const Scan& scan) {
  double worst = kNone;
  for (const Section& section : sectionsOf(one, scan)) {
    std::array<double, 7> circle = section.circle;
    worst = std::max(worst, XGeoTolrance::calcCircularity(section.points.data(), section.count(),
                                                          circle.data(), false, 0));
  }
  return worst;
}

double straightness(const Measurement& one, const Scan& scan) {
  std::vector<float> points = isPlane(one) ? lineIn(one, scan) : centresOf(sectionsOf(one, scan));
  Ray line{};
  if (!lineThrough(points, line)) return kNone;
  return XGeoTolrance::calcStraightness(points.data(), static_cast<int>(points.size() / 3),
                                        line.data(), false, 0);
}

double valueOf(const Requirement& wanted, const Measurement& one, const Measurement* datum,
               const Scan& scan) {
  if (isDimension(wanted.what)) {
    return dimension(wanted.what, one.measured, datum == nullptr ? nullptr : &datum->measured);
  }
  const Measurement& to = datum == nullptr ? one : *datum;  // where it counts, the plan names one
  switch (wanted.what) {
    case C::Straightness:
      return straightness(one, scan);
    case C::Circularity:
      return circularity(one, scan);
    case C::Parallelism:
    case C::Perpendicularity:
      return orientation(wanted.what, one, to, scan);
    case C::Concentricity:
      return concentricity(one, to, scan);
    case C::Coaxiality:
      return offAxis(one.measured, to.measured);
    case C::Position:
      return offAxis(one.measured, one.nominal.ideal);
    default:
      return one.form;
  }
}

std::string namesOf(const Requirement& wanted, const std::vector<Measurement>& measurements) {
  const auto name = [&](int i) { return measurements[static_cast<std::size_t>(i)].nominal.name; };
  return padRight(name(wanted.feature), 13) +
         padRight(wanted.datum < 0 ? "" : "to " + name(wanted.datum), 15);
}

std::string lineOf(const Verdict& one, const std::vector<Measurement>& measurements) {
  const bool dimension = isDimension(one.requirement.what);
  std::string text = padRight(nameOf(one.requirement.what), 18) +
                     namesOf(one.requirement, measurements) +
                     (dimension ? fixed(one.requirement.nominal, 4, 10) : padLeft("-", 10)) +
                     padLeft((dimension ? "+-" : "") + fixed(one.requirement.tolerance, 4, 0), 11);
  if (!one.trouble.empty()) return text + "  " + one.trouble + "\n";
  text += fixed(one.measured, 4, 11) + fixed(one.deviation(), 4, 11) +
          (one.inside() ? "   in " : "   OUT");
  if (!one.requirement.note.empty()) text += "  " + one.requirement.note;
  return text + "\n";
}

}  // namespace

double Verdict::deviation() const {
  return isDimension(requirement.what) ? measured - requirement.nominal : measured;
}

bool Verdict::inside() const {
  return trouble.empty() && std::abs(deviation()) <= requirement.tolerance;
}

std::vector<Verdict> evaluate(const std::vector<Requirement>& plan,
                              const std::vector<Measurement>& measurements, const Scan& scan) {
  std::vector<Verdict> verdicts;
  for (const Requirement& wanted : plan) {
    Verdict verdict{wanted, 0.0, ""};
    const Measurement& one = measurements[static_cast<std::size_t>(wanted.feature)];
    const Measurement* datum =
        wanted.datum < 0 ? nullptr : &measurements[static_cast<std::size_t>(wanted.datum)];
    if (!one.done()) {
      verdict.trouble = "feature not measured";
    } else if (datum != nullptr && !datum->done()) {
      verdict.trouble = "datum not measured";
    } else {
      verdict.measured = valueOf(wanted, one, datum, scan);
      // Below zero, or not a number: there is none.
      if (!(verdict.measured >= 0.0)) verdict.trouble = "too few points";
    }
    verdicts.push_back(verdict);
  }
  return verdicts;
}

std::string toleranceTable(const std::vector<Verdict>& verdicts,
                           const std::vector<Measurement>& measurements) {
  constexpr std::size_t kMostLines = 60;
  const bool all = verdicts.size() <= kMostLines;
  std::string text = padRight("tolerances", 46) + padLeft("nominal", 10) +
                     padLeft("tolerance", 11) + padLeft("measured", 11) + padLeft("deviation", 11) +
                     "\n";
  std::size_t inside = 0, outside = 0;
  for (const Verdict& one : verdicts) {
    if (one.inside()) ++inside;
    if (!one.inside() && one.trouble.empty()) ++outside;
    if (all || !one.inside()) text += lineOf(one, measurements);
  }
  const std::size_t without = verdicts.size() - inside - outside;
  text += "\n" + std::to_string(inside) + " of " + std::to_string(verdicts.size()) +
          " in tolerance, " + std::to_string(outside) + " out";
  if (without > 0) text += ", " + std::to_string(without) + " without a value";
  return text + (all ? ".\n" : "; those in tolerance stand in tolerances.csv only.\n");
}

std::string toleranceRows(const std::vector<Verdict>& verdicts,
                          const std::vector<Measurement>& measurements) {
  std::string text =
      "characteristic;feature;datum;nominal;tolerance;measured;deviation;verdict;note\n";
  for (const Verdict& one : verdicts) {
    const Requirement& wanted = one.requirement;
    const auto name = [&](int i) {
      return i < 0 ? "" : measurements[static_cast<std::size_t>(i)].nominal.name;
    };
    text += std::string(nameOf(wanted.what)) + ";" + name(wanted.feature) + ";" +
            name(wanted.datum) + ";" + exact(wanted.nominal) + ";" + exact(wanted.tolerance) + ";";
    text += one.trouble.empty() ? exact(one.measured) + ";" + exact(one.deviation()) + ";" +
                                      (one.inside() ? "in" : "out")
                                : ";;" + one.trouble;
    text += ";" + wanted.note + "\n";
  }
  return text;
}

}  // namespace inspect
