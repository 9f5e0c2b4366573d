// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

/// \file
/// What all feature records have in common.

/// Room [feature](docs/rooms/feature.md): records of ideal features; their constructions and dimensions
/// (room [measure](docs/rooms/measure.md)) and searches (room [extract](docs/rooms/extract.md)).
namespace xgeofeature {

/// Tells the records apart.
enum GeoFeatureType : int {
  GeoPoint = 0,        ///< XFPoint, XFPointN
  GeoLine = 1,         ///< XFLine3D, XFLine3D2
  GeoPlane = 2,        ///< XFPlane
  GeoCircle = 3,       ///< XFCircle3D
  GeoSphere = 4,       ///< XFSphere
  GeoCylinder = 5,     ///< XFCylinder
  GeoCone = 6,         ///< XFCone
  GeoOvalGroove = 7,   ///< XFOvalGroove3D
  GeoRoundGroove = 8,  ///< XFRoundGroove3D
  GeoRectangle = 9,    ///< XFRectangle3D
  GeoPolyLine = 10     ///< XFPolyLine
};

/// Base of all records: plain values of floats in the caller's length unit, copied member by
/// member.
///
/// Records report no errors. A default-constructed record has all fields 0. Triples are x, y, z.
/// Arrays and vectors that a constructor takes are read during the call only; where nothing else is
/// said they must not be null. Values that are not finite are stored like any other.
/// \note The destructor is not virtual: delete a record through its own type.
class ZELMO_EXPORT XFBase {
 public:
  XFBase() = default;                          ///< has no fields of its own
  XFBase(const XFBase&) = default;             ///< records copy all fields
  XFBase(XFBase&&) = default;                  ///< as the copy; XFPolyLine hands its points over
  XFBase& operator=(const XFBase&) = default;  ///< records copy all fields
  XFBase& operator=(XFBase&&) = default;       ///< as the copy; XFPolyLine hands its points over

  /// Which kind of record this is; one value may stand for two record classes.
  virtual GeoFeatureType getFeatureType() const = 0;

  /// The rotation about an axis through the origin.
  ///
  /// \param[in] axis float[3], of any length
  /// \param[in] angle the angle of the turn, right-handed about \p axis
  /// \param[out] r double[9]: the 3 by 3 matrix row by row, acting on column vectors
  /// \param[in] degrees true when \p angle is in degrees, false for radians
  /// \return 0
  /// \note A zero axis gives cos(angle) times the identity, which is no rotation. Values that are
  ///     not finite give entries that are not finite.
  static int getRotationMatrix(const float* const axis, const float& angle, double* const r,
                               bool degrees);

 protected:
  /// The half-turn about a line.
  ///
  /// \param[in] line float[6]: a point and a direction of any length
  /// \param[out] rt double[16]: row-major 4 by 4 acting on column vectors; stays as it was when the
  ///     direction is zero or not finite
  static void getMatRT_LineSymmetry(const float* const line, double* const rt);

  /// The mirror image at a plane.
  ///
  /// \param[in] plane float[6]: a point and a normal of any length
  /// \param[out] rt double[16]: row-major 4 by 4 acting on column vectors; stays as it was when the
  ///     normal is zero or not finite
  static void getMatRT_PlaneSymmetry(const float* const plane, double* const rt);

  /// The mirror image at a point.
  ///
  /// \param[in] point float[3]
  /// \param[out] rt double[16]: row-major 4 by 4 acting on column vectors
  static void getMatRT_PointSymmetry(const float* const point, double* const rt);
};

}  // namespace xgeofeature
