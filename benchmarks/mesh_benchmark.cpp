// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Sections and trims of a bent sheet, beside VTK's plane cutter and clip on one thread where VTK is
// installed, and beside bare loops.
#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <zelmo/zelmo.h>

#include "contest.h"
#include "floors.h"
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

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own
using zelmo::test::Mesh;

constexpr int kTwoMillion = 1000;  // squares along a side
constexpr int kOneMillion = 707;
constexpr double kPlane[4] = {0.8, 0.6, 0, -70};

struct Sheet {
  Mesh mesh;
  std::vector<float> normals;
};

std::shared_ptr<const Sheet> sheet(int squares) {
  auto made = std::make_shared<Sheet>();
  made->mesh = zelmo::test::heightField(squares, squares, 0.1F, [](float x, float y) {
    return 3.0F * std::sin(x * 0.2F) * std::cos(y * 0.15F);
  });
  made->normals = made->mesh.normals();
  return made;
}

/// The three signed values of every triangle, straight from its vertices, and a count of sign changes.
Contender signedValues(const std::shared_ptr<const Sheet>& sheet) {
  return {"the side of each triangle's corners, a plain loop", [sheet] {
            const Mesh& mesh = sheet->mesh;
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
          }};
}

/// One value for each vertex, one look at each index.
Contender valuesAndIndices(const std::shared_ptr<const Sheet>& sheet) {
  return {"a plane's value for each vertex and one read of the faces", [sheet] {
            const Mesh& mesh = sheet->mesh;
            benchmark::DoNotOptimize(planeValues(mesh.vertices.data(), mesh.vertexCount(), kPlane));
            benchmark::DoNotOptimize(std::accumulate(mesh.faces.begin(), mesh.faces.end(), 0U));
          }};
}

/// What handing out single triangles costs: as many takes under a mutex, by eight threads, and nothing
/// else.
Contender cursorAlone(const std::shared_ptr<const Sheet>& sheet) {
  return {"handing out the triangles to eight tasks, nothing else",
          [count = sheet->mesh.faceCount()] {
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
          }};
}

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

Contender planeCutter(const Mesh& mesh) {
  vtkSMPTools::Initialize(1);
  const auto plane = vtkSmartPointer<vtkPlane>::New();
  plane->SetNormal(kPlane[0], kPlane[1], kPlane[2]);
  plane->SetOrigin(-kPlane[3] * kPlane[0], -kPlane[3] * kPlane[1], 0);
  const auto cutter = vtkSmartPointer<vtkPlaneCutter>::New();
  cutter->SetInputData(polyData(mesh));
  cutter->SetPlane(plane);
  cutter->BuildTreeOff();
  cutter->ComputeNormalsOff();
  return {"VTK's vtkPlaneCutter, one thread", [plane, cutter] {
            plane->Modified();
            cutter->Modified();
            cutter->Update();
          }};
}

Contender clip(const Mesh& mesh) {
  vtkSMPTools::Initialize(1);
  const auto cylinder = vtkSmartPointer<vtkCylinder>::New();
  cylinder->SetCenter(35, 35, 0);
  cylinder->SetAxis(0, 0, 1);
  cylinder->SetRadius(15);
  const auto filter = vtkSmartPointer<vtkClipPolyData>::New();
  filter->SetInputData(polyData(mesh));
  filter->SetClipFunction(cylinder);
  return {"VTK's vtkClipPolyData by a cylinder, one thread", [filter] {
            filter->Modified();
            filter->Update();
          }};
}
#endif

using Section = int (xsection::XSection::*)(const double*, const float*, const int*, const int&,
                                            std::vector<float>&);

Contest section(Section member, bool by_tasks) {
  const auto cut = sheet(kTwoMillion);
  Contest contest;
  contest.library = [cut, member, result = std::vector<float>()]() mutable {
    xsection::XSection section;
    (section.*member)(kPlane, cut->mesh.vertices.data(), cut->mesh.faces.data(),
                      cut->mesh.faceCount(), result);
    benchmark::DoNotOptimize(result.data());
  };
#ifdef ZELMO_WITH_VTK
  contest.peers = {planeCutter(cut->mesh)};
#endif
  contest.peers.push_back(by_tasks ? cursorAlone(cut) : signedValues(cut));
  contest.attainable = valuesAndIndices(cut);
  return contest;
}

Contest sectionOfCloud() {
  const auto cut = sheet(kOneMillion);
  const auto count = cut->mesh.vertexCount();
  Contest contest;
  contest.library = [cut, count, result = std::vector<float>()]() mutable {
    xsection::XSection().getSection(kPlane, cut->mesh.vertices.data(), count, result, 0.05);
    benchmark::DoNotOptimize(result.data());
  };
  contest.peers = {{"a plain loop", [cut, kept = std::vector<float>()]() mutable {
                      kept.clear();
                      const auto& v = cut->mesh.vertices;
                      for (std::size_t i = 0; i < v.size(); i += 3) {
                        const double d = kPlane[0] * v[i] + kPlane[1] * v[i + 1] +
                                         kPlane[2] * v[i + 2] + kPlane[3];
                        if (std::fabs(d) <= 0.05) kept.insert(kept.end(), &v[i], &v[i] + 3);
                      }
                      benchmark::DoNotOptimize(kept.data());
                    }}};
  contest.attainable = {
      "one plane's value a point", [cut, count] {
        benchmark::DoNotOptimize(planeValues(cut->mesh.vertices.data(), count, kPlane));
      }};
  return contest;
}

enum Hole { Circle, Slot };

Contest trim(Hole hole) {
  const auto cut = sheet(kOneMillion);
  Contest contest;
  contest.library = [cut, hole, result = vorn::quil::xtirm::ModifyFaceData()]() mutable {
    const Mesh& mesh = cut->mesh;
    const float center[3] = {35, 35, 0}, normal[3] = {0, 0, 1}, major[3] = {1, 0, 0};
    vorn::quil::xtirm::XTrimWithCurve trim;
    if (hole == Circle) {
      xgeofeature::XFCircle3D circle(center, normal, 15);
      trim.trimWithCircle(&circle, mesh.vertices.data(), mesh.vertexCount(), cut->normals.data(),
                          mesh.faces.data(), mesh.faceCount(), result, 1.0F, false);
    } else {
      xgeofeature::XFOvalGroove3D slot(center, normal, major, 10, 8);
      trim.trimWithOvalSlot(&slot, mesh.vertices.data(), mesh.vertexCount(), cut->normals.data(),
                            mesh.faces.data(), mesh.faceCount(), result, 1.0F, false);
    }
    benchmark::DoNotOptimize(result.removedFaces.data());
  };
#ifdef ZELMO_WITH_VTK
  if (hole == Circle) contest.peers = {clip(cut->mesh)};
#endif
  contest.peers.push_back(cursorAlone(cut));
  return contest;
}

[[maybe_unused]] const bool kRows = [] {
  const std::string million = sizeText(2 * kOneMillion * kOneMillion, "triangles");
  const std::string two_million = sizeText(2 * kTwoMillion * kTwoMillion, "triangles");
  row(
      "XSection.getSection", two_million,
      [] { return section(&xsection::XSection::getSection, false); }, Clock::Wall);
  row(
      "XSection.getSection2, eight tasks", two_million,
      [] { return section(&xsection::XSection::getSection2, true); }, Clock::Wall);
  row("XSection.getSection of a cloud", sizeText((kOneMillion + 1) * (kOneMillion + 1), "points"),
      sectionOfCloud);
  row(
      "XTrimWithCurve.trimWithCircle, eight tasks", million, [] { return trim(Circle); },
      Clock::Wall);
  row(
      "XTrimWithCurve.trimWithOvalSlot, eight tasks", million, [] { return trim(Slot); },
      Clock::Wall);
  return true;
}();

}  // namespace
