// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Searches in a scan of a million points beside PCL's radius searches with the same center and radius,
// which find the neighbourhood but pick no shape out of it.
#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <pcl/features/boundary.h>
#include <pcl/features/normal_3d.h>
#include <pcl/search/kdtree.h>
#include <sched.h>
#include <zelmo/extract/feature_extract.h>
#include <zelmo/extract/point_eliminate.h>
#include <zelmo/extract/poly_line_fit.h>

#include "contest.h"

namespace {

using namespace xgeofeature;   // NOLINT: every record is named below
using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own
using Cloud = pcl::PointCloud<pcl::PointXYZ>;
using Tree = pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>;

constexpr int kPoints = 1000000;

// A block of 200 by 120 by 60 with a bore, a ball and a cone on it; one point in fifty is an outlier.
std::vector<float> partScan(int count) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, 0.01);
  std::vector<float> scan;
  scan.reserve(6 * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    cv::Vec3d p, n;
    const double u = unit(engine), v = unit(engine), turn = 2 * CV_PI * u;
    switch (i * 10LL / count) {  // surface after surface, as a scanner passes over them
      case 6:
        n = {-std::cos(turn), -std::sin(turn), 0};
        p = cv::Vec3d(50, 60, 60 * v) - 10 * n;
        break;
      case 7: {
        const double z = 2 * v - 1, across = std::sqrt(1 - z * z);
        n = {across * std::cos(turn), across * std::sin(turn), z};
        p = cv::Vec3d(100, 60, 80) + 15 * n;
        break;
      }
      case 8:
        n = cv::normalize(cv::Vec3d(std::cos(turn), std::sin(turn), 0.5));
        p = cv::Vec3d(150 + (15 - 10 * v) * std::cos(turn), 60 + (15 - 10 * v) * std::sin(turn),
                      60 + 20 * v);
        break;
      default: {
        const int face = i % 10;
        n = face < 4 ? cv::Vec3d(0, 0, 1) : face < 7 ? cv::Vec3d(1, 0, 0) : cv::Vec3d(0, 1, 0);
        p = face < 4   ? cv::Vec3d(200 * u, 120 * v, 60)
            : face < 7 ? cv::Vec3d(200, 120 * u, 60 * v)
                       : cv::Vec3d(200 * u, 120, 60 * v);
      }
    }
    if (i % 50 == 0) p = {200 * u, 120 * v, 60 * unit(engine)};
    p += n * noise(engine);
    for (int k = 0; k < 3; ++k) scan.push_back(static_cast<float>(p[k]));
    for (int k = 0; k < 3; ++k) scan.push_back(static_cast<float>(n[k]));
  }
  return scan;
}

const std::vector<float>& scan() {
  static const std::vector<float> data = partScan(kPoints);
  return data;
}

XGeoFeatureExtract& extract() {
  static XGeoFeatureExtract* object = [] {
    auto* made = new XGeoFeatureExtract;
    made->setData(scan().data(), kPoints);
    for (int i = 0; i < kPoints; i += 20) made->indexBoundary.push_back(i);
    // A bore wall's search writes a trace file into the current directory.
    std::filesystem::current_path(std::filesystem::temp_directory_path());
    return made;
  }();
  return *object;
}

struct Nominal {
  const char* name;
  float center[3];
  double radius;  // of the neighbourhood
  std::function<void(XGeoFeatureExtract&)> search;
};

const float kUp[3] = {0, 0, 1}, kRight[3] = {1, 0, 0};
const float kTop[3] = {100, 60, 60}, kBore[3] = {50, 60, 0}, kBoreTop[3] = {50, 60, 60};
const float kBall[3] = {100, 60, 80}, kConeBase[3] = {150, 60, 60};

std::vector<Nominal> nominals() {
  const auto root = [](double a, double b) { return std::sqrt(a * a + b * b); };
  return {
      {"searchPlane 40 x 30",
       {100, 60, 60},
       25.0,
       [](auto& e) { e.searchPlane(XFPlane(kTop, kUp, kRight, 40, 30)); }},
      {"searchPlane 200 x 120",
       {100, 60, 60},
       root(100, 60),
       [](auto& e) { e.searchPlane(XFPlane(kTop, kUp, kRight, 200, 120)); }},
      {"searchCylinder",
       {50, 60, 30},
       1.1 * root(30, 10),
       [](auto& e) { e.searchCylinder(XFCylinder(kBore, kUp, 10, 60)); }},
      {"searchCone",
       {150, 60, 70},
       1.1 * root(10, 15),
       [](auto& e) { e.searchCone(XFCone(kConeBase, kUp, 15, 5, 20)); }},
      {"searchSphere", {100, 60, 80}, 16.5, [](auto& e) { e.searchSphere(XFSphere(kBall, 15)); }},
      {"searchCircle at the boundary",
       {50, 60, 60},
       14.0,
       [](auto& e) { e.searchCircle(XFCircle3D(kBoreTop, kUp, 10)); }},
      {"searchCircle on the bore wall",
       {50, 60, 54.5},
       1.1 * root(5, 10),
       [](auto& e) { e.searchCircle(XFCircle3D(kBoreTop, kUp, 10), 0.5F, 10, 1, 3, false); }},
      {"searchCircle2",
       {50, 60, 60},
       14.0,
       [](auto& e) { e.searchCircle2(XFCircle3D(kBoreTop, kUp, 10), 4, 1, 3, false); }},
      {"searchOvalGroove",
       {100, 60, 60},
       1.1 * root(20, 5),
       [](auto& e) { e.searchOvalGroove(XFOvalGroove3D(kTop, kUp, kRight, 15, 5)); }},
      {"searchRectangle",
       {100, 60, 60},
       1.1 * root(20, 10),
       [](auto& e) { e.searchRectangle(XFRectangle3D(kTop, kUp, kRight, 20, 10)); }},
      {"searchRoundGroove",
       {100, 60, 60},
       1.1 * root(6, 4),
       [](auto& e) { e.searchRoundGroove(XFRoundGroove3D(kTop, kUp, kRight, 6, 4, 1)); }},
      {"searchPoint within 2",
       {100, 60, 60},
       2.0,
       [](auto& e) { e.searchPoint(XFPoint(kTop), 2.0F); }},
      {"searchPoint within 20",
       {100, 60, 60},
       20.0,
       [](auto& e) { e.searchPoint(XFPoint(kTop), 20.0F); }},
      {"searchPoint, the mean",
       {100, 60, 60},
       5.0,
       [](auto& e) {
         XFPoint out;
         e.searchPoint(XFPoint(kTop), 5.0F, out);
       }},
      {"searchPoint along a normal",
       {100, 60, 60},
       root(3, 4),
       [](auto& e) {
         XFPoint out;
         e.searchPoint(XFPointN(kTop, kUp), 3.0F, 4.0F, 30.0F, out);
       }},
      {"searchSphere about all",
       {100, 60, 60},
       1000.0,
       [](auto& e) { e.searchSphere(XFSphere(kTop, static_cast<float>(1000.0 / 1.1))); }},
  };
}

/// The squared distances of the points in reach, which lie side by side.
Contender distancesInReach(const Nominal& nominal) {
  const auto at = std::make_shared<std::vector<float>>();
  const auto squared = [c = std::array<float, 3>{nominal.center[0], nominal.center[1],
                                                 nominal.center[2]}](const float* p) {
    return (p[0] - c[0]) * (p[0] - c[0]) + (p[1] - c[1]) * (p[1] - c[1]) +
           (p[2] - c[2]) * (p[2] - c[2]);
  };
  const auto limit = static_cast<float>(nominal.radius * nominal.radius);
  for (std::size_t i = 0; i < scan().size(); i += 6) {
    if (squared(&scan()[i]) <= limit) at->insert(at->end(), &scan()[i], &scan()[i] + 3);
  }
  return {"one distance for each point in reach", [=] {
            int inside = 0;
            for (std::size_t i = 0; i < at->size(); i += 3) {
              inside += squared(&(*at)[i]) < limit ? 1 : 0;
            }
            benchmark::DoNotOptimize(inside);
          }};
}

Contest search(const Nominal& nominal) {
  XGeoFeatureExtract& e = extract();
  const pcl::PointXYZ center(nominal.center[0], nominal.center[1], nominal.center[2]);
  const auto radius_search = [&e, center, radius = nominal.radius](bool in_order) {
    return [&e, center, radius, in_order] {
      e.kdtree->setSortedResults(in_order);
      std::vector<int> indices;
      std::vector<float> distances;
      benchmark::DoNotOptimize(e.kdtree->radiusSearch(center, radius, indices, distances));
    };
  };
  return {[&e, nominal] { nominal.search(e); },
          {{"PCL's radius search, sorted, no shape", radius_search(true)},
           {"the same, not sorted", radius_search(false)}},
          distancesInReach(nominal),
          {}};
}

Contest dataSet() {
  const std::vector<float>& data = scan();
  return {[&data] { XGeoFeatureExtract().setData(data.data(), kPoints); },
          {{"PCL's cloud, normals and tree",
            [&data] {
              const Cloud::Ptr cloud(new Cloud);
              pcl::PointCloud<pcl::Normal> normals;
              cloud->reserve(kPoints);
              normals.reserve(kPoints);
              for (std::size_t i = 0; i < data.size(); i += 6) {
                cloud->push_back({data[i], data[i + 1], data[i + 2]});
                normals.push_back({data[i + 3], data[i + 4], data[i + 5]});
              }
              Tree tree(true);
              tree.setInputCloud(cloud);
              benchmark::DoNotOptimize(normals.data());
            }}},
          {"PCL's tree alone",
           [] {
             const Cloud* cloud = extract().cloud.get();
             Tree(true).setInputCloud(Cloud::ConstPtr(cloud, [](const Cloud*) {}));
           }},
          {}};
}

Contest boundaryIndex(int count) {
  const auto data = std::make_shared<std::vector<float>>(partScan(count));
  const auto e = std::make_shared<XGeoFeatureExtract>();
  e->setData(data->data(), count);
  const Cloud::ConstPtr cloud(e->cloud.get(), [e](const Cloud*) {});
  const auto normals_of = [cloud] {
    auto normals = pcl::make_shared<pcl::PointCloud<pcl::Normal>>();
    pcl::NormalEstimation<pcl::PointXYZ, pcl::Normal> estimation;
    estimation.setInputCloud(cloud);
    estimation.setSearchMethod(pcl::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
    estimation.setKSearch(20);
    estimation.compute(*normals);
    return normals;
  };
  return {[e] { e->searchBoundaryIndex(); },
          {{"PCL's normals and boundary estimators",
            [=] {
              pcl::PointCloud<pcl::Boundary> flags;
              pcl::BoundaryEstimation<pcl::PointXYZ, pcl::Normal, pcl::Boundary> boundary;
              boundary.setInputCloud(cloud);
              boundary.setInputNormals(normals_of());
              boundary.setSearchMethod(pcl::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
              boundary.setKSearch(20);
              boundary.setAngleThreshold(static_cast<float>(CV_PI / 2));
              boundary.compute(flags);
            }}},
          {"PCL's search of 20 neighbours for each point",
           [=] {
             std::vector<int> indices(20);
             std::vector<float> distances(20);
             for (int i = 0; i < count; ++i) {
               benchmark::DoNotOptimize(e->kdtree->nearestKSearch(
                   (*cloud)[static_cast<std::size_t>(i)], 20, indices, distances));
             }
           }},
          {}};
}

/// Keeps the threads of this process on one processor while it lives.
class OneProcessor {
 public:
  OneProcessor() {
    sched_getaffinity(0, sizeof m_before, &m_before);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;
  ~OneProcessor() { sched_setaffinity(0, sizeof m_before, &m_before); }

 private:
  cpu_set_t m_before{};
};

Contest elimination() {
  const auto corners = std::make_shared<std::vector<float>>();
  const auto up = std::make_shared<std::vector<float>>();
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 60; ++j) {
      const float x = 2.0F * static_cast<float>(i), y = 2.0F * static_cast<float>(j);
      corners->insert(corners->end(), {x, y, 60, x + 2, y, 60, x + 2, y + 2, 60});
      corners->insert(corners->end(), {x, y, 60, x + 2, y + 2, 60, x, y + 2, 60});
      up->insert(up->end(), {0, 0, 1, 0, 0, 1});
    }
  }
  std::vector<int> indices(kPoints);
  for (int i = 0; i < kPoints; ++i) indices[static_cast<std::size_t>(i)] = i;
  const auto run = [corners, up, indices] {
    std::vector<int> result;
    XGeoFeaturePointEliminate().getGeoFeaturePointIndices(
        extract().cloud, extract().normals, indices, corners->data(),
        static_cast<int>(up->size() / 3), up->data(), result);
    benchmark::DoNotOptimize(result.data());
  };
  extract();
  return {run,
          {{"the same on one processor",
            [run] {
              const OneProcessor alone;
              run();
            }}},
          {},
          {}};
}

Contest tube(int count) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<float> ring;
  for (int i = 0; i < count; ++i) {
    const double turn = 2 * CV_PI * unit(engine), around = 2 * CV_PI * unit(engine);
    const cv::Vec3d out(std::cos(turn), std::sin(turn), 0);
    const cv::Vec3d n = out * std::cos(around) + cv::Vec3d(0, 0, std::sin(around));
    const cv::Vec3d p = out * 100 + n * 5;
    for (int k = 0; k < 3; ++k) ring.push_back(static_cast<float>(p[k]));
    for (int k = 0; k < 3; ++k) ring.push_back(static_cast<float>(n[k]));
  }
  const auto line = std::make_shared<xpolylinefit::XPolyLineFit>();
  line->setData(ring.data(), count);
  return {[line] {
            const float start[3] = {100, 0, 0}, direction[3] = {0, 1, 0};
            benchmark::DoNotOptimize(line->Fit(start, direction, 6, 5));
          },
          {},
          {},
          {}};
}

[[maybe_unused]] const bool kRows = [] {
  const std::string million = sizeText(kPoints, "points");
  for (const Nominal& nominal : nominals()) {
    row(std::string("XGeoFeatureExtract.") + nominal.name, million,
        [nominal] { return search(nominal); });
  }
  row("XGeoFeatureExtract.setData", million, dataSet);
  row("XGeoFeatureExtract.searchBoundaryIndex", sizeText(100000, "points"),
      [] { return boundaryIndex(100000); });
  row("XGeoFeaturePointEliminate.getGeoFeaturePointIndices", sizeText(kPoints, "candidates"),
      elimination, Clock::Wall);
  row("XPolyLineFit.Fit", sizeText(100000, "points"), [] { return tube(100000); });
  return true;
}();

}  // namespace
