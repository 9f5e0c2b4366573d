// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "families.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <zelmo/curvefit/circle_fit.h>
#include <zelmo/simplex/cone_fit.h>
#include <zelmo/simplex/cylinder_fit.h>
#include <zelmo/simplex/sphere_fit.h>

#include "numbers.h"

namespace inspect {
namespace {

using xgeofeature::XFCircle3D;
using xgeofeature::XFCone;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;
using xgeofeature::XFSphere;

constexpr std::size_t kMostPoints = 4000;

void narrow(const double* from, float* to) {
  std::transform(from, from + 3, to, [](double value) { return static_cast<float>(value); });
}

void simplex(const Gathered& gathered, x3dfit::FitMethod method, XFSphere& measured) {
  double p[4] = {};
  x3dfit::XSphereFit().Fit(gathered.points.data(), gathered.count(), p, method);
  narrow(p, measured.center);
  measured.radius = static_cast<float>(p[3]);
}

void simplex(const Gathered& gathered, x3dfit::FitMethod method, XFCylinder& measured) {
  double p[8] = {};
  x3dfit::XCylinderFit fit;
  // For least squares there is an entry that starts from three axes; the others start from the axis
  // of largest spread, which a short cylinder does not have along itself.
  if (method == x3dfit::LeastSquare) {
    fit.Fit2(gathered.points.data(), gathered.count(), p);
  } else {
    fit.Fit(gathered.points.data(), gathered.count(), p, method);
  }
  float center[3], axis[3];
  narrow(p, center);
  narrow(p + 3, axis);
  for (int i = 0; i < 3; ++i) center[i] -= static_cast<float>(0.5 * p[7]) * axis[i];
  measured = XFCylinder(center, axis, static_cast<float>(p[6]), static_cast<float>(p[7]));
}

void simplex(const Gathered& gathered, x3dfit::FitMethod method, XFCone& measured) {
  double p[8] = {}, base[3] = {}, top[3] = {}, height = 0.0;
  x3dfit::XConeFit fit;
  if (method == x3dfit::LeastSquare) {
    fit.Fit2(gathered.points.data(), gathered.count(), p, method);
  } else {
    fit.Fit(gathered.points.data(), gathered.count(), p, method);
  }
  fit.calcConeBasePoint_Center(gathered.points.data(), gathered.count(), p, base, top, height);
  narrow(p, measured.apex);
  narrow(p + 3, measured.axis);
  measured.halfAngle = static_cast<float>(std::abs(p[6]));
}

/// The deviations' root mean square and spread.
void judge(const Gathered& gathered, const std::function<double(const cv::Vec3d&)>& deviation,
           FamilyResult& result) {
  double low = 1e30, high = -1e30, squares = 0.0;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const double value = deviation(vec(&gathered.points[i]));
    low = std::min(low, value);
    high = std::max(high, value);
    squares += value * value;
  }
  result.deviation = std::sqrt(squares / gathered.count());
  result.spread = high - low;
  result.done = result.done && std::isfinite(result.deviation + result.distance + result.size);
}

template <typename Record>
void compareSolid(const std::string& name, const Record& nominal, const Gathered& gathered,
                  double sigma, std::vector<FamilyResult>& results) {
  const auto add = [&](const char* label, bool done, Record& measured) {
    FamilyResult result{name, label, gathered.count(), done, 0.0, 0.0, 0.0, 0.0, 0.0};
    const Difference difference = compare(nominal, measured);
    result.size = tell(measured).size;
    result.distance = difference.distance;
    result.angle = difference.angle;
    judge(
        gathered, [&](const cv::Vec3d& point) { return deviation(measured, point); }, result);
    results.push_back(result);
  };
  Record measured;
  const bool done = fit(gathered, sigma, measured);
  add("damped", done, measured);
  simplex(gathered, x3dfit::LeastSquare, measured);
  add("simplex, squares", true, measured);
  simplex(gathered, x3dfit::LeastAbsDev, measured);
  add("simplex, absolute", true, measured);
  // The cone's fit has no such score.
  if (std::is_same_v<Record, XFCone>) return;
  simplex(gathered, x3dfit::Chebyshev, measured);
  add("simplex, min. zone", true, measured);
}

/// Flat features and those with too little of a turn are not compared.
void compareSolid(const std::string& /*name*/, const XFPlane& /*nominal*/,
                  const Gathered& /*gathered*/, double /*sigma*/,
                  std::vector<FamilyResult>& /*results*/) {}

void compareCircle(const OutlineMeasurement& one, const Gathered& gathered,
                   std::vector<FamilyResult>& results) {
  const GrownBox nominal = boxOf(one.nominal.ideal), damped = boxOf(one.measured);
  const auto add = [&](const char* label, bool done, const GrownBox& measured) {
    const double angle = angleBetween(nominal.normal, measured.normal);
    FamilyResult result{one.nominal.name,
                        label,
                        gathered.count(),
                        done,
                        measured.radius,
                        cv::norm(nominal.center - measured.center),
                        std::min(angle, 180.0 - angle),
                        0.0,
                        0.0};
    judge(
        gathered, [&](const cv::Vec3d& point) { return measured.distance(point); }, result);
    results.push_back(result);
  };
  // The points as the damped fit takes them: in the plane of the surface.
  Gathered flat;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const cv::Vec3d own = vec(&gathered.points[i]);
    const cv::Vec3d foot = own - damped.height(own) * damped.normal;
    for (int k = 0; k < 3; ++k) flat.points.push_back(static_cast<float>(foot[k]));
  }
  add("damped", true, damped);
  const std::pair<const char*, xcurve3dfit::FitMethod> methods[] = {
      {"algebraic", xcurve3dfit::LeastSquare},
      {"simplex, absolute", xcurve3dfit::LeastAbsDev},
      {"simplex, min. zone", xcurve3dfit::Chebyshev}};
  for (const auto& [label, method] : methods) {
    xcurve3dfit::XCircle3DFit fit;
    float values[10] = {};
    XFCircle3D circle;
    const bool done = fit.Fit(flat.points.data(), flat.count(), values, method);
    if (done) fit.getCircle(circle);
    add(label, done, boxOf(circle));
  }
}

/// Every so manyth point.
Gathered thinned(const Gathered& all) {
  const std::size_t count = all.points.size() / 3, step = (count + kMostPoints - 1) / kMostPoints;
  Gathered some;
  for (std::size_t i = 0; i < count; i += step) {
    some.points.insert(some.points.end(), &all.points[3 * i], &all.points[3 * i] + 3);
    some.normals.insert(some.normals.end(), &all.normals[3 * i], &all.normals[3 * i] + 3);
  }
  return some;
}

}  // namespace

std::vector<FamilyResult> compareFamilies(const std::vector<Measurement>& measurements,
                                          const std::vector<OutlineMeasurement>& outlines,
                                          const Scan& scan, double sigma) {
  std::vector<FamilyResult> results;
  for (const Measurement& one : measurements) {
    if (!one.done() || one.nominal.sector.reach < CV_PI) continue;
    const Gathered gathered = thinned(gatherUsed(scan, one.points));
    std::visit(
        [&](const auto& nominal) {
          compareSolid(one.nominal.name, nominal, gathered, sigma, results);
        },
        one.nominal.ideal);
  }
  for (const OutlineMeasurement& one : outlines) {
    if (!one.done() || !std::holds_alternative<XFCircle3D>(one.measured)) continue;
    compareCircle(one, thinned(gatherUsed(scan, one.wall)), results);
  }
  return results;
}

std::string familyTable(const std::vector<FamilyResult>& results) {
  // A descent that is far worse than the damped fit has ended in another minimum.
  constexpr double kFarWorse = 5.0;
  std::string text = "\n" + padRight("families", 15) + padRight("fit", 20) + padLeft("points", 8) +
                     padLeft("size", 11) + padLeft("distance", 11) + padLeft("angle", 10) +
                     padLeft("deviation", 11) + padLeft("spread", 10) + "\n";
  double damped = 0.0;
  for (const FamilyResult& one : results) {
    if (one.fit == "damped") damped = one.deviation;
    text +=
        padRight(one.feature, 15) + padRight(one.fit, 20) + padLeft(std::to_string(one.points), 8);
    if (!one.done) {
      text += "  no fit\n";
      continue;
    }
    text += fixed(one.size, 5, 11) + fixed(one.distance, 5, 11) + fixed(one.angle, 4, 10) +
            fixed(one.deviation, 5, 11) + fixed(one.spread, 5, 10) +
            (one.deviation > kFarWorse * damped ? "  another minimum\n" : "\n");
  }
  return text;
}

std::string familyRows(const std::vector<FamilyResult>& results) {
  std::string text = "feature;fit;points;size;distance;angle;deviation;spread\n";
  for (const FamilyResult& one : results) {
    text += one.feature + ";" + one.fit + ";" + std::to_string(one.points) + ";";
    text += one.done ? exact(one.size) + ";" + exact(one.distance) + ";" + exact(one.angle) + ";" +
                           exact(one.deviation) + ";" + exact(one.spread) + "\n"
                     : ";;;;\n";
  }
  return text;
}

}  // namespace inspect
