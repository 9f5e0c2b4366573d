// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Every radial feature is touched with a known probe, from inside and from outside: the fit of the
// tip's centers, compensated, has to be the feature that the points were made from.

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
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

using testing::AnyOf;
using testing::Each;
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
cv::Vec3d across(double t) { return std::cos(t) * kX + std::sin(t) * kY; }
cv::Vec3d vec(const float* p) { return {p[0], p[1], p[2]}; }
double sineToZ(const float* axis) { return cv::norm(vec(axis).cross(kZ)); }
void push(std::vector<float>& array, const cv::Vec3d& v) {
  for (int k = 0; k < 3; ++k) array.push_back(static_cast<float>(v[k]));
}

/// A point and the normal of the features' plane; the fits take it without const.
std::vector<float> planeOfFeature() { return {122.4F, -41.8F, 75, 0.36F, 0.48F, 0.8F}; }

/// Where the radial direction of a surface point starts, and the direction.
struct Ray {
  cv::Vec3d from, outward;
};

/// A call of a compensating fit: tip centers with the normals measured there, of a slot end after end.
struct Call {
  Call(int n, Ray (*ray)(int), float probe_radius, bool from_inside, double noise = 0)
      : count(n), end1(n / 2), probe(probe_radius) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> off_surface(-noise, noise);
    const double side = from_inside ? -1.0 : 1.0;
    for (int i = 0; i < n; ++i) {
      const auto [from, outward_here] = ray(i);
      push(points, from + (kRadius + off_surface(random) + side * probe) * outward_here);
      push(normals, side * outward_here);
    }
  }

  /// Asks the first normal, or is told the side.
  template <typename Fit, typename... Args>
  int of(Fit& fit, Args... args) const {
    return outward ? fit.Fit(args..., probe, compensated, errors, *outward)
                   : fit.Fit(args..., probe, compensated, errors);
  }

  std::vector<float> points, normals;
  int count, end1;
  float probe;
  std::optional<bool> outward;
  float *compensated = nullptr, *errors = nullptr;
};

/// What a fit says: its code, the radius, and how far off its place it is.
struct Result {
  int code;
  double radius, off;
};

/// Differences of center, axis and length in units of what rounding allows them.
double offBy(double center, double axis = 0, double length = 0) {
  return std::hypot(center / 3e-4, axis / 3e-5, length / 1e-3);
}

Result fitCircle(const Call& c) {
  XCircle3DFit fit;
  auto plane = planeOfFeature();
  const int code = c.of(fit, c.points.data(), c.normals.data(), c.count, plane.data());
  return {code, fit.radius, offBy(cv::norm(vec(fit.center) - kCenter), sineToZ(fit.normal))};
}
Result fitSphere(const Call& c) {
  XSphereFit fit;
  const int code = c.of(fit, c.points.data(), c.normals.data(), c.count);
  return {code, fit.radius, offBy(cv::norm(vec(fit.center) - kCenter))};
}
Result fitCylinder(const Call& c) {
  XCylinderFit fit;
  const int code = c.of(fit, c.points.data(), c.normals.data(), c.count);
  const double off_center = cv::norm(vec(fit.center) - kCenter);
  return {code, fit.radius, offBy(off_center, sineToZ(fit.axis), fit.height - 59.0)};
}
Result fitSlot(const Call& c) {
  XOvalGroove3DFit fit;
  auto plane = planeOfFeature();
  const float* n2 = c.normals.empty() ? nullptr : c.normals.data() + 3 * c.end1;
  const int code = c.of(fit, c.points.data(), c.normals.data(), c.end1,
                        c.points.data() + 3 * c.end1, n2, c.count - c.end1, plane.data());
  const cv::Vec3d center = vec(fit.center), to_arc = fit.halfStraight * vec(fit.majorDir);
  const double off_center =
      std::hypot(cv::norm(center - kCenter), cv::norm(vec(fit.arcCenter1) + to_arc - center),
                 cv::norm(vec(fit.arcCenter2) - to_arc - center));
  const double off_axis = std::hypot(sineToZ(fit.normal), cv::norm(vec(fit.majorDir).cross(kX)));
  return {code, fit.radius, offBy(off_center, off_axis, fit.halfStraight - kHalfStraight)};
}

Ray circleRay(int i) { return {kCenter, across(3.3 + 2 * CV_PI * i / 40)}; }
Ray sphereRay(int i) {  // in even steps along an axis, by the golden angle about it
  const double z = (i - 29.5) / 30;
  return {kCenter, std::sqrt(1 - z * z) * across(2.4 * i) + z * kZ};
}
Ray cylinderRay(int i) { return {inFrame(0, 0, i - 29.5), across(0.7 * i)}; }
Ray slotRay(int i) {
  const double side = i < 21 ? 1 : -1, t = CV_PI * (0.05 + 0.9 * (i % 21) / 20.0 - side / 2);
  return {inFrame(side * kHalfStraight, 0, 0), across(t)};
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

const struct Shape {
  const char* name;
  int count;
  Ray (*ray)(int);
  Result (*fit)(const Call&);
  int min_count;  ///< of both ends, for the slot
  Params start;
  Real (*distance)(const Params&, const Vec&, int);
} kShapes[] = {
    {"circle", 40, circleRay, fitCircle, 3, {0, 0, 12}, offCircle},
    {"sphere", 60, sphereRay, fitSphere, 4, {0, 0, 0, 12}, offSphere},
    {"cylinder", 60, cylinderRay, fitCylinder, 6, {0, 0, 0, 0, 12}, offCylinder},
    {"slot", 42, slotRay, fitSlot, 6, {0, 0, 20, 12, 0}, offSlot},
};

// Touched exactly, the compensated feature is the one that was made. With noise the error vectors are
// those of the least-squares feature; the cylinder's points land on it, the others keep their deviation.
TEST(ProbeCompensation, GivesTheLeastSquaresFeatureThatWasTouched) {
  const struct {
    bool from_inside;
    float probe;
    double noise;
  } touches[] = {{true, 0, 0}, {true, 3, 0}, {false, 3, 0}, {true, 1, 0.1}, {false, 2, 0.1}};
  for (const Shape& shape : kShapes) {
    for (const auto& [from_inside, probe, noise] : touches) {
      SCOPED_TRACE(testing::Message() << shape.name << (from_inside ? " inside " : " outside ")
                                      << probe << ' ' << noise);
      Call call(shape.count, shape.ray, probe, from_inside, noise);
      const auto at = [&call](int i) {
        const cv::Vec3d p = vec(&call.points[3 * static_cast<std::size_t>(i)]) - kCenter;
        return Vec(p.dot(kX), p.dot(kY), p.dot(kZ));
      };
      const Params best = zelmo::test::leastSquares(
          shape.start, call.count,
          [&](const Params& p, int i) { return shape.distance(p, at(i), i); });
      std::vector<float> compensated(call.points.size()), errors(call.points.size());
      call.compensated = compensated.data();
      call.errors = errors.data();
      const Result by_normal = shape.fit(call);
      ASSERT_EQ(by_normal.code, 0);
      const double signed_probe = from_inside ? probe : -probe;
      for (int i = 0; i < call.count; ++i) {
        const auto k = 3 * static_cast<std::size_t>(i);
        const double off = static_cast<double>(shape.distance(best, at(i), i));
        EXPECT_NEAR(vec(&errors[k]).dot(shape.ray(i).outward), off, 2e-4) << i;
        // CONTRACT: the cylinder's point lands on the surface.
        const double left = shape.fit == fitCylinder ? 0 : off;
        const cv::Vec3d moved = vec(&compensated[k]) - vec(&call.points[k]);
        EXPECT_NEAR(moved.dot(shape.ray(i).outward), signed_probe + left - off, 5e-4) << i;
      }
      if (noise > 0) continue;
      EXPECT_NEAR(by_normal.radius, kRadius, 2e-4);
      EXPECT_LT(by_normal.off, 1);
      // The caller's word counts more than the normals, and needs none.
      call.outward = !from_inside;
      call.normals = std::vector<float>();
      EXPECT_NEAR(shape.fit(call).radius, kRadius - 2 * signed_probe, 2e-4);
    }
  }
}

TEST(ProbeCompensation, NeedsItsMinimumAndASide) {
  for (const Shape& shape : kShapes) {
    const Call whole(shape.count, shape.ray, 1, true);
    for (const int count : {-1, 0, 1, shape.min_count - 1, shape.min_count}) {
      SCOPED_TRACE(testing::Message() << shape.name << ' ' << count);
      Call few = whole;
      few.count = count;
      if (shape.fit == fitSlot) {
        few.end1 = std::min(3, count);
        std::copy(whole.points.begin() + 63, whole.points.end(), few.points.begin() + 9);
      }
      std::vector<float> compensated(whole.points.size(), 9), errors = compensated;
      few.compensated = compensated.data();
      few.errors = errors.data();
      const bool is_enough = count == shape.min_count;
      EXPECT_EQ(shape.fit(few).code, is_enough ? 0 : -1);
      EXPECT_EQ(testing::Value(compensated, Each(9)), !is_enough);
      EXPECT_EQ(testing::Value(errors, Each(9)), !is_enough);
    }
    // A first normal of no length counts as one that looks inwards.
    Call bare = whole, zero = whole;
    bare.normals = std::vector<float>();
    EXPECT_EQ(shape.fit(bare).code, -1) << shape.name;
    std::fill_n(zero.normals.begin(), 3, 0.0F);
    EXPECT_NEAR(shape.fit(zero).radius, kRadius, 2e-4);
  }
}

TEST(ProbeCompensation, EndsOnDataThatIsNotFiniteOrDegenerate) {
  for (const Shape& shape : kShapes) {
    for (const float bad : {kNaN, HUGE_VALF, 1e30F, 3.0F}) {
      Call call(shape.count, shape.ray, 1, true), coincident = call;
      std::vector<float> compensated(call.points.size());
      call.compensated = compensated.data();
      call.points[4] = call.normals[5] = bad;
      EXPECT_THAT(shape.fit(call).code, AnyOf(0, -1));
      std::fill(coincident.points.begin(), coincident.points.end(), bad);
      EXPECT_THAT(shape.fit(coincident).code, AnyOf(0, -1));
    }
  }
}

// At all angles of the straight sides, with the ends in either order.
TEST(XOvalGroove2DFitEnds, MayLieInAnyDirectionAndOrder) {
  for (const double angle : {0.0, 0.4, 1.7}) {
    std::vector<float> ends[2];
    for (int i = 0; i < 42; ++i) {
      const double t = angle + (i % 21 - 10) * 0.14, side = i < 21 ? 1 : -1;
      ends[i / 21].push_back(
          static_cast<float>(3 + side * (20 * std::cos(angle) + 5 * std::cos(t))));
      ends[i / 21].push_back(
          static_cast<float>(7 + side * (20 * std::sin(angle) + 5 * std::sin(t))));
    }
    for (const auto& [first, second] : {std::pair{ends[0], ends[1]}, {ends[1], ends[0]}}) {
      XOvalGroove2DFit fit;
      ASSERT_EQ(fit.Fit(first.data(), 21, second.data(), 21), 0);
      const double off[] = {fit.cx - 3.0, fit.cy - 7.0, fit.halfStraight - 20.0, fit.radius - 5.0};
      EXPECT_THAT(off, Each(testing::DoubleNear(0, 1e-4))) << angle;
      EXPECT_NEAR(std::sin(fit.angle - angle), 0, 1e-5) << angle;
    }
  }
}

// The side is told about the slot's own axis: this normal looks to it, but away from the arc's center.
TEST(XOvalGroove3DFitSide, IsToldAboutTheAxisOfTheSlot) {
  Call call(42, slotRay, 0, true);
  std::vector<float> aslant;
  push(aslant, unitOrZero(-0.9 * kX - 0.4 * kY));
  std::copy(aslant.begin(), aslant.end(), call.normals.begin());
  call.probe = 1;
  EXPECT_NEAR(fitSlot(call).radius, kRadius + 1, 2e-4);
}

TEST(XCircle3DFitSinglePoint, IsTheSectionOfTheTip) {
  float plane[] = {0, 0, 2, 0, 0, 1};
  const float point[] = {5, 6, 5};
  XCircle3DFit fit;
  EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, 5.0F), 0);
  EXPECT_THAT(fit.center, testing::ElementsAre(5, 6, 2));
  // On the limit, past it, and without a height.
  for (const float radius : {3.0F, 2.0F, kNaN}) {
    EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, radius), -1);
  }
  EXPECT_EQ(fit.Fit_SinglePoint(nullptr, nullptr, plane, 5.0F), -1);
  EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, nullptr, 5.0F), -1);
  EXPECT_FLOAT_EQ(fit.radius, 4.0F);
}

TEST(XCircle3DFitBasic, WritesTheProjectedPoints) {
  std::vector<float> points, line;
  for (int i = 0; i < 40; ++i) {
    push(points, kCenter + 4.0 * across(i) + 4.0 * kZ);
    push(line, inFrame(3, 0, 2));
  }
  auto plane = planeOfFeature();
  XCircle3DFit fit;
  for (const auto& [from, code] : {std::pair{points, 0}, {line, -1}}) {
    std::vector<float> projected(120, 9.0F);
    EXPECT_EQ(fit.Fit(from.data(), nullptr, 40, plane.data(), projected.data()), code);
    for (std::size_t i = 0; i < projected.size(); i += 3) {
      EXPECT_NEAR((vec(&projected[i]) - kCenter).dot(kZ), 0, 1e-4);
    }
  }
  float no_normal[6] = {};
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 40, no_normal, nullptr), -1);
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 40, nullptr, nullptr), -1);
}

// Wherever the axis lies among the directions of spread.
TEST(XCylinderFitAxis, IsFoundOnEveryPatch) {
  const double patches[][3] = {{40, 6.3, 4}, {40, 3, 30}, {10, 1.0, 60}};
  for (const auto& [radius, arc, height] : patches) {
    SCOPED_TRACE(testing::Message() << radius << ' ' << arc << ' ' << height);
    std::vector<float> points;
    for (int i = 0; i < 90; ++i) {
      const double t = arc * (i * 37 % 90) / 90;
      push(points, radius * across(t) + inFrame(0, 0, height * i / 89));
    }
    XCylinderFit fit;
    EXPECT_EQ(fit.Fit(points.data(), nullptr, 90), 0);
    EXPECT_LT(sineToZ(fit.axis), 1e-3);
    EXPECT_NEAR(fit.radius, radius, 1e-3 * radius);
    EXPECT_NEAR(fit.height, height, 1e-2);
  }
}

// Points within 0.01 of the axis point count as if they lay on the axis.
TEST(XCylinderFitAxis, TakesTheRadiusFromATinyCylinder) {
  std::vector<float> points;
  for (int i = 0; i < 60; ++i) push(points, 0.004 * across(0.7 * i) + 1e-4 * (i - 29.5) * kZ);
  XCylinderFit fit;
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 60), 0);
  EXPECT_NEAR(fit.radius, 0, 1e-4);
}

// The first normal alone tells the side; most of them tell which way the plane looks.
TEST(XPlaneFitProbe, MovesThePlaneToTheSideThatTheFirstNormalShows) {
  // Tip centers 2 above the plane of the feature.
  std::vector<float> points, normals;
  for (int i = 0; i < 25; ++i) {
    push(points, inFrame(10.0 * (i % 5), 7.0 * (i / 5), 2.0));
    push(normals, kZ);
  }
  const auto height = [](const float* p) { return (vec(p) - kCenter).dot(kZ); };
  const auto fit_with = [&](bool first_looks_up, bool others_look_up, double expected) {
    for (std::size_t i = 0; i < normals.size(); ++i) {
      const double sign = (i < 3 ? first_looks_up : others_look_up) ? 1 : -1;
      normals[i] = static_cast<float>(sign * kZ[static_cast<int>(i % 3)]);
    }
    std::vector<float> compensated(points.size()), errors(points.size());
    XPlaneFit fit;
    EXPECT_EQ(fit.Fit(points.data(), normals.data(), 25, 2, compensated.data(), errors.data()), 0);
    const cv::Vec3d normal(fit.a, fit.b, fit.c);
    EXPECT_LT(cv::norm(normal - (others_look_up ? kZ : -kZ)), 1e-5);
    for (const float* p : {fit.center + 0, fit.corners + 0, &compensated[30]}) {
      EXPECT_NEAR(height(p), expected, 1e-4);
    }
    EXPECT_NEAR(normal.dot(inFrame(0, 0, expected)) + fit.d, 0, 1e-4);
    EXPECT_LT(std::fabs(errors[31]), 1e-4);
    EXPECT_FLOAT_EQ(fit.length, 40.0F);
    EXPECT_FLOAT_EQ(fit.width, 28.0F);
  };
  fit_with(true, true, 0);
  fit_with(false, true, 4);
  fit_with(true, false, 0);
  XPlaneFit fit;
  EXPECT_EQ(fit.Fit(points.data(), nullptr, 25, 2.0F, nullptr, nullptr), -1);
  EXPECT_EQ(fit.Fit(points.data(), normals.data(), 2, 2.0F, nullptr, nullptr), -1);
}

}  // namespace
}  // namespace xgeofit
