// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/poly_line.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

class BRep_Builder;
class TopoDS_Compound;
class TopoDS_Shape;

/// Room [export](docs/rooms/export.md): STEP, IGES, CSV and text out.
namespace xexportfiles {

/// The form in which a poly line is written.
enum ExportMode : int {
  ExportPolyText = 0,      ///< text file of the points
  ExportPolyPoints = 1,    ///< IGES, one point entity for each point
  ExportPolySegments = 2,  ///< IGES, straight segments between neighbours
  ExportPolySpline = 3     ///< IGES, one curve interpolated through the points
};

/// Writes feature records into files.
///
/// All members are static, and the class has no data. Features are read through pointers that the
/// caller keeps. A null pointer, or a record of a host's own class, is passed over as a kind that
/// can't be written. A wide path or name that is no Unicode text throws std::range_error with
/// "bad conversion"; elsewhere the file system gets the path as UTF-8.
///
/// STEP and IGES files: one process-wide lock makes all reading and writing of the library take
/// turns, so calls from several threads are safe; a host's own readers and writers are not covered.
/// OpenCASCADE prints statistics on the standard output. A record that can't be built (a direction of
/// length 0, a negative radius, a cone with equal radii, a corner radius of 0 or one that does not
/// fit) ends in OpenCASCADE's exception, a Standard_Failure, before any file is touched; a record
/// with a number that is not finite gives -1, without a file. A write that fails may leave an
/// incomplete or empty file: whoever needs certainty reads it back.
///
/// \note STEP files are in the unit that the process has set, millimetres at first. Writing a single
///     cylinder by Export3DFeature sets inches for itself and for every later STEP file of the
///     process, of other writers too; it has no effect as long as the process has made no STEP
///     reader or writer. Readers take the unit into account.
class ZELMO_EXPORT XExportFiles {
 public:
  /// Writes one flat or linear feature as IGES in millimetres.
  ///
  /// A point is a vertex; a line an edge with both end points; a circle an edge with its center; an
  /// oval groove two arcs and two sides with their ends and its center; a round groove and a
  /// rectangle a wire with the ends of its sides, the groove with its center too.
  ///
  /// \param[in] feature a point, line, circle, oval groove, round groove or rectangle
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when written; -1 when not written, and for other kinds
  /// \note An oval groove whose halfStraight is 0 has its two arcs on one another, not opposite.
  static int Export2DFeature(const xgeofeature::XFBase* feature, const std::wstring& path);

  /// Writes one plane or solid as STEP.
  ///
  /// A plane is a face of its length and width about its center; sphere, cylinder and cone are
  /// solids.
  ///
  /// \param[in] feature a plane, sphere, cylinder or cone
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when written; -1 when not written, and for other kinds
  /// \note Sets the unit of all later STEP files when the feature is a cylinder, see above.
  static int Export3DFeature(const xgeofeature::XFBase* feature, const std::wstring& path);

  /// Writes features of all kinds into one STEP file, as one compound.
  ///
  /// Shapes are those of the single writers, a line without its end points. A poly line is the curve
  /// of ExportPolySpline, and is left out with fewer than 4 points.
  ///
  /// \param[in] features the records
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when written; -1 when a shape can't be translated or the file not written; -2 without
  ///     features
  static int ExportFeature2Step(const std::vector<xgeofeature::XFBase*>& features,
                                const std::wstring& path);

  /// Writes features of all kinds into one IGES file in millimetres, as one compound, with the shapes
  /// of ExportFeature2Step.
  ///
  /// \param[in] features the records
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when written; -1 when not written, as when no feature gives a shape; -2 without
  ///     features
  static int ExportFeature2Iges(const std::vector<xgeofeature::XFBase*>& features,
                                const std::wstring& path);

  /// Writes a shape as STEP.
  ///
  /// \param[in] shape any shape
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when written; -1 when the shape can't be translated, as a null one, or the file not
  ///     written
  static int ExportStep(const TopoDS_Shape& shape, const std::wstring& path);

  /// Unfinished: writes nothing.
  ///
  /// \param[in] shape not read
  /// \param[in] path not read
  /// \return -2
  static int ExportIges(const TopoDS_Shape& shape, const std::wstring& path);

  /// Writes a poly line.
  ///
  /// The text file has a line of x, y, z for each point, separated by blanks, with 6 significant
  /// digits. An interpolated curve needs 4 points and takes at most 15000: of a longer line every so
  /// manyth point with the first and the last. Neighbours that coincide throw a Standard_Failure
  /// where segments or a curve are asked for.
  ///
  /// \param[in] line the points
  /// \param[in] path the file, overwritten if it exists
  /// \param[in] mode the form; any other value writes nothing
  /// \return 0 when written, and for the text file always; -1 when not written, for a curve through
  ///     fewer than 4 points or one that can't be found, for a point that is not finite (text takes
  ///     it), for a line without a point or segment as IGES, and for any other mode
  static int Export(const xgeofeature::XFPolyLine& line, const std::wstring& path,
                    const ExportMode& mode);

  /// Writes a table with one header line and one row per feature.
  ///
  /// Fields are separated by ";" and not escaped: a name that holds one shifts its row. A field that
  /// a feature lacks is an empty pair of quotes. Numbers have 6 significant digits and a decimal
  /// point in every locale. Columns, from 1 on: 1 type, 2 name (UTF-8), 3 to 5 and 6 to 8 two points,
  /// 9 to 11 normal, 15 to 17 direction, 18 length, 19 width, 20 and 21 radii, 22 angle in degrees,
  /// 23 orientation, 24 corner radius; the rest stays empty. A cone has its top first, its axis
  /// reversed, and the top radius first.
  ///
  /// \param[in] features the records, in the order of the rows; a poly line gets no row
  /// \param[in] names one per feature; where there are fewer, the name is empty
  /// \param[in] flags one per feature: 0 for an inspection feature, whose type is written with the
  ///     prefix "inspection_", anything else for a nominal one; where there are fewer, nominal
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when the file was opened; -1 without features, no file is touched; -2 when the file
  ///     can't be opened
  /// \throw std::range_error for a name or path that is no Unicode text; the rows before it stay in
  ///     the file
  /// \note A row of a plane has 46 fields instead of 47, and truly empty columns 6 to 8.
  static int ExportFeature2Csv(const std::vector<xgeofeature::XFBase*>& features,
                               std::vector<std::wstring>& names, std::vector<char>& flags,
                               const std::wstring& path);

  /// Writes one line of numbers, separated by blanks, for each feature of one type.
  ///
  /// Points: x, y, z. Lines: start, direction, length. Planes: center, normal. Circles: center,
  /// normal, radius. Numbers as in ExportFeature2Csv.
  ///
  /// \param[in] features the records
  /// \param[in] type the type to write; one that has no lines gives an empty file
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when the file was opened; -1 without features; -2 without a feature of \p type, no
  ///     file is touched; -3 when the file can't be opened
  /// \throw std::range_error for a path that is no Unicode text
  static int ExportFeature2Txt(const std::vector<xgeofeature::XFBase*>& features,
                               xgeofeature::GeoFeatureType& type, const std::wstring& path);

 private:
  static int AddFeature(const std::vector<xgeofeature::XFBase*>& features,
                        TopoDS_Compound& compound, BRep_Builder& builder);
  static int AddFeature(const xgeofeature::XFBase* feature, TopoDS_Compound& compound,
                        BRep_Builder& builder);
  static int Export(const xgeofeature::XFPolyLine& line, const std::string& path,
                    const ExportMode& mode);
  static int ExportCircle(const xgeofeature::XFCircle3D& circle, const std::string& path);
  static int ExportCone(const xgeofeature::XFCone& cone, const std::string& path);
  static int ExportCylinder(const xgeofeature::XFCylinder& cylinder, const std::string& path);
  static int ExportLine(const xgeofeature::XFLine3D2& line, const std::string& path);
  static int ExportOvalGroove(const xgeofeature::XFOvalGroove3D& groove, const std::string& path);
  static int ExportPlane(const xgeofeature::XFPlane& plane, const std::string& path);
  static int ExportPoint(const xgeofeature::XFPoint& point, const std::string& path);
  static int ExportRectangle(const xgeofeature::XFRectangle3D& rectangle, const std::string& path);
  static int ExportRoundGroove(const xgeofeature::XFRoundGroove3D& groove, const std::string& path);
  static int ExportSphere(const xgeofeature::XFSphere& sphere, const std::string& path);
};

}  // namespace xexportfiles
