// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <vector>

#include <zelmo/export.h>

namespace zelmo::internal {
struct CutPoints;
struct Segments;
}  // namespace zelmo::internal

/// Room [mesh](docs/rooms/mesh.md): plane cuts through meshes and clouds.
namespace xsection {

/// Cuts a triangle mesh or a point cloud with a plane.
///
/// The mesh forms give the segments in which the plane meets the triangles, unchained: a segment
/// along an edge that lies in the plane is written once by each triangle at that edge. A vertex
/// counts as in the plane when its value |a x + b y + c z + d| is below 1e-5. The plane's normal is
/// taken as it stands, so this and every other distance is in units of the normal's length.
///
/// A triangle that touches the plane in one vertex only gives a segment of length zero when that
/// vertex has the value 0 exactly, and nothing when it is merely near 0. A triangle in the plane
/// gives its three edges.
///
/// One object may be used by several threads at once.
class ZELMO_EXPORT XSection {
 public:
  XSection();
  ~XSection();  // NOLINT(performance-trivially-destructible): stays in the library

  /// Cuts a mesh on the caller's thread, triangle by triangle in the order of the faces.
  ///
  /// \param[in] plane double[4]: a, b, c, d of a x + b y + c z + d = 0; a unit normal is expected
  ///     and not tested
  /// \param[in] vertices float[3 * k]: x, y, z per vertex, k larger than every index in \p faces
  /// \param[in] faces int[3 * count]: three vertex indices per triangle. Indices are not tested:
  ///     a negative one, or one past the last vertex, is the caller's fault.
  /// \param[in] count number of triangles; 0 or less means none
  /// \param[out] result six floats per segment: x, y, z of one end, then of the other. Emptied
  ///     first. It must be none of the inputs.
  /// \return 0 in every case. A null \p plane, \p vertices or \p faces counts as no triangles.
  /// \note Triangles with vertices that are not finite are cut as far as their comparisons hold;
  ///     the ends of such segments may be not finite. A segment's end on an edge within 1e-6 of
  ///     parallel to the plane is that of the cut before it.
  int getSection(const double* plane, const float* vertices, const int* faces, const int& count,
                 std::vector<float>& result);

  /// Cuts a mesh by eight tasks that take one triangle at a time.
  ///
  /// Gives the segments of getSection in an order that differs from call to call. The floats of a
  /// segment, and the segments of one triangle, stay together.
  ///
  /// \copydetails getSection(const double*, const float*, const int*, const int&,
  /// std::vector<float>&)
  /// \note What a task throws (no memory, no thread to be had) reaches the caller after all tasks
  ///     have ended; \p result then holds a part of the segments. An end on an edge almost parallel
  ///     to the plane is that of the same task's cut before, so it may differ from call to call.
  int getSection2(const double* plane, const float* vertices, const int* faces, const int& count,
                  std::vector<float>& result);

  /// Picks the points of a cloud that lie near a plane.
  ///
  /// \param[in] plane double[4]: a, b, c, d; a unit normal is expected and not tested
  /// \param[in] vertices float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less means none
  /// \param[out] result x, y, z of each point with |a x + b y + c z + d| at most \p tolerance, in
  ///     the order of the cloud. Emptied first.
  /// \param[in] tolerance in units of the normal's length; a point at exactly the tolerance is kept
  /// \return 0 in every case. A null \p plane or \p vertices counts as no points. A point with a
  ///     NaN is not kept.
  int getSection(const double* plane, const float* vertices, const int& count,
                 std::vector<float>& result, const double& tolerance);

 private:
  static double distance(const double* plane, const float* point);
  static int isIntersect(const double* plane, const float* p, const float* q);
  static int isIntersect(const double* plane, const float* p0, const float* p1, const float* p2);
  static int isInPlane(const double* plane, const float* p0, const float* p1, const float* p2);
  static int intersectionPlaneAndLine(const double* plane, const float* p, const float* q,
                                      float* out, bool check);
  static int intersectionPlaneAndTriangle(const double* plane, const float* p0, const float* p1,
                                          const float* p2, float* a, float* b);
  static void cutTriangle(const double* plane, const float* const* p,
                          zelmo::internal::CutPoints& points, zelmo::internal::Segments& segments);
  void Thread_Manage(int* cursor, const double* plane, const float* vertices, const int* faces,
                     const int* count, std::vector<float>& result);

  std::mutex m_cursor_mutex;
  std::mutex m_result_mutex;
};

}  // namespace xsection
