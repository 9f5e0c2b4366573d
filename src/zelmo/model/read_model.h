// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

class TopoDS_Shape;

namespace xmodelfeature {

/// Reads CAD files into OpenCASCADE shapes and measures shapes.
///
/// Lengths arrive in millimetres, whatever unit the file is written in. The readers may be called
/// from several threads: one of them works at a time, in the whole process. What OpenCASCADE throws
/// passes to the caller.
///
/// \note A damaged file can make OpenCASCADE's reader crash or run for ever, as a STEP file does
///     whose references lead to nothing or in a circle. Files from strangers are read in a process
///     of their own, with a limit to its time.
class ZELMO_EXPORT XReadModel {
 public:
  /// Reads a STEP file: all of its roots, as one shape (a compound when there are several).
  ///
  /// Prints "NbRoots=%d,NbTrans=%d\n", the count of roots and of those that were transferred.
  /// \param[in] path the file, as bytes that go to the operating system as they stand
  /// \param[out] shape the model; stays as it is unless 1 is returned
  /// \return 1 when read. Otherwise the reader's status: 0 nothing to read, 2 error (among others a
  ///     file that is missing, and a null \p path), 3 fail, 4 stopped
  /// \note A file whose contents can't be transferred is read all the same: 1, and a null shape.
  static int readStepFile(char* path, TopoDS_Shape& shape);

  /// Reads an IGES file: its faces, as one shape. Curves and points that stand alone are dropped.
  /// Prints nothing.
  ///
  /// \param[in] path the file, as bytes that go to the operating system as they stand
  /// \param[out] shape the model; stays as it is unless 1 is returned
  /// \return as readStepFile
  /// \note A file without faces is read all the same: 1, and a null or empty shape.
  static int readIgesFile(char* path, TopoDS_Shape& shape);

  /// The sum of the areas of all faces of a shape, in square length units.
  ///
  /// \param[in] shape may be null
  /// \return the sum, 0 for a null shape or one without faces
  /// \note A face whose area comes out negative, above 1e10, or as NaN adds nothing.
  static double getSurfaceArea(const TopoDS_Shape& shape);

  /// The volume that the faces of a shape enclose, in cubic length units. Negative for a shape
  /// turned inside out; faces that enclose nothing give a number without meaning.
  ///
  /// \param[in] shape may be null
  /// \return the volume, 0 for a null shape
  static double getVolume(const TopoDS_Shape& shape);
};

}  // namespace xmodelfeature
