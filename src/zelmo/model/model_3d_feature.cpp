// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_3d_feature.h"

#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include "zelmo/model/internal/record_index.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {

using zelmo::internal::RecordIndex;

namespace {

/// Adds \p face to the newest equal record, or its own record to the list.
template <typename Record>
void addFace(const TopoDS_Face& face, const std::vector<float>& data, RecordIndex<Record>& index) {
  Record record(data);
  if (Record* known = index.newestEqual(record)) {
    known->faces.push_back(face);
    return;
  }
  record.faces.push_back(face);
  index.append(std::move(record));
}

template <typename Record>
int findFace(const TopoDS_Face& face, ModelFeatureType wanted, const std::vector<Record>& list) {
  ModelFeatureType type = ModelUnknown;
  std::vector<float> data;
  XModelFeature::getFaceInfo(face, type, data);
  if (type != wanted) return -1;
  Record record(data);
  // CONTRACT: from the first entry on, while the walk over a shape asks the newest one first.
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (record == list[i]) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

void XModel3DFeature::get3DFeatureData(const TopoDS_Shape& shape) {
  // CONTRACT: only the spheres start afresh, the other lists grow.
  spheres.clear();
  RecordIndex<XFPlane> plane_index(planes);
  RecordIndex<XFSphere> sphere_index(spheres);
  RecordIndex<XFCylinder> cylinder_index(cylinders);
  RecordIndex<XFCone> cone_index(cones);
  ModelFeatureType type = ModelUnknown;
  std::vector<float> data;
  for (TopExp_Explorer walk(shape, TopAbs_FACE); walk.More(); walk.Next()) {
    const TopoDS_Face& face = TopoDS::Face(walk.Current());
    XModelFeature::getFaceInfo(face, type, data);
    if (type == ModelPlane) addFace(face, data, plane_index);
    if (type == ModelSphere) addFace(face, data, sphere_index);
    if (type == ModelCylinder) addFace(face, data, cylinder_index);
    if (type == ModelCone) addFace(face, data, cone_index);
  }
}

int XModel3DFeature::findOCC_Plane(const TopoDS_Face& face, const std::vector<XFPlane>& list) {
  return findFace(face, ModelPlane, list);
}

int XModel3DFeature::findOCC_Sphere(const TopoDS_Face& face, const std::vector<XFSphere>& list) {
  return findFace(face, ModelSphere, list);
}

int XModel3DFeature::findOCC_Cylinder(const TopoDS_Face& face,
                                      const std::vector<XFCylinder>& list) {
  return findFace(face, ModelCylinder, list);
}

int XModel3DFeature::findOCC_Cone(const TopoDS_Face& face, const std::vector<XFCone>& list) {
  return findFace(face, ModelCone, list);
}

int XModel3DFeature::getPlane(const XFPlane& plane, xgeofeature::XFPlane& merged) {
  std::vector<XFPlane> patches;
  ModelFeatureType type = ModelUnknown;
  std::vector<float> data;
  for (const TopoDS_Face& face : plane.faces) {
    XModelFeature::getFaceInfo(face, type, data);
    if (type != ModelPlane) return -1;
    patches.emplace_back(data);
  }
  XFPlane whole;
  XModelFeature::getPlane(patches, whole);
  whole.getPlane(merged);
  return 0;
}

}  // namespace xmodelfeature
