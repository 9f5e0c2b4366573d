// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Reading beside OpenCASCADE's own reader on the same file, and listing beside a bare walk over the
// same faces or edges.
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <BRepAdaptor_Curve.hxx>
#include <BRepAdaptor_Surface.hxx>
#include <STEPControl_Reader.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <benchmark/benchmark.h>
#include <zelmo/model/model_3d_feature.h>
#include <zelmo/model/model_curve.h>
#include <zelmo/model/model_feature.h>

#include "contest.h"
#include "support/cad_shapes.h"
#include "support/temporary_folder.h"

namespace {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): a program of its own
using namespace zelmo::bench;   // NOLINT(google-build-using-namespace): a program of its own

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

struct Sample {
  TopoDS_Shape shape;
  std::vector<TopoDS_Face> faces;
};
using SamplePtr = std::shared_ptr<Sample>;

/// Made once for all rows of a size and layout.
SamplePtr sampleOf(int faces, Layout layout) {
  static std::map<std::pair<int, int>, SamplePtr> samples;
  SamplePtr& sample = samples[{faces, layout}];
  if (!sample) {
    const TopoDS_Shape shape = layout == Row ? rowModel(faces) : scatteredModel(faces);
    sample = std::make_shared<Sample>(Sample{shape, zelmo::test::facesOf(shape)});
  }
  return sample;
}

/// The kind of every face by an adaptor, what a host would write itself.
Contender faceKinds(const SamplePtr& sample) {
  return {"the kind of each face by OpenCASCADE's adaptor", [sample] {
            for (const TopoDS_Face& face : sample->faces) {
              benchmark::DoNotOptimize(BRepAdaptor_Surface(face, true).GetType());
            }
          }};
}

Contender edgeKinds(const SamplePtr& sample) {
  return {"the kind of each edge by OpenCASCADE's adaptor", [sample] {
            TopTools_IndexedMapOfShape edges;
            TopExp::MapShapes(sample->shape, TopAbs_EDGE, edges);
            for (int i = 1; i <= edges.Extent(); ++i) {
              const TopoDS_Edge edge = TopoDS::Edge(edges(i));
              benchmark::DoNotOptimize(BRepAdaptor_Curve(edge).GetType());
            }
          }};
}

Contest read(const SamplePtr& sample) {
  const auto folder = std::make_shared<zelmo::test::TemporaryFolder>();
  std::string path = (folder->path() / "model.stp").string();
  STEPControl_Writer writer;
  writer.Transfer(sample->shape, STEPControl_AsIs);
  writer.Write(path.c_str());
  return {[folder, path]() mutable {
            TopoDS_Shape shape;
            benchmark::DoNotOptimize(XReadModel::readStepFile(path.data(), shape));
          },
          {{"OpenCASCADE's own reader",
            [path] {
              STEPControl_Reader reader;
              reader.ReadFile(path.c_str());
              reader.TransferRoots();
              benchmark::DoNotOptimize(reader.OneShape());
            }}},
          {},
          {}};
}

Contest solids(const SamplePtr& sample) {
  return {[sample] {
            XModel3DFeature features;
            features.get3DFeatureData(sample->shape);
            benchmark::DoNotOptimize(features.planes.data());
          },
          {},
          faceKinds(sample),
          {}};
}

Contest curves(const SamplePtr& sample) {
  return {[sample] {
            XModelCurve curves;
            curves.setData(sample->shape);
            curves.getCurveData(sample->shape);
            benchmark::DoNotOptimize(curves.lines.data());
          },
          {},
          edgeKinds(sample),
          {}};
}

Contest faceInfo(const SamplePtr& sample) {
  return {[sample] {
            std::vector<float> data;
            for (const TopoDS_Face& face : sample->faces) {
              ModelFeatureType type = ModelUnknown;
              XModelFeature::getFaceInfo(face, type, data);
              benchmark::DoNotOptimize(type);
            }
          },
          {},
          faceKinds(sample),
          {}};
}

[[maybe_unused]] const bool kRows = [] {
  const auto add = [](const char* operation, int faces, Layout layout,
                      Contest (*contest)(const SamplePtr&)) {
    const std::string size = sizeText(faces, layout == Row ? "faces in rows" : "faces");
    row(operation, size, [=] { return contest(sampleOf(faces, layout)); });
  };
  for (const int faces : {450, 2000}) add("XReadModel.readStepFile", faces, Scattered, read);
  for (const int faces : {450, 10000}) {
    add("XModel3DFeature.get3DFeatureData", faces, Scattered, solids);
    add("XModelCurve.getCurveData", faces, Scattered, curves);
    add("XModelFeature.getFaceInfo of each face", faces, Scattered, faceInfo);
  }
  add("XModel3DFeature.get3DFeatureData", 10000, Row, solids);
  add("XModelCurve.getCurveData", 10000, Row, curves);
  return true;
}();

}  // namespace
