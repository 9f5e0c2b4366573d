// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Sections and trims of a bent sheet, beside VTK's plane cutter and clip on one thread where VTK is
// installed, and beside bare loops.
#include <cmath>
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <zelmo/zelmo.h>

#include "support/meshes.h"

#ifdef ZELMO_WITH_VTK
#include <vtkCellArray.h>
#include <vtkClipPolyData.h>
#include <vtkCylinder.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkPlane.h>
#include <vtkPlaneCutter.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSMPTools.h>
#endif

namespace {

using zelmo::test::Mesh;

const Mesh& sheet(int squares) {
  static std::vector<std::pair<int, Mesh>> made;
  for (const auto& [size, mesh] : made) {
    if (size == squares) return mesh;
  }
  made.reserve(8);
  made.emplace_back(squares, zelmo::test::heightField(squares, squares, 0.1F, [](float x, float y) {
                      return 3.0F * std::sin(x * 0.2F) * std::cos(y * 0.15F);
                    }));
  return made.back().second;
}

constexpr int kTwoMillion = 1000;  // squares along a side
constexpr int kOneMillion = 707;
constexpr double kPlane[4] = {0.8, 0.6, 0, -70};

void perTriangle(benchmark::State& state, const Mesh& mesh) {
  state.counters["per_triangle"] =
      benchmark::Counter(mesh.faceCount(), benchmark::Counter::kIsIterationInvariantRate |
                                               benchmark::Counter::kInvert);
}

void getSection(benchmark::State& state) {
  const Mesh& mesh = sheet(kTwoMillion);
  xsection::XSection section;
  std::vector<float> result;
  for ([[maybe_unused]] auto _ : state) {
    section.getSection(kPlane, mesh.vertices.data(), mesh.faces.data(), mesh.faceCount(), result);
    benchmark::DoNotOptimize(result.data());
  }
  perTriangle(state, mesh);
}
BENCHMARK(getSection)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void getSection2(benchmark::State& state) {
  const Mesh& mesh = sheet(kTwoMillion);
  xsection::XSection section;
  std::vector<float> result;
  for ([[maybe_unused]] auto _ : state) {
    section.getSection2(kPlane, mesh.vertices.data(), mesh.faces.data(), mesh.faceCount(), result);
    benchmark::DoNotOptimize(result.data());
  }
  perTriangle(state, mesh);
}
BENCHMARK(getSection2)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

// What the cursor costs: as many takes under a mutex, by as many threads, and nothing else.
void cursorAlone(benchmark::State& state) {
  const int count = sheet(static_cast<int>(state.range(0))).faceCount();
  for ([[maybe_unused]] auto _ : state) {
    std::mutex mutex;
    int next = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&] {
        for (;;) {
          const std::lock_guard<std::mutex> lock(mutex);
          if (next >= count) return;
          ++next;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  perTriangle(state, sheet(static_cast<int>(state.range(0))));
}
BENCHMARK(cursorAlone)
    ->Arg(kTwoMillion)
    ->Arg(kOneMillion)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// The three signed values of every triangle, straight from its vertices, and a count of sign changes.
void bareLoopOverSignedValues(benchmark::State& state) {
  const Mesh& mesh = sheet(kTwoMillion);
  for ([[maybe_unused]] auto _ : state) {
    int crossing = 0;
    for (int i = 0; i < mesh.faceCount(); ++i) {
      double d[3];
      for (int k = 0; k < 3; ++k) {
        const float* p = mesh.corner(i, k);
        d[k] = kPlane[0] * p[0] + kPlane[1] * p[1] + kPlane[2] * p[2] + kPlane[3];
      }
      crossing += d[0] * d[1] <= 0 || d[0] * d[2] <= 0 ? 1 : 0;
    }
    benchmark::DoNotOptimize(crossing);
  }
  perTriangle(state, mesh);
}
BENCHMARK(bareLoopOverSignedValues)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void trimWithCircle(benchmark::State& state) {
  const Mesh& mesh = sheet(kOneMillion);
  const std::vector<float> normals = mesh.normals();
  const float center[3] = {35, 35, 0};
  const float normal[3] = {0, 0, 1};
  xgeofeature::XFCircle3D circle(center, normal, 15);
  vorn::quil::xtirm::XTrimWithCurve trim;
  vorn::quil::xtirm::ModifyFaceData result;
  for ([[maybe_unused]] auto _ : state) {
    trim.trimWithCircle(&circle, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                        mesh.faces.data(), mesh.faceCount(), result, 1.0F, false);
    benchmark::DoNotOptimize(result.removedFaces.data());
  }
  perTriangle(state, mesh);
}
BENCHMARK(trimWithCircle)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void trimWithOvalSlot(benchmark::State& state) {
  const Mesh& mesh = sheet(kOneMillion);
  const std::vector<float> normals = mesh.normals();
  const float center[3] = {35, 35, 0};
  const float normal[3] = {0, 0, 1};
  const float major[3] = {1, 0, 0};
  xgeofeature::XFOvalGroove3D slot(center, normal, major, 10, 8);
  vorn::quil::xtirm::XTrimWithCurve trim;
  vorn::quil::xtirm::ModifyFaceData result;
  for ([[maybe_unused]] auto _ : state) {
    trim.trimWithOvalSlot(&slot, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                          mesh.faces.data(), mesh.faceCount(), result, 1.0F, false);
    benchmark::DoNotOptimize(result.removedFaces.data());
  }
  perTriangle(state, mesh);
}
BENCHMARK(trimWithOvalSlot)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

#ifdef ZELMO_WITH_VTK
vtkSmartPointer<vtkPolyData> polyData(const Mesh& mesh) {
  vtkNew<vtkFloatArray> coordinates;
  coordinates->SetNumberOfComponents(3);
  coordinates->SetNumberOfTuples(mesh.vertexCount());
  std::copy(mesh.vertices.begin(), mesh.vertices.end(), coordinates->GetPointer(0));
  vtkNew<vtkPoints> points;
  points->SetData(coordinates);
  vtkNew<vtkCellArray> cells;
  for (int i = 0; i < mesh.faceCount(); ++i) {
    const vtkIdType ids[3] = {mesh.faces[static_cast<std::size_t>(3 * i)],
                              mesh.faces[static_cast<std::size_t>(3 * i + 1)],
                              mesh.faces[static_cast<std::size_t>(3 * i + 2)]};
    cells->InsertNextCell(3, ids);
  }
  auto data = vtkSmartPointer<vtkPolyData>::New();
  data->SetPoints(points);
  data->SetPolys(cells);
  data->BuildCells();
  return data;
}

void vtkPlaneCutterOneThread(benchmark::State& state) {
  vtkSMPTools::Initialize(1);
  const Mesh& mesh = sheet(kTwoMillion);
  const auto data = polyData(mesh);
  vtkNew<vtkPlane> plane;
  plane->SetNormal(kPlane[0], kPlane[1], kPlane[2]);
  plane->SetOrigin(-kPlane[3] * kPlane[0], -kPlane[3] * kPlane[1], 0);
  vtkNew<vtkPlaneCutter> cutter;
  cutter->SetInputData(data);
  cutter->SetPlane(plane);
  cutter->BuildTreeOff();
  cutter->ComputeNormalsOff();
  for ([[maybe_unused]] auto _ : state) {
    plane->Modified();
    cutter->Modified();
    cutter->Update();
  }
  perTriangle(state, mesh);
}
BENCHMARK(vtkPlaneCutterOneThread)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void vtkClipOneThread(benchmark::State& state) {
  vtkSMPTools::Initialize(1);
  const Mesh& mesh = sheet(kOneMillion);
  const auto data = polyData(mesh);
  vtkNew<vtkCylinder> cylinder;
  cylinder->SetCenter(35, 35, 0);
  cylinder->SetAxis(0, 0, 1);
  cylinder->SetRadius(15);
  vtkNew<vtkClipPolyData> clip;
  clip->SetInputData(data);
  clip->SetClipFunction(cylinder);
  for ([[maybe_unused]] auto _ : state) {
    clip->Modified();
    clip->Update();
  }
  perTriangle(state, mesh);
}
BENCHMARK(vtkClipOneThread)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
#endif

}  // namespace
