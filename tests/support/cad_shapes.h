// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <Geom_Surface.hxx>
#include <IGESControl_Writer.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Trsf.hxx>

#include "support/captured_output.h"
#include "zelmo/internal/cad_lock.h"
#include "zelmo/model/read_model.h"

namespace zelmo::test {

/// Readers and writers of OpenCASCADE tell no more of their work from the start on.
inline const int kSilencedPrinters =
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));

/// The part of a surface between the bounds.
inline TopoDS_Face patchOf(const Handle(Geom_Surface) & surface, double u0, double u1, double v0,
                           double v1) {
  return BRepBuilderAPI_MakeFace(surface, u0, u1, v0, v1, 1e-7).Face();
}

/// All curves and surfaces of a shape as splines.
inline TopoDS_Shape asSplines(const TopoDS_Shape& shape) {
  return BRepBuilderAPI_NurbsConvert(shape, true).Shape();
}

inline TopoDS_Compound together(const std::vector<TopoDS_Shape>& shapes) {
  TopoDS_Compound compound;
  const BRep_Builder builder;
  builder.MakeCompound(compound);
  for (const TopoDS_Shape& shape : shapes) builder.Add(compound, shape);
  return compound;
}

inline std::vector<TopoDS_Face> facesOf(const TopoDS_Shape& shape) {
  std::vector<TopoDS_Face> faces;
  for (TopExp_Explorer walk(shape, TopAbs_FACE); walk.More(); walk.Next()) {
    faces.push_back(TopoDS::Face(walk.Current()));
  }
  return faces;
}

/// A pose without any axis along the world's.
inline gp_Trsf tiltedPose() {
  gp_Trsf turn;
  turn.SetRotation(gp_Ax1(gp_Pnt(0, 0, 0), gp_Dir(1, 2, 3)), 0.7);
  gp_Trsf shift;
  shift.SetTranslation(gp_Vec(30, -20, 10));
  return shift * turn;
}

/// Writes each shape as a root of its own.
inline void writeStep(const std::vector<TopoDS_Shape>& shapes, const std::filesystem::path& path) {
  const internal::CadLock lock;
  STEPControl_Writer writer;
  for (const TopoDS_Shape& shape : shapes) writer.Transfer(shape, STEPControl_AsIs);
  writer.Write(path.c_str());
}

inline void writeIges(const std::vector<TopoDS_Shape>& shapes, const std::filesystem::path& path) {
  const internal::CadLock lock;
  IGESControl_Writer writer("MM", 1);  // 1: solids as boundary representation
  for (const TopoDS_Shape& shape : shapes) writer.AddShape(shape);
  writer.Write(path.c_str());
}

struct ReadResult {
  int status = 0;
  TopoDS_Shape shape;
  std::string printed;
};

using Reader = int (*)(char*, TopoDS_Shape&);

inline ReadResult readFile(Reader reader, const std::filesystem::path& path) {
  ReadResult result;
  std::string bytes = path.string();
  result.printed = standardOutputOf([&] { result.status = reader(bytes.data(), result.shape); });
  return result;
}

inline ReadResult readStep(const std::filesystem::path& path) {
  return readFile(&xmodelfeature::XReadModel::readStepFile, path);
}
inline ReadResult readIges(const std::filesystem::path& path) {
  return readFile(&xmodelfeature::XReadModel::readIgesFile, path);
}

}  // namespace zelmo::test
