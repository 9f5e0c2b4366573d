// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Simplex fits beside what a user would pick instead: closed forms beside other libraries, descents
// beside the same descent over a plain loop.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>
#include <pcl/common/centroid.h>
#include <pcl/point_types.h>
#include <zelmo/simplex/cone_fit.h>
#include <zelmo/simplex/cylinder_fit.h>
#include <zelmo/simplex/plane_fit.h>
#include <zelmo/simplex/principal_axes.h>
#include <zelmo/simplex/sphere_fit.h>

#include "contest.h"
#include "descent.h"
#include "floors.h"
#include "shape_models.h"

#if __has_include(<CGAL/linear_least_squares_fitting_3.h>)
#include <CGAL/Simple_cartesian.h>
#include <CGAL/linear_least_squares_fitting_3.h>
#endif

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

using Points = std::vector<float>;
using Surface = cv::Vec3d (*)(double u, double v, double noise);  // u, v in [0, 1)

constexpr double kTurn = 2 * CV_PI;

Points scanOf(int count, Surface surface) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, 0.01);
  Points points;
  for (int i = 0; i < count; ++i) {
    const double u = unit(engine);
    const cv::Vec3d p = surface(u, unit(engine), noise(engine));
    for (int k = 0; k < 3; ++k) points.push_back(static_cast<float>(p[k]));
  }
  return points;
}

cv::Vec3d onPlate(double u, double v, double e) {
  return {200 * u - 100, 200 * v - 100, 60 * u - 40 * v + 50 + e};
}
cv::Vec3d onSphere(double u, double v, double e) {
  const double z = 2 * u - 1;
  const double across = std::sqrt(1 - z * z);
  return cv::Vec3d(100, -50, 30) +
         (25 + e) * cv::Vec3d(across * std::cos(kTurn * v), across * std::sin(kTurn * v), z);
}
// Tilted against the axes, so that no coordinate is special.
cv::Vec3d aboutAxis(double along, double across, double turn) {
  const cv::Vec3d x(0.8, 0.0, -0.6);
  const cv::Vec3d y(0.36, 0.8, 0.48);
  return cv::Vec3d(40, 20, -10) + x.cross(y) * along + x * (across * std::cos(turn)) +
         y * (across * std::sin(turn));
}
cv::Vec3d onCylinder(double u, double v, double e) { return aboutAxis(80 * u, 12 + e, kTurn * v); }
cv::Vec3d onCone(double u, double v, double e) {
  return aboutAxis(20 + 80 * u, (20 + 80 * u) * 0.2 + e, kTurn * v);
}

int countOf(const Points& points) { return static_cast<int>(points.size() / 3); }

std::vector<double> planeStart(const Points& points) {
  std::vector<double> p(4);
  x3dfit::XPlaneFit().Fit(points.data(), countOf(points), p.data(), x3dfit::LeastSquare);
  return p;
}
std::vector<double> sphereStart(const Points& points) {
  std::vector<double> p(4);
  x3dfit::XSphereFit().Fit(points.data(), countOf(points), p.data(), x3dfit::LeastSquare);
  return p;
}

struct RoundStart {
  std::vector<double> params;
  double step;
};
RoundStart roundStart(const Points& points, bool cone) {
  std::vector<cv::Point3f> list;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    list.emplace_back(points[i], points[i + 1], points[i + 2]);
  }
  cv::Mat values, vectors;
  cv::Point3f c;
  x3dfit::computePrincipalAxes(list, values, vectors, c);
  const cv::Vec3d d(vectors.ptr<double>(0));
  if (!cone) {
    const double r = std::sqrt(values.at<double>(2) / static_cast<double>(list.size()));
    return {{c.x, c.y, c.z, d[0], d[1], d[2], r}, r / 10};
  }
  double low = 1e10, high = -1e10, across = 0;
  for (const auto& p : list) {
    const cv::Vec3d q(p.x - c.x, p.y - c.y, p.z - c.z);
    low = std::min(low, q.dot(d));
    high = std::max(high, q.dot(d));
    across = std::max(across, cv::norm(q.cross(d)));
  }
  const double largest = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
  return {{c.x, c.y, c.z, d[0], d[1], d[2], std::atan2(across, (high - low) / 2)}, largest / 10};
}

void eigenSphere(const Points& points) {
  const int count = countOf(points);
  const Eigen::Map<const Eigen::Matrix<float, 3, Eigen::Dynamic>> x(points.data(), 3, count);
  const Eigen::Vector3d mean = x.cast<double>().rowwise().mean();
  Eigen::Matrix4d a = Eigen::Matrix4d::Zero();
  Eigen::Vector4d b = Eigen::Vector4d::Zero();
  for (int i = 0; i < count; ++i) {
    Eigen::Vector4d row;
    row << x.col(i).cast<double>() - mean, 1.0;
    a.selfadjointView<Eigen::Lower>().rankUpdate(row);
    b -= row * row.head<3>().squaredNorm();
  }
  const Eigen::Vector4d g = a.selfadjointView<Eigen::Lower>().ldlt().solve(b);
  benchmark::DoNotOptimize(g.data());
}

Contest regressionPlane(int count) {
  const auto points = std::make_shared<Points>(scanOf(count, onPlate));
  const auto cloud = std::make_shared<pcl::PointCloud<pcl::PointXYZ>>();
  for (std::size_t i = 0; i < points->size(); i += 3) {
    cloud->emplace_back((*points)[i], (*points)[i + 1], (*points)[i + 2]);
  }
  Contest contest;
  contest.library = [points, fit = std::make_shared<x3dfit::XPlaneFit>()] {
    double p[4] = {};
    benchmark::DoNotOptimize(fit->Fit(points->data(), countOf(*points), p, x3dfit::LeastSquare));
  };
  contest.peers.push_back({"PCL's mean and covariance, Eigen's eigenvectors", [cloud] {
                             Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
                             Eigen::Vector4d mean = Eigen::Vector4d::Zero();
                             pcl::computeMeanAndCovarianceMatrix(*cloud, covariance, mean);
                             const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(
                                 covariance);
                             benchmark::DoNotOptimize(solver.eigenvectors().data());
                           }});
#if __has_include(<CGAL/linear_least_squares_fitting_3.h>)
  using Kernel = CGAL::Simple_cartesian<double>;
  const auto list = std::make_shared<std::vector<Kernel::Point_3>>();
  for (const auto& p : *cloud) list->emplace_back(p.x, p.y, p.z);
  contest.peers.push_back({"CGAL's linear_least_squares_fitting_3", [list] {
                             Kernel::Plane_3 plane;
                             benchmark::DoNotOptimize(CGAL::linear_least_squares_fitting_3(
                                 list->begin(), list->end(), plane, CGAL::Dimension_tag<0>()));
                           }});
#endif
  contest.attainable = {"nine sums in one pass", [points, count] {
                          benchmark::DoNotOptimize(momentSums(points->data(), count));
                        }};
  return contest;
}

Contest algebraicSphere(int count) {
  const auto points = std::make_shared<Points>(scanOf(count, onSphere));
  return {[points, fit = std::make_shared<x3dfit::XSphereFit>()] {
            double p[4] = {};
            benchmark::DoNotOptimize(
                fit->Fit(points->data(), countOf(*points), p, x3dfit::LeastSquare));
          },
          {{"normal equations by Eigen", [points] { eigenSphere(*points); }}},
          {"nine sums in one pass",
           [points, count] { benchmark::DoNotOptimize(momentSums(points->data(), count)); }},
          {}};
}

template <typename Fit>
std::function<void()> libraryFit(const std::shared_ptr<Points>& points, x3dfit::FitMethod method) {
  return [points, method] {
    double p[8] = {};
    benchmark::DoNotOptimize(Fit().Fit(points->data(), countOf(*points), p, method));
  };
}

template <template <typename> class Model, typename Share>
std::function<void()> plainFit(const std::shared_ptr<Points>& points, const RoundStart& start,
                               int limit, Share share) {
  return [points, start, limit, share] {
    auto p = start.params;
    plainSimplex([&](const double* v) { return plainSum<Model<double>, 3>(*points, v, share); }, p,
                 start.step, limit);
    benchmark::DoNotOptimize(p);
  };
}

template <template <typename> class Model>
void addTinySolver([[maybe_unused]] Contest& contest,
                   [[maybe_unused]] const std::shared_ptr<Points>& points,
                   [[maybe_unused]] const RoundStart& start) {
#ifdef ZELMO_WITH_CERES
  contest.peers.push_back({"Ceres' TinySolver, automatic derivatives", [points, start] {
                             benchmark::DoNotOptimize(
                                 tinySolver<Model, 7, 3>(*points, start.params));
                           }});
#endif
}

Contender oneRoot(const std::shared_ptr<Points>& points) {
  return {"one square root a point in each evaluation",
          [points] { benchmark::DoNotOptimize(squareRoots(points->data(), countOf(*points))); }};
}
const char* const kPlainDescent = "the same descent over a plain loop";

Contest absolutePlane(int count) {
  const auto points = std::make_shared<Points>(scanOf(count, onPlate));
  const auto p = planeStart(*points);
  const RoundStart start{p, std::max({p[0], p[1], p[2]}) / 100};
  Contest contest;
  contest.library = libraryFit<x3dfit::XPlaneFit>(points, x3dfit::LeastAbsDev);
  contest.peers = {{kPlainDescent, plainFit<PlaneModel>(points, start, 10000, absolute)}};
  contest.attainable = {
      "one plane's value a point in each evaluation", [points, p] {
        benchmark::DoNotOptimize(planeValues(points->data(), countOf(*points), p.data()));
      }};
  contest.evaluations = takeEvaluations;
  return contest;
}

Contest absoluteSphere(int count) {
  const auto points = std::make_shared<Points>(scanOf(count, onSphere));
  const auto p = sphereStart(*points);
  const RoundStart start{p, p[3] / 100};
  Contest contest;
  contest.library = libraryFit<x3dfit::XSphereFit>(points, x3dfit::LeastAbsDev);
  contest.peers = {{kPlainDescent, plainFit<SphereModel>(points, start, 10000, absolute)}};
  contest.attainable = oneRoot(points);
  contest.evaluations = takeEvaluations;
  return contest;
}

template <typename Fit, template <typename> class Model>
Contest leastSquares(int count, Surface surface, bool cone) {
  const auto points = std::make_shared<Points>(scanOf(count, surface));
  const RoundStart start = roundStart(*points, cone);
  Contest contest;
  contest.library = libraryFit<Fit>(points, x3dfit::LeastSquare);
  contest.peers = {{kPlainDescent, plainFit<Model>(points, start, cone ? 5000 : 10000, square)}};
  addTinySolver<Model>(contest, points, start);
  contest.attainable = oneRoot(points);
  contest.evaluations = takeEvaluations;
  return contest;
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {100, 10000, 1000000}) {
    row("XPlaneFit.Fit LeastSquare", sizeText(count, "points"),
        [count] { return regressionPlane(count); });
  }
  for (const int count : {100, 10000, 1000000}) {
    row("XSphereFit.Fit LeastSquare", sizeText(count, "points"),
        [count] { return algebraicSphere(count); });
  }
  for (const int count : {1000, 100000}) {
    const std::string size = sizeText(count, "points");
    row("XPlaneFit.Fit LeastAbsDev", size, [count] { return absolutePlane(count); });
    row("XSphereFit.Fit LeastAbsDev", size, [count] { return absoluteSphere(count); });
    row("XCylinderFit.Fit LeastSquare", size, [count] {
      return leastSquares<x3dfit::XCylinderFit, CylinderModel>(count, onCylinder, false);
    });
    row("XConeFit.Fit LeastSquare", size,
        [count] { return leastSquares<x3dfit::XConeFit, ConeModel>(count, onCone, true); });
  }
  return true;
}();

}  // namespace
