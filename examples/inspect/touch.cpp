// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "touch.h"

#include <algorithm>
#include <cmath>

#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <zelmo/guidedfit/circle_fit.h>
#include <zelmo/guidedfit/cylinder_fit.h>
#include <zelmo/guidedfit/oval_groove_fit.h>
#include <zelmo/guidedfit/plane_fit.h>
#include <zelmo/guidedfit/point_fit.h>
#include <zelmo/guidedfit/sphere_fit.h>

#include "numbers.h"
#include "outward.h"
#include "scan.h"
#include "triangles.h"

namespace inspect {
namespace {

using xgeofeature::XFCone;
using xgeofeature::XFCylinder;
using xgeofeature::XFOvalGroove3D;
using xgeofeature::XFPlane;
using xgeofeature::XFSphere;

constexpr int kDraws = 60000;         // places on the model, from which the touches are taken
constexpr std::size_t kTouches = 25;  // of a feature
constexpr int kFewest = 8;
constexpr int kSides = 80;  // of triangles, as trianglesOf() counts them: small against the part
constexpr double kOwnFace = 0.95;  // cosine between the normals of a place and of its triangle
constexpr double kShortArc = 1.4;  // rad: half of an arc that is too short for these fits

/// Places on the model: where the tip's centre stood, and the outward normal there.
class Touches {
 public:
  Touches(const TopoDS_Shape& model, const Options& options) : m_radius(options.probe) {
    SimulationSettings settings;
    settings.points = kDraws;
    settings.noise = options.noise;
    settings.outlier_share = 0.0;
    m_places = parseScan(simulateScan(model, settings, &m_truth), "the touches");
    for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
      m_faces.push_back(TopoDS::Face(walk.Current()));
    }
  }

  /// Some of the touches for which the test holds, spread over all of them.
  template <typename Test>
  Gathered where(const Test& test) const {
    std::vector<int> all;
    for (int i = 0; i < m_places.count(); ++i) {
      if (test(i)) all.push_back(i);
    }
    Gathered some;
    const std::size_t count = std::min(all.size(), kTouches);
    for (std::size_t k = 0; k < count; ++k) {
      const int i = all[k * all.size() / count];
      const float *point = m_places.point(i), *normal = m_places.normal(i);
      some.normals.insert(some.normals.end(), normal, normal + 3);
      for (int axis = 0; axis < 3; ++axis) {
        some.points.push_back(point[axis] + static_cast<float>(m_radius) * normal[axis]);
      }
    }
    return some;
  }
  Gathered on(const std::vector<TopoDS_Face>& patches) const {
    std::vector<char> own;
    for (const TopoDS_Face& face : m_faces) {
      own.push_back(std::any_of(patches.begin(), patches.end(),
                                [&](const TopoDS_Face& patch) { return patch.IsSame(face); })
                        ? 1
                        : 0);
    }
    return where([&](int i) { return own[static_cast<std::size_t>(truth(i).face)] != 0; });
  }
  const TruePoint& truth(int i) const {
    return m_truth[static_cast<std::size_t>(m_places.lines[static_cast<std::size_t>(i)]) - 2];
  }

 private:
  double m_radius;
  Scan m_places;
  std::vector<TruePoint> m_truth;
  std::vector<TopoDS_Face> m_faces;
};

/// A place for the compensated points, and what the fits want beside the points.
struct Compensation {
  std::vector<float> points, errors;

  explicit Compensation(std::size_t floats) : points(floats), errors(floats) {}
};

bool compensate(const Gathered& g, float radius, XFPlane& measured, Compensation& out) {
  xgeofit::XPlaneFit fit;
  if (fit.Fit(g.points.data(), g.normals.data(), g.count(), radius, out.points.data(),
              out.errors.data()) != 0) {
    return false;
  }
  fit.getPlane(measured);
  return true;
}
bool compensate(const Gathered& g, float radius, XFSphere& measured, Compensation& out) {
  xgeofit::XSphereFit fit;
  if (fit.Fit(g.points.data(), g.normals.data(), g.count(), radius, out.points.data(),
              out.errors.data()) != 0) {
    return false;
  }
  fit.getSphere(measured);
  return true;
}
bool compensate(const Gathered& g, float radius, XFCylinder& measured, Compensation& out) {
  xgeofit::XCylinderFit fit;
  if (fit.Fit(g.points.data(), g.normals.data(), g.count(), radius, out.points.data(),
              out.errors.data()) != 0) {
    return false;
  }
  fit.getCylinder(measured);
  return true;
}
/// There is no guided fit of a cone.
bool compensate(const Gathered& /*g*/, float /*radius*/, XFCone& /*measured*/,
                Compensation& /*out*/) {
  return false;
}

template <typename Deviation>
double worstOf(const std::vector<float>& points, const Deviation& deviation) {
  double worst = 0.0;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    worst = std::max(worst, std::abs(deviation(vec(&points[i]))));
  }
  return worst;
}

template <typename Record>
Touched touch(const Nominal& feature, const Record& nominal, const Gathered& g, float radius) {
  Compensation out(g.points.size());
  Touched result{feature.name, g.count(), false, tell(nominal).size, 0.0,
                 0.0,          0.0,       0.0,   g.points,           {}};
  Record measured;
  if (g.count() < kFewest || !compensate(g, radius, measured, out)) return result;
  const Difference difference = compare(nominal, measured);
  const bool plane = std::is_same_v<Record, XFPlane>;
  result.done = std::isfinite(tell(measured).size + difference.distance);
  result.measured = plane ? result.nominal + difference.distance : tell(measured).size;
  result.distance = difference.distance;
  result.angle = difference.angle;
  result.worst =
      worstOf(out.points, [&](const cv::Vec3d& point) { return deviation(nominal, point); });
  result.compensated = out.points;
  return result;
}

void fill(float* plane, const cv::Vec3d& point, const cv::Vec3d& normal) {
  for (int i = 0; i < 3; ++i) {
    plane[i] = static_cast<float>(point[i]);
    plane[i + 3] = static_cast<float>(normal[i]);
  }
}

/// The circle in which a cylinder stands over a plane across its nominal axis.
Touched touchCircle(const Nominal& feature, const XFCylinder& nominal, const Gathered& g,
                    float radius) {
  Compensation out(g.points.size());
  Touched result{"circle of " + feature.name,
                 g.count(),
                 false,
                 nominal.radius,
                 0.0,
                 0.0,
                 0.0,
                 0.0,
                 g.points,
                 {}};
  float plane[6];
  fill(plane, vec(nominal.center), vec(nominal.axis));
  xgeofit::XCircle3DFit fit;
  if (g.count() < kFewest || fit.Fit(g.points.data(), g.normals.data(), g.count(), plane, radius,
                                     out.points.data(), out.errors.data()) != 0) {
    return result;
  }
  result.done = std::isfinite(fit.radius + fit.center[0]);
  result.measured = fit.radius;
  result.distance = cv::norm(vec(fit.center) - vec(nominal.center));
  result.worst =
      worstOf(out.points, [&](const cv::Vec3d& point) { return deviation(nominal, point); });
  result.compensated = out.points;
  return result;
}

/// A slot by touches on its two ends.
Touched touchSlot(const NominalOutline& outline, const Touches& touches, float radius) {
  const GrownBox box = boxOf(outline.ideal);
  const auto end = [&](double side) {
    return touches.where([&](int i) {
      const cv::Vec3d& place = touches.truth(i).place;
      return side * (place - box.center).dot(box.along) > box.half_length &&
             std::abs(box.distance(place)) < 1e-3 && outline.atWall(place);
    });
  };
  const Gathered first = end(-1.0), second = end(1.0);
  std::vector<float> all = first.points;
  all.insert(all.end(), second.points.begin(), second.points.end());
  Compensation out(all.size());
  Touched result{
      outline.name, first.count() + second.count(), false, box.radius, 0.0, 0.0, 0.0, 0.0, all, {}};
  float plane[6];
  fill(plane, box.center, box.normal);
  xgeofit::XOvalGroove3DFit fit;
  if (first.count() < kFewest || second.count() < kFewest ||
      fit.Fit(first.points.data(), first.normals.data(), first.count(), second.points.data(),
              second.normals.data(), second.count(), plane, radius, out.points.data(),
              out.errors.data()) != 0) {
    return result;
  }
  result.done = std::isfinite(fit.radius + fit.center[0]);
  result.measured = fit.radius;
  result.distance = cv::norm(vec(fit.center) - box.center);
  const double turn = angleBetween(vec(fit.majorDir), box.along);
  result.angle = std::min(turn, 180.0 - turn);
  result.worst = worstOf(out.points, [&](const cv::Vec3d& point) { return box.distance(point); });
  result.compensated = out.points;
  return result;
}

/// Single points all over the model, each moved against the normal of the nearest triangle.
Touched touchPoints(const TopoDS_Shape& model, const Touches& touches, float radius) {
  std::vector<TopoDS_Face> faces;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    faces.push_back(TopoDS::Face(walk.Current()));
  }
  const Triangles mesh = trianglesOf(faces, signOfSolid(model), kSides);
  std::vector<int> indices(static_cast<std::size_t>(3 * mesh.count()));
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<int>(i);
  xgeofit::XPointFit fit;
  fit.setData(mesh.corners.data(), 3 * mesh.count(), mesh.normals.data(), indices.data(),
              mesh.count());
  const Gathered g = touches.where([](int) { return true; });
  Touched result{"single points", 0, false, 0.0, 0.0, 0.0, 0.0, 0.0, {}, {}};
  for (std::size_t i = 0; i < g.points.size(); i += 3) {
    float record[6], moved[6];
    std::copy(&g.points[i], &g.points[i] + 3, record);
    std::copy(&g.normals[i], &g.normals[i] + 3, record + 3);
    if (fit.Fit(record, moved, radius) != 0) continue;
    // In a corner the nearest triangle can be that of the other wall.
    if (vec(moved + 3).dot(vec(record + 3)) < kOwnFace) continue;
    ++result.points;
    result.done = true;
    result.centres.insert(result.centres.end(), record, record + 3);
    result.compensated.insert(result.compensated.end(), moved, moved + 3);
    // The place that was touched, along the true normal there.
    const cv::Vec3d place = vec(record) - static_cast<double>(radius) * vec(record + 3);
    result.worst = std::max(result.worst, std::abs((vec(moved) - place).dot(vec(record + 3))));
  }
  return result;
}

}  // namespace

std::vector<Touched> touchModel(const TopoDS_Shape& model, const ModelContent& content,
                                const std::vector<NominalOutline>& outlines,
                                const Options& options) {
  const Touches touches(model, options);
  const auto radius = static_cast<float>(options.probe);
  std::vector<Touched> touched;
  for (const Nominal& feature : content.features) {
    if (!feature.trouble.empty() || std::holds_alternative<XFCone>(feature.ideal) ||
        feature.sector.reach < kShortArc) {
      continue;
    }
    // Into a bore or a pocket's corner only a smaller tip goes.
    const bool fits = !feature.hollow || options.probe < tell(feature.ideal).size;
    const Gathered g = fits ? touches.on(feature.patches) : Gathered();
    touched.push_back(std::visit(
        [&](const auto& nominal) { return touch(feature, nominal, g, radius); }, feature.ideal));
    const auto* cylinder = std::get_if<XFCylinder>(&feature.ideal);
    if (cylinder == nullptr || feature.sector.reach < CV_PI) continue;
    touched.push_back(touchCircle(feature, *cylinder, g, radius));
  }
  for (const NominalOutline& outline : outlines) {
    if (!std::holds_alternative<XFOvalGroove3D>(outline.ideal)) continue;
    if (options.probe >= boxOf(outline.ideal).radius) continue;
    touched.push_back(touchSlot(outline, touches, radius));
  }
  touched.push_back(touchPoints(model, touches, radius));
  return touched;
}

std::string touchTable(const std::vector<Touched>& touched, double radius) {
  std::string text = "touched with a tip of radius " + fixed(radius, 3, 0) + " mm, compensated\n" +
                     padRight("feature", 22) + padLeft("points", 8) + padLeft("nominal", 11) +
                     padLeft("measured", 11) + padLeft("deviation", 11) + padLeft("distance", 10) +
                     padLeft("angle", 9) + padLeft("worst", 9) + "\n";
  for (const Touched& one : touched) {
    text += padRight(one.name, 22) + padLeft(std::to_string(one.points), 8);
    if (!one.done) {
      text += fixed(one.nominal, 4, 11) +
              padLeft(one.points == 0 ? "not touched" : "not fitted", 13) + "\n";
      continue;
    }
    text += fixed(one.nominal, 4, 11) + fixed(one.measured, 4, 11) +
            fixed(one.measured - one.nominal, 4, 11) + fixed(one.distance, 4, 10) +
            fixed(one.angle, 4, 9) + fixed(one.worst, 4, 9) + "\n";
  }
  return text;
}

std::string probeRows(const std::vector<Touched>& touched) {
  std::string text = "feature;points;nominal;measured;distance;angle;worst\n";
  for (const Touched& one : touched) {
    text += one.name + ";" + std::to_string(one.points) + ";" + exact(one.nominal) + ";";
    text += one.done ? exact(one.measured) + ";" + exact(one.distance) + ";" + exact(one.angle) +
                           ";" + exact(one.worst) + "\n"
                     : ";;;\n";
  }
  return text;
}

std::string touchRows(const std::vector<Touched>& touched) {
  std::string text = "feature;x;y;z;compensated x;compensated y;compensated z\n";
  for (const Touched& one : touched) {
    for (std::size_t i = 0; i < one.centres.size(); i += 3) {
      text += one.name;
      for (std::size_t k = i; k < i + 3; ++k) text += ";" + exact(one.centres[k]);
      for (std::size_t k = i; k < i + 3; ++k) {
        text += ";" + (one.compensated.empty() ? std::string() : exact(one.compensated[k]));
      }
      text += "\n";
    }
  }
  return text;
}

}  // namespace inspect
