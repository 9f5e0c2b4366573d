// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// STEP and IGES files that were edited, read and listed.
//
// OpenCASCADE's readers die of files whose references lead nowhere or in a circle, and take their time
// with others: that is known, documented and not ours. So a child process reads each file and hands the
// shape over; what it does not come back from in time is passed over. Here, where the fuzzer sees the
// coverage, the shape is listed: nothing may crash, hang or change from one run to the next. What the
// reading itself breaks stays unseen, and so do faults that need a file which the reader refuses.
#include <fstream>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BinTools.hxx>
#include <IGESControl_Writer.hxx>
#include <STEPControl_Writer.hxx>

#include "child_process.h"
#include "fuzz_target.h"
#include "listing.h"
#include "step_recipe.h"
#include "support/cad_outlines.h"
#include "support/temporary_folder.h"
#include "zelmo/internal/cad_lock.h"

namespace zelmo::fuzz {
namespace {

using Reader = int (*)(char*, TopoDS_Shape&);

struct Originals {
  std::vector<std::string> step, iges;
};

/// Small parts that the library itself could have written, as text of both kinds.
Originals writeOriginals(const std::filesystem::path& folder) {
  const internal::CadLock lock;
  const auto plate =
      test::plateWith(60, 30, {test::slotEdges(5, 3), test::startingAt(test::slotEdges(5, 3), 0)});
  const std::vector<TopoDS_Shape> shapes = {
      BRepPrimAPI_MakeBox(1, 2, 3),
      BRepPrimAPI_MakeCylinder(4, 5),
      BRepPrimAPI_MakeCone(4, 1, 5),
      BRepPrimAPI_MakeSphere(3),
      BRepPrimAPI_MakeTorus(6, 2),
      plate,
      test::plateWith(60, 30, {test::rectangleEdges(5, 3)}),
      test::plateWith(60, 30, {test::roundEdges(8, 5, 2, 2)}),
  };
  Originals originals;
  const auto path = folder / "original";
  for (const TopoDS_Shape& shape : shapes) {
    STEPControl_Writer step;
    step.Transfer(shape, STEPControl_AsIs);
    step.Write(path.c_str());
    originals.step.push_back(test::contentOf(path));
    IGESControl_Writer iges("MM", 1);  // 1: solids as boundary representation
    iges.AddShape(shape);
    iges.Write(path.c_str());
    originals.iges.push_back(test::contentOf(path));
  }
  return originals;
}

int runFile(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  static const Originals originals = writeOriginals(folder.path());
  ByteSource bytes(data, size);
  const bool is_step = bytes.below(4) != 3;
  const auto& texts = is_step ? originals.step : originals.iges;
  std::string text = texts[bytes.byte() % texts.size()];
  const int edits = bytes.below(12);
  if (is_step) {
    StepText step(text);
    for (int i = 0; i < edits && bytes.left() > 0; ++i) step.edit(bytes);
    text = step.text();
  } else {
    for (int i = 0; i < edits && bytes.left() > 0; ++i) editIges(text, bytes);
  }
  const std::string path = (folder.path() / "edited").string();
  std::ofstream(path, std::ios::binary) << text;
  const Reader reader =
      is_step ? &xmodelfeature::XReadModel::readStepFile : &xmodelfeature::XReadModel::readIgesFile;
  const std::string shape_path = (folder.path() / "shape").string();
  const bool has_shape = holdsInChild([&] {
    TopoDS_Shape read;
    std::string bytes_of_path = path;
    return reader(bytes_of_path.data(), read) == 1 && BinTools::Write(read, shape_path.c_str());
  });
  if (!has_shape) return 0;
  TopoDS_Shape shape;
  try {
    if (!BinTools::Read(shape, shape_path.c_str())) return 0;
  } catch (const Standard_Failure&) {
    return 0;
  }
  Transcript first, second;
  listAll(shape, first);
  listAll(shape, second);
  ZELMO_FUZZ_CHECK(first == second);
  return 0;
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runFile(data, size);
}
