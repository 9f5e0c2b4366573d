// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/export/internal/cad_writer.h"

#include <IGESControl_Controller.hxx>
#include <IGESControl_Writer.hxx>
#include <Interface_Static.hxx>
#include <STEPControl_Writer.hxx>
#include <TopoDS_Shape.hxx>

#include "zelmo/internal/cad_lock.h"

namespace zelmo::internal {
namespace {

constexpr int kInch = 1;
constexpr int kBoundaryRepresentation = 1;

}  // namespace

void setStepUnitToInch() {
  const CadLock lock;
  Interface_Static::SetIVal("write.step.unit", kInch);
}

bool writeStep(const TopoDS_Shape& shape, const std::string& path) {
  const CadLock lock;
  STEPControl_Writer writer;
  if (writer.Transfer(shape, STEPControl_AsIs, Standard_True) != IFSelect_RetDone) return false;
  return writer.Write(path.c_str()) == IFSelect_RetDone;
}

bool writeIges(const TopoDS_Shape& shape, const std::string& path) {
  const CadLock lock;
  IGESControl_Controller::Init();
  IGESControl_Writer writer("MM", kBoundaryRepresentation);
  writer.AddShape(shape);
  writer.ComputeModel();
  return writer.Write(path.c_str(), Standard_False);
}

}  // namespace zelmo::internal
