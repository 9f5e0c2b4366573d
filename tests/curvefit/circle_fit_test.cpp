// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/circle_fit.h"

#include <array>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "support/parameter_names.h"

namespace zelmo::test {
namespace {

using xcurve3dfit::FitMethod;
using xcurve3dfit::XCircle3DFit;

constexpr double kPi = 3.14159265358979323846;
const cv::Vec3d kCenter(120, -80, 45);
const cv::Vec3d kX(0.8, 0.0, -0.6);
const cv::Vec3d kY(0.36, 0.8, 0.48);

cv::Point3f onCircle(double r, double degrees) {
  const double turn = degrees * kPi / 180;
  const cv::Vec3d p = kCenter + kX * (r * std::cos(turn)) + kY * (r * std::sin(turn));
  return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

// Twelve points at 10, three at 9.8 and three at 10.2, all in threefold symmetry: the center of every
// optimum is the common one, and each method has its own radius, known by hand. The algebraic circle
// has the root of the mean square.
std::vector<cv::Point3f> dentedRing() {
  std::vector<cv::Point3f> points;
  for (int i = 0; i < 12; ++i) points.push_back(onCircle(10, 15 + 30 * i));
  for (int i = 0; i < 3; ++i) {
    points.push_back(onCircle(9.8, 120 * i));
    points.push_back(onCircle(10.2, 120 * i + 60));
  }
  return points;
}

struct RadiusCase {
  const char* name;
  int method;
  double radius;
  double tolerance;

  friend void PrintTo(const RadiusCase& c, std::ostream* out) { *out << c.name; }
};

class XCircle3DFitMethod : public testing::TestWithParam<RadiusCase> {};

TEST_P(XCircle3DFitMethod, FindsItsOwnRadius) {
  XCircle3DFit fit;
  std::array<float, 10> out{};
  const auto points = dentedRing();
  ASSERT_TRUE(fit.Fit(points, out.data(), static_cast<FitMethod>(GetParam().method)));
  // The nearest wrong radius lies 0.2 away, but for the algebraic one.
  EXPECT_NEAR(out[9], GetParam().radius, GetParam().tolerance);
  double nearest = 1e9;
  for (const auto& p : points) {
    nearest = std::min(nearest, cv::norm(cv::Vec3d(p.x - out[0], p.y - out[1], p.z - out[2])));
  }
  if (GetParam().radius == 9.8) {  // an inscribed circle touches points and holds none
    EXPECT_NEAR(nearest, out[9], 1e-3);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Method, XCircle3DFitMethod,
    testing::Values(RadiusCase{"LeastSquare", 0, 10.000666644, 1e-4},
                    RadiusCase{"LeastAbsDev", 1, 10, 0.02},
                    RadiusCase{"LeastAbsDevInscribed", 2, 9.8, 0.02},
                    RadiusCase{"Chebyshev", 3, 10, 0.02},
                    RadiusCase{"ChebyshevInscribed", 4, 9.8, 0.02},
                    RadiusCase{"ChebyshevCircumscribed", 5, 10.2, 0.02},
                    // Across the valley of touching circles the score is 1e4 times as steep as
                    // along it: the simplex goes flat before the largest one.
                    RadiusCase{"MaximumInscribed", 6, 9.8, 0.15},
                    RadiusCase{"Above", 17, 9.8, 0.15}, RadiusCase{"Negative", -1, 9.8, 0.15}),
    caseName<RadiusCase>);

// Five outliers lie high above one edge. The plane of least squares would tilt towards them, the
// one that is always taken stays with the ring, under LeastSquare too.
TEST(XCircle3DFit, LiesInThePlaneOfLeastAbsoluteDistances) {
  std::vector<cv::Point3f> points;
  for (int i = 0; i < 36; ++i) points.push_back(onCircle(10, 10 * i));
  const cv::Vec3d n = kX.cross(kY);
  for (std::size_t i = 0; i < 3; ++i) {
    points[i] += cv::Point3f(static_cast<float>(2 * n[0]), static_cast<float>(2 * n[1]),
                             static_cast<float>(2 * n[2]));
  }
  XCircle3DFit fit;
  std::array<float, 10> out{};
  ASSERT_TRUE(fit.Fit(points, out.data(), xcurve3dfit::LeastSquare));
  EXPECT_NEAR(std::fabs(out[3] * n[0] + out[4] * n[1] + out[5] * n[2]), 1.0, 1e-5);
  EXPECT_NEAR(out[9], 10, 1e-3);
}

// With a deep dent the algebraic circle's center holds an empty circle of 8.42 and the best, 8.97, lies
// a tenth of the radius aside. The descent sets out for it, even if it does not arrive.
TEST(XCircle3DFit, SeeksALargerEmptyCircleThanAtItsStart) {
  std::vector<cv::Point3f> points;
  for (int i = 0; i < 36; ++i) points.push_back(onCircle(i < 3 || i > 33 ? 8 : 10, 10 * i));
  XCircle3DFit fit;
  std::array<float, 10> out{};
  ASSERT_TRUE(fit.Fit(points, out.data(), xcurve3dfit::MaximumInscribed));
  EXPECT_GT(out[9], 8.45F);
  EXPECT_LT(out[9], 8.9711F);
}

TEST(XCircle3DFit, FailsOnPointsWithoutAnAlgebraicCircle) {
  XCircle3DFit fit;
  std::array<float, 10> out{};
  out.fill(7);
  EXPECT_FALSE(fit.Fit(std::vector<cv::Point3f>(6, {1, 2, 3}), out.data(), xcurve3dfit::Chebyshev));
  EXPECT_EQ(out[0], 7);
  EXPECT_EQ(fit.radius, 0);
}

}  // namespace
}  // namespace zelmo::test
