// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_feature.h"

#include "zelmo/model/internal/edge_analysis.h"
#include "zelmo/model/internal/face_analysis.h"
#include "zelmo/model/internal/outlines.h"

namespace xmodelfeature {

void XModelFeature::getFaceInfo(const TopoDS_Face& face, ModelFeatureType& type,
                                std::vector<float>& data) {
  type = ModelUnknown;
  type = zelmo::internal::classifyFace(face, data);
}

void XModelFeature::getBaseEdgeInfo(const TopoDS_Edge& edge, ModelFeatureType& type,
                                    std::vector<float>& data) {
  type = ModelUnknown;
  type = zelmo::internal::classifyEdge(edge, data);
}

bool XModelFeature::isOvalGroove(const TopoDS_Wire& wire, XFOvalGroove3D& groove) {
  return zelmo::internal::readOvalGroove(wire, groove);
}

bool XModelFeature::isRectangle(const TopoDS_Wire& wire, XFRectangle3D& rectangle) {
  return zelmo::internal::readRectangle(wire, rectangle);
}

bool XModelFeature::isRoundGroove(const TopoDS_Wire& wire, XFRoundGroove3D& groove) {
  return zelmo::internal::readRoundGroove(wire, groove);
}

void XModelFeature::getPlane(const std::vector<XFPlane>& planes, XFPlane& merged) {
  zelmo::internal::mergePlanes(planes, merged);
}

}  // namespace xmodelfeature
