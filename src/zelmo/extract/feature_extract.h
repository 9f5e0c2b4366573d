// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <zelmo/export.h>

#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

namespace zelmo::internal {
struct SearchIndex;
}

namespace xgeofeature {

/// Picks out of a scanned cloud the points that belong to a nominal feature.
///
/// setData takes the scan once; then each search gives indices into it. A search looks at the
/// neighbourhood of the nominal feature: the points strictly nearer to a center than a radius, in
/// float, nearest first and the lower index first on a tie. It keeps those that pass its tests, in
/// this order. Tests that say "at most" and "at least" include equality. Nothing is fitted. All
/// lengths are in the unit of the scan; the fixed ones (0.001, 0.2, 3 and 4 below) mean millimeters.
///
/// Before setData, on an empty cloud, around a center that is not finite and in a neighbourhood
/// whose radius is not greater than 0 a search finds nothing. Points that are not finite are never
/// found, and a normal that is not finite fails every test of normals. Normals are taken to be of
/// unit length; those of a nominal, and its directions, are used as they are. Where the distance from
/// a line counts, a point less than 0.001 off the line's center in every coordinate counts as on it.
///
/// One object serves one thread at a time. A copy shares the cloud and the tree; a later setData of
/// either leaves the other's alone.
///
/// The fields are the host's to read; a host that replaces \ref cloud, \ref normals or \ref kdtree
/// by others, of whatever size, gets a search by that tree, which ends in std::out_of_range and an
/// empty result when the tree names a point that is not there. Coordinates changed in place are not
/// seen before the next setData.
class ZELMO_EXPORT XGeoFeatureExtract {
 public:
  /// All points in input order; null before setData.
  boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>> cloud;
  /// Three floats per point, in the same order.
  std::vector<float> normals;
  /// Ascending indices of the boundary points, as of the last searchBoundaryIndex.
  std::vector<int> indexBoundary;
  /// Result of the last search.
  std::vector<int> indexResult;
  /// Second result of the searches with a ring.
  std::vector<int> indexResult2;
  /// Tree over cloud; null before setData.
  std::shared_ptr<pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>> kdtree;
  /// Half width of the band around the nominal surface.
  float maxDis = 1.0F;

  XGeoFeatureExtract() = default;

  /// Copies the points and builds the tree. The index lists keep what they hold.
  ///
  /// \param[in] data float[6 * count]: x, y, z, nx, ny, nz per point
  /// \param[in] count number of points; 0 or less, or a null \p data, means none
  void setData(const float* data, const int& count);

  /// Sets maxDis; no result changes before the next search.
  void setMaxDis(const float& distance);

  /// Finds the boundary points of the cloud into indexBoundary and writes their number to the
  /// standard output: the line "indexBoundary.size=" with it.
  ///
  /// A point counts when its 20 nearest neighbours, seen along a normal estimated from the points
  /// themselves, leave a gap of more than a quarter turn. The host's normals are not used.
  /// Coincident points, such as a scanner's missed pixels at one place, cost no more than one.
  void searchBoundaryIndex();

  /// Points of a rectangular piece of a plane.
  ///
  /// Kept are points of the ball through the corners that lie at most maxDis off the equation's
  /// plane, at most width / 2 off the line through the center along majorDir and at most length / 2
  /// off the line across it, with normals at most 60 degrees off (a, b, c).
  /// \note A normal that points to the other side does not fit.
  void searchPlane(const XFPlane& plane);

  /// Points of a cylinder's wall.
  ///
  /// Kept are points within 1.1 times the distance from the center to the rim of an end whose
  /// distance from the axis differs by at most maxDis from the radius, with normals at least 60
  /// degrees off the axis.
  /// \note The height sets the neighbourhood only: points beyond the ends are kept.
  void searchCylinder(const XFCylinder& cylinder);

  /// Points of a cone's wall, whatever their normals.
  ///
  /// Kept are points within 1.1 times the reach of the base's rim from the middle between base and
  /// top. The distance of a point from the axis, scaled by 1 / height, is compared with its distance
  /// from the apex times topRadius over the distance from top to apex; the two differ by at most
  /// maxDis. The apex is computed from base, top and radii, the fields apex and halfAngle are not
  /// read.
  /// \note With equal radii, with a topRadius of 0 and with a height of 0 nothing is found.
  void searchCone(const XFCone& cone);

  /// Points of a sphere.
  ///
  /// Kept are points whose distance from the center differs from the radius by at most maxDis and at
  /// most a fifth of the radius, with normals at most 60 degrees off the outward direction.
  void searchSphere(const XFSphere& sphere);

  /// Boundary points near the edge of a hole or a part.
  ///
  /// Kept are those of indexBoundary, in its order, that lie within radius + 4 of the center and off
  /// the circle's plane by at most a tenth of the radius and at most 3. Neither maxDis nor the
  /// normals are used. indexBoundary is taken to be ascending; an index that is not above all before
  /// it is passed over.
  void searchCircle(const XFCircle3D& circle);

  /// The wall of a bore below a circle, and a ring of the surface around it.
  ///
  /// indexResult takes the points of the wall of the circle's radius that starts \p gap below the
  /// circle's plane, against its normal, and is \p depth deep: at most maxDis / 2 off the wall,
  /// between its ends, with normals at least 60 degrees off the axis. With \p withRing,
  /// indexResult2 takes the points at most maxDis off the plane whose distance from the center is at
  /// least radius + \p ringGap and at most \p ringWidth more, with normals at most 60 degrees off
  /// the circle's, on either side; otherwise it is empty.
  ///
  /// While it runs it writes \p gap and \p depth, each with a blank behind it, and a line end to the
  /// file "_20190125.txt" in the current directory, replacing what is there. A file that can't be
  /// written changes nothing else. Two such searches at once contend for the file.
  ///
  /// \param[in] circle the edge of the bore; its normal points out of the bore
  /// \param[in] gap from the circle's plane down to the wall
  /// \param[in] depth of the wall below the gap
  /// \param[in] ringGap from the circle outwards to the ring; read only \p withRing, as the next
  /// \param[in] ringWidth from the ring's inner to its outer edge
  /// \param[in] withRing whether the ring is looked for
  /// \note No wall is found where \p depth is 0, negative or not a number.
  void searchCircle(const XFCircle3D& circle, const float& gap, const float& depth,
                    const float& ringGap, const float& ringWidth, bool withRing);

  /// A flat ring along a circle, and one farther out.
  ///
  /// indexResult takes the points at most maxDis off the circle's plane and at most \p ringHalf off
  /// the circle, inwards or outwards, with normals at most 60 degrees off the circle's, on either
  /// side. Where \p ringGap is above the radius, everything inside the circle is taken too. With
  /// \p withRing, indexResult2 takes the ring that \ref searchCircle takes; otherwise it is empty.
  ///
  /// \param[in] circle the circle; its plane and radius count, its normal with either sense
  /// \param[in] ringHalf half width of the ring along the circle
  /// \param[in] ringGap from the circle outwards to the second ring; read also without it, see above
  /// \param[in] ringWidth width of the second ring; read only \p withRing
  /// \param[in] withRing whether the second ring is looked for
  /// \note With \p ringHalf above the radius the inner limit is \p ringHalf - radius.
  void searchCircle2(const XFCircle3D& circle, const float& ringHalf, const float& ringGap,
                     const float& ringWidth, bool withRing);

  /// Points of the rectangle around an oval groove.
  ///
  /// Kept are points within 1.1 times the reach of that rectangle's corners that lie at most 0.2 off
  /// the plane through the center, at most 1.1 times each half side off the lines through the center,
  /// with normals at most 60 degrees off the groove's. maxDis is not used.
  void searchOvalGroove(const XFOvalGroove3D& groove);

  /// Points of a rectangle, by the tests of \ref searchOvalGroove.
  void searchRectangle(const XFRectangle3D& rectangle);

  /// Points of the rectangle around a round groove, by the tests of \ref searchOvalGroove.
  void searchRoundGroove(const XFRoundGroove3D& groove);

  /// All points of the neighbourhood of \p point, whatever their normals.
  ///
  /// \param[in] point center of the neighbourhood
  /// \param[in] radius of the neighbourhood; 0, negative or not a number finds nothing
  void searchPoint(const XFPoint& point, const float& radius);

  /// The mean of the neighbourhood of \p point.
  ///
  /// \param[in] point center of the neighbourhood
  /// \param[in] radius of the neighbourhood
  /// \param[out] out sums in float, nearest point first, divided by the number of points; stays as
  ///     it is on failure
  /// \return 0; -1 when the neighbourhood is empty; -2 when \p radius is not greater than 0, which
  ///     leaves indexResult as it is
  /// \note indexResult is empty afterwards, also on success.
  int searchPoint(const XFPoint& point, const float& radius, XFPoint& out);

  /// A surface point along a nominal normal.
  ///
  /// indexResult takes the points at most \p thickness off the plane through the nominal point and
  /// at most \p radius off its normal, with normals at most \p angleDegrees off the nominal one.
  ///
  /// \param[in] nominal the nominal point and its unit normal
  /// \param[in] radius largest distance from the line along the normal
  /// \param[in] thickness largest distance from the plane across the normal, on either side
  /// \param[in] angleDegrees largest angle between a normal and the nominal one, degrees,
  ///     0 to 90
  /// \param[out] out the mean of these points, as above, moved onto the nominal normal; stays as it
  ///     is on failure
  /// \return 0; -1 when no point is found; -2 when \p radius or \p thickness is not greater than 0
  ///     or \p angleDegrees is not in 0 to 90, which leaves indexResult as it is
  int searchPoint(const XFPointN& nominal, const float& radius, const float& thickness,
                  const float& angleDegrees, XFPoint& out);

 private:
  template <typename Ball, typename Shape>
  void find(const Ball& ball, const Shape& shape, std::vector<int>& found) const;
  void findRing(const XFCircle3D& circle, float inner, float outer, std::vector<int>& found) const;

  std::shared_ptr<const zelmo::internal::SearchIndex> m_index;
};

}  // namespace xgeofeature
