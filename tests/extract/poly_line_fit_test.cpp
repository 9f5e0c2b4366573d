// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/poly_line_fit.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "scan.h"

namespace zelmo::test {
namespace {

using testing::SizeIs;
using xgeofeature::XFPoint;
using xpolylinefit::XPolyLineFit;

constexpr double kNoise = 0.01;

struct CenterLine {
  const char* name;
  std::function<cv::Vec3d(double)> at;  // t from 0 to 1
  double length, curvature, radius, step;
  bool closed;

  cv::Vec3d tangent(double t) const { return cv::normalize(at(t + 1e-4) - at(t - 1e-4)); }
};

/// (along, a cosine, a sine) of a circle about x.
cv::Vec3d round(double turn, double radius, double along) {
  return {along, radius * std::cos(turn), radius * std::sin(turn)};
}

const CenterLine kLines[] = {
    {"helix", [](double t) { return round(9 * t, 30, 90 * t); }, 284.6, 0.03, 2, 3, false},
    {"ring", [](double t) { return round(2 * CV_PI * t, 40, -20); }, 251.3, 0.025, 3, 4.3, true},
};

/// A scan of the tube around a line, with noise along the normals.
Scan tubeScan(const CenterLine& line, int count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::normal_distribution<double> noise(0.0, kNoise);
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const double t = unit(random), turn = 2 * CV_PI * unit(random);
    const cv::Vec3d along = line.tangent(t);
    const cv::Vec3d aside = cv::normalize(
        along.cross(std::abs(along[0]) < 0.8 ? cv::Vec3d(1, 0, 0) : cv::Vec3d(0, 1, 0)));
    const cv::Vec3d n = aside * std::cos(turn) + along.cross(aside) * std::sin(turn);
    scan.add(line.at(t) + n * (line.radius + noise(random)), n);
  }
  return scan;
}

/// The nearest place of the line: how far off and at which t.
std::pair<double, double> placeOn(const CenterLine& line, const XFPoint& p) {
  const auto off = [&](double t) { return cv::norm(line.at(t) - cv::Vec3d(p.x, p.y, p.z)); };
  double best = 0;
  for (int i = 1; i <= 8000; ++i) {
    if (off(i / 8000.0) < off(best)) best = i / 8000.0;
  }
  return {off(best), best};
}

void checkTrace(const CenterLine& line, const Scan& scan, double sense) {
  XPolyLineFit tube;
  tube.setData(scan.data.data(), scan.count());
  const double from = line.closed || sense < 0 ? 0.96 : 0.04;
  const cv::Vec3f start = line.at(from), direction = line.tangent(from) * sense;
  const cv::Vec3f rough = cv::normalize(direction + cv::Vec3f(0.05F, -0.04F, 0.05F));
  EXPECT_EQ(tube.Fit(start.val, rough.val, static_cast<float>(line.step),
                     static_cast<float>(line.radius)),
            line.closed ? 0 : -2);
  xgeofeature::XFPolyLine out;
  tube.getPolyLine(out);
  ASSERT_GT(out.points.size(), 0.6 * line.length / line.step);
  const XFPoint &last = out.points.back(), &before = out.points.rbegin()[1];
  double farthest = 0;
  for (const auto& p : out.points) {
    // The last point of an open tube may lie beyond its end, where its section is half empty.
    if (&p != &last) farthest = std::max(farthest, placeOn(line, p).first);
  }
  // A section of a bend lies between the bend and its chord.
  EXPECT_LT(farthest, line.step * line.step / 8 * line.curvature + 2 * kNoise);
  EXPECT_LT(placeOn(line, last).first, 0.1 * line.step);
  if (line.closed) {
    EXPECT_EQ(out.points.front().Distance(last), 0.0);
    EXPECT_LT(before.Distance(last), 1.05 * line.step);  // its last section reaches the first point
  } else {
    // The last section reaches up to the end, its begin at least into it.
    EXPECT_NEAR(placeOn(line, last).second, sense > 0 ? 1.0 : 0.0, 2.0 * line.step / line.length);
  }
}

TEST(XPolyLineFit, FollowsTheCenterLineToItsEnd) {
  for (const CenterLine& line : kLines) {
    const Scan scan = tubeScan(line, static_cast<int>(line.length * 60), 21);
    for (const double sense : {1.0, -1.0}) {
      SCOPED_TRACE(testing::Message() << line.name << " " << sense);
      checkTrace(line, scan, sense);
    }
  }
}

/// Points around the z axis, each a turn of 1 radian and \p pitch farther, their normals at \p nz.
Scan rod(int count, float radius, float pitch, float nz) {
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const auto turn = static_cast<float>(i);
    const float c = std::cos(turn), s = std::sin(turn), side = std::sqrt(1 - nz * nz);
    scan.add({radius * c, radius * s, 0.05F + pitch * turn}, {side * c, side * s, nz});
  }
  return scan;
}

const float kStart[3] = {0, 0, 0}, kUp[3] = {0, 0, 1};

int fitRod(XPolyLineFit& tube, const Scan& scan, float radius, float step) {
  tube.setData(scan.data.data(), scan.count());
  return tube.Fit(kStart, kUp, step, radius);
}

TEST(XPolyLineFit, NeedsTenPointsWithFittingNormalsInABand) {
  const struct {
    const char* name;
    int count;
    float at, radius, nz;  // where the points are, what the host says, the normals
    bool starts;
  } cases[] = {
      {"nine points", 9, 3, 3, 0, false},
      {"ten points", 10, 3, 3, 0, true},
      {"normals at 60 degrees", 10, 3, 3, 0.499F, true},
      {"normals below 60 degrees", 10, 3, 3, 0.501F, false},
      {"band of 0.7 radii", 10, 0.31F, 1, 0, true},
      {"below the band", 10, 0.29F, 1, 0, false},
      {"band of 0.42 at a radius of 0.4", 10, 0.01F, 0.4F, 0, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    XPolyLineFit tube;
    tube.points = {XFPoint(1, 2, 3)};
    const int code = fitRod(tube, rod(c.count, c.at, 0.02F, c.nz), c.radius, 0.5F);
    EXPECT_EQ(code, c.starts ? -2 : -1);
    EXPECT_EQ(tube.points.empty(), !c.starts);
  }
}

TEST(XPolyLineFit, StepsAdaptToHowFarASectionIsFilled) {
  constexpr double kPitch = 0.005, kLow = 0.05, kHigh = 60.045;
  const Scan scan = rod(12000, 3, static_cast<float>(kPitch), 0);
  // The fits are exact without noise, so that the lengths alone decide. A section holds the points of
  // the ball through the rims of a cylinder 1.03 times as wide as the rod.
  const auto pointBelow = [](double z) { return kLow + kPitch * std::floor((z - kLow) / kPitch); };
  double length = pointBelow(6) - kLow;
  std::vector<double> stations = {kLow, kLow + length};
  for (;;) {
    const double begin = stations.back(), middle = begin + length / 2;
    const double half = std::sqrt(length * length / 4 + 9 * (1.03 * 1.03 - 1));
    const double low = pointBelow(middle - half) + kPitch;
    const double high = std::min(pointBelow(middle + half), kHigh);
    if (high - low < 9 * kPitch) break;
    const double reach = std::max(begin - low, high - begin);
    stations.push_back(begin + std::min(reach, length));
    if (reach <= 1.03 * length) length = std::max(0.85 * length, reach);
  }
  XPolyLineFit tube;
  EXPECT_EQ(fitRod(tube, scan, 3, 6), -2);
  ASSERT_GT(stations.size(), 8U);
  ASSERT_THAT(tube.points, SizeIs(stations.size()));
  for (std::size_t i = 1; i < stations.size(); ++i) {
    const double step = tube.points[i].Distance(tube.points[i - 1]);
    EXPECT_NEAR(step, stations[i] - stations[i - 1], 0.05) << i;
  }
}

TEST(XPolyLineFit, EndsOnBadArguments) {
  const Scan scan = rod(2000, 3, 0.02F, 0);
  const float inside[3] = {0, 0, 20}, nowhere[3] = {kNan, 0, 0}, far[3] = {3e38F, 1e30F, 0};
  XPolyLineFit tube;
  EXPECT_EQ(tube.Fit(kStart, kUp, 1, 3), -1);
  tube.setData(scan.data.data(), scan.count());
  EXPECT_EQ(tube.Fit(nullptr, kUp, 1, 3), -1);
  EXPECT_EQ(tube.Fit(kStart, nullptr, 1, 3), -1);
  EXPECT_EQ(tube.Fit(inside, kUp, 0, 3.1F), -2);
  EXPECT_THAT(tube.points, SizeIs(2));
  for (const float* from : {kStart, nowhere, far}) {
    for (const float* direction : {kUp, nowhere, kStart, far}) {
      for (const float size : {0.0F, -3.0F, 3.0F, 1e30F, kNan}) {
        EXPECT_LT(tube.Fit(from, direction, size, 3), 0) << size;
        EXPECT_LT(tube.Fit(from, direction, 1, size), 0) << size;
        for (const auto& p : tube.points) EXPECT_TRUE(std::isfinite(p.x + p.y + p.z));
      }
    }
  }
  tube.setData(nullptr, 3);
  EXPECT_EQ(tube.Fit(kStart, kUp, 1, 3), -1);
}

}  // namespace
}  // namespace zelmo::test
