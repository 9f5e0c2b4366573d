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

using testing::IsEmpty;
using testing::SizeIs;
using xgeofeature::XFPoint;
using xpolylinefit::XPolyLineFit;

constexpr double kNoise = 0.01;

struct CenterLine {
  const char* name;
  std::function<cv::Vec3d(double)> at;  // t from 0 to 1
  double length, curvature, radius, step;
  bool closed;

  friend void PrintTo(const CenterLine& line, std::ostream* out) { *out << line.name; }
  cv::Vec3d tangent(double t) const { return cv::normalize(at(t + 1e-4) - at(t - 1e-4)); }
};

const CenterLine kLines[] = {
    {"Straight", [](double t) { return cv::Vec3d(80 * t - 30, 24 * t, 5 - 32 * t); }, 89.4, 0.0,
     3.0, 4.0, false},
    {"Arc", [](double t) { return cv::Vec3d(50 * std::cos(2.5 * t), 50 * std::sin(2.5 * t), 7); },
     125.0, 0.02, 4.0, 5.0, false},
    {"Helix",
     [](double t) { return cv::Vec3d(30 * std::cos(9 * t), 30 * std::sin(9 * t), 90 * t); }, 284.6,
     0.03, 2.0, 3.0, false},
    {"ClosedRing",
     [](double t) {
       return cv::Vec3d(-20, 40 * std::cos(2 * M_PI * t), 40 * std::sin(2 * M_PI * t));
     },
     251.3, 0.025, 3.0, 4.3, true},
};

/// A scan of the tube around a line, with noise along the normals.
Scan tubeScan(const CenterLine& line, int count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::normal_distribution<double> noise(0.0, kNoise);
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const double t = unit(random), turn = 2 * M_PI * unit(random);
    const cv::Vec3d along = line.tangent(t);
    const cv::Vec3d aside = cv::normalize(
        along.cross(std::abs(along[0]) < 0.8 ? cv::Vec3d(1, 0, 0) : cv::Vec3d(0, 1, 0)));
    const cv::Vec3d n = aside * std::cos(turn) + along.cross(aside) * std::sin(turn);
    const cv::Vec3d p = line.at(t) + n * (line.radius + noise(random));
    scan.add(p, n);
  }
  return scan;
}

/// The nearest place of the line: how far off and at which t.
std::pair<double, double> placeOn(const CenterLine& line, const XFPoint& p) {
  const auto off = [&](double t) { return cv::norm(line.at(t) - cv::Vec3d(p.x, p.y, p.z)); };
  double best = 0;
  for (int i = 0; i <= 4000; ++i) {
    if (off(i / 4000.0) < off(best)) best = i / 4000.0;
  }
  for (double step = 1.0 / 4000.0; step > 1e-9; step /= 2) {
    if (off(best + step) < off(best)) best += step;
    if (off(best - step) < off(best)) best -= step;
  }
  return {off(best), best};
}

class Trace : public testing::TestWithParam<CenterLine> {
 protected:
  int fit(XPolyLineFit& tube, double from, double sense) const {
    const auto& line = GetParam();
    const cv::Vec3f start = line.at(from), direction = line.tangent(from) * sense;
    const cv::Vec3f rough = cv::normalize(direction + cv::Vec3f(0.05F, -0.04F, 0.05F));
    return tube.Fit(start.val, rough.val, static_cast<float>(line.step),
                    static_cast<float>(line.radius));
  }
};

TEST_P(Trace, FollowsTheCenterLineToItsEnd) {
  const auto& line = GetParam();
  const Scan scan = tubeScan(line, static_cast<int>(line.length * 60), 21);
  XPolyLineFit tube;
  tube.setData(scan.data.data(), scan.count());
  for (const double sense : {1.0, -1.0}) {
    SCOPED_TRACE(sense);
    const double from = line.closed || sense < 0 ? 0.96 : 0.04;
    EXPECT_EQ(fit(tube, from, sense), line.closed ? 0 : -2);
    double farthest = 0, ahead = from;
    for (const auto& p : tube.points) {
      const auto [off, t] = placeOn(line, p);
      // The last point of an open tube may lie beyond its end, where its section is half empty.
      if (&p != &tube.points.back()) farthest = std::max(farthest, off);
      ahead = t;
    }
    // A section of a bend lies between the bend and its chord.
    EXPECT_LT(farthest, line.step * line.step / 8 * line.curvature + 2 * kNoise);
    EXPECT_LT(placeOn(line, tube.points.back()).first, 0.1 * line.step);
    EXPECT_GT(tube.points.size(), 0.6 * line.length / line.step);
    if (line.closed) {
      EXPECT_EQ(tube.points.front().Distance(tube.points.back()), 0.0);
      // The last section of its own reaches the first point.
      EXPECT_LT(tube.points.rbegin()[1].Distance(tube.points.back()), 1.05 * line.step);
    } else {
      // The last section reaches up to the end, its begin at least into it.
      EXPECT_NEAR(ahead, sense > 0 ? 1.0 : 0.0, 2.0 * line.step / line.length);
    }
    xgeofeature::XFPolyLine out;
    tube.getPolyLine(out);
    EXPECT_EQ(out.points.size(), tube.points.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Tube, Trace, testing::ValuesIn(kLines),
                         [](const auto& tested) { return tested.param.name; });

/// Rings of points around the z axis, one point a turn of 1 radian, \p pitch apart.
Scan rod(int count, float radius, float pitch, float nz) {
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const auto turn = static_cast<float>(i);
    const float c = std::cos(turn), s = std::sin(turn), side = std::sqrt(1 - nz * nz);
    scan.add(radius * c, radius * s, 0.05F + pitch * turn, side * c, side * s, nz);
  }
  return scan;
}

int fitRod(XPolyLineFit& tube, const Scan& scan, float radius, float step) {
  const float start[3] = {0, 0, 0}, up[3] = {0, 0, 1};
  tube.setData(scan.data.data(), scan.count());
  return tube.Fit(start, up, step, radius);
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
      {"normals along the axis", 10, 3, 3, 1, false},
      {"band of 0.7 radii", 10, 0.31F, 1, 0, true},
      {"below the band", 10, 0.29F, 1, 0, false},
      {"band of 0.42 at a radius of 0.4", 10, 0.01F, 0.4F, 0, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    XPolyLineFit tube;
    tube.points = {XFPoint(1, 2, 3)};
    const int expected = c.starts ? -2 : -1;
    EXPECT_EQ(fitRod(tube, rod(c.count, c.at, 0.02F, c.nz), c.radius, 0.5F), expected);
    EXPECT_EQ(tube.points.size() >= 2, c.starts);
    if (!c.starts) {
      EXPECT_THAT(tube.points, IsEmpty());
    }
  }
}

/// Where a trace along a rod without noise has to stand after each step: the fits are exact there, so
/// that the lengths alone decide.
std::vector<double> stationsAlong(const Scan& scan, double radius, double step) {
  double low = kInf, high = -kInf;
  const double band = 1.03 * radius;
  const auto in_section = [&](double begin, double reach, double length, const float* p) {
    const double along = p[2] - begin - length / 2;
    return along * along + radius * radius < length * length / 4 + reach * reach;
  };
  for (int i = 0; i < scan.count(); ++i) {
    if (!in_section(0, radius * 1.0000001, step, scan.point(i))) continue;
    low = std::min<double>(low, scan.point(i)[2]);
    high = std::max<double>(high, scan.point(i)[2]);
  }
  double length = std::min(step, high - low);
  std::vector<double> stations = {low, low + length};
  for (;;) {
    const double begin = stations.back();
    int count = 0;
    double reach = 0;
    for (int i = 0; i < scan.count(); ++i) {
      if (!in_section(begin, band, length, scan.point(i))) continue;
      ++count;
      reach = std::max(reach, std::abs(scan.point(i)[2] - begin));
    }
    if (count < 10) return stations;
    stations.push_back(begin + std::min(reach, length));
    if (reach <= 1.03 * length) length = std::max(0.85 * length, reach);
  }
}

TEST(XPolyLineFit, StepsAdaptToHowFarASectionIsFilled) {
  const Scan whole = rod(12000, 3, 0.005F, 0);
  Scan scan;
  for (int i = 0; i < whole.count(); ++i) {
    const float* p = whole.point(i);
    if (p[2] < 22.3F || p[2] > 25.9F) scan.data.insert(scan.data.end(), p, p + 6);  // a gap
  }
  XPolyLineFit tube;
  EXPECT_EQ(fitRod(tube, scan, 3, 6), -2);
  const auto expected = stationsAlong(scan, 3, 6);
  ASSERT_GT(expected.size(), 8U);
  ASSERT_THAT(tube.points, SizeIs(expected.size()));
  for (std::size_t i = 1; i < expected.size(); ++i) {
    const double length = tube.points[i].Distance(tube.points[i - 1]);
    EXPECT_NEAR(length, expected[i] - expected[i - 1], 0.05) << i;
  }
}

TEST(XPolyLineFit, EndsOnBadArguments) {
  const Scan scan = rod(2000, 3, 0.02F, 0);
  XPolyLineFit tube, before;
  const float start[3] = {0, 0, 0}, up[3] = {0, 0, 1}, nowhere[3] = {kNan, 0, 0};
  const float zero[3] = {0, 0, 0}, far[3] = {3e38F, 1e30F, 0};
  EXPECT_EQ(before.Fit(start, up, 1, 3), -1);
  tube.setData(scan.data.data(), scan.count());
  EXPECT_EQ(tube.Fit(nullptr, up, 1, 3), -1);
  EXPECT_EQ(tube.Fit(start, nullptr, 1, 3), -1);
  const float inside[3] = {0, 0, 20};
  EXPECT_EQ(tube.Fit(inside, up, 0, 3.1F), -2);
  EXPECT_THAT(tube.points, SizeIs(2));
  EXPECT_EQ(tube.Fit(inside, up, -1, 3), -2);
  EXPECT_THAT(tube.points, SizeIs(2));
  for (const float* from : {start, nowhere, far}) {
    for (const float* direction : {up, nowhere, zero, far}) {
      for (const float size : {0.0F, -3.0F, 0.4F, 3.0F, 1e30F, kInf, kNan}) {
        EXPECT_LT(tube.Fit(from, direction, size, 3), 0) << size;
        EXPECT_LT(tube.Fit(from, direction, 1, size), 0) << size;
        for (const auto& p : tube.points) EXPECT_TRUE(std::isfinite(p.x + p.y + p.z));
      }
    }
  }
  tube.setData(nullptr, 3);
  EXPECT_EQ(tube.Fit(start, up, 1, 3), -1);
}

TEST(XPolyLineFit, CopiesShareTheirScanAndOwnTheirLine) {
  XPolyLineFit tube;
  EXPECT_EQ(fitRod(tube, rod(2000, 3, 0.02F, 0), 3, 2), -2);
  XPolyLineFit copy(tube);
  EXPECT_EQ(copy.kdtree, tube.kdtree);
  tube.points.clear();
  tube.setData(nullptr, 0);
  const auto traced = copy.points.size();
  EXPECT_GT(traced, 10U);
  const float start[3] = {0, 0, 0}, up[3] = {0, 0, 1};
  EXPECT_EQ(copy.Fit(start, up, 2, 3), -2);
  EXPECT_EQ(copy.points.size(), traced);
}

}  // namespace
}  // namespace zelmo::test
