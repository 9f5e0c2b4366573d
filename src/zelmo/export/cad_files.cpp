// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <TopoDS_Shape.hxx>

#include "zelmo/export/export_files.h"
#include "zelmo/export/internal/cad_writer.h"
#include "zelmo/export/internal/classic_file.h"
#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/export/internal/utf8.h"

namespace xexportfiles {
namespace {

using zelmo::internal::ShapeOutcome;
using zelmo::internal::ShapeSink;
using zelmo::internal::utf8FromWide;
using zelmo::internal::writeIges;
using zelmo::internal::writeStep;

constexpr int kDone = 0;
constexpr int kFailed = -1;
constexpr int kNoFeatures = -2;
constexpr int kUnfinished = -2;

int codeOf(bool done) { return done ? kDone : kFailed; }

TopoDS_Compound emptyCompound(BRep_Builder& builder) {
  TopoDS_Compound compound;
  builder.MakeCompound(compound);
  return compound;
}

/// Fills a compound by \p fill and writes it by \p write; -1 when \p fill gives false.
template <typename Fill, typename Write>
int writeCompound(const Fill& fill, const Write& write, const std::string& path) {
  BRep_Builder builder;
  TopoDS_Compound compound = emptyCompound(builder);
  ShapeSink sink(compound, builder);
  if (!fill(sink)) return kFailed;
  return codeOf(write(compound, path));
}

template <typename Write>
int writeFeature(const xgeofeature::XFBase& feature, const Write& write, const std::string& path) {
  const auto fill = [&feature](ShapeSink& sink) {
    return addShape(&feature, sink) == ShapeOutcome::Added;
  };
  return writeCompound(fill, write, path);
}

int writePoints(const xgeofeature::XFPolyLine& line, std::ofstream file) {
  for (const xgeofeature::XFPoint& p : line.points) {
    file << p.x << " " << p.y << " " << p.z << "\n";
  }
  return kDone;
}

}  // namespace

int XExportFiles::Export2DFeature(const xgeofeature::XFBase* feature, const std::wstring& path) {
  const std::string narrow = utf8FromWide(path);
  int result = kFailed;
  const zelmo::internal::Overloaded write{
      [&](const xgeofeature::XFPoint& r) { result = ExportPoint(r, narrow); },
      [&](const xgeofeature::XFLine3D2& r) { result = ExportLine(r, narrow); },
      [&](const xgeofeature::XFCircle3D& r) { result = ExportCircle(r, narrow); },
      [&](const xgeofeature::XFOvalGroove3D& r) { result = ExportOvalGroove(r, narrow); },
      [&](const xgeofeature::XFRoundGroove3D& r) { result = ExportRoundGroove(r, narrow); },
      [&](const xgeofeature::XFRectangle3D& r) { result = ExportRectangle(r, narrow); },
      [](const auto& /*other*/) {}};
  zelmo::internal::visitRecord(feature, write);
  return result;
}

int XExportFiles::Export3DFeature(const xgeofeature::XFBase* feature, const std::wstring& path) {
  const std::string narrow = utf8FromWide(path);
  int result = kFailed;
  const zelmo::internal::Overloaded write{
      [&](const xgeofeature::XFPlane& r) { result = ExportPlane(r, narrow); },
      [&](const xgeofeature::XFSphere& r) { result = ExportSphere(r, narrow); },
      [&](const xgeofeature::XFCylinder& r) { result = ExportCylinder(r, narrow); },
      [&](const xgeofeature::XFCone& r) { result = ExportCone(r, narrow); },
      [](const auto& /*other*/) {}};
  zelmo::internal::visitRecord(feature, write);
  return result;
}

int XExportFiles::ExportFeature2Step(const std::vector<xgeofeature::XFBase*>& features,
                                     const std::wstring& path) {
  if (features.empty()) return kNoFeatures;
  BRep_Builder builder;
  TopoDS_Compound compound = emptyCompound(builder);
  if (AddFeature(features, compound, builder) != kDone) return kFailed;
  return codeOf(writeStep(compound, utf8FromWide(path)));
}

int XExportFiles::ExportFeature2Iges(const std::vector<xgeofeature::XFBase*>& features,
                                     const std::wstring& path) {
  if (features.empty()) return kNoFeatures;
  BRep_Builder builder;
  TopoDS_Compound compound = emptyCompound(builder);
  if (AddFeature(features, compound, builder) != kDone) return kFailed;
  return codeOf(writeIges(compound, utf8FromWide(path)));
}

int XExportFiles::ExportStep(const TopoDS_Shape& shape, const std::wstring& path) {
  return codeOf(writeStep(shape, utf8FromWide(path)));
}

// CONTRACT: an unfinished entry, which writes nothing.
int XExportFiles::ExportIges(const TopoDS_Shape& /*shape*/, const std::wstring& /*path*/) {
  return kUnfinished;
}

int XExportFiles::Export(const xgeofeature::XFPolyLine& line, const std::wstring& path,
                         const ExportMode& mode) {
  return Export(line, utf8FromWide(path), mode);
}

int XExportFiles::Export(const xgeofeature::XFPolyLine& line, const std::string& path,
                         const ExportMode& mode) {
  switch (mode) {
    case ExportPolyText:
      // CONTRACT: a file that can't be opened is not reported.
      return writePoints(line, zelmo::internal::openClassic(path));
    case ExportPolyPoints: {
      const auto fill = [&line](ShapeSink& sink) {
        for (const xgeofeature::XFPoint& point : line.points) {
          if (addShape(&point, sink) != ShapeOutcome::Added) return false;
        }
        return true;
      };
      return writeCompound(fill, writeIges, path);
    }
    case ExportPolySegments: {
      const auto fill = [&line](ShapeSink& sink) {
        if (!zelmo::internal::isFinite(line)) return false;
        addSegments(line, sink);
        return true;
      };
      return writeCompound(fill, writeIges, path);
    }
    case ExportPolySpline:
      return writeFeature(line, writeIges, path);
  }
  return kFailed;
}

int XExportFiles::AddFeature(const std::vector<xgeofeature::XFBase*>& features,
                             TopoDS_Compound& compound, BRep_Builder& builder) {
  if (features.empty()) return kFailed;
  for (const xgeofeature::XFBase* feature : features) {
    if (AddFeature(feature, compound, builder) != kDone) return kFailed;
  }
  return kDone;
}

int XExportFiles::AddFeature(const xgeofeature::XFBase* feature, TopoDS_Compound& compound,
                             BRep_Builder& builder) {
  ShapeSink sink(compound, builder);
  return codeOf(addShape(feature, sink) != ShapeOutcome::NotFinite);
}

int XExportFiles::ExportPoint(const xgeofeature::XFPoint& point, const std::string& path) {
  const float xyz[3] = {point.x, point.y, point.z};
  if (!zelmo::internal::isFinite(point)) return kFailed;
  return codeOf(writeIges(zelmo::internal::vertexAt(xyz), path));
}

int XExportFiles::ExportLine(const xgeofeature::XFLine3D2& line, const std::string& path) {
  const auto fill = [&line](ShapeSink& sink) {
    if (addShape(&line, sink) != ShapeOutcome::Added) return false;
    const xgeofeature::XFLine3D ends = line;
    sink.add(zelmo::internal::vertexAt(ends.start));
    sink.add(zelmo::internal::vertexAt(ends.end));
    return true;
  };
  return writeCompound(fill, writeIges, path);
}

int XExportFiles::ExportCircle(const xgeofeature::XFCircle3D& circle, const std::string& path) {
  return writeFeature(circle, writeIges, path);
}

int XExportFiles::ExportOvalGroove(const xgeofeature::XFOvalGroove3D& groove,
                                   const std::string& path) {
  return writeFeature(groove, writeIges, path);
}

int XExportFiles::ExportRoundGroove(const xgeofeature::XFRoundGroove3D& groove,
                                    const std::string& path) {
  return writeFeature(groove, writeIges, path);
}

int XExportFiles::ExportRectangle(const xgeofeature::XFRectangle3D& rectangle,
                                  const std::string& path) {
  return writeFeature(rectangle, writeIges, path);
}

int XExportFiles::ExportPlane(const xgeofeature::XFPlane& plane, const std::string& path) {
  return writeFeature(plane, writeStep, path);
}

int XExportFiles::ExportSphere(const xgeofeature::XFSphere& sphere, const std::string& path) {
  return writeFeature(sphere, writeStep, path);
}

int XExportFiles::ExportCylinder(const xgeofeature::XFCylinder& cylinder, const std::string& path) {
  // CONTRACT: this writer alone sets the unit, and the setting stays for the whole process.
  zelmo::internal::setStepUnitToInch();
  return writeFeature(cylinder, writeStep, path);
}

int XExportFiles::ExportCone(const xgeofeature::XFCone& cone, const std::string& path) {
  return writeFeature(cone, writeStep, path);
}

}  // namespace xexportfiles
