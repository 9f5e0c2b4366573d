// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "report_model.h"

#include <algorithm>
#include <cmath>

#include "markup.h"
#include "report.h"
#include "svg.h"

namespace inspect {
namespace {

/// Mean, deviation and extremes of the points used, and the band that the last round kept.
void tellUsed(const std::vector<PickedPoint>& points, double sigma, Spread& spread) {
  std::vector<double> values;
  for (const PickedPoint& point : points) {
    if (point.state == PointState::Used) values.push_back(point.deviation);
    if (point.state == PointState::OutsideBand) ++spread.outside;
    if (point.state == PointState::Beside) ++spread.beside;
    if (point.state == PointState::Tilted) ++spread.tilted;
  }
  spread.used = static_cast<int>(values.size());
  if (values.empty()) return;
  const Band one_sigma = bandOf(values, 1.0);
  spread.mean = 0.5 * (one_sigma.low + one_sigma.high);
  spread.sigma = 0.5 * (one_sigma.high - one_sigma.low);
  spread.low = spread.mean - sigma * spread.sigma;
  spread.high = spread.mean + sigma * spread.sigma;
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  spread.least = *least;
  spread.most = *most;
}

/// Counts into classes that reach somewhat beyond the band.
void count(const std::vector<PickedPoint>& points, Spread& spread) {
  constexpr int kClasses = 36;
  const double reach = std::max({spread.high - spread.mean, spread.most - spread.mean,
                                 spread.mean - spread.least, 1e-9}) *
                       1.5;
  spread.start = spread.mean - reach;
  spread.width = 2.0 * reach / kClasses;
  spread.used_counts.assign(kClasses, 0);
  spread.outside_counts.assign(kClasses, 0);
  for (const PickedPoint& point : points) {
    const bool used = point.state == PointState::Used;
    if (!used && point.state != PointState::OutsideBand) continue;
    const double place = std::floor((point.deviation - spread.start) / spread.width);
    if (!(place >= 0.0 && place < kClasses)) {
      ++spread.beyond;
      continue;
    }
    ++(used ? spread.used_counts : spread.outside_counts)[static_cast<std::size_t>(place)];
  }
}

Spread spreadOf(const std::vector<PickedPoint>& points, bool done, double sigma) {
  Spread spread;
  if (!done) return spread;
  tellUsed(points, sigma, spread);
  if (spread.used > 0) count(points, spread);
  return spread;
}

void addVector(ReportFeature& feature, Role role, const std::string& what, const cv::Vec3d& nominal,
               const cv::Vec3d& measured, bool compared) {
  for (int i = 0; i < 3; ++i) {
    const double deviation = compared ? measured[i] - nominal[i] : kNoValue;
    feature.quantities.push_back({role, what + " " + std::string(1, "xyz"[i]),
                                  role == Role::Direction ? "1" : "mm", nominal[i],
                                  feature.done() ? measured[i] : kNoValue,
                                  feature.done() ? deviation : kNoValue});
  }
}

void addSize(ReportFeature& feature, const std::string& name, const std::string& unit,
             double nominal, double measured) {
  feature.quantities.push_back({Role::Size, name, unit, nominal,
                                feature.done() ? measured : kNoValue,
                                feature.done() ? measured - nominal : kNoValue});
}

void addResult(ReportFeature& feature, Role role, const std::string& name, const std::string& unit,
               double value) {
  if (feature.done()) {
    feature.quantities.push_back({role, name, unit, kNoValue, value, value});
  }
}

/// What the numbers of a kind are called.
struct Words {
  const char *kind, *point, *direction, *size, *unit, *location, *form;
};
constexpr Words kWords[] = {
    {"plane", "point", "normal", "offset", "mm", "distance at centre", "flatness"},
    {"sphere", "centre", "", "radius", "mm", "distance of centres", "sphericity"},
    {"cylinder", "point", "axis", "radius", "mm", "distance of axis", "cylindricity"},
    {"cone", "apex", "axis", "half angle", "deg", "distance of axis", "conicity"},
};

ReportFeature featureFrom(const Measurement& one, double sigma) {
  const Telling nominal = tell(one.nominal.ideal), measured = tellMeasured(one);
  const Words& words = *std::find_if(std::begin(kWords), std::end(kWords), [&](const Words& own) {
    return nominal.kind == std::string(own.kind);
  });
  const bool sphere = isSphere(one.nominal.ideal);
  const bool cone = std::holds_alternative<xgeofeature::XFCone>(one.nominal.ideal);
  ReportFeature feature;
  feature.name = one.nominal.name;
  feature.kind = nominal.kind;
  feature.status = one.done() ? "measured" : one.trouble;
  feature.fit = "damped least squares";
  feature.filter =
      "\xc2\xb1" + plain(sigma, 4) + " \xcf\x83, " + (cone ? "" : "in the fit, ") + "repeated";
  feature.picked = static_cast<int>(one.points.size());
  feature.used = one.used;
  // A point of a plane or an axis may lie anywhere in it.
  addVector(feature, Role::Point, words.point, nominal.point, measured.point, sphere);
  if (!sphere) {
    addVector(feature, Role::Direction, words.direction, nominal.direction, measured.direction,
              true);
  }
  addSize(feature, words.size, words.unit, nominal.size, measured.size);
  addResult(feature, Role::Location, words.location, "mm", one.difference.distance);
  if (!sphere) addResult(feature, Role::Angle, "angle", "deg", one.difference.angle);
  addResult(feature, Role::Form, words.form, "mm", one.form);
  feature.spread = spreadOf(one.points, one.done(), sigma);
  return feature;
}

ReportFeature featureFrom(const OutlineMeasurement& one, double sigma) {
  const GrownBox nominal = boxOf(one.nominal.ideal), measured = boxOf(one.measured);
  const bool circle = nominal.half_length == 0.0;
  ReportFeature feature;
  feature.name = one.nominal.name;
  feature.kind = nominal.kind;
  feature.status = one.done() ? "measured" : one.trouble;
  feature.fit = circle ? "damped least squares" : "simplex, least squares";
  feature.filter = "\xc2\xb1" + plain(sigma, 4) + " \xcf\x83, repeated";
  feature.picked = static_cast<int>(one.wall.size());
  feature.used = one.used();
  addVector(feature, Role::Point, "centre", nominal.center, measured.center, true);
  addVector(feature, Role::Direction, "normal", nominal.normal, measured.normal, true);
  if (circle) {
    addSize(feature, "diameter", "mm", nominal.length(), measured.length());
  } else {
    addVector(feature, Role::Direction, "long side", nominal.along, measured.along, true);
    addSize(feature, "length", "mm", nominal.length(), measured.length());
    addSize(feature, "width", "mm", nominal.width(), measured.width());
    if (nominal.radius > 0.0) addSize(feature, "radius", "mm", nominal.radius, measured.radius);
  }
  addResult(feature, Role::Location, "distance of centres", "mm", one.distance);
  addResult(feature, Role::Angle, "angle", "deg", one.angle);
  if (!circle) addResult(feature, Role::Angle, "turn", "deg", one.turn);
  addResult(feature, Role::Form, "band", "mm", one.form);
  feature.spread = spreadOf(one.wall, one.done(), sigma);
  return feature;
}

ReportRequirement requirementFrom(const Verdict& one, const Report& report) {
  const Requirement& wanted = one.requirement;
  const bool valued = one.trouble.empty();
  const auto name = [&](int i) {
    return i < 0 ? "" : report.features[static_cast<std::size_t>(i)].name;
  };
  const Judgement judgement = !valued        ? Judgement::NoValue
                              : one.inside() ? Judgement::In
                                             : Judgement::Out;
  return {nameOf(wanted.what),
          name(wanted.feature),
          name(wanted.datum),
          wanted.what == Characteristic::Angle ? "deg" : "mm",
          isDimension(wanted.what) ? wanted.nominal : kNoValue,
          wanted.tolerance,
          valued ? one.measured : kNoValue,
          valued ? one.deviation() : kNoValue,
          judgement,
          one.trouble,
          validUtf8(wanted.note)};
}

/// A feature is out where one of its requirements is, and in where all have a value that is.
void judge(ReportFeature& feature, const Report& report) {
  if (!feature.done()) {
    feature.judgement = Judgement::NotMeasured;
    return;
  }
  for (const ReportRequirement& one : report.requirements) {
    if (one.feature != feature.name || feature.judgement == Judgement::Out) continue;
    if (one.judgement != Judgement::In || feature.judgement == Judgement::NotToleranced) {
      feature.judgement = one.judgement;
    }
  }
}

template <typename Items>
int countOf(const Items& items, Judgement judgement) {
  return static_cast<int>(std::count_if(
      items.begin(), items.end(), [&](const auto& one) { return one.judgement == judgement; }));
}

}  // namespace

const char* nameOf(Role role) {
  switch (role) {
    case Role::Point:
      return "point";
    case Role::Direction:
      return "direction";
    case Role::Size:
      return "size";
    case Role::Location:
      return "location";
    case Role::Angle:
      return "angle";
    case Role::Form:
      return "form";
  }
  return "";
}

std::vector<std::size_t> ReportFeature::of(Role role) const {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 0; i < quantities.size(); ++i) {
    if (quantities[i].role == role) numbers.push_back(i);
  }
  return numbers;
}

int Report::requirementsThat(Judgement judgement) const { return countOf(requirements, judgement); }

int Report::featuresThat(Judgement judgement) const { return countOf(features, judgement); }

int Report::measured() const {
  return static_cast<int>(features.size()) - featuresThat(Judgement::NotMeasured);
}

Report reportModel(const Inspection& done, const std::vector<Verdict>& verdicts,
                   const Options& options) {
  Report report;
  report.options = options;
  report.simulated = options.task != Options::Task::MeasureScan;
  // Files that the program made lie in the folder of the results.
  const bool made = options.task == Options::Task::MeasureMadePart;
  report.model = made ? "part.step" : validUtf8(options.model);
  report.scan = report.simulated ? "scan.xyz" : validUtf8(options.scan);
  report.date = validUtf8(options.date);
  report.points = done.scan.count();
  report.points_without_normal = static_cast<int>(done.scan.without_normal);
  report.faces = done.content.faces;
  report.unrecognised_faces = done.content.unrecognised_faces;
  for (const Measurement& one : done.measurements) {
    report.features.push_back(featureFrom(one, options.sigma));
  }
  for (const OutlineMeasurement& one : done.outlines) {
    report.features.push_back(featureFrom(one, options.sigma));
  }
  for (const Verdict& one : verdicts) {
    report.requirements.push_back(requirementFrom(one, report));
  }
  for (ReportFeature& feature : report.features) judge(feature, report);
  return report;
}

}  // namespace inspect
