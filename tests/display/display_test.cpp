// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <functional>
#include <limits>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "zelmo/display/outlines.h"
#include "zelmo/display/solids.h"

namespace xgeometry {
namespace {

using testing::Each;
using zelmo::test::standardOutputOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kUntouched = -77.0F;

// Unit vectors exact in few bits, so the frame is known without rounding of its own.
const float kCenter[3] = {30, -20, 50};
const float kNormal[3] = {0, 0.6F, -0.8F};
const float kMajor[3] = {0.6F, 0.64F, 0.48F};
const float kZero[3] = {0, 0, 0};

cv::Vec3d at(const float* p) { return {p[0], p[1], p[2]}; }

/// What \p write puts into a buffer, in the coordinates of the frame above.
std::vector<cv::Vec3d> written(const std::function<int(float*)>& write) {
  std::vector<float> buffer(3 * 400, kUntouched);
  standardOutputOf([&] { EXPECT_EQ(write(buffer.data()), 0); });
  const cv::Vec3d x = at(kMajor), z = at(kNormal);
  std::vector<cv::Vec3d> points;
  for (; buffer[0] != kUntouched; buffer.erase(buffer.begin(), buffer.begin() + 3)) {
    const cv::Vec3d d = at(buffer.data()) - at(kCenter);
    points.emplace_back(d.dot(x), d.dot(z.cross(x)), d.dot(z));
  }
  EXPECT_THAT(buffer, Each(kUntouched));
  return points;
}

/// Signed distance from a rectangle of half sizes \p a and \p b whose corners have radius \p r. Every
/// outline is one.
double offOutline(const cv::Vec3d& p, double a, double b, double r) {
  const double x = std::fabs(p[0]) - (a - r), y = std::fabs(p[1]) - (b - r);
  return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0) - r;
}

/// One outline of half sizes a and b and corner radius r, written from arguments and from fields.
struct Outline {
  const char* name;
  double a, b, r;
  int fixed_points;  // beside those of the arcs
  cv::Vec3d first;   // with four points on the arcs
  std::function<int(const float*, int, float*)> by_arguments, by_fields;  // normal, count, buffer
};

/// A rectangle that is given a count like the others.
struct CountedRectangle : XRectangle3D {
  using XRectangle3D::XRectangle3D;
  int getDisplayData(int, float* out) { return XRectangle3D::getDisplayData(out); }
  int getDisplayData(const float* c, const float* n, const float* x, float a, float b, int,
                     float* out) {
    return XRectangle3D::getDisplayData(c, n, x, a, b, out);
  }
};

template <typename Shape, typename... Sizes>
Outline outline(Outline out, Sizes... sizes) {
  out.by_arguments = [=](const float* n, int count, float* to) {
    Shape other(kZero, kZero, kZero, 0 * sizes...);
    return other.getDisplayData(kCenter, n, kMajor, sizes..., count, to);
  };
  out.by_fields = [=](const float* n, int count, float* to) {
    return Shape(kCenter, n, kMajor, sizes...).getDisplayData(count, to);
  };
  return out;
}

const Outline kOutlines[] = {
    outline<XCicle3D>({"Circle", 7, 7, 7, 0, {7, 0, 0}, {}, {}}, 7.0F),
    outline<XOvalGroove3D>({"Oval", 12, 5, 5, 4, {7, -5, 0}, {}, {}}, 7.0F, 5.0F),
    outline<XRoundGroove3D>({"Round", 12, 8, 3, 8, {12, 5, 0}, {}, {}}, 12.0F, 8.0F, 3.0F),
    outline<CountedRectangle>({"Rectangle", 12, 8, 0, 4, {12, 8, 0}, {}, {}}, 12.0F, 8.0F),
};

TEST(Outlines, RunOnceRoundTheIdealOutline) {
  for (const Outline& c : kOutlines) {
    for (const int count : {0, -9, 3, 4, 7, 64, 102}) {
      SCOPED_TRACE(testing::Message() << c.name << " " << count);
      const auto points = written([&](float* out) { return c.by_arguments(kNormal, count, out); });
      EXPECT_EQ(written([&](float* out) { return c.by_fields(kNormal, count, out); }), points);
      const int on_arcs = c.r == 0 ? 0 : std::max(0, c.fixed_points == 0 ? count : count / 4 * 4);
      ASSERT_EQ(static_cast<int>(points.size()), c.fixed_points + on_arcs);
      EXPECT_LT(count == 4 ? cv::norm(points[0] - c.first) : 0, 1e-5);
      if (count % 4 != 0 && c.fixed_points != 0) continue;  // the arcs leave the outline
      double turned = 0;
      for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_NEAR(points[i][2], 0, 1e-5);
        EXPECT_NEAR(offOutline(points[i], c.a, c.b, c.r), 0, 1e-5) << i << points[i];
        const cv::Vec3d& next = points[(i + 1) % points.size()];
        const double step = std::atan2(points[i].cross(next)[2], points[i].dot(next));
        EXPECT_GT(step, -1e-6) << i;
        turned += step;
      }
      EXPECT_NEAR(turned, points.empty() ? 0 : 2 * CV_PI, 1e-5);
    }
  }
}

TEST(Outlines, ACountThatIsNoMultipleOfFourKeepsItsStep) {
  // Seven points a turn, one a quarter: the arcs start where the step has carried the angle. Per
  // point the center of its arc and its step, or the end of a side.
  constexpr int kEnd = 99;
  const int points_of_oval[][3] = {{7, 0, -1}, {7, 0, 0},  {7, 5, kEnd},   {-7, 5, kEnd},
                                   {-7, 0, 1}, {-7, 0, 2}, {-7, -5, kEnd}, {7, -5, kEnd}};
  const auto points = written([](float* out) { return kOutlines[1].by_fields(kNormal, 7, out); });
  ASSERT_EQ(points.size(), std::size(points_of_oval));
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto& [x, y, step] = points_of_oval[i];
    const double angle = step * 2 * CV_PI / 7, r = step == kEnd ? 0 : 5;
    const cv::Vec3d expected(x + r * std::cos(angle), y + r * std::sin(angle), 0);
    EXPECT_LT(cv::norm(points[i] - expected), 1e-5) << i;
  }
}

TEST(Outlines, ACircleWithoutMajorDirectionStartsByThePerpendicularRuleInDouble) {
  const cv::Vec3d n(cv::Vec3f(0.48F, -0.6F, 0.64F));
  for (const auto& [normal, v] : {std::pair(cv::Vec3d(n[0], n[1], n[2]), cv::Vec3d(n[2], 0, -n[0])),
                                  {{n[0], n[2], n[1]}, {n[2], -n[0], 0}},
                                  {{n[2], n[1], n[0]}, {-n[1], n[2], 0}}}) {
    float p[12];
    XCicle3D circle(kZero, kZero, kZero, 1);
    const cv::Vec3f given(normal);
    standardOutputOf([&] { EXPECT_EQ(circle.getDisplayData2(kZero, given.val, 10, 4, p), 0); });
    EXPECT_LT(cv::norm(cv::Vec3f(p) - cv::Vec3f(v * (10 / cv::norm(v)))), 1e-9);
    EXPECT_LT(cv::norm(at(p + 3) - normal.cross(at(p))), 1e-5);
  }
}

TEST(Outlines, EachCallPrintsItsAlignment) {
  // Quarter turns without rounding: R1 about z carries X to Y, R2 about Y carries Z to X.
  const float normal[3] = {1, 0, 0}, major[3] = {0, 1, 0};
  float out[12];
  const std::string printed =
      standardOutputOf([&] { XRectangle3D(kZero, normal, major, 2, 1).getDisplayData(out); });
  EXPECT_EQ(std::regex_replace(printed, std::regex("-0,"), "0,"),
            "vec_model:\n[0, 1, 0]\n[0, 0, 1]\n[1, 0, 0]\n"
            "vec_test\n[1, 0, 0]\n[0, 1, 0]\n[0, 0, 1]\n"
            "R1[0, -1, 0;\n 1, 0, 0;\n 0, 0, 1]\n"
            "R2[0, 0, 1;\n 0, 1, 0;\n -1, 0, 0]\n"
            "R[0, 0, 1;\n 1, 0, 0;\n 0, 1, 0]\n");
}

TEST(Solids, HaveTwoRingsAcrossTheAxis) {
  for (const cv::Vec3f& axis :
       {cv::Vec3f(0, 0.6F, -0.8F), {0.6F, 0.64F, 0.48F}, {0, 0, 1}, {-1, 0, 0}}) {
    const cv::Vec3d u(axis), center = at(kCenter);
    std::vector<float> ring(3 * 13 + 1, kUntouched), top = ring, base = ring, wide = ring;
    EXPECT_EQ(XCylinder(kCenter, axis.val, 9, 5).getDisplayData(13, &ring[0], &top[0]), 0);
    EXPECT_EQ(XCone(kCenter, axis.val, 9, 5, 2).getDisplayData(13, &base[0], &wide[0]), 0);
    EXPECT_EQ(base, ring);
    // The first point lies along the auxiliary vector: equal components but for the largest.
    const cv::Vec3d start = at(&ring[0]) - center;
    EXPECT_NEAR(axis[2] == 1 ? start[0] : 0, axis[2] == 1 ? start[1] : 0, 1e-5);
    for (std::size_t i = 0; i < 3 * 13; i += 3) {
      const double angle = 2 * CV_PI * static_cast<double>(i) / (3 * 13);
      const cv::Vec3d p = at(&ring[i]) - center;
      EXPECT_LT(cv::norm(p - std::cos(angle) * start - std::sin(angle) * u.cross(start)), 2e-5);
      EXPECT_NEAR(cv::norm(p), 5, 1e-5);
      EXPECT_NEAR(p.dot(u), 0, 1e-5);
      EXPECT_LT(cv::norm(at(&wide[i]) - center - 9 * u - p * 0.4), 2e-5);
      EXPECT_EQ(cv::Vec3f(&top[i]), cv::Vec3f(at(&ring[i]) + 9.0 * u));
    }
    for (const auto& written : {ring, top, base, wide}) EXPECT_EQ(written.back(), kUntouched);
  }
}

TEST(OutlinesAndSolids, WriteNothingWithoutCountFrameOrBuffer) {
  const std::vector<float> untouched(60, kUntouched);
  std::vector<float> first = untouched, second = untouched;
  const float nan[3] = {0, kNaN, 1};
  float *const one = first.data(), *const other = second.data(), *const no_buffer = nullptr;
  for (const auto& [axis, count, a, b] :
       {std::tuple(kNormal, -3, one, other), std::tuple(kZero, 9, one, other),
        std::tuple(nan, 9, one, other), std::tuple(kNormal, 9, no_buffer, other),
        std::tuple(kNormal, 9, one, no_buffer)}) {
    EXPECT_EQ(XCylinder(kCenter, axis, 1, 1).getDisplayData(count, a, b), 0);
    EXPECT_EQ(XCone(kCenter, axis, 1, 1, 2).getDisplayData(count, a, b), 0);
    if (b != other || count < 0) continue;
    standardOutputOf([&, axis_ = axis, a_ = a] {
      for (const Outline& c : kOutlines) EXPECT_EQ(c.by_fields(axis_, 8, a_), 0);
      XCicle3D(kZero, kZero, kZero, 1).getDisplayData2(kCenter, axis_, 1, 8, a_);
    });
  }
  EXPECT_EQ(first, untouched);
  EXPECT_EQ(second, untouched);
}

// The routines that both bases hand to their classes.
template <typename Base>
struct Open : Base {
  using Base::alignBy3Plane;
  using Base::convertMatrixRT;
  using Base::Intersection3Planes;
  using Base::projection2Plane;
};
template <typename Base>
struct FrameRoutines : testing::Test {};
using Bases = testing::Types<XCurve3D, XGeometry3D>;
TYPED_TEST_SUITE(FrameRoutines, Bases);

TYPED_TEST(FrameRoutines, WorkAsTold) {
  Open<TypeParam> base;
  const cv::Vec3d normals[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const cv::Vec3d flat[3] = {{1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  const cv::Point3d points[3] = {{1, 9, 9}, {9, 2, 9}, {9, 9, 3}};
  cv::Mat met;
  EXPECT_EQ(base.Intersection3Planes(normals, points, met), 1);
  EXPECT_EQ(base.Intersection3Planes(flat, points, met), 0);
  EXPECT_EQ(cv::norm(met, cv::Mat(cv::Vec3d(1, 2, 3))), 0);

  // The third target axis is reversed, so the second rotation is a half-turn: about the first normal
  // in one base, silently about an axis of its own choice in the other.
  const bool is_guarded = std::is_same_v<TypeParam, XCurve3D>;
  const cv::Vec3d target[3] = {{0.6, 0.64, 0.48}, {0.8, -0.48, -0.36}, {0, -0.6, 0.8}};
  const cv::Vec3d source[3] = {target[0], -target[1], target[2]};
  double rt[16], back[16];
  const std::string printed =
      standardOutputOf([&] { base.alignBy3Plane(target, points, source, points, rt); });
  EXPECT_EQ(printed.substr(0, 29), is_guarded ? "vec_model:\n[0.6, 0.64, 0.48]\n" : "");
  const cv::Matx33d turn(rt[0], rt[1], rt[2], rt[4], rt[5], rt[6], rt[8], rt[9], rt[10]);
  EXPECT_EQ(cv::norm(turn * source[0] - target[0]) < 1e-9, is_guarded);
  EXPECT_EQ(base.convertMatrixRT(rt, back), 1);
  EXPECT_LT(cv::norm(cv::Matx44d(back) * cv::Matx44d(rt) - cv::Matx44d::eye()), 1e-12);

  double plane[4] = {0, 0, 1, -5};
  std::vector<cv::Point3f> projected = {{1, 2, 3}, {4, 5, 6}};
  base.projection2Plane(projected, plane, projected);
  EXPECT_EQ(projected[1], cv::Point3f(4, 5, 5));
}

}  // namespace
}  // namespace xgeometry
