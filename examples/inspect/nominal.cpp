// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nominal.h"

#include <algorithm>
#include <cmath>

#include <TopExp_Explorer.hxx>
#include <TopoDS_Face.hxx>
#include <zelmo/model/model_3d_feature.h>
#include <zelmo/model/model_feature.h>

#include "outward.h"

namespace inspect {
namespace {

using xmodelfeature::XModel3DFeature;

bool isFinite(const cv::Vec3d& v) { return std::isfinite(v.dot(v)); }

cv::Vec3d toVec(const gp_XYZ& v) { return {v.X(), v.Y(), v.Z()}; }

void add(ModelContent& content, int number, const Ideal& ideal,
         const std::vector<TopoDS_Face>& faces, bool hollow, const Sector& sector) {
  const Telling telling = tell(ideal);
  const bool whole =
      isFinite(telling.point) && isFinite(telling.direction) && std::isfinite(telling.size);
  content.features.push_back({telling.kind + (" " + std::to_string(number)), ideal,
                              static_cast<int>(faces.size()), hollow, sector,
                              whole ? "" : "degenerate", faces});
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
  add(content, ++content.planes, plane, faces, false, {});
}

/// Whether the material lies around a round feature: the outer side looks towards its axis or centre.
template <typename Record>
bool isHollow(const Record& record, const TopoDS_Face& face, double sign) {
  const OutwardNormal outward = outwardOf(face);
  const cv::Vec3d away = directionAt(record, toVec(outward.point.XYZ()));
  return sign * away.dot(toVec(outward.normal.XYZ())) < 0.0;
}

/// The sector that the faces of a round feature cover, from a grid of points on them.
template <typename Record>
Sector sectorOf(const Record& record, const std::vector<TopoDS_Face>& faces) {
  constexpr double kNearlyFull = 0.95 * CV_PI;
  std::vector<cv::Vec3d> directions;
  for (const TopoDS_Face& face : faces) {
    for (const gp_Pnt& point : gridOn(face)) {
      directions.push_back(radialAt(record, toVec(point.XYZ())));
    }
  }
  Sector sector;
  cv::Vec3d sum;
  for (const cv::Vec3d& direction : directions) sum += direction;
  if (cv::norm(sum) < 1e-6 * static_cast<double>(directions.size())) return sector;
  sector.middle = unit(sum);
  double smallest = 1.0;
  for (const cv::Vec3d& direction : directions) {
    smallest = std::min(smallest, direction.dot(sector.middle));
  }
  const double reach = std::acos(std::max(-1.0, smallest));
  if (reach < kNearlyFull) sector.reach = reach;
  return sector;
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
  const auto add_round = [&](int& count, const auto& found, const auto& record) {
    recognised += found.faces.size();
    add(content, ++count, record, found.faces, isHollow(record, found.faces.front(), sign),
        sectorOf(record, found.faces));
  };
  for (const auto& found : list.spheres) {
    xgeofeature::XFSphere sphere;
    found.getSphere(sphere);
    add_round(content.spheres, found, sphere);
  }
  for (const auto& found : list.cylinders) {
    xgeofeature::XFCylinder cylinder;
    found.getCylinder(cylinder);
    add_round(content.cylinders, found, cylinder);
  }
  for (const auto& found : list.cones) {
    xgeofeature::XFCone cone;
    found.getCone(cone);
    add_round(content.cones, found, cone);
  }
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) ++content.faces;
  content.unrecognised_faces = content.faces - static_cast<int>(recognised);
  return content;
}

}  // namespace inspect
