// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Every radial feature is touched with a known probe, from inside and from outside: the fit of the
// tip's centers, compensated, has to be the feature that the points were made from.

#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "support/least_squares.h"
#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/guidedfit/circle_fit.h"
#include "zelmo/guidedfit/cylinder_fit.h"
#include "zelmo/guidedfit/oval_groove_fit.h"
#include "zelmo/guidedfit/plane_fit.h"
#include "zelmo/guidedfit/sphere_fit.h"

namespace xgeofit {
namespace {

using zelmo::internal::unitOrZero;
using zelmo::test::Real;
using zelmo::test::Vec;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The made features stand in this frame.
const cv::Vec3d kCenter(120, -40, 75);
const cv::Vec3d kZ(0.36, 0.48, 0.8);
const cv::Vec3d kX(0.8, -0.6, 0);
const cv::Vec3d kY = kZ.cross(kX);
constexpr double kRadius = 12.5;
constexpr double kHalfStraight = 20.0;

cv::Vec3d inFrame(double x, double y, double z) { return kCenter + x * kX + y * kY + z * kZ; }
cv::Vec3d vec(const float* p) { return {p[0], p[1], p[2]}; }
void push(std::vector<float>& array, const cv::Vec3d& v) {
  for (int k = 0; k < 3; ++k) array.push_back(static_cast<float>(v[k]));
}

/// Surface points with outward radial directions.
struct Surface {
  std::vector<cv::Vec3d> points, outward;
  int end1 = 0;  ///< how many belong to the first end of a slot
  void add(const cv::Vec3d& from, const cv::Vec3d& direction) {
    outward.push_back(direction);
    points.push_back(from + kRadius * direction);
  }
};

cv::Vec3d across(double t) { return std::cos(t) * kX + std::sin(t) * kY; }

Surface circle() {
  Surface s;
  for (int i = 0; i < 40; ++i) s.add(kCenter, across(3.3 + 2 * CV_PI * i / 40));
  return s;
}
Surface sphere() {
  std::mt19937 random(5);
  std::normal_distribution<double> normal;
  Surface s;
  for (int i = 0; i < 60; ++i) {
    s.add(kCenter, unitOrZero({normal(random), normal(random), normal(random)}));
  }
  return s;
}
Surface cylinder() {
  Surface s;
  for (int i = 0; i < 60; ++i) s.add(inFrame(0, 0, i - 29.5), across(0.7 * i));
  return s;
}
Surface slot() {
  Surface s;
  for (const double side : {0.5, -0.5}) {
    for (int i = 0; i < 21; ++i) {
      const double t = CV_PI * (0.05 + 0.9 * i / 20.0) - side * CV_PI;
      s.add(inFrame(2 * side * kHalfStraight, 0, 0), across(t));
    }
  }
  s.end1 = 21;
  return s;
}

/// Touch points: centers of the tip and the normals that the host measured there.
struct Touches {
  std::vector<float> points, normals;
  int count = 0, end1 = 0;
};

Touches touch(const Surface& surface, double probe, bool from_inside) {
  Touches t;
  const double side = from_inside ? -1.0 : 1.0;
  for (std::size_t i = 0; i < surface.points.size(); ++i) {
    push(t.points, surface.points[i] + side * probe * surface.outward[i]);
    push(t.normals, side * surface.outward[i]);
  }
  t.count = static_cast<int>(surface.points.size());
  t.end1 = surface.end1;
  return t;
}

/// What a fit says: its code, the feature and where it stands.
struct Result {
  int code = 0;
  double radius = 0, off_center = 0, off_axis = 0, off_length = 0;
};

double sineToZ(const float* axis) { return cv::norm(vec(axis).cross(kZ)); }

std::vector<float> planeOfFeature() {
  std::vector<float> plane;
  push(plane, kCenter + 3.0 * kX);
  push(plane, kZ);
  return plane;
}

/// Calls the form that asks the first normal, or the one that is told the side.
template <typename Fit, typename... Args>
int run(Fit& fit, const bool* outward, Args... args) {
  return outward != nullptr ? fit.Fit(args..., *outward) : fit.Fit(args...);
}

/// \p side is null for the form that asks the first normal.
using Fitter = Result (*)(const Touches&, float probe, const bool* side, float* compensated,
                          float* errors);

Result fitCircle(const Touches& t, float probe, const bool* side, float* c, float* e) {
  XCircle3DFit fit;
  auto plane = planeOfFeature();
  const int code =
      run(fit, side, t.points.data(), t.normals.data(), t.count, plane.data(), probe, c, e);
  return {code, fit.radius, cv::norm(vec(fit.center) - kCenter), sineToZ(fit.normal), 0};
}
Result fitSphere(const Touches& t, float probe, const bool* side, float* c, float* e) {
  XSphereFit fit;
  const int code = run(fit, side, t.points.data(), t.normals.data(), t.count, probe, c, e);
  return {code, fit.radius, cv::norm(vec(fit.center) - kCenter), 0, 0};
}
Result fitCylinder(const Touches& t, float probe, const bool* side, float* c, float* e) {
  XCylinderFit fit;
  const int code = run(fit, side, t.points.data(), t.normals.data(), t.count, probe, c, e);
  return {code, fit.radius, cv::norm(vec(fit.center) - kCenter), sineToZ(fit.axis),
          fit.height - 59.0};
}
Result fitSlot(const Touches& t, float probe, const bool* side, float* c, float* e) {
  XOvalGroove3DFit fit;
  auto plane = planeOfFeature();
  const float* n2 = t.normals.empty() ? nullptr : t.normals.data() + 3 * t.end1;
  const int code =
      run(fit, side, t.points.data(), t.normals.data(), t.end1, t.points.data() + 3 * t.end1, n2,
          t.count - t.end1, plane.data(), probe, c, e);
  const double off_axis = std::max(sineToZ(fit.normal), cv::norm(vec(fit.majorDir).cross(kX)));
  const double off_arc = std::max(
      cv::norm(vec(fit.arcCenter1) + fit.halfStraight * vec(fit.majorDir) - vec(fit.center)),
      cv::norm(vec(fit.arcCenter2) - fit.halfStraight * vec(fit.majorDir) - vec(fit.center)));
  return {code, fit.radius, cv::norm(vec(fit.center) - kCenter) + off_arc, off_axis,
          fit.halfStraight - kHalfStraight};
}

using Params = std::vector<Real>;

// Distances in the frame: circle x, y, r; sphere x, y, z, r; cylinder x, y and slopes of the axis, r;
// slot x, y, half straight, r, angle.
Real offCircle(const Params& p, const Vec& q, int) {
  return std::hypot(q.x - p[0], q.y - p[1]) - p[2];
}
Real offSphere(const Params& p, const Vec& q, int) { return (q - Vec(p.data())).norm() - p[3]; }
Real offCylinder(const Params& p, const Vec& q, int) {
  return (q - Vec(p[0], p[1], 0)).cross(Vec(p[2], p[3], 1).unit()).norm() - p[4];
}
Real offSlot(const Params& p, const Vec& q, int i) {
  const Real h = i < 21 ? p[2] : -p[2];
  return std::hypot(q.x - p[0] - h * std::cos(p[4]), q.y - p[1] - h * std::sin(p[4])) - p[3];
}

struct Shape {
  const char* name;
  Surface (*surface)();
  Fitter fit;
  int min_count;  ///< of one end, for the slot
  Params start;
  Real (*distance)(const Params&, const Vec&, int);
};

const Shape kShapes[] = {
    {"circle", circle, fitCircle, 3, {0, 0, 12}, offCircle},
    {"sphere", sphere, fitSphere, 4, {0, 0, 0, 12}, offSphere},
    {"cylinder", cylinder, fitCylinder, 6, {0, 0, 0, 0, 12}, offCylinder},
    {"slot", slot, fitSlot, 3, {0, 0, 20, 12, 0}, offSlot},
};

// Touched exactly, the compensated feature is the one that was made. With noise the error vectors are
// those of the least-squares feature; the cylinder's points land on it, the others keep their deviation.
TEST(ProbeCompensation, GivesTheLeastSquaresFeatureThatWasTouched) {
  for (const Shape& shape : kShapes) {
    for (const auto& [from_inside, probe, noise] : {std::tuple{true, 0.0F, 0.0},
                                                    {true, 3.0F, 0.0},
                                                    {false, 0.5F, 0.0},
                                                    {false, 3.0F, 0.0},
                                                    {true, 1.0F, 0.1},
                                                    {false, 2.0F, 0.1}}) {
      SCOPED_TRACE(testing::Message() << shape.name << (from_inside ? " inside " : " outside ")
                                      << probe << ' ' << noise);
      Surface surface = shape.surface();
      std::mt19937 random(3);
      std::uniform_real_distribution<double> off_surface(-noise, noise);
      for (std::size_t i = 0; i < surface.points.size(); ++i) {
        surface.points[i] += off_surface(random) * surface.outward[i];
      }
      const Touches t = touch(surface, probe, from_inside);
      const auto at = [&t = t](int i) {
        const cv::Vec3d p = vec(&t.points[3 * static_cast<std::size_t>(i)]) - kCenter;
        return Vec(p.dot(kX), p.dot(kY), p.dot(kZ));
      };
      const Params best = zelmo::test::leastSquares(
          shape.start, t.count,
          [&](const Params& p, int i) { return shape.distance(p, at(i), i); });
      std::vector<float> compensated(t.points.size()), errors(t.points.size());
      const Result by_normal = shape.fit(t, probe, nullptr, compensated.data(), errors.data());
      EXPECT_EQ(by_normal.code, 0);
      const double signed_probe = from_inside ? probe : -probe;
      for (int i = 0; i < t.count; ++i) {
        const auto k = static_cast<std::size_t>(i);
        const double off = static_cast<double>(shape.distance(best, at(i), i));
        EXPECT_NEAR(vec(&errors[3 * k]).dot(surface.outward[k]), off, 2e-4) << i;
        // CONTRACT: the cylinder's point lands on the surface.
        const double left = shape.fit == fitCylinder ? 0 : off;
        const cv::Vec3d moved = vec(&compensated[3 * k]) - vec(&t.points[3 * k]);
        EXPECT_NEAR(moved.dot(surface.outward[k]), signed_probe + left - off, 5e-4) << i;
      }
      if (noise > 0) continue;
      EXPECT_NEAR(by_normal.radius, kRadius, 2e-4);
      EXPECT_LT(by_normal.off_center, 3e-4);
      EXPECT_LT(by_normal.off_axis, 3e-5);
      EXPECT_NEAR(by_normal.off_length, 0, 1e-3);
      // Each array alone.
      std::vector<float> alone(t.points.size());
      shape.fit(t, probe, nullptr, alone.data(), nullptr);
      EXPECT_EQ(alone, compensated);
      shape.fit(t, probe, nullptr, nullptr, alone.data());
      EXPECT_EQ(alone, errors);
      // The caller's word counts more than the normals, and needs none.
      const bool opposite = !from_inside;
      Touches bare = t;
      bare.normals = std::vector<float>();
      const Result by_flag = shape.fit(bare, probe, &opposite, nullptr, nullptr);
      EXPECT_EQ(by_flag.code, 0);
      EXPECT_NEAR(by_flag.radius, kRadius - 2 * signed_probe, 2e-4);
    }
  }
}

TEST(ProbeCompensation, NeedsItsMinimumAndASide) {
  for (const Shape& shape : kShapes) {
    const Touches whole = touch(shape.surface(), 1.0, true);
    const int least = shape.fit == fitSlot ? 2 * shape.min_count : shape.min_count;
    for (const int count : {-1, 0, 1, least - 1, least}) {
      SCOPED_TRACE(testing::Message() << shape.name << ' ' << count);
      Touches t = whole;
      t.count = count;
      t.end1 = std::min(shape.fit == fitSlot ? shape.min_count : 0, count);
      if (shape.fit == fitSlot) {
        // End 2 follows end 1.
        std::copy(whole.points.begin() + 63, whole.points.end(), t.points.begin() + 9);
      }
      std::vector<float> compensated(t.points.size(), 9), errors(t.points.size(), 9);
      const int expected = count == least ? 0 : -1;
      EXPECT_EQ(shape.fit(t, 1.0F, nullptr, compensated.data(), errors.data()).code, expected);
      if (expected == 0) continue;
      EXPECT_THAT(compensated, testing::Each(9));
      EXPECT_THAT(errors, testing::Each(9));
    }
    Touches bare = whole;
    bare.normals = std::vector<float>();
    EXPECT_EQ(shape.fit(bare, 1.0F, nullptr, nullptr, nullptr).code, -1) << shape.name;
    // A first normal of no length counts as one that looks inwards.
    Touches zero = whole;
    std::fill_n(zero.normals.begin(), 3, 0.0F);
    EXPECT_NEAR(shape.fit(zero, 1.0F, nullptr, nullptr, nullptr).radius, kRadius, 2e-4);
  }
}

TEST(ProbeCompensation, EndsOnDataThatIsNotFiniteOrDegenerate) {
  for (const Shape& shape : kShapes) {
    for (const float bad : {kNaN, HUGE_VALF, 1e30F}) {
      Touches t = touch(shape.surface(), 1.0, true), coincident = t;
      t.points[4] = t.normals[5] = bad;
      std::vector<float> compensated(t.points.size());
      shape.fit(t, 1.0F, nullptr, compensated.data(), nullptr);
      std::fill(coincident.points.begin(), coincident.points.end(), bad);
      shape.fit(coincident, 1.0F, nullptr, nullptr, nullptr);
      std::fill(coincident.points.begin(), coincident.points.end(), 3.0F);
      shape.fit(coincident, 1.0F, nullptr, nullptr, nullptr);
    }
  }
}

// At all angles of the straight sides, with the ends in either order.
TEST(XOvalGroove2DFitEnds, MayLieInAnyDirectionAndOrder) {
  for (const double angle : {0.0, 0.4, 1.2, 1.7, 2.8}) {
    std::vector<float> ends[2];
    for (int i = 0; i < 42; ++i) {
      const int end = i / 21;
      const double t = angle + (i % 21 - 10) * 0.14 + end * CV_PI, side = end == 0 ? 20 : -20;
      ends[end].push_back(static_cast<float>(3 + side * std::cos(angle) + 5 * std::cos(t)));
      ends[end].push_back(static_cast<float>(7 + side * std::sin(angle) + 5 * std::sin(t)));
    }
    for (const int first : {0, 1}) {
      SCOPED_TRACE(testing::Message() << angle << ' ' << first);
      XOvalGroove2DFit fit;
      ASSERT_EQ(fit.Fit(ends[first].data(), 21, ends[1 - first].data(), 21), 0);
      EXPECT_NEAR(fit.cx, 3, 1e-4);
      EXPECT_NEAR(fit.cy, 7, 1e-4);
      EXPECT_NEAR(fit.halfStraight, 20, 1e-4);
      EXPECT_NEAR(fit.radius, 5, 1e-4);
      EXPECT_NEAR(std::sin(fit.angle - angle), 0, 1e-5);
    }
  }
}

// The side is told about the slot's own axis: this normal looks to it, but away from the arc's center.
TEST(XOvalGroove3DFitSide, IsToldAboutTheAxisOfTheSlot) {
  Touches t = touch(slot(), 0.0, true);
  const cv::Vec3d aslant = unitOrZero(-0.9 * kX - 0.4 * kY);
  for (int k = 0; k < 3; ++k)
    t.normals[static_cast<std::size_t>(k)] = static_cast<float>(aslant[k]);
  EXPECT_NEAR(fitSlot(t, 1.0F, nullptr, nullptr, nullptr).radius, kRadius + 1, 2e-4);
}

TEST(XCircle3DFitSinglePoint, IsTheSectionOfTheTip) {
  float plane[] = {0, 0, 2, 0, 0, 1};
  const float point[] = {5, 6, 5};
  XCircle3DFit fit;
  EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, 5.0F), 0);
  EXPECT_THAT(fit.center, testing::ElementsAre(5, 6, 2));
  EXPECT_FLOAT_EQ(fit.radius, 4.0F);
  EXPECT_NEAR(fit.majorDir[2], 0, 1e-6);
  EXPECT_NEAR(cv::norm(vec(fit.majorDir)), 1, 1e-6);
  // On the limit, past it, and without a height.
  for (const float radius : {3.0F, 2.0F, kNaN}) {
    EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, radius), -1);
    EXPECT_FLOAT_EQ(fit.radius, 4.0F);
  }
  EXPECT_EQ(fit.Fit_SinglePoint(nullptr, nullptr, plane, 5.0F), -1);
  EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, nullptr, 5.0F), -1);
}

TEST(XCircle3DFitBasic, WritesTheProjectedPoints) {
  std::vector<float> points, line, projected(120);
  for (int i = 0; i < 40; ++i) {
    push(points, kCenter + 0.004 * across(i) + 4.0 * kZ);  // a tiny circle has a frame, too
    push(line, inFrame(3, 0, 2));
  }
  auto plane = planeOfFeature();
  XCircle3DFit fit;
  const auto heights = [&] {
    double highest = 0;
    for (std::size_t i = 0; i < projected.size(); i += 3) {
      highest = std::max(highest, std::fabs((vec(&projected[i]) - kCenter).dot(kZ)));
    }
    return highest;
  };
  ASSERT_EQ(fit.Fit(points.data(), nullptr, 40, plane.data(), projected.data()), 0);
  EXPECT_NEAR(fit.radius, 0.004, 2e-5);
  EXPECT_LT(heights(), 1e-4);
  // Also where no circle goes through them.
  std::fill(projected.begin(), projected.end(), 9.0F);
  EXPECT_EQ(fit.Fit(line.data(), nullptr, 40, plane.data(), projected.data()), -1);
  EXPECT_LT(heights(), 1e-4);
  float no_normal[6] = {};
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 40, no_normal, nullptr), -1);
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 40, nullptr, nullptr), -1);
}

// Wherever the axis lies among the directions of spread.
TEST(XCylinderFitAxis, IsFoundOnEveryPatch) {
  const double patches[][3] = {{40, 6.3, 4}, {40, 3, 30}, {10, 1.0, 60}, {30, 2.5, 12}, {5, 3, 5}};
  for (const auto& [radius, arc, height] : patches) {
    SCOPED_TRACE(testing::Message() << radius << ' ' << arc << ' ' << height);
    std::vector<float> points;
    for (int i = 0; i < 90; ++i) {
      const double t = arc * (i * 37 % 90) / 90;
      push(points, radius * across(t) + inFrame(0, 0, height * i / 89));
    }
    XCylinderFit fit;
    ASSERT_EQ(fit.Fit(points.data(), nullptr, 90), 0);
    EXPECT_LT(sineToZ(fit.axis), 1e-3);
    EXPECT_NEAR(cv::norm(vec(fit.axis)), 1, 1e-6);
    EXPECT_NEAR(fit.radius, radius, 1e-3 * radius);
    EXPECT_NEAR(fit.height, height, 1e-2);
  }
}

TEST(XPlaneFitProbe, MovesThePlaneToTheSideThatTheFirstNormalShows) {
  // Tip centers 2 above the plane of the feature.
  std::vector<float> points, normals;
  for (int i = 0; i < 25; ++i) {
    push(points, inFrame(10.0 * (i % 5), 7.0 * (i / 5), 2.0));
    push(normals, kZ);
  }
  std::vector<float> compensated(points.size()), errors(points.size());
  XPlaneFit fit;
  ASSERT_EQ(fit.Fit(points.data(), normals.data(), 25, 2.0F, compensated.data(), errors.data()), 0);
  EXPECT_LT(sineToZ(fit.normal), 1e-5);
  EXPECT_GT(cv::Vec3d(fit.a, fit.b, fit.c).dot(kZ), 0.99);
  const auto height = [](const float* p) { return (vec(p) - kCenter).dot(kZ); };
  for (const float* p : {fit.center + 0, fit.corners + 0, fit.corners + 9, &compensated[30]}) {
    EXPECT_NEAR(height(p), 0, 1e-4);
  }
  EXPECT_NEAR(cv::Vec3d(fit.a, fit.b, fit.c).dot(kCenter) + fit.d, 0, 1e-4);
  EXPECT_LT(std::fabs(errors[31]), 1e-4);
  xgeofeature::XFPlane plane;
  fit.getPlane(plane);
  EXPECT_FLOAT_EQ(plane.length, 40.0F);
  EXPECT_FLOAT_EQ(plane.width, 28.0F);

  // The first normal alone decides; the others orient the plane.
  for (std::size_t k = 0; k < 3; ++k) normals[k] *= -1;
  ASSERT_EQ(fit.Fit(points.data(), normals.data(), 25, 2.0F, nullptr, nullptr), 0);
  EXPECT_NEAR(height(fit.center), 4, 1e-4);
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 25, 2.0F, nullptr, nullptr), -1);
  EXPECT_EQ(fit.Fit(points.data(), normals.data(), 2, 2.0F, nullptr, nullptr), -1);
  EXPECT_EQ(fit.Fit(points.data() + 9, normals.data(), 3, 0.0F, nullptr, errors.data()), 0);
  EXPECT_NEAR(height(fit.center), 2, 1e-4);
}

}  // namespace
}  // namespace xgeofit
