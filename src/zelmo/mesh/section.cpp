// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/section.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/internal/task_crew.h"
#include "zelmo/mesh/internal/plane_sides.h"

namespace zelmo::internal {

/// The two points that cuts are written to. They live as long as a call, or a task, and start at 0.
struct CutPoints {
  std::array<float, 3> a = {}, b = {};
};

/// The segments of one triangle: at most its three edges.
struct Segments {
  std::array<float, 18> values;
  int size = 0;

  void add(const float* from, const float* to) {
    std::copy_n(from, 3, values.data() + size);
    std::copy_n(to, 3, values.data() + size + 3);
    size += 6;
  }
  void appendTo(std::vector<float>& result) const {
    result.insert(result.end(), values.data(), values.data() + size);
  }
};

}  // namespace zelmo::internal

namespace xsection {
namespace {

using zelmo::internal::CutPoints;
using zelmo::internal::kInPlane;
using zelmo::internal::MeshView;
using zelmo::internal::PlaneSides;
using zelmo::internal::PointView;
using zelmo::internal::Segments;
using zelmo::internal::sideOf;

constexpr int kTaskCount = 8;
constexpr double kParallelEdge = 1e-6;  // of the cosine between a unit edge and the normal
constexpr int kFacesPerBlock = 2048;    // their indices stay in the first cache between two looks

double signedValue(const double* plane, const float* p) {
  return zelmo::internal::signedValue(plane, p[0], p[1], p[2]);
}

/// A mesh whose number of vertices nobody told; null inputs make it empty.
MeshView meshOf(const double* plane, const float* vertices, const int* faces, int count) {
  if (plane == nullptr || vertices == nullptr) return {};
  return {PointView(vertices, std::numeric_limits<int>::max()), faces, count};
}

std::array<const float*, 3> cornersOf(const MeshView& mesh, int i) {
  const int* f = mesh.face(i);
  return {mesh.vertices().at(f[0]), mesh.vertices().at(f[1]), mesh.vertices().at(f[2])};
}

}  // namespace

XSection::XSection() = default;
XSection::~XSection() = default;

double XSection::distance(const double* plane, const float* point) {
  return std::fabs(signedValue(plane, point));
}

int XSection::isIntersect(const double* plane, const float* p, const float* q) {
  return signedValue(plane, p) * signedValue(plane, q) <= 0 ? 0 : -1;
}

int XSection::isIntersect(const double* plane, const float* p0, const float* p1, const float* p2) {
  const double d0 = signedValue(plane, p0);
  const double d1 = signedValue(plane, p1);
  const double d2 = signedValue(plane, p2);
  if (d0 * d1 > 0 && d0 * d2 <= 0 && d1 * d2 <= 0) return 1323;
  if (d0 * d1 <= 0 && d0 * d2 <= 0) return 1213;
  if (d0 * d1 <= 0 && d0 * d2 > 0 && d1 * d2 <= 0) return 1223;
  return -1;
}

int XSection::isInPlane(const double* plane, const float* p0, const float* p1, const float* p2) {
  const double d0 = signedValue(plane, p0);
  const double d1 = signedValue(plane, p1);
  const double d2 = signedValue(plane, p2);
  const bool in0 = std::fabs(d0) < kInPlane;
  const bool in1 = std::fabs(d1) < kInPlane;
  const bool in2 = std::fabs(d2) < kInPlane;
  if (in0 && in1 && in2) return 123;
  if (in0 && in1) return 12;
  if (in0 && in2) return 13;
  if (in1 && in2) return 23;
  if (in0 && d1 * d2 < 0) return 1;
  if (in1 && d0 * d2 < 0) return 2;
  if (in2 && d0 * d1 < 0) return 3;
  return -1;
}

int XSection::intersectionPlaneAndLine(const double* plane, const float* p, const float* q,
                                       float* out, bool check) {
  if (check && isIntersect(plane, p, q) != 0) return -1;
  const float edge[3] = {q[0] - p[0], q[1] - p[1], q[2] - p[2]};
  const double u[3] = {edge[0], edge[1], edge[2]};
  const double length = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  const double scale = length == 0 ? 0.0 : 1.0 / length;
  const double unit[3] = {u[0] * scale, u[1] * scale, u[2] * scale};
  const double denominator = unit[0] * plane[0] + unit[1] * plane[1] + unit[2] * plane[2];
  if (std::fabs(denominator) < kParallelEdge) return -1;
  const int axis = zelmo::internal::largestComponent(plane);
  double to_plane[3] = {0.0 - p[0], 0.0 - p[1], 0.0 - p[2]};
  to_plane[axis] = -plane[3] / plane[axis] - p[axis];
  const double t =
      (to_plane[0] * plane[0] + to_plane[1] * plane[1] + to_plane[2] * plane[2]) / denominator;
  for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(p[k] + t * unit[k]);
  return 0;
}

int XSection::intersectionPlaneAndTriangle(const double* plane, const float* p0, const float* p1,
                                           const float* p2, float* a, float* b) {
  // CONTRACT: an edge parallel to the plane leaves its point as the last cut wrote it.
  switch (isIntersect(plane, p0, p1, p2)) {
    case 1213:
      intersectionPlaneAndLine(plane, p0, p1, a, false);
      intersectionPlaneAndLine(plane, p0, p2, b, false);
      return 0;
    case 1223:
      intersectionPlaneAndLine(plane, p0, p1, a, false);
      intersectionPlaneAndLine(plane, p1, p2, b, false);
      return 0;
    case 1323:
      intersectionPlaneAndLine(plane, p0, p2, a, false);
      intersectionPlaneAndLine(plane, p1, p2, b, false);
      return 0;
    default:
      return -1;
  }
}

void XSection::cutTriangle(const double* plane, const float* const* p, CutPoints& points,
                           Segments& segments) {
  float* const a = points.a.data();
  float* const b = points.b.data();
  switch (isInPlane(plane, p[0], p[1], p[2])) {
    case 1:
      intersectionPlaneAndLine(plane, p[1], p[2], a, false);
      segments.add(p[0], a);
      break;
    case 2:
      intersectionPlaneAndLine(plane, p[0], p[2], a, false);
      segments.add(p[1], a);
      break;
    case 3:
      intersectionPlaneAndLine(plane, p[0], p[1], a, false);
      segments.add(p[2], a);
      break;
    case 12:
      segments.add(p[0], p[1]);
      break;
    case 13:
      segments.add(p[0], p[2]);
      break;
    case 23:
      segments.add(p[1], p[2]);
      break;
    case 123:
      segments.add(p[0], p[1]);
      segments.add(p[0], p[2]);
      segments.add(p[1], p[2]);
      break;
    default:
      if (intersectionPlaneAndTriangle(plane, p[0], p[1], p[2], a, b) == 0) segments.add(a, b);
      break;
  }
}

int XSection::getSection(const double* plane, const float* vertices, const int* faces,
                         const int& count, std::vector<float>& result) {
  result.clear();
  const MeshView mesh = meshOf(plane, vertices, faces, count);
  const int face_count = mesh.faceCount();
  CutPoints points;
  // A closed mesh has half as many vertices as faces; loose triangles have three times as many.
  PlaneSides sides(plane, mesh.vertices(), 4 * std::int64_t{face_count});
  int end = 0;
  for (int begin = 0; begin < face_count; begin = end) {
    end = begin + std::min(face_count - begin, kFacesPerBlock);
    const bool covered = sides.cover(mesh.face(begin), end - begin);
    for (int i = begin; i < end; ++i) {
      if (covered && sides.misses(mesh.face(i))) continue;
      Segments segments;
      cutTriangle(plane, cornersOf(mesh, i).data(), points, segments);
      segments.appendTo(result);
    }
  }
  return 0;
}

int XSection::getSection2(const double* plane, const float* vertices, const int* faces,
                          const int& count, std::vector<float>& result) {
  result.clear();
  const int face_count = meshOf(plane, vertices, faces, count).faceCount();
  XSection shared;
  int cursor = 0;
  zelmo::internal::runTasks(kTaskCount, [&](int) {
    shared.Thread_Manage(&cursor, plane, vertices, faces, &face_count, result);
  });
  return 0;
}

void XSection::Thread_Manage(int* cursor, const double* plane, const float* vertices,
                             const int* faces, const int* count, std::vector<float>& result) {
  const MeshView mesh = meshOf(plane, vertices, faces, *count);
  CutPoints points;
  while (const auto i = zelmo::internal::takeItem(m_cursor_mutex, *cursor, *count)) {
    const auto p = cornersOf(mesh, *i);
    if ((sideOf(signedValue(plane, p[0])) & sideOf(signedValue(plane, p[1])) &
         sideOf(signedValue(plane, p[2]))) != 0) {
      continue;
    }
    Segments segments;
    cutTriangle(plane, p.data(), points, segments);
    if (segments.size == 0) continue;
    const std::lock_guard<std::mutex> lock(m_result_mutex);
    segments.appendTo(result);
  }
}

int XSection::getSection(const double* plane, const float* vertices, const int& count,
                         std::vector<float>& result, const double& tolerance) {
  result.clear();
  const PointView points(plane == nullptr ? nullptr : vertices, count);
  for (int i = 0; i < points.count(); ++i) {
    const float* p = points.at(i);
    if (distance(plane, p) <= tolerance) result.insert(result.end(), p, p + 3);
  }
  return 0;
}

}  // namespace xsection
