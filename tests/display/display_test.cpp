// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "zelmo/display/outlines.h"
#include "zelmo/display/solids.h"

namespace xgeometry {
namespace {

using testing::Each;
using testing::ElementsAreArray;
using zelmo::test::standardOutputOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kUntouched = -77.0F;

// Unit vectors exact in few bits, so the frame is known without rounding of its own.
const float kCenter[3] = {30, -20, 50};
const float kNormal[3] = {0, 0.6F, -0.8F};
const float kMajor[3] = {0.6F, 0.64F, 0.48F};
const float kZero[3] = {0, 0, 0};

/// Local coordinates of a point, by products with the axes.
cv::Vec3d local(const float* p) {
  const cv::Vec3d n(kNormal[0], kNormal[1], kNormal[2]);
  const cv::Vec3d x(kMajor[0], kMajor[1], kMajor[2]);
  const cv::Vec3d d(p[0] - kCenter[0], p[1] - kCenter[1], p[2] - kCenter[2]);
  return {d.dot(x), d.dot(n.cross(x)), d.dot(n)};
}

/// What \p write puts into a buffer, in local coordinates, and how many points those are.
std::vector<cv::Vec3d> written(const std::function<int(float*)>& write) {
  std::vector<float> buffer(3 * 400, kUntouched);
  standardOutputOf([&] { EXPECT_EQ(write(buffer.data()), 0); });
  std::vector<cv::Vec3d> points;
  for (std::size_t i = 0; i < buffer.size() && buffer[i] != kUntouched; i += 3) {
    points.push_back(local(&buffer[i]));
  }
  for (std::size_t i = 3 * points.size(); i < buffer.size(); ++i) EXPECT_EQ(buffer[i], kUntouched);
  return points;
}

/// Signed distance from a rectangle of half sizes \p a and \p b whose corners have radius \p r. Every
/// outline is one.
double offOutline(const cv::Vec3d& p, double a, double b, double r) {
  const double x = std::fabs(p[0]) - (a - r);
  const double y = std::fabs(p[1]) - (b - r);
  const double outside = std::hypot(std::max(x, 0.0), std::max(y, 0.0));
  return outside + std::min(std::max(x, y), 0.0) - r;
}

double angleOf(const cv::Vec3d& p) { return std::atan2(p[1], p[0]); }

struct OutlineCase {
  const char* name;
  double a, b, r;
  int count;
  std::size_t points;
  std::function<int(float*)> write, write_fields;
};

std::vector<OutlineCase> outlines() {
  std::vector<OutlineCase> cases;
  for (const int count : {0, -9, 1, 3, 4, 7, 64, 102}) {
    const auto q = static_cast<std::size_t>(std::max(0, count / 4));
    const auto all = static_cast<std::size_t>(std::max(0, count));
    cases.push_back({"Circle", 7, 7, 7, count, all,
                     [count](float* out) {
                       XCicle3D other(kZero, kZero, kZero, 1);
                       return other.getDisplayData(kCenter, kNormal, kMajor, 7.0F, count, out);
                     },
                     [count](float* out) {
                       return XCicle3D(kCenter, kNormal, kMajor, 7).getDisplayData(count, out);
                     }});
    cases.push_back(
        {"Oval", 12, 5, 5, count, 4 * q + 4,
         [count](float* out) {
           XOvalGroove3D other(kZero, kZero, kZero, 1, 1);
           return other.getDisplayData(kCenter, kNormal, kMajor, 7.0F, 5.0F, count, out);
         },
         [count](float* out) {
           return XOvalGroove3D(kCenter, kNormal, kMajor, 7, 5).getDisplayData(count, out);
         }});
    cases.push_back(
        {"Round", 12, 8, 3, count, 4 * q + 8,
         [count](float* out) {
           XRoundGroove3D other(kZero, kZero, kZero, 1, 1, 1);
           return other.getDisplayData(kCenter, kNormal, kMajor, 12.0F, 8.0F, 3.0F, count, out);
         },
         [count](float* out) {
           return XRoundGroove3D(kCenter, kNormal, kMajor, 12, 8, 3).getDisplayData(count, out);
         }});
  }
  cases.push_back({"Rectangle", 12, 8, 0, 0, 4,
                   [](float* out) {
                     XRectangle3D other(kZero, kZero, kZero, 1, 1);
                     return other.getDisplayData(kCenter, kNormal, kMajor, 12.0F, 8.0F, out);
                   },
                   [](float* out) {
                     return XRectangle3D(kCenter, kNormal, kMajor, 12, 8).getDisplayData(out);
                   }});
  return cases;
}

TEST(Outlines, RunOnceRoundTheIdealOutline) {
  for (const OutlineCase& c : outlines()) {
    SCOPED_TRACE(testing::Message() << c.name << " " << c.count);
    const auto points = written(c.write);
    ASSERT_EQ(points.size(), c.points);
    EXPECT_EQ(written(c.write_fields), points);
    if (c.count % 4 != 0 && c.points != static_cast<std::size_t>(std::max(0, c.count))) continue;
    double turned = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_NEAR(points[i][2], 0, 1e-5);
      EXPECT_NEAR(offOutline(points[i], c.a, c.b, c.r), 0, 1e-5) << i << points[i];
      const double step = angleOf(points[(i + 1) % points.size()]) - angleOf(points[i]);
      turned += std::remainder(step, 2 * CV_PI);
      EXPECT_GT(std::remainder(step, 2 * CV_PI), points.size() < 3 ? -4 : -1e-6) << i;
    }
    if (points.size() > 2) {
      EXPECT_NEAR(turned, 2 * CV_PI, 1e-5);
    }
  }
}

TEST(Outlines, ACountThatIsNoMultipleOfFourKeepsItsStep) {
  // Seven points a turn, one a quarter: the arcs start where the step has carried the angle.
  const double s = 2 * CV_PI / 7;
  const auto at = [s](double x, double y, double r, int i) {
    return cv::Vec3d(x + r * std::cos(i * s), y + r * std::sin(i * s), 0);
  };
  const std::vector<cv::Vec3d> oval = {at(7, 0, 5, -1), at(7, 0, 5, 0),  {7, 5, 0},   {-7, 5, 0},
                                       at(-7, 0, 5, 1), at(-7, 0, 5, 2), {-7, -5, 0}, {7, -5, 0}};
  const std::vector<cv::Vec3d> round = {
      at(9, 5, 3, 0),   {9, 8, 0},   {-9, 8, 0}, at(-9, 5, 3, 1), {-12, 5, 0}, {-12, -5, 0},
      at(-9, -5, 3, 2), {-9, -8, 0}, {9, -8, 0}, at(9, -5, 3, 3), {12, -5, 0}, {12, 5, 0}};
  const auto cases = outlines();
  const auto expect_points = [](const std::vector<cv::Vec3d>& points,
                                const std::vector<cv::Vec3d>& expected) {
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_LT(cv::norm(points[i] - expected[i]), 1e-5) << i;
    }
  };
  expect_points(written(cases[5 * 3 + 1].write), oval);
  expect_points(written(cases[5 * 3 + 2].write), round);
}

TEST(Outlines, StartWhereTheHostExpects) {
  EXPECT_LT(cv::norm(written(outlines()[6 * 3].write)[0] - cv::Vec3d(7, 0, 0)), 1e-5);
  // The oval begins at the end of its last side, the round groove beside its first corner.
  EXPECT_LT(cv::norm(written(outlines()[6 * 3 + 1].write)[0] - cv::Vec3d(7, -5, 0)), 1e-5);
  EXPECT_LT(cv::norm(written(outlines()[6 * 3 + 2].write)[0] - cv::Vec3d(12, 5, 0)), 1e-5);
  const auto corners = written(outlines().back().write);
  const cv::Vec3d expected[4] = {{12, 8, 0}, {-12, 8, 0}, {-12, -8, 0}, {12, -8, 0}};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_LT(cv::norm(corners[i] - expected[i]), 1e-5);
}

TEST(Outlines, ACircleWithoutMajorDirectionStartsByThePerpendicularRule) {
  XCicle3D circle(kZero, kZero, kZero, 1);
  // The largest component of the normal is z: the first point lies along (1, 0, -x / z).
  float p[12];
  const float normal[3] = {0.48F, 0.6F, -0.64F};
  standardOutputOf([&] { EXPECT_EQ(circle.getDisplayData2(kZero, normal, 10.0F, 4, p), 0); });
  EXPECT_NEAR(p[0], 8, 1e-5);
  EXPECT_NEAR(p[1], 0, 1e-5);
  EXPECT_NEAR(p[2], 6, 1e-5);
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(std::hypot(p[3 * i], p[3 * i + 1], p[3 * i + 2]), 10, 1e-5);
    EXPECT_NEAR(p[3 * i] * normal[0] + p[3 * i + 1] * normal[1] + p[3 * i + 2] * normal[2], 0,
                1e-5);
  }
}

TEST(Outlines, EachCallPrintsItsAlignment) {
  const float normal[3] = {0, 1, 0};
  const float major[3] = {1, 0, 0};
  float out[12];
  const std::string printed =
      standardOutputOf([&] { XRectangle3D(kZero, normal, major, 2, 1).getDisplayData(out); });
  // X stays; the quarter turn about it is R2.
  EXPECT_EQ(printed.substr(0, printed.find("R1")),
            "vec_model:\n[1, 0, 0]\n[0, 0, -1]\n[0, 1, 0]\n"
            "vec_test\n[1, 0, 0]\n[0, 1, 0]\n[0, 0, 1]\n");
  const auto matrices = printed.substr(printed.find("R1"));
  EXPECT_THAT(matrices,
              testing::MatchesRegex("R1\\[(.|\n)*\\]\nR2\\[(.|\n)*\\]\nR\\[(.|\n)*\\]\n"));
  EXPECT_EQ(std::count(matrices.begin(), matrices.end(), ';'), 6);
  const std::string of_nothing =
      standardOutputOf([&] { XCicle3D(kZero, normal, major, 2).getDisplayData(0, out); });
  EXPECT_EQ(of_nothing, printed);
}

TEST(Outlines, WriteNothingWithoutAFrameOrABuffer) {
  const float nan[3] = {kNaN, 0, 0};
  standardOutputOf([&] {
    for (const float* normal : {kZero, nan, kMajor}) {
      std::vector<float> out(60, kUntouched);
      XCicle3D circle(kCenter, normal, kMajor, 1);
      EXPECT_EQ(circle.getDisplayData(8, out.data()), 0);
      EXPECT_EQ(XOvalGroove3D(kCenter, normal, kMajor, 1, 1).getDisplayData(8, out.data()), 0);
      EXPECT_EQ(XRectangle3D(kCenter, normal, kMajor, 1, 1).getDisplayData(out.data()), 0);
      EXPECT_EQ(XRoundGroove3D(kCenter, kNormal, kZero, 1, 1, 1).getDisplayData(8, out.data()), 0);
      if (normal != kMajor) {
        EXPECT_EQ(circle.getDisplayData2(kCenter, normal, 1, 8, out.data()), 0);
      }
      EXPECT_THAT(out, Each(kUntouched));
    }
    EXPECT_EQ(XCicle3D(kCenter, kNormal, kMajor, 1).getDisplayData(8, nullptr), 0);
    EXPECT_EQ(XOvalGroove3D(kCenter, kNormal, kMajor, 1, 1).getDisplayData(8, nullptr), 0);
    EXPECT_EQ(XRectangle3D(kCenter, kNormal, kMajor, 1, 1).getDisplayData(nullptr), 0);
    EXPECT_EQ(XRoundGroove3D(kCenter, kNormal, kMajor, 1, 1, 1).getDisplayData(8, nullptr), 0);
  });
}

TEST(Solids, HaveTwoRingsAcrossTheAxis) {
  for (const float radius : {5.0F, 2.0F}) {  // of the second ring; 5 is the cylinder
    for (const auto& axis :
         {std::array<float, 3>{0, 0.6F, -0.8F}, {0.6F, 0.64F, 0.48F}, {0, 0, 1}, {-1, 0, 0}}) {
      constexpr int kCount = 13;
      std::vector<float> first(3 * kCount + 1, kUntouched), second = first;
      XCylinder cylinder(kCenter, axis.data(), 9, radius);
      XCone cone(kCenter, axis.data(), 9, 5, radius);
      EXPECT_EQ(radius == 5 ? cylinder.getDisplayData(kCount, first.data(), second.data())
                            : cone.getDisplayData(kCount, first.data(), second.data()),
                0);
      EXPECT_EQ(first.back(), kUntouched);
      EXPECT_EQ(second.back(), kUntouched);
      const cv::Vec3d u(axis[0], axis[1], axis[2]), c(kCenter[0], kCenter[1], kCenter[2]);
      const cv::Vec3d start = cv::Vec3d(first[0], first[1], first[2]) - c;
      for (std::size_t i = 0; i < kCount; ++i) {
        const cv::Vec3d p = cv::Vec3d(first[3 * i], first[3 * i + 1], first[3 * i + 2]) - c;
        const cv::Vec3d q =
            cv::Vec3d(second[3 * i], second[3 * i + 1], second[3 * i + 2]) - c - 9 * u;
        EXPECT_LT(cv::norm(q - p * (radius / 5)), 2e-5);
        EXPECT_NEAR(cv::norm(p), 5, 1e-5);
        EXPECT_NEAR(p.dot(u), 0, 1e-5);
        const double angle = std::atan2(start.cross(p).dot(u), start.dot(p));
        EXPECT_NEAR(std::remainder(angle - 2 * CV_PI * static_cast<double>(i) / kCount, 2 * CV_PI),
                    0, 1e-5);
        if (radius == 5) {
          for (std::size_t k = 3 * i; k < 3 * i + 3; ++k) {
            EXPECT_EQ(second[k], static_cast<float>(first[k] + 9.0 * axis[k % 3]));
          }
        }
      }
      // The first point lies along the auxiliary vector: two equal components but for the largest.
      if (axis[2] == 1) {
        EXPECT_NEAR(start[0], start[1], 1e-5);
      }
    }
  }
}

TEST(Solids, WriteNothingWithoutCountAxisOrBuffer) {
  std::vector<float> first(30, kUntouched), second = first;
  const float nan[3] = {0, kNaN, 1};
  for (const int count : {0, -3}) {
    EXPECT_EQ(XCylinder(kCenter, kNormal, 1, 1).getDisplayData(count, first.data(), second.data()),
              0);
    EXPECT_EQ(XCone(kCenter, kNormal, 1, 1, 2).getDisplayData(count, first.data(), second.data()),
              0);
  }
  for (const float* axis : {kZero, nan}) {
    EXPECT_EQ(XCylinder(kCenter, axis, 1, 1).getDisplayData(9, first.data(), second.data()), 0);
    EXPECT_EQ(XCone(kCenter, axis, 1, 1, 2).getDisplayData(9, first.data(), second.data()), 0);
  }
  EXPECT_EQ(XCylinder(kCenter, kNormal, 1, 1).getDisplayData(9, nullptr, second.data()), 0);
  EXPECT_EQ(XCone(kCenter, kNormal, 1, 1, 2).getDisplayData(9, first.data(), nullptr), 0);
  EXPECT_THAT(first, Each(kUntouched));
  EXPECT_THAT(second, Each(kUntouched));
  XSphere sphere, other_sphere(sphere);
  XPlane plane, other_plane(plane);
  other_sphere = sphere;
  other_plane = plane;
}

// The routines that both bases hand to their classes.
struct OpenCurve : XCurve3D {
  using XCurve3D::alignBy3Plane;
  using XCurve3D::convertMatrixRT;
  using XCurve3D::getMatRByVector;
  using XCurve3D::Intersection3Planes;
  using XCurve3D::projection2Plane;
};
struct OpenGeometry : XGeometry3D {
  using XGeometry3D::alignBy3Plane;
  using XGeometry3D::convertMatrixRT;
  using XGeometry3D::getMatRByVector;
  using XGeometry3D::Intersection3Planes;
  using XGeometry3D::projection2Plane;
};

template <typename Base>
struct FrameRoutines : testing::Test {};
using Bases = testing::Types<OpenCurve, OpenGeometry>;
TYPED_TEST_SUITE(FrameRoutines, Bases);

TYPED_TEST(FrameRoutines, WorkAsTold) {
  TypeParam base;
  const cv::Vec3d normals[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const cv::Point3d points[3] = {{1, 9, 9}, {9, 2, 9}, {9, 9, 3}};
  cv::Mat met;
  EXPECT_EQ(base.Intersection3Planes(normals, points, met), 1);
  EXPECT_EQ(cv::norm(met, cv::Mat(cv::Vec3d(1, 2, 3))), 0);
  const cv::Vec3d flat[3] = {{1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  EXPECT_EQ(base.Intersection3Planes(flat, points, met), 0);
  EXPECT_EQ(cv::norm(met, cv::Mat(cv::Vec3d(1, 2, 3))), 0);

  cv::Mat r;
  base.getMatRByVector({0, 0, 2}, {3, 0, 0}, r);
  EXPECT_LT(cv::norm(r * cv::Mat(cv::Vec3d(0, 0, 1)), cv::Mat(cv::Vec3d(1, 0, 0))), 1e-12);

  const cv::Vec3d turned[3] = {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}};
  double rt[16], back[16], twice[16];
  standardOutputOf([&] { base.alignBy3Plane(turned, points, normals, points, rt); });
  EXPECT_NEAR(rt[4], 1, 1e-12);
  EXPECT_EQ(base.convertMatrixRT(rt, back), 1);
  EXPECT_EQ(base.convertMatrixRT(back, twice), 1);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(twice[i], rt[i], 1e-12);
  std::vector<double> untouched(16, -1);
  standardOutputOf([&] { base.alignBy3Plane(normals, points, flat, points, untouched.data()); });
  EXPECT_THAT(untouched, Each(-1));

  double plane[4] = {0, 0, 1, -5};
  std::vector<cv::Point3f> projected = {{1, 2, 3}, {4, 5, 6}};
  base.projection2Plane(projected, plane, projected);
  EXPECT_EQ(projected[1], cv::Point3f(4, 5, 5));
}

TEST(FrameRoutinesOfTheBases, DifferWhereTheCrossesAreOpposite) {
  // The third target axis is reversed, so the second rotation is a half-turn. Only about the first
  // normal does that normal stay where the first rotation put it.
  const cv::Vec3d target[3] = {{0.6, 0.64, 0.48}, {0.8, -0.48, -0.36}, {0, -0.6, 0.8}};
  const cv::Vec3d source[3] = {target[0], -target[1], target[2]};
  const cv::Point3d origin[3];
  double guarded[16], plain[16];
  const std::string printed =
      standardOutputOf([&] { OpenCurve().alignBy3Plane(target, origin, source, origin, guarded); });
  EXPECT_THAT(printed, testing::StartsWith("vec_model:\n[0.6, 0.64, 0.48]\n"));
  EXPECT_EQ(standardOutputOf(
                [&] { OpenGeometry().alignBy3Plane(target, origin, source, origin, plain); }),
            "");
  const auto moved = [](const double* rt, const cv::Vec3d& v) {
    return cv::Vec3d(rt[0] * v[0] + rt[1] * v[1] + rt[2] * v[2],
                     rt[4] * v[0] + rt[5] * v[1] + rt[6] * v[2],
                     rt[8] * v[0] + rt[9] * v[1] + rt[10] * v[2]);
  };
  EXPECT_LT(cv::norm(moved(guarded, source[0]) - target[0]), 1e-9);
  EXPECT_LT(cv::norm(moved(guarded, source[1]) - target[1]), 1e-9);
  EXPECT_GT(cv::norm(moved(plain, source[0]) - target[0]), 0.1);
}

}  // namespace
}  // namespace xgeometry
