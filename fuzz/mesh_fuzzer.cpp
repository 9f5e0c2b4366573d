// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Sections and trims of meshes with any coordinates.
#include <algorithm>
#include <array>

#include <opencv2/core.hpp>

#include "fuzz_target.h"
#include "measured_points.h"
#include "records.h"
#include "zelmo/mesh/section.h"
#include "zelmo/mesh/trim_with_curve.h"

namespace zelmo::fuzz {
namespace {

using vorn::quil::xtirm::ModifyFaceData;
using vorn::quil::xtirm::XTrimWithCurve;

struct FuzzedMesh {
  std::vector<float> vertices, normals;
  std::vector<int> faces;
  int vertex_count = 0, face_count = 0;
};

/// \param may_be_wrong whether indices may name no vertex: a trim keeps such faces, a section's caller
///     must not have them
FuzzedMesh meshFrom(ByteSource& bytes, bool may_be_wrong) {
  FuzzedMesh mesh;
  mesh.face_count = bytes.count(24);
  const MeasuredPoints scan = measuredPoints(bytes, 24);
  mesh.vertex_count = scan.count;
  mesh.vertices = scan.points;
  if (scan.count < 1 && !may_be_wrong) mesh.face_count = std::min(mesh.face_count, 0);
  mesh.faces.resize(static_cast<std::size_t>(3 * std::max(mesh.face_count, 0)));
  mesh.normals.resize(mesh.faces.size(), 0.6F);
  // Strips of neighbours, since meshes share edges; a byte moves an index elsewhere.
  for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
    const int vertices = std::max(scan.count, 1);
    mesh.faces[i] = (static_cast<int>(i / 3 + i % 3) + bytes.below(vertices)) % vertices;
    if (may_be_wrong && bytes.below(16) == 15) mesh.faces[i] = bytes.anyInt();
  }
  return mesh;
}

/// Pieces of a result whose order the tasks decide.
template <std::size_t kFloats>
std::vector<std::array<std::uint32_t, kFloats>> sortedPieces(const std::vector<float>& values) {
  ZELMO_FUZZ_CHECK(values.size() % kFloats == 0);
  std::vector<std::array<std::uint32_t, kFloats>> pieces(values.size() / kFloats);
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    std::memcpy(pieces[i].data(), &values[i * kFloats], sizeof(pieces[i]));
  }
  std::sort(pieces.begin(), pieces.end());
  return pieces;
}

void section(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  auto plane = bytes.wideReals(4);
  if (bytes.flag()) plane = {0, 0, 1, plane[3]};
  const double tolerance = bytes.wideReal();
  const bool in_tasks = bytes.below(4) == 3;
  const FuzzedMesh mesh = meshFrom(bytes, false);
  xsection::XSection cut;
  std::vector<float> segments = {1}, again, near;
  ZELMO_FUZZ_CHECK(cut.getSection(plane.data(), mesh.vertices.data(), mesh.faces.data(),
                                  mesh.face_count, segments) == 0);
  ZELMO_FUZZ_CHECK(segments.size() <= mesh.faces.size() * 6);
  out.add(segments);
  if (in_tasks) {
    cut.getSection2(plane.data(), mesh.vertices.data(), mesh.faces.data(), mesh.face_count, again);
    // Ends on edges along the plane stay from the cut before, which differs from task to task.
    ZELMO_FUZZ_CHECK(sortedPieces<6>(again).size() == sortedPieces<6>(segments).size());
  }
  ZELMO_FUZZ_CHECK(
      cut.getSection(plane.data(), mesh.vertices.data(), mesh.vertex_count, near, tolerance) == 0);
  ZELMO_FUZZ_CHECK(near.size() <= mesh.vertices.size());
  out.add(near);
}

void trim(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  RecordSource source(bytes);
  xgeofeature::XFCircle3D circle = source.circle();
  xgeofeature::XFOvalGroove3D slot = source.ovalGroove();
  const bool is_circle = bytes.flag(), makes_wall = bytes.flag();
  const int curve = bytes.below(8);
  const float height = bytes.real();
  const FuzzedMesh mesh = meshFrom(bytes, true);
  ModifyFaceData result;
  result.removedFaces = {-7};
  xgeofeature::XFBase* base = is_circle ? static_cast<xgeofeature::XFBase*>(&circle) : &slot;
  if (curve == 7) base = nullptr;
  const bool cuts_circle = curve == 6 ? !is_circle : is_circle;
  XTrimWithCurve cutter;
  using Member =
      int (XTrimWithCurve::*)(xgeofeature::XFBase*, const float*, const int&, const float*,
                              const int*, const int&, ModifyFaceData&, float, bool);
  const Member member = cuts_circle ? Member{&XTrimWithCurve::trimWithCircle}
                                    : Member{&XTrimWithCurve::trimWithOvalSlot};
  const int code =
      (cutter.*member)(base, mesh.vertices.data(), mesh.vertex_count, mesh.normals.data(),
                       mesh.faces.data(), mesh.face_count, result, height, makes_wall);
  out.add(code);
  if (curve >= 6) ZELMO_FUZZ_CHECK(code == -1);
  if (code != 0) {
    ZELMO_FUZZ_CHECK(result.removedFaces == std::vector<int>{-7});
    return;
  }
  ZELMO_FUZZ_CHECK(result.newVertices.size() == 9 * result.sourceFaces.size());
  ZELMO_FUZZ_CHECK(result.newNormals.size() == 3 * result.sourceFaces.size());
  for (std::vector<int>* faces : {&result.removedFaces, &result.sourceFaces}) {
    std::sort(faces->begin(), faces->end());
    for (const int face : *faces) ZELMO_FUZZ_CHECK(face >= 0 && face < mesh.face_count);
    out.add(*faces);
  }
  const auto& removed = result.removedFaces;
  ZELMO_FUZZ_CHECK(std::adjacent_find(removed.begin(), removed.end()) == removed.end());
  for (const auto& triangle : sortedPieces<9>(result.newVertices)) {
    out.add(triangle.data(), triangle.size());
  }
}

void transform(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  const auto from = bytes.reals(9), to = bytes.reals(9);
  vorn::quil::xtirm::XTrim tool;
  Output<double> rt(16), inverse(16);
  Output<float> moved(3);
  ZELMO_FUZZ_CHECK(tool.getRTDirect2(from.data(), to.data(), rt.data()) == 0);
  ZELMO_FUZZ_CHECK(tool.convertMatrixRT(rt.data(), inverse.data()) == 0);
  record(out, rt);
  record(out, inverse);
  tool.transformPoint(to.data(), inverse.data(), moved.data());
  record(out, moved);
  cv::Mat h(3, 3, CV_64F), r;
  for (int i = 0; i < 9; ++i) h.ptr<double>()[i] = bytes.wideReal();
  vorn::quil::xtirm::XTrim::getMatR_svd(h, r);
  out.add(r.ptr<double>(), 9);
  ZELMO_FUZZ_CHECK(std::abs(cv::determinant(r) - 1) < 1e-6);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, Transcript&) = {&section, &trim, &transform};
  kMembers[bytes.below(3)](bytes, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
