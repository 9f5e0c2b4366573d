// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include <BRepAdaptor_Surface.hxx>
#include <STEPControl_Reader.hxx>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>
#include <zelmo/model/model_3d_feature.h>
#include <zelmo/model/model_curve.h>
#include <zelmo/model/model_feature.h>

#include "support/cad_shapes.h"
#include "support/temporary_folder.h"

/// \file
/// Reading beside OpenCASCADE's own reader on the same file, and listing beside that reading.

namespace {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): a program of its own

/// Lines that the readers print go nowhere.
class SilentOutput {
 public:
  SilentOutput() : m_saved(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  SilentOutput(const SilentOutput&) = delete;
  SilentOutput& operator=(const SilentOutput&) = delete;
  ~SilentOutput() {
    std::fflush(stdout);
    dup2(m_saved, STDOUT_FILENO);
    close(m_saved);
  }

 private:
  int m_saved;
};

/// A model of boxes and cylinders all over the place, with about \p faces faces, hardly two of them in
/// one plane.
TopoDS_Shape scatteredModel(int faces) {
  std::mt19937 random(20);
  std::uniform_real_distribution<double> place(-500.0, 500.0), size(1.0, 20.0);
  std::vector<TopoDS_Shape> solids;
  for (int count = 0; count < faces; count += 9) {
    const gp_Pnt corner(place(random), place(random), place(random));
    solids.push_back(BRepPrimAPI_MakeBox(corner, size(random), size(random), size(random)).Shape());
    const gp_Ax2 axis(gp_Pnt(place(random), place(random), place(random)),
                      gp_Dir(place(random), place(random), place(random)));
    solids.push_back(BRepPrimAPI_MakeCylinder(axis, size(random), size(random)).Shape());
  }
  return zelmo::test::together(solids);
}

/// A row of boxes between the same four planes: records that share all but one coordinate.
TopoDS_Shape rowModel(int faces) {
  std::vector<TopoDS_Shape> solids;
  for (int count = 0; count < faces; count += 6) {
    solids.push_back(BRepPrimAPI_MakeBox(gp_Pnt(0, count, 0), 4, 3, 5).Shape());
  }
  return zelmo::test::together(solids);
}

enum Layout { Scattered, Row };

/// The model, its file and what OpenCASCADE's reader needs for it, made once per size and layout.
struct Sample {
  Sample(int faces, Layout layout) : path((folder.path() / "model.stp").string()) {
    const SilentOutput silent;
    STEPControl_Writer writer;
    writer.Transfer(layout == Row ? rowModel(faces) : scatteredModel(faces), STEPControl_AsIs);
    writer.Write(path.c_str());
    XReadModel::readStepFile(path.data(), shape);
  }
  zelmo::test::TemporaryFolder folder;
  std::string path;
  TopoDS_Shape shape;
};

Sample& sampleOf(const benchmark::State& state) {
  static std::map<std::pair<int, int>, std::unique_ptr<Sample>> samples;
  const auto faces = static_cast<int>(state.range(0));
  const auto layout = static_cast<Layout>(state.range(1));
  auto& sample = samples[{faces, layout}];
  if (!sample) sample = std::make_unique<Sample>(faces, layout);
  return *sample;
}

double secondsOf(const std::function<void()>& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The library's reader and OpenCASCADE's own in turn, so that both see the same machine: the counter
/// is the ratio of the fastest readings.
void BM_XReadModel_readStepFile(benchmark::State& state) {
  Sample& sample = sampleOf(state);
  const SilentOutput silent;
  double library = 1e9, occ = 1e9;
  for (auto _ : state) {
    occ = std::min(occ, secondsOf([&sample] {
                     STEPControl_Reader reader;
                     reader.ReadFile(sample.path.c_str());
                     reader.NbRootsForTransfer();
                     reader.TransferRoots();
                     benchmark::DoNotOptimize(reader.OneShape());
                   }));
    const double seconds = secondsOf([&sample] {
      TopoDS_Shape shape;
      benchmark::DoNotOptimize(XReadModel::readStepFile(sample.path.data(), shape));
    });
    state.SetIterationTime(seconds);
    library = std::min(library, seconds);
  }
  state.counters["over_occ"] = library / occ;
}

void BM_XModel3DFeature_get3DFeatureData(benchmark::State& state) {
  const Sample& sample = sampleOf(state);
  for (auto _ : state) {
    XModel3DFeature features;
    features.get3DFeatureData(sample.shape);
    benchmark::DoNotOptimize(features.planes.data());
  }
}

void BM_XModelCurve_getCurveData(benchmark::State& state) {
  const Sample& sample = sampleOf(state);
  for (auto _ : state) {
    XModelCurve curves;
    curves.setData(sample.shape);
    curves.getCurveData(sample.shape);
    benchmark::DoNotOptimize(curves.lines.data());
  }
}

/// The kind of every face by an adaptor, what a host would write itself.
void BM_Adaptor_FaceKinds(benchmark::State& state) {
  const Sample& sample = sampleOf(state);
  const auto faces = zelmo::test::facesOf(sample.shape);
  for (auto _ : state) {
    for (const TopoDS_Face& face : faces) {
      benchmark::DoNotOptimize(BRepAdaptor_Surface(face, true).GetType());
    }
  }
}

void BM_XModelFeature_getFaceInfo(benchmark::State& state) {
  const Sample& sample = sampleOf(state);
  const auto faces = zelmo::test::facesOf(sample.shape);
  std::vector<float> data;
  for (auto _ : state) {
    for (const TopoDS_Face& face : faces) {
      ModelFeatureType type = ModelUnknown;
      XModelFeature::getFaceInfo(face, type, data);
      benchmark::DoNotOptimize(type);
    }
  }
}

void models(benchmark::internal::Benchmark* b) {
  b->ArgNames({"faces", "layout"})->Unit(benchmark::kMillisecond);
  b->Args({450, Scattered})->Args({10000, Scattered})->Args({10000, Row});
}
BENCHMARK(BM_XReadModel_readStepFile)->Apply(models)->UseManualTime();
BENCHMARK(BM_XModel3DFeature_get3DFeatureData)->Apply(models);
BENCHMARK(BM_XModelCurve_getCurveData)->Apply(models);
BENCHMARK(BM_Adaptor_FaceKinds)->Apply(models);
BENCHMARK(BM_XModelFeature_getFaceInfo)->Apply(models);

}  // namespace
