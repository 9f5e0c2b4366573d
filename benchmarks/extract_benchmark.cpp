// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Searches in a scan of a million points beside PCL's radius searches with the same center and
// radius. Each takes its turn twice in a row, so that the caches are as warm for all; the counters are
// ratios of the fastest runs:
//   vs_sorted, vs_unsorted   time over that of PCL's sorted and unsorted radius search
//   hits, found              points of the neighbourhood and of the result
// setData stands beside PCL's tree (vs_tree), the boundary index beside PCL's own estimators
// (vs_estimators), and elimination on all processors beside the same on one (speedup).
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <pcl/features/boundary.h>
#include <pcl/features/normal_3d.h>
#include <pcl/search/kdtree.h>
#include <sched.h>
#include <time.h>
#include <zelmo/extract/feature_extract.h>
#include <zelmo/extract/point_eliminate.h>
#include <zelmo/extract/poly_line_fit.h>

namespace {

using namespace xgeofeature;  // NOLINT: every record is named below
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
    return made;
  }();
  return *object;
}

double secondsOf(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The fastest of several runs. What runs on the caller's thread is measured by the time of that
/// thread, so that other work on the machine disturbs the ratios less.
struct Fastest {
  clockid_t clock = CLOCK_THREAD_CPUTIME_ID;
  double seconds = 1e9;

  template <typename Action>
  double run(const Action& action) {
    const double start = secondsOf(clock);
    action();
    const double taken = secondsOf(clock) - start;
    seconds = std::min(seconds, taken);
    return taken;
  }
};

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
      {"Plane40x30",
       {100, 60, 60},
       25.0,
       [](auto& e) { e.searchPlane(XFPlane(kTop, kUp, kRight, 40, 30)); }},
      {"Plane200x120",
       {100, 60, 60},
       root(100, 60),
       [](auto& e) { e.searchPlane(XFPlane(kTop, kUp, kRight, 200, 120)); }},
      {"Cylinder",
       {50, 60, 30},
       1.1 * root(30, 10),
       [](auto& e) { e.searchCylinder(XFCylinder(kBore, kUp, 10, 60)); }},
      {"Cone",
       {150, 60, 70},
       1.1 * root(10, 15),
       [](auto& e) { e.searchCone(XFCone(kConeBase, kUp, 15, 5, 20)); }},
      {"Sphere", {100, 60, 80}, 16.5, [](auto& e) { e.searchSphere(XFSphere(kBall, 15)); }},
      {"CircleBoundary",
       {50, 60, 60},
       14.0,
       [](auto& e) { e.searchCircle(XFCircle3D(kBoreTop, kUp, 10)); }},
      {"CircleBoreWall",
       {50, 60, 54.5},
       1.1 * root(5, 10),
       [](auto& e) { e.searchCircle(XFCircle3D(kBoreTop, kUp, 10), 0.5F, 10, 1, 3, false); }},
      {"Circle2",
       {50, 60, 60},
       14.0,
       [](auto& e) { e.searchCircle2(XFCircle3D(kBoreTop, kUp, 10), 4, 1, 3, false); }},
      {"OvalGroove",
       {100, 60, 60},
       1.1 * root(20, 5),
       [](auto& e) { e.searchOvalGroove(XFOvalGroove3D(kTop, kUp, kRight, 15, 5)); }},
      {"Rectangle",
       {100, 60, 60},
       1.1 * root(20, 10),
       [](auto& e) { e.searchRectangle(XFRectangle3D(kTop, kUp, kRight, 20, 10)); }},
      {"RoundGroove",
       {100, 60, 60},
       1.1 * root(6, 4),
       [](auto& e) { e.searchRoundGroove(XFRoundGroove3D(kTop, kUp, kRight, 6, 4, 1)); }},
      {"Point", {100, 60, 60}, 2.0, [](auto& e) { e.searchPoint(XFPoint(kTop), 2.0F); }},
      {"PointWide", {100, 60, 60}, 20.0, [](auto& e) { e.searchPoint(XFPoint(kTop), 20.0F); }},
      {"PointMean",
       {100, 60, 60},
       5.0,
       [](auto& e) {
         XFPoint out;
         e.searchPoint(XFPoint(kTop), 5.0F, out);
       }},
      {"PointAlongNormal",
       {100, 60, 60},
       root(3, 4),
       [](auto& e) {
         XFPoint out;
         e.searchPoint(XFPointN(kTop, kUp), 3.0F, 4.0F, 30.0F, out);
       }},
      {"WholeCloud",
       {100, 60, 60},
       1000.0,
       [](auto& e) { e.searchSphere(XFSphere(kTop, static_cast<float>(1000.0 / 1.1))); }},
  };
}

void BM_XGeoFeatureExtract_search(benchmark::State& state, const Nominal& nominal) {
  XGeoFeatureExtract& e = extract();
  if (e.indexBoundary.empty()) {
    for (int i = 0; i < kPoints; i += 20) e.indexBoundary.push_back(i);
  }
  const pcl::PointXYZ center(nominal.center[0], nominal.center[1], nominal.center[2]);
  Fastest own, sorted, unsorted;
  std::size_t hits = 0;
  const auto peer = [&](bool in_order, Fastest& fastest) {
    e.kdtree->setSortedResults(in_order);
    for (int turn = 0; turn < 2; ++turn) {
      fastest.run([&] {
        std::vector<int> indices;
        std::vector<float> distances;
        hits = static_cast<std::size_t>(
            e.kdtree->radiusSearch(center, nominal.radius, indices, distances));
      });
    }
  };
  nominal.search(e);
  for (auto _ : state) {
    own.run([&] { nominal.search(e); });
    state.SetIterationTime(own.run([&] { nominal.search(e); }));
    peer(false, unsorted);
    peer(true, sorted);
  }
  state.counters["hits"] = static_cast<double>(hits);
  state.counters["found"] = static_cast<double>(e.indexResult.size());
  state.counters["vs_sorted"] = own.seconds / sorted.seconds;
  state.counters["vs_unsorted"] = own.seconds / unsorted.seconds;
}

void BM_XGeoFeatureExtract_setData(benchmark::State& state) {
  boost::shared_ptr<Cloud> cloud = extract().cloud;
  Fastest own, tree;
  for (auto _ : state) {
    XGeoFeatureExtract fresh;
    state.SetIterationTime(own.run([&] { fresh.setData(scan().data(), kPoints); }));
    Tree peer(true);
    tree.run([&] { peer.setInputCloud(Cloud::ConstPtr(cloud.get(), [](const Cloud*) {})); });
  }
  state.counters["vs_tree"] = own.seconds / tree.seconds;
}
BENCHMARK(BM_XGeoFeatureExtract_setData)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_XGeoFeatureExtract_searchBoundaryIndex(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const auto data = partScan(count);
  XGeoFeatureExtract e;
  e.setData(data.data(), count);
  const Cloud::ConstPtr cloud(e.cloud.get(), [](const Cloud*) {});
  Fastest own, peer;
  std::cout.setstate(std::ios::failbit);  // the line about the size stays off the table
  for (auto _ : state) {
    state.SetIterationTime(own.run([&] { e.searchBoundaryIndex(); }));
    peer.run([&] {
      const auto normals = pcl::make_shared<pcl::PointCloud<pcl::Normal>>();
      pcl::NormalEstimation<pcl::PointXYZ, pcl::Normal> estimation;
      estimation.setInputCloud(cloud);
      estimation.setSearchMethod(pcl::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
      estimation.setKSearch(20);
      estimation.compute(*normals);
      pcl::PointCloud<pcl::Boundary> flags;
      pcl::BoundaryEstimation<pcl::PointXYZ, pcl::Normal, pcl::Boundary> boundary;
      boundary.setInputCloud(cloud);
      boundary.setInputNormals(normals);
      boundary.setSearchMethod(pcl::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
      boundary.setKSearch(20);
      boundary.setAngleThreshold(static_cast<float>(CV_PI / 2));
      boundary.compute(flags);
    });
  }
  std::cout.clear();
  state.counters["vs_estimators"] = own.seconds / peer.seconds;
}
BENCHMARK(BM_XGeoFeatureExtract_searchBoundaryIndex)
    ->ArgName("points")
    ->Arg(kPoints)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

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

void BM_XGeoFeaturePointEliminate(benchmark::State& state) {
  const int candidates = static_cast<int>(state.range(0));
  std::vector<float> corners, up;
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 60; ++j) {
      const float x = 2.0F * static_cast<float>(i), y = 2.0F * static_cast<float>(j);
      corners.insert(corners.end(), {x, y, 60, x + 2, y, 60, x + 2, y + 2, 60});
      corners.insert(corners.end(), {x, y, 60, x + 2, y + 2, 60, x, y + 2, 60});
      up.insert(up.end(), {0, 0, 1, 0, 0, 1});
    }
  }
  const int triangles = static_cast<int>(up.size() / 3);
  XGeoFeatureExtract& e = extract();
  std::vector<int> indices(static_cast<std::size_t>(candidates)), result;
  for (int i = 0; i < candidates; ++i) indices[static_cast<std::size_t>(i)] = i % kPoints;
  XGeoFeaturePointEliminate eliminate;
  const auto run = [&] {
    eliminate.getGeoFeaturePointIndices(e.cloud, e.normals, indices, corners.data(), triangles,
                                        up.data(), result);
  };
  Fastest all{CLOCK_MONOTONIC}, one{CLOCK_MONOTONIC};
  for (auto _ : state) {
    state.SetIterationTime(all.run(run));
    const OneProcessor alone;
    one.run(run);
  }
  state.counters["kept"] = static_cast<double>(result.size());
  state.counters["speedup"] = one.seconds / all.seconds;
}
BENCHMARK(BM_XGeoFeaturePointEliminate)
    ->ArgName("candidates")
    ->Arg(kPoints)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void BM_XPolyLineFit(benchmark::State& state) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<float> ring;
  const int count = static_cast<int>(state.range(0));
  for (int i = 0; i < count; ++i) {
    const double turn = 2 * CV_PI * unit(engine), around = 2 * CV_PI * unit(engine);
    const cv::Vec3d out(std::cos(turn), std::sin(turn), 0);
    const cv::Vec3d n = out * std::cos(around) + cv::Vec3d(0, 0, std::sin(around));
    const cv::Vec3d p = out * 100 + n * 5;
    for (int k = 0; k < 3; ++k) ring.push_back(static_cast<float>(p[k]));
    for (int k = 0; k < 3; ++k) ring.push_back(static_cast<float>(n[k]));
  }
  xpolylinefit::XPolyLineFit tube;
  tube.setData(ring.data(), count);
  const float start[3] = {100, 0, 0}, direction[3] = {0, 1, 0};
  for (auto _ : state) benchmark::DoNotOptimize(tube.Fit(start, direction, 6, 5));
  state.counters["line_points"] = static_cast<double>(tube.points.size());
}
BENCHMARK(BM_XPolyLineFit)->ArgName("points")->Arg(100000)->Unit(benchmark::kMillisecond);

const bool kRegistered = [] {
  // The bore wall's search writes a trace file into the current directory.
  std::filesystem::current_path(std::filesystem::temp_directory_path());
  for (const Nominal& nominal : nominals()) {
    const std::string name = std::string("BM_XGeoFeatureExtract_search/") + nominal.name;
    benchmark::RegisterBenchmark(name.c_str(), BM_XGeoFeatureExtract_search, nominal)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
  return true;
}();

}  // namespace
