// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include "transcript.h"
#include "zelmo/feature/plane.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_curve.h"
#include "zelmo/model/read_model.h"

namespace zelmo::fuzz {

/// Everything that the model room tells about a shape. OpenCASCADE's failures pass, as documented;
/// nothing else does.
inline void listAll(const TopoDS_Shape& shape, Transcript& out) {
  const auto attempt = [&out](auto action) {
    try {
      action();
    } catch (const Standard_Failure&) {
      out.add('F');
    }
  };
  attempt([&] {
    xmodelfeature::XModel3DFeature features;
    features.get3DFeatureData(shape);
    for (const auto& plane : features.planes) {
      ZELMO_FUZZ_CHECK(!plane.faces.empty());
      out.add(plane.corners);
      xgeofeature::XFPlane merged;
      attempt([&] {
        const int code = xmodelfeature::XModel3DFeature::getPlane(plane, merged);
        ZELMO_FUZZ_CHECK(code == 0 || code == -1);
        out.add(merged.center);
        out.add(merged.length);
      });
    }
    for (const auto& sphere : features.spheres) out.add(sphere.center);
    for (const auto& cylinder : features.cylinders) {
      out.add(cylinder.base);
      out.add(cylinder.top);
    }
    for (const auto& cone : features.cones) {
      out.add(cone.apex);
      out.add(cone.baseRadius);
    }
    for (TopExp_Explorer walk(shape, TopAbs_FACE); walk.More(); walk.Next()) {
      const TopoDS_Face face = TopoDS::Face(walk.Current());
      const int at = xmodelfeature::XModel3DFeature::findOCC_Plane(face, features.planes);
      ZELMO_FUZZ_CHECK(at >= -1 && at < static_cast<int>(features.planes.size()));
      out.add(at);
      out.add(xmodelfeature::XModel3DFeature::findOCC_Cylinder(face, features.cylinders));
    }
  });
  attempt([&] {
    xmodelfeature::XModelCurve curves;
    curves.setData(shape);
    out.add(curves.getCurveData(shape));
    out.add(curves.lines.size());
    for (const auto& circle : curves.circles) out.add(circle.center);
    for (const auto& groove : curves.ovalGrooves) out.add(groove.halfStraight);
    for (const auto& groove : curves.roundGrooves) out.add(groove.cornerRadius);
    for (const auto& rectangle : curves.rectangles) out.add(rectangle.halfWidth);
    std::vector<xmodelfeature::XFModelEdge> edges;
    curves.getCurveSplitData(shape, edges);
    for (const auto& edge : edges) out.add(edge.points.size());
  });
  attempt([&] { out.add(xmodelfeature::XReadModel::getSurfaceArea(shape)); });
  attempt([&] { out.add(xmodelfeature::XReadModel::getVolume(shape)); });
}

}  // namespace zelmo::fuzz
