// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Tables and texts beside a plain stream of the same fields, CAD files beside OpenCASCADE's own
// shapes and writers.
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <GeomAPI_Interpolate.hxx>
#include <Geom_BSplineCurve.hxx>
#include <IGESControl_Controller.hxx>
#include <TColgp_HArray1OfPnt.hxx>
#include <benchmark/benchmark.h>
#include <gp_Pln.hxx>
#include <zelmo/export/export_files.h>

#include "contest.h"
#include "support/cad_shapes.h"
#include "support/temporary_folder.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own
using xexportfiles::XExportFiles;

/// Solids and planes in turn, one size each, all over the place.
struct Features {
  std::vector<xgeofeature::XFPlane> planes;
  std::vector<xgeofeature::XFCylinder> cylinders;
  std::vector<xgeofeature::XFSphere> spheres;
  std::vector<xgeofeature::XFCone> cones;
  std::vector<xgeofeature::XFBase*> all;
  std::vector<std::wstring> names;
  std::vector<char> flags;
  zelmo::test::TemporaryFolder folder;

  explicit Features(int count) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> u(-500, 500);
    const float up[3] = {0, 0, 1}, major[3] = {1, 0, 0};
    for (int i = 0; i < count / 4; ++i) {
      const float at[3] = {u(random), u(random), u(random)};
      planes.emplace_back(at, up, major, 40.0F, 30.0F);
      cylinders.emplace_back(at, up, 12.0F, 40.0F);
      spheres.emplace_back(at, 15.0F);
      cones.emplace_back(at, up, 12.0F, 5.0F, 20.0F);
    }
    for (std::size_t i = 0; i < planes.size(); ++i) {
      all.insert(all.end(), {&planes[i], &cylinders[i], &spheres[i], &cones[i]});
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
      names.push_back(L"feature " + std::to_wstring(i));
      flags.push_back(static_cast<char>(i % 2));
    }
  }
  std::string path(const char* name) const { return (folder.path() / name).string(); }
};
using FeaturesPtr = std::shared_ptr<Features>;

/// What a text file holds between its separators: words, and numbers where a field reads as one.
struct Fields {
  std::vector<std::vector<std::pair<std::string, float>>> lines;

  Fields(const std::string& text, char separator) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      std::istringstream fields(line);
      auto& kept = lines.emplace_back();
      for (std::string field; std::getline(fields, field, separator);) {
        char* end = nullptr;
        const float number = std::strtof(field.c_str(), &end);
        const bool is_number = !field.empty() && *end == '\0';
        kept.emplace_back(is_number ? std::string() : field, is_number ? number : 0.0F);
      }
    }
  }
};

/// The peer and the floor of a text file that the library has written once.
void besideStream(Contest& contest, const std::string& path, char separator,
                  const std::shared_ptr<const void>& keep) {
  contest.library();
  const auto text = std::make_shared<std::string>(zelmo::test::contentOf(path));
  const auto fields = std::make_shared<Fields>(*text, separator);
  contest.peers = {{"a plain stream of the same fields", [=] {
                      (void)keep;
                      std::ofstream file(path);
                      for (const auto& line : fields->lines) {
                        for (const auto& [word, number] : line) {
                          if (word.empty()) {
                            file << number << separator;
                          } else {
                            file << word << separator;
                          }
                        }
                        file << "\n";
                      }
                    }}};
  contest.attainable = {
      "writing the same bytes",
      [=] { std::ofstream(path).write(text->data(), static_cast<std::streamsize>(text->size())); }};
}

Contest csv(int count) {
  const auto features = std::make_shared<Features>(count);
  const std::string path = features->path("table.csv");
  Contest contest;
  contest.library = [features, path] {
    benchmark::DoNotOptimize(XExportFiles::ExportFeature2Csv(
        features->all, features->names, features->flags, zelmo::test::widePath(path)));
  };
  besideStream(contest, path, ';', features);
  return contest;
}

Contest text(int count) {
  const auto features = std::make_shared<Features>(4 * count);
  const std::string path = features->path("planes.txt");
  Contest contest;
  contest.library = [features, path] {
    auto type = xgeofeature::GeoPlane;
    benchmark::DoNotOptimize(
        XExportFiles::ExportFeature2Txt(features->all, type, zelmo::test::widePath(path)));
  };
  besideStream(contest, path, ' ', features);
  return contest;
}

std::shared_ptr<xgeofeature::XFPolyLine> helix(int count) {
  auto line = std::make_shared<xgeofeature::XFPolyLine>();
  for (int i = 0; i < count; ++i) {
    const double turn = 0.01 * i;
    line->points.emplace_back(static_cast<float>(50 * std::cos(turn)),
                              static_cast<float>(50 * std::sin(turn)),
                              static_cast<float>(0.3 * turn));
  }
  return line;
}

Contest polyLineText(int count) {
  const auto line = helix(count);
  const auto folder = std::make_shared<zelmo::test::TemporaryFolder>();
  const std::string path = (folder->path() / "line.txt").string();
  Contest contest;
  contest.library = [line, path] {
    benchmark::DoNotOptimize(
        XExportFiles::Export(*line, zelmo::test::widePath(path), xexportfiles::ExportPolyText));
  };
  besideStream(contest, path, ' ', folder);
  return contest;
}

gp_Pnt pointOf(const float* p) { return {p[0], p[1], p[2]}; }

/// The same shapes by OpenCASCADE's builders.
TopoDS_Compound shapesOf(const Features& features) {
  std::vector<TopoDS_Shape> shapes;
  for (const auto& p : features.planes) {
    const gp_Pln plane(gp_Ax3(pointOf(p.center), gp_Dir(0, 0, 1), gp_Dir(1, 0, 0)));
    shapes.push_back(BRepBuilderAPI_MakeFace(plane, -20, 20, -15, 15).Face());
  }
  for (const auto& c : features.cylinders) {
    shapes.push_back(
        BRepPrimAPI_MakeCylinder(gp_Ax2(pointOf(c.base), gp_Dir(0, 0, 1)), 12, 40).Shape());
  }
  for (const auto& s : features.spheres) {
    shapes.push_back(BRepPrimAPI_MakeSphere(pointOf(s.center), 15).Shape());
  }
  for (const auto& c : features.cones) {
    shapes.push_back(
        BRepPrimAPI_MakeCone(gp_Ax2(pointOf(c.base), gp_Dir(0, 0, 1)), 12, 5, 20).Shape());
  }
  return zelmo::test::together(shapes);
}

void occStep(const TopoDS_Shape& shape, const std::string& path) {
  STEPControl_Writer writer;
  writer.Transfer(shape, STEPControl_AsIs);
  writer.Write(path.c_str());
}
void occIges(const TopoDS_Shape& shape, const std::string& path) {
  IGESControl_Controller::Init();
  IGESControl_Writer writer("MM", 1);
  writer.AddShape(shape);
  writer.ComputeModel();
  writer.Write(path.c_str());
}

using CadWriter = int (*)(const std::vector<xgeofeature::XFBase*>&, const std::wstring&);
using OccWriter = void (*)(const TopoDS_Shape&, const std::string&);

Contest cad(int count, CadWriter ours, OccWriter theirs) {
  const auto features = std::make_shared<Features>(count);
  const std::string path = features->path("features.cad");
  const TopoDS_Compound shapes = shapesOf(*features);
  return {[=] { benchmark::DoNotOptimize(ours(features->all, zelmo::test::widePath(path))); },
          {{"OpenCASCADE's own builders and writer", [=] { theirs(shapesOf(*features), path); }}},
          {"OpenCASCADE's writer alone", [=] { theirs(shapes, path); }},
          {}};
}

Contest spline(int count) {
  const auto line = helix(count);
  const auto folder = std::make_shared<zelmo::test::TemporaryFolder>();
  const std::string path = (folder->path() / "line.igs").string();
  return {[=] {
            (void)folder;
            benchmark::DoNotOptimize(XExportFiles::Export(*line, zelmo::test::widePath(path),
                                                          xexportfiles::ExportPolySpline));
          },
          {{"OpenCASCADE's interpolation and writer",
            [=] {
              const Handle(TColgp_HArray1OfPnt) points = new TColgp_HArray1OfPnt(1, count);
              for (int i = 0; i < count; ++i) {
                const auto& p = line->points[static_cast<std::size_t>(i)];
                points->SetValue(i + 1, gp_Pnt(p.x, p.y, p.z));
              }
              GeomAPI_Interpolate curve(points, false, 1e-6);
              curve.Perform();
              occIges(BRepBuilderAPI_MakeEdge(curve.Curve()).Edge(), path);
            }}},
          {},
          {}};
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {100, 10000}) {
    row("XExportFiles.ExportFeature2Csv", sizeText(count, "features"),
        [count] { return csv(count); });
  }
  row("XExportFiles.ExportFeature2Txt", sizeText(10000, "planes"), [] { return text(10000); });
  row("XExportFiles.Export as text", sizeText(100000, "points"),
      [] { return polyLineText(100000); });
  row("XExportFiles.Export as a curve", sizeText(5000, "points"), [] { return spline(5000); });
  row("XExportFiles.ExportFeature2Step", sizeText(100, "features"),
      [] { return cad(100, XExportFiles::ExportFeature2Step, occStep); });
  row("XExportFiles.ExportFeature2Iges", sizeText(100, "features"),
      [] { return cad(100, XExportFiles::ExportFeature2Iges, occIges); });
  return true;
}();

}  // namespace
