// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/circle.h"
#include "zelmo/mesh/trim.h"

namespace zelmo::internal {
class FaceChange;
struct CircleTrim;
struct FlatCorner;
struct SlotTrim;
}  // namespace zelmo::internal

namespace vorn::quil::xtirm {

/// Cuts a circular hole or an oval slot out of a triangle mesh.
///
/// The curve's prism runs without end along the curve's normal. Faces inside it are removed, faces
/// across it are replaced by their parts outside. The cut is found in the curve's plane, and the
/// cut points are raised to the heights of the face's edges.
///
/// Eight tasks take one face at a time, so the order of the faces in the result differs from run to
/// run; what belongs to one face stays together. One object runs one trim at a time.
class ZELMO_EXPORT XTrimWithCurve : public XTrim {
 public:
  XTrimWithCurve();
  ~XTrimWithCurve();  // NOLINT(performance-trivially-destructible): stays in the library

  /// Cuts a circular hole.
  ///
  /// A vertex whose squared distance from the axis differs from the squared radius by less than
  /// 1e-6 lies on the curve. A face with no vertex outside is removed, one with no vertex inside
  /// is kept. A face that crosses the curve leaves one triangle, or two when two of its vertices
  /// lie outside, with the normal of the face. The new triangles are not all wound as the face is:
  /// their normals tell the side.
  ///
  /// \param[in] curve an xgeofeature::XFCircle3D with a unit normal
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] faceNormals float[3 * faceCount]: one normal per face
  /// \param[in] faces int[3 * faceCount]: three vertex indices per face
  /// \param[in] faceCount number of faces; 0 or less means none
  /// \param[out] result cleared first, its capacity kept; not touched when the return value is
  ///     negative
  /// \param[in] wallHeight the height of the wall along the cut, which hangs from the cut against
  ///     the curve's normal. Not tested against NaN, which gives a wall of NaN.
  /// \param[in] makeWall whether to add two wall triangles for each straight piece of the cut, and
  ///     for an edge that lies on the curve with its face outside. Their normals point to the axis.
  /// \return 0: done. -1: \p curve is null or no circle. -2: \p makeWall is set and \p wallHeight is
  ///     below 0.
  /// \note A face with an index out of range, or with a vertex that is not finite, is kept; so is
  ///     every face when the curve has a value that is not finite. A null array means no faces.
  /// \note What a task throws (no memory, no thread to be had) reaches the caller after all tasks
  ///     have ended; \p result then holds a part of the changes.
  int trimWithCircle(xgeofeature::XFBase* curve, const float* vertices, const int& vertexCount,
                     const float* faceNormals, const int* faces, const int& faceCount,
                     ModifyFaceData& result, float wallHeight, bool makeWall);

  /// The same with a wall of height 1.
  ///
  /// \param[in] curve an xgeofeature::XFCircle3D, as above
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] faceNormals float[3 * faceCount]: one normal per face
  /// \param[in] faces int[3 * faceCount]: three vertex indices per face
  /// \param[in] faceCount number of faces; 0 or less means none
  /// \param[out] result as above
  /// \return 0, or -1 as above
  int trimWithCircle(xgeofeature::XFBase* curve, const float* vertices, const int& vertexCount,
                     const float* faceNormals, const int* faces, const int& faceCount,
                     ModifyFaceData& result);

  /// Cuts an oval slot.
  ///
  /// Works as trimWithCircle, with these differences. The outline belongs to the inside: no vertex
  /// lies on the curve. A cut round a junction of arc and side goes through the junction, so a face
  /// leaves up to three triangles and up to two pieces of wall. A face stays as it is when an edge
  /// has no crossing, and when the two cut points differ by less than 0.001 in both local
  /// coordinates. An edge that spans less than 0.001 along the slot is taken as square to it.
  ///
  /// \param[in] curve an xgeofeature::XFOvalGroove3D with a unit normal and a unit majorDir
  ///     orthogonal to it
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] faceNormals float[3 * faceCount]: one normal per face
  /// \param[in] faces int[3 * faceCount]: three vertex indices per face
  /// \param[in] faceCount number of faces; 0 or less means none
  /// \param[out] result as in trimWithCircle
  /// \param[in] wallHeight as in trimWithCircle
  /// \param[in] makeWall as in trimWithCircle
  /// \return 0: done. -1: \p curve is null or no oval groove. -2: \p makeWall is set and
  ///     \p wallHeight is below 0.
  int trimWithOvalSlot(xgeofeature::XFBase* curve, const float* vertices, const int& vertexCount,
                       const float* faceNormals, const int* faces, const int& faceCount,
                       ModifyFaceData& result, float wallHeight, bool makeWall);

  /// The same with a wall of height 1.
  ///
  /// \param[in] curve an xgeofeature::XFOvalGroove3D, as above
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] faceNormals float[3 * faceCount]: one normal per face
  /// \param[in] faces int[3 * faceCount]: three vertex indices per face
  /// \param[in] faceCount number of faces; 0 or less means none
  /// \param[out] result as above
  /// \return 0, or -1 as above
  int trimWithOvalSlot(xgeofeature::XFBase* curve, const float* vertices, const int& vertexCount,
                       const float* faceNormals, const int* faces, const int& faceCount,
                       ModifyFaceData& result);

 private:
  void threadManage(xgeofeature::XFBase* curve, int& nextFace, const float* vertices,
                    const int& vertexCount, const float* faceNormals, const int* faces,
                    const int& faceCount, ModifyFaceData& result, float wallHeight, bool makeWall);
  void threadManage2(xgeofeature::XFBase* curve, int& nextFace, const float* vertices,
                     const int& vertexCount, const float* faceNormals, const int* faces,
                     const int& faceCount, ModifyFaceData& result, float wallHeight, bool makeWall);

  static int trimTriangle(const xgeofeature::XFCircle3D* circle, const float* const a,
                          const float* const b, const float* const c, float* const p,
                          float* const q);
  static int trimTriangle2(const xgeofeature::XFCircle3D* circle, const float* const a,
                           const float* const b, const float* const c, float* const p,
                           float* const q);
  static int trimTriangle3(const xgeofeature::XFCircle3D* circle, const float* const a,
                           const float* const b, const float* const c, float* const p,
                           float* const q);
  static char getIntersection(const float& halfStraight, const float& radius,
                              const float* const from, const float* const to, float* const out);
  static char pointInCylinder(const float* const p, const float* const center,
                              const float* const normal, const float& radius);
  static char pointInOvalSlot(const float& x, const float& y, const float& halfStraight,
                              const float& radius);
  static void projection2Plane(const float* const p, const double* const plane, float* const out);
  static void projection2Plane(const float* const p, const double* const plane, float* const out,
                               float& distance);

  static void changeByCircle(const zelmo::internal::CircleTrim& trim, const float* const* corners,
                             const char* states, zelmo::internal::FaceChange& change);
  void changeBySlot(const zelmo::internal::SlotTrim& trim,
                    const zelmo::internal::FlatCorner* corners,
                    zelmo::internal::FaceChange& change);

  std::mutex m_counter_mutex;
  std::mutex m_result_mutex;
};

}  // namespace vorn::quil::xtirm
