// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nominal.h"

#include <cmath>

#include <TopExp_Explorer.hxx>
#include <TopoDS_Face.hxx>

#include "outward.h"

namespace inspect {
namespace {

using xmodelfeature::XModel3DFeature;

bool isFinite(const cv::Vec3d& v) { return std::isfinite(v.dot(v)); }

cv::Vec3d toVec(const gp_XYZ& v) { return {v.X(), v.Y(), v.Z()}; }

void add(ModelContent& content, int number, const Ideal& ideal, std::size_t faces, bool hollow) {
  const Telling telling = tell(ideal);
  const bool whole =
      isFinite(telling.point) && isFinite(telling.direction) && std::isfinite(telling.size);
  content.features.push_back({telling.kind + (" " + std::to_string(number)), ideal,
                              static_cast<int>(faces), hollow, whole ? "" : "degenerate"});
}

/// Whether the face's material lies behind the plane's normal, so that the normal points out of it.
bool facesAlong(const xmodelfeature::XFPlane& plane, const TopoDS_Face& face, double sign) {
  return sign * vec(plane.normal).dot(toVec(outwardOf(face).normal.XYZ())) > 0.0;
}

/// The rectangle around some faces of one plane. The library's patch of an analytic face reaches a
/// tenth beyond it on every side; it is cut back, so that no rounding that runs out of the face is
/// searched, and the report gives the true size.
xgeofeature::XFPlane around(const std::vector<TopoDS_Face>& faces) {
  constexpr float kPatchOverFace = 1.2F;
  std::vector<xmodelfeature::XFPlane> patches;
  for (const TopoDS_Face& face : faces) {
    xmodelfeature::ModelFeatureType type = xmodelfeature::ModelUnknown;
    std::vector<float> data;
    xmodelfeature::XModelFeature::getFaceInfo(face, type, data);
    patches.emplace_back(data);
    if (!isAnalytic(face)) continue;
    patches.back().length /= kPatchOverFace;
    patches.back().width /= kPatchOverFace;
  }
  xmodelfeature::XFPlane merged;
  xmodelfeature::XModelFeature::getPlane(patches, merged);
  xgeofeature::XFPlane plane;
  merged.getPlane(plane);
  return plane;
}

/// Adds the part of a plane record that has its outer side on one side of the plane. Faces in one
/// plane that look opposite ways are two features to whoever measures them.
void addPlane(const xmodelfeature::XFPlane& record, bool along, double sign,
              ModelContent& content) {
  std::vector<TopoDS_Face> faces;
  for (const TopoDS_Face& face : record.faces) {
    if (facesAlong(record, face, sign) == along) faces.push_back(face);
  }
  if (faces.empty()) return;
  xgeofeature::XFPlane plane = around(faces);
  if ((vec(plane.normal).dot(vec(record.normal)) > 0.0) != along) plane.inv();
  add(content, ++content.planes, plane, faces.size(), false);
}

}  // namespace

ModelContent contentOf(const TopoDS_Shape& model) {
  ModelContent content;
  XModel3DFeature list;
  list.get3DFeatureData(model);
  const double sign = signOfSolid(model);
  std::size_t recognised = 0;
  for (const auto& plane : list.planes) {
    addPlane(plane, true, sign, content);
    addPlane(plane, false, sign, content);
    recognised += plane.faces.size();
  }
  for (const auto& sphere : list.spheres) recognised += sphere.faces.size();
  for (const auto& cylinder : list.cylinders) recognised += cylinder.faces.size();
  for (const auto& cone : list.cones) recognised += cone.faces.size();
  content.spheres = static_cast<int>(list.spheres.size());
  content.cylinders = static_cast<int>(list.cylinders.size());
  content.cones = static_cast<int>(list.cones.size());
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) ++content.faces;
  content.unrecognised_faces = content.faces - static_cast<int>(recognised);
  return content;
}

}  // namespace inspect
