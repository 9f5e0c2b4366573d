// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "cad_results.h"

#include <algorithm>
#include <cmath>

#include <BRep_Builder.hxx>
#include <IGESControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <zelmo/export/export_files.h>
#include <zelmo/model/model_3d_feature.h>
#include <zelmo/model/model_curve.h>
#include <zelmo/model/read_model.h>

#include "cad_files.h"
#include "failure.h"

namespace inspect {
namespace {

using xexportfiles::XExportFiles;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;
using xmodelfeature::XReadModel;

constexpr double kSame = 0.01;       // mm: as the records of a model are compared
constexpr double kSameAngle = 0.05;  // degrees
constexpr double kSmallest = 1e-3;   // mm: below that nothing is drawn

bool drawable(const Ideal& ideal) {
  const Telling telling = tell(ideal);
  if (!std::isfinite(telling.point.dot(telling.point) + telling.size)) return false;
  if (const auto* plane = std::get_if<XFPlane>(&ideal)) {
    return plane->length > kSmallest && plane->width > kSmallest;
  }
  if (const auto* cylinder = std::get_if<XFCylinder>(&ideal)) {
    return cylinder->radius > kSmallest && cylinder->height > kSmallest;
  }
  if (const auto* cone = std::get_if<xgeofeature::XFCone>(&ideal)) {
    return cone->height > kSmallest && cone->baseRadius > kSmallest && cone->topRadius >= 0.0F;
  }
  return telling.size > kSmallest;
}

bool drawable(const Outline& outline) {
  const GrownBox box = boxOf(outline);
  return std::isfinite(box.center.dot(box.normal) + box.length()) && box.width() > kSmallest &&
         box.half_length >= 0.0 && box.half_width >= 0.0;
}

/// What is drawn, under its name.
struct Drawing {
  std::vector<std::pair<std::string, Ideal>> solids;
  std::vector<std::pair<std::string, Outline>> outlines;
  int left_out = 0;
};

/// What a file turns out to hold.
struct Content {
  std::vector<Ideal> solids;
  std::vector<cv::Vec3d> middles;  ///< of straight edges
  std::vector<xgeofeature::XFCircle3D> circles;
};

/// A feature of the same kind, place and size. A plane's middle and an axis' sense are free: faces
/// in one plane have been joined.
bool same(const Ideal& a, const Ideal& b) {
  if (a.index() != b.index()) return false;
  const Telling one = tell(a), other = tell(b);
  const bool plane = std::holds_alternative<XFPlane>(a);
  const double turn = angleBetween(one.direction, other.direction);
  if (!isSphere(a) && std::min(turn, 180.0 - turn) > kSameAngle) return false;
  const cv::Vec3d off = one.point - other.point;
  const double along = off.dot(one.direction);
  if (plane) return std::abs(along) < kSame;
  if (std::abs(one.size - other.size) > kSame) return false;
  return isSphere(a) ? cv::norm(off) < kSame : cv::norm(off - along * one.direction) < kSame;
}

/// Whether the circle, one of the arcs or one of the sides that make up the outline is there.
bool holds(const Content& content, const Outline& outline) {
  const GrownBox box = boxOf(outline);
  const auto near = [](const cv::Vec3d& a, const cv::Vec3d& b) { return cv::norm(a - b) < kSame; };
  if (box.half_width == 0.0) {  // circle or slot
    return std::any_of(content.circles.begin(), content.circles.end(), [&](const auto& circle) {
      return near(vec(circle.center), box.center + box.half_length * box.along) &&
             std::abs(circle.radius - box.radius) < kSame;
    });
  }
  const cv::Vec3d middle = box.center + 0.5 * box.width() * box.across();
  return std::any_of(content.middles.begin(), content.middles.end(),
                     [&](const cv::Vec3d& own) { return near(own, middle); });
}

/// The edges that bound no face. The library's reader takes the surfaces out of an IGES file and
/// leaves the curves, so that those are read by the CAD kernel.
TopoDS_Compound freeEdgesOf(const std::string& path, ModelKind kind, TopoDS_Shape shape) {
  if (kind == ModelKind::Iges) {
    IGESControl_Reader reader;
    if (reader.ReadFile(path.c_str()) == IFSelect_RetDone) reader.TransferRoots();
    shape = reader.OneShape();
  }
  TopoDS_Compound edges;
  BRep_Builder builder;
  builder.MakeCompound(edges);
  if (shape.IsNull()) return edges;
  for (TopExp_Explorer walk(shape, TopAbs_EDGE, TopAbs_FACE); walk.More(); walk.Next()) {
    builder.Add(edges, walk.Current());
  }
  return edges;
}

Content contentOfFile(const std::string& path, ModelKind kind) {
  Content content;
  TopoDS_Shape shape;
  std::string narrow = path;
  const int status = kind == ModelKind::Step ? XReadModel::readStepFile(narrow.data(), shape)
                                             : XReadModel::readIgesFile(narrow.data(), shape);
  if (status != 1) shape.Nullify();
  xmodelfeature::XModel3DFeature list;
  if (!shape.IsNull()) list.get3DFeatureData(shape);
  const auto take = [&content](const auto& found, auto record, auto get) {
    for (const auto& one : found) {
      (one.*get)(record);
      content.solids.emplace_back(record);
    }
  };
  take(list.planes, XFPlane(), &xmodelfeature::XFPlane::getPlane);
  take(list.spheres, xgeofeature::XFSphere(), &xmodelfeature::XFSphere::getSphere);
  take(list.cylinders, XFCylinder(), &xmodelfeature::XFCylinder::getCylinder);
  take(list.cones, xgeofeature::XFCone(), &xmodelfeature::XFCone::getCone);
  xmodelfeature::XModelCurve curves;
  curves.getCurveData(freeEdgesOf(path, kind, shape));
  for (const auto& line : curves.lines) {
    content.middles.push_back(0.5 * (vec(line.start) + vec(line.end)));
  }
  for (const auto& found : curves.circles) {
    xgeofeature::XFCircle3D circle;
    found.getCircle(circle);
    content.circles.push_back(circle);
  }
  return content;
}

/// The name of something drawn that the file lacks; empty where it holds all.
std::string missingIn(const Content& content, const Drawing& drawing) {
  for (const auto& [name, ideal] : drawing.solids) {
    const bool there = std::any_of(content.solids.begin(), content.solids.end(),
                                   [&ideal = ideal](const Ideal& own) { return same(ideal, own); });
    if (!there) return name;
  }
  for (const auto& [name, outline] : drawing.outlines) {
    if (!holds(content, outline)) return name;
  }
  return {};
}

void writeAndCheck(Drawing& drawing, const std::string& name, ModelKind kind,
                   const OutputFolder& folder) {
  std::vector<xgeofeature::XFBase*> records;
  const auto add = [&records](auto& record) { records.push_back(&record); };
  for (auto& solid : drawing.solids) std::visit(add, solid.second);
  for (auto& outline : drawing.outlines) std::visit(add, outline.second);
  const std::filesystem::path path = folder.pathFor(name);
  std::string missing;
  try {
    const int status = kind == ModelKind::Step
                           ? XExportFiles::ExportFeature2Step(records, path.wstring())
                           : XExportFiles::ExportFeature2Iges(records, path.wstring());
    if (status != 0 || !endsAsItShould(path.string(), kind)) {
      throw Failure(kBadOutput, name + " could not be written whole");
    }
    missing = missingIn(contentOfFile(path.string(), kind), drawing);
  } catch (const Standard_Failure& failure) {
    throw Failure(kBadOutput, name + " can't be written: " + failure.GetMessageString());
  }
  if (!missing.empty()) throw Failure(kBadOutput, name + " was written without " + missing);
}

}  // namespace

std::string writeCad(const std::vector<Measurement>& measurements,
                     const std::vector<OutlineMeasurement>& outlines, const OutputFolder& folder) {
  Drawing drawing;
  for (const Measurement& one : measurements) {
    if (!one.done()) continue;
    if (drawable(one.measured)) {
      drawing.solids.emplace_back(one.nominal.name, one.measured);
    } else {
      ++drawing.left_out;
    }
  }
  for (const OutlineMeasurement& one : outlines) {
    if (!one.done()) continue;
    if (drawable(one.measured)) {
      drawing.outlines.emplace_back(one.nominal.name, one.measured);
    } else {
      ++drawing.left_out;
    }
  }
  if (drawing.solids.empty() && drawing.outlines.empty()) return {};
  writeAndCheck(drawing, "measured.step", ModelKind::Step, folder);
  writeAndCheck(drawing, "measured.igs", ModelKind::Iges, folder);
  if (drawing.left_out == 0) return {};
  return std::to_string(drawing.left_out) +
         " measured features are too small to be drawn in measured.step and measured.igs.\n";
}

}  // namespace inspect
