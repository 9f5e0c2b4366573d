// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Guided fits with compensation of the probe, beside the same descent over a plain loop without it,
// and a touch beside CGAL's tree of triangles.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <zelmo/zelmo.h>

#include "contest.h"
#include "descent.h"
#include "floors.h"
#include "shape_models.h"

#if __has_include(<CGAL/AABB_tree.h>)
#define ZELMO_WITH_CGAL
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>
#endif

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

constexpr float kProbe = 1.0F;
const cv::Vec3d kMiddle(10, -20, 30);
const cv::Vec3d kX(0.8, -0.6, 0.0), kY(0.48, 0.64, -0.6), kZ(0.36, 0.48, 0.8);

struct Touches {
  std::vector<float> points, normals, moved, errors;
  int count() const { return static_cast<int>(points.size() / 3); }
};

// Points of radius 12 about the axis kZ through kMiddle, or about that point.
std::shared_ptr<Touches> touches(int count, double height, bool sphere, double shift = 0,
                                 double arc = 2 * CV_PI) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, 0.01);
  auto t = std::make_shared<Touches>();
  for (int i = 0; i < count; ++i) {
    const double angle = arc * (unit(random) - 0.5) + (shift < 0 ? CV_PI : 0);
    const double z = sphere ? 2 * unit(random) - 1 : 0;
    const cv::Vec3d n =
        std::sqrt(1 - z * z) * (std::cos(angle) * kX + std::sin(angle) * kY) + z * kZ;
    const cv::Vec3d p =
        kMiddle + shift * kX + (12 + noise(random)) * n + height * (unit(random) - 0.5) * kZ;
    for (int k = 0; k < 3; ++k) t->points.push_back(static_cast<float>(p[k]));
    for (int k = 0; k < 3; ++k) t->normals.push_back(static_cast<float>(-n[k]));
  }
  t->moved.resize(t->points.size());
  t->errors.resize(t->points.size());
  return t;
}

/// Completes a contest of descents over touches.
Contest descents(std::function<void()> library, const std::shared_ptr<Touches>& t,
                 std::function<void()> plain) {
  Contest contest;
  contest.library = std::move(library);
  if (plain) contest.peers = {{"the same descent over a plain loop", std::move(plain)}};
  contest.attainable = {"one square root a point in each evaluation", [t] {
                          benchmark::DoNotOptimize(squareRoots(t->points.data(), t->count()));
                        }};
  contest.evaluations = takeEvaluations;
  return contest;
}

template <typename Fit>
std::function<void()> compensated(const std::shared_ptr<Touches>& t) {
  return [t] {
    benchmark::DoNotOptimize(Fit().Fit(t->points.data(), t->normals.data(), t->count(), kProbe,
                                       t->moved.data(), t->errors.data()));
  };
}

template <template <typename> class Model>
std::function<void()> plainDescent(const std::shared_ptr<Touches>& t,
                                   const std::vector<std::vector<double>>& starts,
                                   const std::vector<double>& steps) {
  return [=] {
    for (std::size_t k = 0; k < starts.size(); ++k) {
      auto p = starts[k];
      plainSimplex(
          [&](const double* q) { return plainSum<Model<double>, 3>(t->points, q, square); }, p,
          steps[k]);
      benchmark::DoNotOptimize(p);
    }
  };
}

Contest plane(int count) {
  const auto t = touches(count, 0.01, false);
  const double d = -kZ.dot(kMiddle);
  return descents(compensated<xgeofit::XPlaneFit>(t), t,
                  plainDescent<PlaneModel>(t, {{kZ[0], kZ[1], kZ[2], d}}, {0.008}));
}

Contest sphere(int count) {
  const auto t = touches(count, 0, true);
  return descents(compensated<xgeofit::XSphereFit>(t), t,
                  plainDescent<SphereModel>(t, {{10.0001, -20.0001, 30.0001, 12.0001}}, {0.12}));
}

Contest cylinder(int count) {
  const auto t = touches(count, 60, false);
  // The three starts of the class: the directions of spread, each with its own as radius.
  const double spread[] = {17.3, 8.5, 8.5};
  std::vector<std::vector<double>> starts;
  std::vector<double> steps;
  for (const cv::Vec3d& u : {kZ, kX, kY}) {
    const double r = spread[steps.size()];
    starts.push_back({kMiddle[0], kMiddle[1], kMiddle[2], u[0], u[1], u[2], r});
    steps.push_back(r / 10);
  }
  return descents(compensated<xgeofit::XCylinderFit>(t), t,
                  plainDescent<CylinderModel>(t, starts, steps));
}

std::array<float, 6> touchedPlane() { return {10, -20, 30, 0.36F, 0.48F, 0.8F}; }

Contest circle(int count) {
  const auto t = touches(count, 1, false);
  const auto xy = std::make_shared<std::vector<float>>();
  for (std::size_t i = 0; i < t->points.size(); i += 3) {
    const cv::Vec3d p(t->points[i], t->points[i + 1], t->points[i + 2]);
    xy->push_back(static_cast<float>(kX.dot(p - kMiddle)));
    xy->push_back(static_cast<float>(kY.dot(p - kMiddle)));
  }
  return descents(
      [t] {
        auto at = touchedPlane();
        xgeofit::XCircle3DFit().Fit(t->points.data(), t->normals.data(), t->count(), at.data(),
                                    kProbe, t->moved.data(), t->errors.data());
      },
      t,
      [xy] {
        std::vector<double> p = {0.0001, 0.0001, 12.0001};
        plainSimplex(
            [&](const double* q) { return plainSum<CircleModel<double>, 2>(*xy, q, square); }, p,
            1.2);
        benchmark::DoNotOptimize(p);
      });
}

Contest slot(int count) {
  const auto a = touches(count / 2, 1, false, 20, 3.0);
  const auto b = touches(count / 2, 1, false, -20, 3.0);
  const auto both = std::make_shared<Touches>(*a);
  both->points.insert(both->points.end(), b->points.begin(), b->points.end());
  both->moved.resize(both->points.size());
  both->errors.resize(both->points.size());
  return descents(
      [=] {
        auto at = touchedPlane();
        xgeofit::XOvalGroove3DFit().Fit(a->points.data(), a->normals.data(), a->count(),
                                        b->points.data(), b->normals.data(), b->count(), at.data(),
                                        kProbe, both->moved.data(), both->errors.data());
      },
      both, {});
}

#ifdef ZELMO_WITH_CGAL
using Kernel = CGAL::Simple_cartesian<double>;
using Triangles = std::vector<Kernel::Triangle_3>;
using Tree = CGAL::AABB_tree<
    CGAL::AABB_traits<Kernel, CGAL::AABB_triangle_primitive<Kernel, Triangles::const_iterator>>>;
#endif

// One touch against a mesh of a million triangles.
Contest touch(int side) {
  std::vector<float> vertices, normals;
  std::vector<int> faces;
  for (int i = 0; i < side * side; ++i) {
    vertices.insert(vertices.end(),
                    {static_cast<float>(i % side), static_cast<float>(i / side), 0});
    if (i % side == side - 1 || i / side == side - 1) continue;
    faces.insert(faces.end(), {i, i + 1, i + side, i + 1, i + side + 1, i + side});
    normals.insert(normals.end(), {0, 0, 1, 0, 0, 1});
  }
  const auto fit = std::make_shared<xgeofit::XPointFit>();
  fit->setData(vertices.data(), side * side, normals.data(), faces.data(),
               static_cast<int>(faces.size() / 3));
  const auto place = [side] {
    static int i = 0;
    i = (i + 7919) % (side * side);
    return std::array<float, 6>{
        static_cast<float>(i % side), static_cast<float>(i / side), 1, 0, 0, 1};
  };
  Contest contest;
  contest.library = [=] {
    float result[6];
    benchmark::DoNotOptimize(fit->Fit(place().data(), result, kProbe));
  };
#ifdef ZELMO_WITH_CGAL
  const auto triangles = std::make_shared<Triangles>();
  const auto corner = [&](std::size_t k) {
    const float* p = &vertices[3 * static_cast<std::size_t>(faces[k])];
    return Kernel::Point_3(p[0], p[1], p[2]);
  };
  for (std::size_t k = 0; k < faces.size(); k += 3) {
    triangles->emplace_back(corner(k), corner(k + 1), corner(k + 2));
  }
  const auto tree = std::make_shared<Tree>(triangles->cbegin(), triangles->cend());
  tree->accelerate_distance_queries();
  contest.peers = {
      {"CGAL's AABB tree, closest point", [=] {
         const auto p = place();
         benchmark::DoNotOptimize(
             tree->closest_point_and_primitive({p[0], p[1], p[2]}).second.operator->());
         benchmark::DoNotOptimize(triangles->data());
       }}};
#endif
  return contest;
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {100, 10000}) {
    const std::string size = sizeText(count, "points");
    row("xgeofit::XPlaneFit.Fit", size, [count] { return plane(count); });
    row("xgeofit::XSphereFit.Fit", size, [count] { return sphere(count); });
    row("xgeofit::XCylinderFit.Fit", size, [count] { return cylinder(count); });
    row("xgeofit::XCircle3DFit.Fit", size, [count] { return circle(count); });
    row("xgeofit::XOvalGroove3DFit.Fit", size, [count] { return slot(count); });
  }
  row("xgeofit::XPointFit.Fit", "1 000 000 triangles", [] { return touch(708); });
  return true;
}();

}  // namespace
