// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/trim_with_curve.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/internal/task_crew.h"
#include "zelmo/mesh/internal/curve_outline.h"
#include "zelmo/mesh/internal/curve_trim.h"
#include "zelmo/mesh/internal/face_change.h"

namespace vorn::quil::xtirm {
namespace {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the class's own kernels
using xgeofeature::XFCircle3D;
using xgeofeature::XFOvalGroove3D;

constexpr int kWrongCurve = -1;
constexpr int kWrongWall = -2;
constexpr int kTaskCount = 8;
constexpr float kDefaultWall = 1.0F;

bool allFinite(std::initializer_list<const float*> triples) {
  return std::all_of(triples.begin(), triples.end(), [](const float* v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
  });
}

bool isFinite(const XFCircle3D& c) {
  return allFinite({c.center, c.normal, c.majorDir}) && std::isfinite(c.radius);
}
bool isFinite(const XFOvalGroove3D& s) {
  return allFinite({s.center, s.normal, s.majorDir}) && std::isfinite(s.radius) &&
         std::isfinite(s.halfStraight);
}

/// The faces one by one from the shared counter, their changes one face at a time into the result.
template <typename Change>
void trimFaces(std::mutex& counter_mutex, int& next_face, int face_count, const MeshView& mesh,
               const float* normals, std::mutex& result_mutex, ModifyFaceData& result,
               const Change& change_face) {
  const PointView face_normals(normals, face_count);
  while (const auto i = takeItem(counter_mutex, next_face, face_count)) {
    if (!mesh.isInside(*i)) continue;
    const int* f = mesh.face(*i);
    const std::array<const float*, 3> corners = {mesh.vertices().at(f[0]), mesh.vertices().at(f[1]),
                                                 mesh.vertices().at(f[2])};
    FaceChange change(face_normals.at(*i));
    change_face(corners, change);
    if (change.isEmpty()) continue;
    const std::lock_guard<std::mutex> lock(result_mutex);
    change.appendTo(result, *i);
  }
}

/// The common frame of both trims.
/// \param[in] work what a task does, given the shared counter and the number of faces
template <typename Record, typename Work>
int runTrim(xgeofeature::XFBase* curve, xgeofeature::GeoFeatureType type, float wall_height,
            bool make_wall, int face_count, ModifyFaceData& result, const Work& work) {
  if (curve == nullptr || curve->getFeatureType() != type) return kWrongCurve;
  const auto* record = dynamic_cast<const Record*>(curve);
  if (record == nullptr) return kWrongCurve;
  if (make_wall && wall_height < 0.0F) return kWrongWall;
  result.newVertices.clear();
  result.newNormals.clear();
  result.sourceFaces.clear();
  result.removedFaces.clear();
  const int used_faces = isFinite(*record) ? face_count : 0;
  int next_face = 0;
  runTasks(kTaskCount, [&](int) { work(next_face, used_faces); });
  return 0;
}

int usableFaces(const float* normals, const int* faces, int face_count) {
  return normals == nullptr ? 0 : MeshView({}, faces, face_count).faceCount();
}

/// The lone corner of a cut face, and the other two in the turn of the face.
struct CutFace {
  cv::Vec3f lone, next, last;
};

/// What stays of a face that a slot cuts along one line from the edge to \p next to the other.
void addPartsOfSlot(const CutFace& face, bool lone_outside, const cv::Vec3f& p, const cv::Vec3f& q,
                    FaceChange& change) {
  if (lone_outside) {
    change.addPart(face.lone, p, q);
    return;
  }
  // CONTRACT: unlike at a circle, the diagonal does not depend on its length.
  change.addPart(face.next, face.last, p);
  change.addPart(face.last, p, q);
}

/// The same for a cut that turns at a junction of the outline.
void addPartsRoundJunction(const CutFace& face, bool lone_outside, const cv::Vec3f& p,
                           const cv::Vec3f& q, const cv::Vec3f& turn, FaceChange& change) {
  if (lone_outside) {
    change.addPart(face.lone, p, turn);
    change.addPart(face.lone, q, turn);
    return;
  }
  change.addPart(p, face.next, turn);
  change.addPart(q, face.last, turn);
  change.addPart(face.next, face.last, turn);
}

SlotTrim slotTrim(const XFOvalGroove3D& slot, float wall_height, bool make_wall) {
  SlotTrim trim(slot, wall_height, make_wall);
  const cv::Vec3f center(slot.center);
  const cv::Vec3f across(
      unitOrZero(cv::Vec3d(cv::Vec3f(slot.normal)).cross(cv::Vec3d(cv::Vec3f(slot.majorDir)))));
  float from[9];
  const cv::Vec3f tips[3] = {center + cv::Vec3f(slot.majorDir), center + across,
                             center + cv::Vec3f(slot.normal)};
  for (int i = 0; i < 3; ++i) std::copy_n(tips[i].val, 3, from + 3 * i);
  constexpr float kAxes[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  XTrim::getRTDirect2(from, kAxes, trim.local_from_world.data());
  XTrim::convertMatrixRT(trim.local_from_world.data(), trim.world_from_local.data());
  return trim;
}

}  // namespace

XTrimWithCurve::XTrimWithCurve() = default;
XTrimWithCurve::~XTrimWithCurve() = default;

int XTrimWithCurve::trimWithCircle(xgeofeature::XFBase* curve, const float* vertices,
                                   const int& vertexCount, const float* faceNormals,
                                   const int* faces, const int& faceCount, ModifyFaceData& result,
                                   float wallHeight, bool makeWall) {
  const auto work = [&](int& next_face, int face_count) {
    threadManage(curve, next_face, vertices, vertexCount, faceNormals, faces, face_count, result,
                 wallHeight, makeWall);
  };
  return runTrim<XFCircle3D>(curve, xgeofeature::GeoCircle, wallHeight, makeWall,
                             usableFaces(faceNormals, faces, faceCount), result, work);
}

int XTrimWithCurve::trimWithCircle(xgeofeature::XFBase* curve, const float* vertices,
                                   const int& vertexCount, const float* faceNormals,
                                   const int* faces, const int& faceCount, ModifyFaceData& result) {
  return trimWithCircle(curve, vertices, vertexCount, faceNormals, faces, faceCount, result,
                        kDefaultWall, true);
}

int XTrimWithCurve::trimWithOvalSlot(xgeofeature::XFBase* curve, const float* vertices,
                                     const int& vertexCount, const float* faceNormals,
                                     const int* faces, const int& faceCount, ModifyFaceData& result,
                                     float wallHeight, bool makeWall) {
  const auto work = [&](int& next_face, int face_count) {
    threadManage2(curve, next_face, vertices, vertexCount, faceNormals, faces, face_count, result,
                  wallHeight, makeWall);
  };
  return runTrim<XFOvalGroove3D>(curve, xgeofeature::GeoOvalGroove, wallHeight, makeWall,
                                 usableFaces(faceNormals, faces, faceCount), result, work);
}

int XTrimWithCurve::trimWithOvalSlot(xgeofeature::XFBase* curve, const float* vertices,
                                     const int& vertexCount, const float* faceNormals,
                                     const int* faces, const int& faceCount,
                                     ModifyFaceData& result) {
  return trimWithOvalSlot(curve, vertices, vertexCount, faceNormals, faces, faceCount, result,
                          kDefaultWall, true);
}

void XTrimWithCurve::threadManage(xgeofeature::XFBase* curve, int& nextFace, const float* vertices,
                                  const int& vertexCount, const float* faceNormals,
                                  const int* faces, const int& faceCount, ModifyFaceData& result,
                                  float wallHeight, bool makeWall) {
  const auto& circle = static_cast<const XFCircle3D&>(*curve);
  const CircleTrim trim(circle, wallHeight, makeWall);
  const MeshView mesh(PointView(vertices, vertexCount), faces, faceCount);
  const auto change_face = [&](const std::array<const float*, 3>& corners, FaceChange& change) {
    char states[3];
    for (std::size_t k = 0; k < 3; ++k) {
      states[k] = pointInCylinder(corners[k], circle.center, circle.normal, circle.radius);
    }
    if (states[0] + states[1] + states[2] == 3 * kOutside) return;
    if (!allFinite({corners[0], corners[1], corners[2]})) return;
    changeByCircle(trim, corners.data(), states, change);
  };
  trimFaces(m_counter_mutex, nextFace, faceCount, mesh, faceNormals, m_result_mutex, result,
            change_face);
}

void XTrimWithCurve::changeByCircle(const CircleTrim& trim, const float* const* corners,
                                    const char* states, FaceChange& change) {
  const auto count = [states](char state) { return std::count(states, states + 3, state); };
  const auto find = [states](char state) {
    return static_cast<int>(std::find(states, states + 3, state) - states);
  };
  const auto outside = count(kOutside);
  const auto inside = count(kInside);
  if (outside == 0) {
    change.remove();
    return;
  }
  FlatCorner c[3];
  for (int k = 0; k < 3; ++k) {
    c[k].point = cv::Vec3f(corners[k]);
    projection2Plane(corners[k], trim.plane.data(), c[k].flat.val, c[k].height);
  }
  if (inside == 0) {
    const int lone = find(kOutside);
    if (outside == 1) trim.addWall(c[(lone + 1) % 3].point, c[(lone + 2) % 3].point, change);
    return;
  }
  change.remove();
  // CONTRACT: a cut that fails leaves its point as it stood; it stands at the corner inside.
  if (outside == 1 && inside == 1) {
    const FlatCorner& a = c[find(kInside)];
    const FlatCorner& b = c[find(kOnCurve)];
    const FlatCorner& o = c[find(kOutside)];
    cv::Vec3f p = b.flat, q = a.flat;
    trimTriangle3(trim.circle, a.flat.val, b.flat.val, o.flat.val, p.val, q.val);
    const cv::Vec3f cut = raised(trim, o, a, q);
    change.addPart(o.point, b.point, cut);
    trim.addWall(b.point, cut, change);
    return;
  }
  const int lone = find(outside == 1 ? kOutside : kInside);
  const FlatCorner& a = c[lone];
  const FlatCorner& b = c[(lone + 1) % 3];
  const FlatCorner& d = c[(lone + 2) % 3];
  if (outside == 1) {
    cv::Vec3f p = b.flat, q = d.flat;
    trimTriangle(trim.circle, a.flat.val, b.flat.val, d.flat.val, p.val, q.val);
    const cv::Vec3f cut_p = raised(trim, a, b, p);
    const cv::Vec3f cut_q = raised(trim, a, d, q);
    change.addPart(a.point, cut_p, cut_q);
    trim.addWall(cut_p, cut_q, change);
    return;
  }
  cv::Vec3f p = a.flat, q = a.flat;
  trimTriangle2(trim.circle, a.flat.val, b.flat.val, d.flat.val, p.val, q.val);
  const cv::Vec3f cut_p = raised(trim, b, a, p);
  const cv::Vec3f cut_q = raised(trim, d, a, q);
  if (lengthInFloat(b.flat - q) > lengthInFloat(d.flat - p)) {
    change.addPart(b.point, d.point, cut_p);
    change.addPart(d.point, cut_p, cut_q);
  } else {
    change.addPart(b.point, d.point, cut_q);
    change.addPart(b.point, cut_p, cut_q);
  }
  trim.addWall(cut_p, cut_q, change);
}

void XTrimWithCurve::threadManage2(xgeofeature::XFBase* curve, int& nextFace, const float* vertices,
                                   const int& vertexCount, const float* faceNormals,
                                   const int* faces, const int& faceCount, ModifyFaceData& result,
                                   float wallHeight, bool makeWall) {
  const auto& slot = static_cast<const XFOvalGroove3D&>(*curve);
  const SlotTrim trim = slotTrim(slot, wallHeight, makeWall);
  const MeshView mesh(PointView(vertices, vertexCount), faces, faceCount);
  const auto change_face = [&](const std::array<const float*, 3>& corners, FaceChange& change) {
    FlatCorner c[3];
    int sum = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      cv::Vec3f foot;
      projection2Plane(corners[k], trim.plane.data(), foot.val, c[k].height);
      c[k].flat = {0, 0, 0};
      transformPoint2(foot.val, trim.local_from_world.data(), c[k].flat.val);
      c[k].state = pointInOvalSlot(c[k].flat[0], c[k].flat[1], slot.halfStraight, slot.radius);
      sum += c[k].state;
    }
    if (sum == 3 * kOutside || !allFinite({corners[0], corners[1], corners[2]})) return;
    if (sum == 3 * kInside) {
      change.remove();
      return;
    }
    for (std::size_t k = 0; k < 3; ++k) c[k].point = cv::Vec3f(corners[k]);
    changeBySlot(trim, c, change);
  };
  trimFaces(m_counter_mutex, nextFace, faceCount, mesh, faceNormals, m_result_mutex, result,
            change_face);
}

void XTrimWithCurve::changeBySlot(const SlotTrim& trim, const FlatCorner* corners,
                                  FaceChange& change) {
  constexpr float kSameCut = 0.001F;
  constexpr float kSamePoint = 1e-6F;
  const bool one_outside = corners[0].state + corners[1].state + corners[2].state < 0;
  int lone = 0;
  while (corners[lone].state != (one_outside ? kOutside : kInside)) ++lone;
  const FlatCorner& o = corners[lone];
  const FlatCorner& u = corners[(lone + 1) % 3];
  const FlatCorner& w = corners[(lone + 2) % 3];
  const float half = trim.slot->halfStraight;
  const float radius = trim.slot->radius;
  cv::Vec3f p(0, 0, 0), q(0, 0, 0);
  const char a = getIntersection(half, radius, o.flat.val, u.flat.val, p.val);
  const char b = getIntersection(half, radius, o.flat.val, w.flat.val, q.val);
  if (a < 0 || b < 0) return;
  const auto both_within = [](const cv::Vec3f& v, const cv::Vec2f& other, float limit) {
    return std::fabs(v[0] - other[0]) < limit && std::fabs(v[1] - other[1]) < limit;
  };
  if (both_within(p, {q[0], q[1]}, kSameCut)) return;
  cv::Vec2f j;
  const bool has_junction = junctionBetween(a, b, half, radius, j) &&
                            !both_within(p, j, kSamePoint) && !both_within(q, j, kSamePoint);
  const auto in_space = [&](const cv::Vec3f& flat, float height) {
    cv::Vec3f out;
    transformPoint3(flat.val, trim.world_from_local.data(), out.val);
    return cv::Vec3f(out + trim.wall.normal * height);
  };
  const float height_p = heightAlong(o, u, p);
  const float height_q = heightAlong(o, w, q);
  const cv::Vec3f cut_p = in_space(p, height_p);
  const cv::Vec3f cut_q = in_space(q, height_q);
  change.remove();
  if (!has_junction) {
    addPartsOfSlot({o.point, u.point, w.point}, one_outside, cut_p, cut_q, change);
    trim.addWall(cut_p, cut_q, change);
    return;
  }
  const cv::Vec3f flat_j(j[0], j[1], 0);
  const float from_p = lengthInFloat(flat_j - p);
  const float ratio = from_p / (from_p + lengthInFloat(flat_j - q));
  const cv::Vec3f turn = in_space(flat_j, height_p + (height_q - height_p) * ratio);
  addPartsRoundJunction({o.point, u.point, w.point}, one_outside, cut_p, cut_q, turn, change);
  trim.addWall(cut_p, turn, change);
  trim.addWall(turn, cut_q, change);
}

int XTrimWithCurve::trimTriangle(const XFCircle3D* circle, const float* const a,
                                 const float* const b, const float* const c, float* const p,
                                 float* const q) {
  const int code = crossCircle(circle->center, circle->radius, a, b, p);
  return code != kCrossed ? code : crossCircle(circle->center, circle->radius, a, c, q);
}

int XTrimWithCurve::trimTriangle2(const XFCircle3D* circle, const float* const a,
                                  const float* const b, const float* const c, float* const p,
                                  float* const q) {
  const int code = crossCircle(circle->center, circle->radius, b, a, p);
  return code != kCrossed ? code : crossCircle(circle->center, circle->radius, c, a, q);
}

int XTrimWithCurve::trimTriangle3(const XFCircle3D* circle, const float* const a,
                                  const float* const b, const float* const c, float* const p,
                                  float* const q) {
  std::copy_n(b, 3, p);
  return crossCircle(circle->center, circle->radius, c, a, q);
}

char XTrimWithCurve::getIntersection(const float& halfStraight, const float& radius,
                                     const float* const from, const float* const to,
                                     float* const out) {
  return crossSlot(halfStraight, radius, from, to, out);
}

char XTrimWithCurve::pointInCylinder(const float* const p, const float* const center,
                                     const float* const normal, const float& radius) {
  return sideOfCylinder(p, center, normal, radius);
}

char XTrimWithCurve::pointInOvalSlot(const float& x, const float& y, const float& halfStraight,
                                     const float& radius) {
  return sideOfSlot(x, y, halfStraight, radius);
}

void XTrimWithCurve::projection2Plane(const float* const p, const double* const plane,
                                      float* const out) {
  const cv::Point3f foot = projectOnPlane(p, plane);
  out[0] = foot.x;
  out[1] = foot.y;
  out[2] = foot.z;
}

void XTrimWithCurve::projection2Plane(const float* const p, const double* const plane,
                                      float* const out, float& distance) {
  distance = static_cast<float>(plane[0] * p[0] + plane[1] * p[1] + plane[2] * p[2] + plane[3]);
  for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(p[k] - distance * plane[k]);
}

}  // namespace vorn::quil::xtirm
