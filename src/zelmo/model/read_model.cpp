// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/read_model.h"

#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <IFSelect_ReturnStatus.hxx>
#include <IGESControl_Reader.hxx>
#include <STEPControl_Reader.hxx>
#include <TColStd_HSequenceOfTransient.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>

#include "zelmo/internal/cad_lock.h"
#include "zelmo/internal/console.h"

namespace xmodelfeature {

using zelmo::internal::CadLock;
using zelmo::internal::ConsoleText;

namespace {

constexpr double kLargestArea = 1e10;

}  // namespace

int XReadModel::readStepFile(char* path, TopoDS_Shape& shape) {
  if (path == nullptr) return IFSelect_RetError;
  const CadLock lock;
  STEPControl_Reader reader;
  const IFSelect_ReturnStatus status = reader.ReadFile(path);
  // A transfer after a failed read crashes.
  if (status != IFSelect_RetDone) return status;
  const int roots = reader.NbRootsForTransfer();
  const int transferred = reader.TransferRoots();
  ConsoleText() << "NbRoots=" << roots << ",NbTrans=" << transferred << '\n';
  shape = reader.OneShape();
  return IFSelect_RetDone;
}

int XReadModel::readIgesFile(char* path, TopoDS_Shape& shape) {
  if (path == nullptr) return IFSelect_RetError;
  const CadLock lock;
  IGESControl_Reader reader;
  const IFSelect_ReturnStatus status = reader.ReadFile(path);
  if (status != IFSelect_RetDone) return status;
  // CONTRACT: only faces are taken from IGES, while all roots are taken from STEP.
  const Handle(TColStd_HSequenceOfTransient) faces = reader.GiveList("iges-faces", "");
  if (!faces.IsNull()) reader.TransferList(faces);
  shape = reader.OneShape();
  return IFSelect_RetDone;
}

double XReadModel::getSurfaceArea(const TopoDS_Shape& shape) {
  double total = 0.0;
  for (TopExp_Explorer faces(shape, TopAbs_FACE); faces.More(); faces.Next()) {
    GProp_GProps properties;
    BRepGProp::SurfaceProperties(faces.Current(), properties);
    const double area = properties.Mass();
    // CONTRACT: a face of negative or of more than 1e10 square units adds nothing.
    if (area >= 0.0 && area <= kLargestArea) total += area;
  }
  return total;
}

double XReadModel::getVolume(const TopoDS_Shape& shape) {
  if (shape.IsNull()) return 0.0;
  GProp_GProps properties;
  BRepGProp::VolumeProperties(shape, properties, false, false);
  return properties.Mass();
}

}  // namespace xmodelfeature
