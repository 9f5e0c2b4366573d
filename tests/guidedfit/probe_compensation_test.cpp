// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Every radial feature is touched with a known probe, from inside and from outside: the fit of the
// tip's centers, compensated, has to be the feature that the points were made from.

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/guidedfit/circle_fit.h"
#include "zelmo/guidedfit/cylinder_fit.h"
#include "zelmo/guidedfit/oval_groove_fit.h"
#include "zelmo/guidedfit/plane_fit.h"
#include "zelmo/guidedfit/sphere_fit.h"

namespace xgeofit {
namespace {

using zelmo::internal::auxiliaryVector;
using zelmo::internal::unitOrZero;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The made features stand in this frame.
const cv::Vec3d kCenter(120, -40, 75);
const cv::Vec3d kZ = unitOrZero({0.36, 0.48, 0.8});
const cv::Vec3d kX = unitOrZero(auxiliaryVector(kZ));
const cv::Vec3d kY = kZ.cross(kX);
constexpr double kRadius = 12.5;
constexpr double kHalfStraight = 20.0;

cv::Vec3d inFrame(double x, double y, double z) { return kCenter + x * kX + y * kY + z * kZ; }

void push(std::vector<float>& array, const cv::Vec3d& v) {
  for (int k = 0; k < 3; ++k) array.push_back(static_cast<float>(v[k]));
}

/// Surface points with outward radial directions.
struct Surface {
  std::vector<cv::Vec3d> points, outward;
  int end1 = 0;  ///< how many belong to the first end of a slot
};

Surface circle() {
  Surface s;
  for (int i = 0; i < 40; ++i) {
    const double t = 0.13 + 2 * CV_PI * i / 40;
    s.outward.push_back(std::cos(t) * kX + std::sin(t) * kY);
    s.points.push_back(kCenter + kRadius * s.outward.back());
  }
  return s;
}

Surface sphere() {
  std::mt19937 random(5);
  std::normal_distribution<double> normal;
  Surface s;
  for (int i = 0; i < 60; ++i) {
    s.outward.push_back(unitOrZero({normal(random), normal(random), normal(random)}));
    s.points.push_back(kCenter + kRadius * s.outward.back());
  }
  return s;
}

Surface cylinder() {
  Surface s;
  for (int i = 0; i < 60; ++i) {
    const double t = 0.7 * i;
    s.outward.push_back(std::cos(t) * kX + std::sin(t) * kY);
    s.points.push_back(kCenter + kRadius * s.outward.back() + (i - 29.5) * kZ);
  }
  return s;
}

Surface slot() {
  Surface s;
  for (int end = 0; end < 2; ++end) {
    for (int i = 0; i < 21; ++i) {
      const double t = CV_PI * (0.05 + 0.9 * i / 20.0) + (end == 0 ? -0.5 : 0.5) * CV_PI;
      s.outward.push_back(std::cos(t) * kX + std::sin(t) * kY);
      const double shift = end == 0 ? kHalfStraight : -kHalfStraight;
      s.points.push_back(kCenter + shift * kX + kRadius * s.outward.back());
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

double distanceToCenter(const float* center) {
  return cv::norm(cv::Vec3d(center[0], center[1], center[2]) - kCenter);
}
double sineToZ(const float* axis) {
  return cv::norm(cv::Vec3d(axis[0], axis[1], axis[2]).cross(kZ));
}

/// \p outward is null for the form that asks the first normal.
using Fitter = std::function<Result(const Touches&, float probe, const bool* outward,
                                    float* compensated, float* errors)>;

std::array<float, 6> planeOfFeature() {
  std::vector<float> plane;
  push(plane, kCenter + 3.0 * kX);
  push(plane, kZ);
  std::array<float, 6> out{};
  std::copy(plane.begin(), plane.end(), out.begin());
  return out;
}

Result fitCircle(const Touches& t, float probe, const bool* outward, float* c, float* e) {
  XCircle3DFit fit;
  auto plane = planeOfFeature();
  const int code =
      outward != nullptr
          ? fit.Fit(t.points.data(), t.normals.data(), t.count, plane.data(), probe, c, e, *outward)
          : fit.Fit(t.points.data(), t.normals.data(), t.count, plane.data(), probe, c, e);
  return {code, fit.radius, distanceToCenter(fit.center), sineToZ(fit.normal), 0};
}

Result fitSphere(const Touches& t, float probe, const bool* outward, float* c, float* e) {
  XSphereFit fit;
  const int code = outward != nullptr
                       ? fit.Fit(t.points.data(), t.normals.data(), t.count, probe, c, e, *outward)
                       : fit.Fit(t.points.data(), t.normals.data(), t.count, probe, c, e);
  return {code, fit.radius, distanceToCenter(fit.center), 0, 0};
}

Result fitCylinder(const Touches& t, float probe, const bool* outward, float* c, float* e) {
  XCylinderFit fit;
  const int code = outward != nullptr
                       ? fit.Fit(t.points.data(), t.normals.data(), t.count, probe, c, e, *outward)
                       : fit.Fit(t.points.data(), t.normals.data(), t.count, probe, c, e);
  return {code, fit.radius, distanceToCenter(fit.center), sineToZ(fit.axis), fit.height - 59.0};
}

Result fitSlot(const Touches& t, float probe, const bool* outward, float* c, float* e) {
  XOvalGroove3DFit fit;
  auto plane = planeOfFeature();
  const float* p2 = t.points.data() + 3 * t.end1;
  const float* n2 = t.normals.data() + 3 * t.end1;
  const int count2 = t.count - t.end1;
  const int code = outward != nullptr ? fit.Fit(t.points.data(), t.normals.data(), t.end1, p2, n2,
                                                count2, plane.data(), probe, c, e, *outward)
                                      : fit.Fit(t.points.data(), t.normals.data(), t.end1, p2, n2,
                                                count2, plane.data(), probe, c, e);
  const cv::Vec3d major(fit.majorDir[0], fit.majorDir[1], fit.majorDir[2]);
  const double off_axis = std::max(sineToZ(fit.normal), cv::norm(major.cross(kX)));
  return {code, fit.radius, distanceToCenter(fit.center), off_axis,
          fit.halfStraight - kHalfStraight};
}

struct Shape {
  const char* name;
  std::function<Surface()> surface;
  Fitter fit;
  int min_count;  ///< of one end, for the slot
};

const Shape kShapes[] = {
    {"circle", circle, fitCircle, 3},
    {"sphere", sphere, fitSphere, 4},
    {"cylinder", cylinder, fitCylinder, 6},
    {"slot", slot, fitSlot, 3},
};

TEST(ProbeCompensation, GivesTheFeatureThatWasTouched) {
  for (const Shape& shape : kShapes) {
    for (const bool from_inside : {true, false}) {
      for (const float probe : {0.0F, 0.5F, 3.0F}) {
        SCOPED_TRACE(testing::Message()
                     << shape.name << (from_inside ? " inside " : " outside ") << probe);
        const Touches t = touch(shape.surface(), probe, from_inside);
        std::vector<float> compensated(t.points.size()), errors(t.points.size());
        const Result by_normal = shape.fit(t, probe, nullptr, compensated.data(), errors.data());
        EXPECT_EQ(by_normal.code, 0);
        EXPECT_NEAR(by_normal.radius, kRadius, 2e-4);
        EXPECT_LT(by_normal.off_center, 3e-4);
        EXPECT_LT(by_normal.off_axis, 3e-5);
        EXPECT_NEAR(by_normal.off_length, 0, 1e-3);
        const Surface truth = shape.surface();
        for (std::size_t i = 0; i < truth.points.size(); ++i) {
          const float* p = &compensated[3 * i];
          EXPECT_LT(cv::norm(cv::Vec3d(p[0], p[1], p[2]) - truth.points[i]), 2e-3);
          EXPECT_LT(std::hypot(errors[3 * i], errors[3 * i + 1], errors[3 * i + 2]), 1e-3);
        }
        // The caller's word counts more than the normals.
        const bool opposite = !from_inside;
        const Result by_flag = shape.fit(t, probe, &opposite, nullptr, nullptr);
        EXPECT_EQ(by_flag.code, 0);
        EXPECT_NEAR(by_flag.radius, kRadius + (from_inside ? -2 : 2) * probe, 2e-4);
      }
    }
  }
}

TEST(ProbeCompensation, ErrorsAndPointsFollowOnePointThatIsOff) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    constexpr double kOff = 0.1;
    Surface surface = shape.surface();
    surface.points[7] += kOff * surface.outward[7];
    const Touches t = touch(surface, 1.0, true);
    std::vector<float> compensated(t.points.size()), errors(t.points.size());
    ASSERT_EQ(shape.fit(t, 1.0F, nullptr, compensated.data(), errors.data()).code, 0);
    const cv::Vec3d error(errors[21], errors[22], errors[23]);
    const cv::Vec3d point(compensated[21], compensated[22], compensated[23]);
    // The fit gives way by a few hundredths at most; what is left points outwards.
    EXPECT_NEAR(error.dot(surface.outward[7]), kOff, 0.03);
    EXPECT_LT(cv::norm(error.cross(surface.outward[7])), 2e-3);
    const double moved = (point - surface.points[7]).dot(surface.outward[7]);
    // CONTRACT: the cylinder's point lands on the surface, the others keep their deviation.
    EXPECT_NEAR(moved, std::string(shape.name) == "cylinder" ? -kOff : 0.0, 0.03);
  }
}

TEST(ProbeCompensation, FailsBelowTheMinimumAndLeavesTheArrays) {
  for (const Shape& shape : kShapes) {
    for (const int count : {-1, 0, 1, shape.min_count - 1}) {
      SCOPED_TRACE(testing::Message() << shape.name << ' ' << count);
      Touches t = touch(shape.surface(), 1.0, true);
      t.count = count;
      t.end1 = std::min(t.end1, count);
      std::vector<float> compensated(t.points.size(), 9), errors(t.points.size(), 9);
      EXPECT_EQ(shape.fit(t, 1.0F, nullptr, compensated.data(), errors.data()).code, -1);
      EXPECT_THAT(compensated, testing::Each(9));
      EXPECT_THAT(errors, testing::Each(9));
    }
  }
}

TEST(ProbeCompensation, EndsOnDataThatIsNotFiniteOrDegenerate) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    for (const float bad : {kNaN, std::numeric_limits<float>::infinity(), 1e30F}) {
      Touches t = touch(shape.surface(), 1.0, true);
      t.points[4] = bad;
      t.normals[5] = bad;
      std::vector<float> compensated(t.points.size());
      shape.fit(t, 1.0F, nullptr, compensated.data(), nullptr);
    }
    Touches coincident = touch(shape.surface(), 1.0, true);
    std::fill(coincident.points.begin(), coincident.points.end(), 3.0F);
    shape.fit(coincident, 1.0F, nullptr, nullptr, nullptr);
  }
}

TEST(XOvalGroove3DFitEnds, MayComeInEitherOrder) {
  const Touches t = touch(slot(), 0.0, true);
  Touches swapped = t;
  const std::ptrdiff_t half = 3 * t.end1;
  std::rotate(swapped.points.begin(), swapped.points.begin() + half, swapped.points.end());
  const Result in_order = fitSlot(t, 0, nullptr, nullptr, nullptr);
  const Result reversed = fitSlot(swapped, 0, nullptr, nullptr, nullptr);
  EXPECT_NEAR(in_order.radius, reversed.radius, 1e-4);
  EXPECT_LT(reversed.off_center, 3e-4);
}

TEST(XCircle3DFitSinglePoint, IsTheSectionOfTheTip) {
  float plane[] = {0, 0, 2, 0, 0, 1};
  const float point[] = {5, 6, 5};
  XCircle3DFit fit;
  EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, 5.0F), 0);
  EXPECT_THAT(fit.center, testing::ElementsAre(5, 6, 2));
  EXPECT_FLOAT_EQ(fit.radius, 4.0F);
  EXPECT_NEAR(cv::Vec3d(fit.majorDir[0], fit.majorDir[1], fit.majorDir[2]).dot({0, 0, 1}), 0, 1e-6);
  // On the limit, past it, and without a height.
  for (const float radius : {3.0F, 2.0F, kNaN}) {
    EXPECT_EQ(fit.Fit_SinglePoint(point, nullptr, plane, radius), -1);
    EXPECT_FLOAT_EQ(fit.radius, 4.0F);
  }
}

TEST(XCircle3DFitBasic, WritesTheProjectedPoints) {
  Touches t = touch(circle(), 0.0, true);
  for (std::size_t i = 0; i < t.points.size(); i += 3) {
    for (int k = 0; k < 3; ++k) t.points[i + k] += static_cast<float>(4.0 * kZ[k]);
  }
  auto plane = planeOfFeature();
  std::vector<float> projected(t.points.size());
  XCircle3DFit fit;
  ASSERT_EQ(fit.Fit(t.points.data(), nullptr, t.count, plane.data(), projected.data()), 0);
  EXPECT_NEAR(fit.radius, kRadius, 1e-4);
  for (std::size_t i = 0; i < projected.size(); i += 3) {
    const cv::Vec3d p(projected[i], projected[i + 1], projected[i + 2]);
    EXPECT_NEAR((p - kCenter).dot(kZ), 0, 1e-4);
  }
  float no_normal[6] = {};
  EXPECT_EQ(fit.Fit(t.points.data(), nullptr, t.count, no_normal, nullptr), -1);
}

TEST(XCylinderFitAxis, IsFoundOnAShortWideCylinder) {
  // The axis of largest spread lies across this one.
  std::vector<float> points;
  for (int i = 0; i < 90; ++i) {
    const double t = 0.37 * i;
    push(points, inFrame(40 * std::cos(t), 40 * std::sin(t), 0.05 * i));
  }
  XCylinderFit fit;
  ASSERT_EQ(fit.Fit(points.data(), nullptr, 90), 0);
  EXPECT_LT(sineToZ(fit.axis), 1e-4);
  EXPECT_NEAR(fit.radius, 40, 1e-3);
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
  const auto height = [](const float* p) {
    return (cv::Vec3d(p[0], p[1], p[2]) - kCenter).dot(kZ);
  };
  EXPECT_NEAR(height(fit.center), 0, 1e-4);
  EXPECT_NEAR(height(fit.corners + 9), 0, 1e-4);
  EXPECT_NEAR(height(&compensated[30]), 0, 1e-4);
  EXPECT_NEAR(cv::Vec3d(fit.a, fit.b, fit.c).dot(kCenter) + fit.d, 0, 1e-4);
  EXPECT_LT(std::fabs(errors[31]), 1e-4);
  xgeofeature::XFPlane plane;
  fit.getPlane(plane);
  EXPECT_FLOAT_EQ(plane.length, 40.0F);
  EXPECT_FLOAT_EQ(plane.width, 28.0F);

  // The first normal alone decides; the others orient the plane.
  for (int k = 0; k < 3; ++k) normals[static_cast<std::size_t>(k)] *= -1;
  ASSERT_EQ(fit.Fit(points.data(), normals.data(), 25, 2.0F, nullptr, nullptr), 0);
  EXPECT_NEAR(height(fit.center), 4, 1e-4);
  EXPECT_EQ(fit.Fit(points.data(), normals.data(), 2, 2.0F, nullptr, nullptr), -1);
}

}  // namespace
}  // namespace xgeofit
