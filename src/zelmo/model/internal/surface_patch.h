// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <Geom_Surface.hxx>

#include "zelmo/model/internal/occ_vectors.h"
#include "zelmo/model/model_feature_type.h"

/// \file
/// The face analysis below the kind of surface.

namespace zelmo::internal {

/// Bounds of a face in the parameters of its surface.
struct SurfaceBounds {
  double u_min, u_max, v_min, v_max;

  double uSize() const { return u_max - u_min; }
  double vSize() const { return v_max - v_min; }
};

/// A face's surface with the part of it that the face covers.
struct SurfacePatch {
  Handle(Geom_Surface) surface;
  SurfaceBounds bounds;

  gp_XYZ at(double u, double v) const { return surface->Value(u, v).XYZ(); }
  gp_XYZ middle() const {
    return at((bounds.u_min + bounds.u_max) * 0.5, (bounds.v_min + bounds.v_max) * 0.5);
  }
};

/// Four points of a patch in grid order: smallest u and v, largest u, largest v, both largest.
struct PatchCorners {
  gp_XYZ p00, p10, p01, p11;
};

/// Writes the floats of a plane record. The longer side gives the major direction; the u side wins a
/// tie.
void writePlane(const gp_XYZ& normal, const gp_XYZ& center, const PatchCorners& corners,
                std::vector<float>& data);

/// What a face on a spline surface, or on a trimmed one, is: plane, cylinder, sphere or unknown.
/// \param[out] data appended to when it is something
xmodelfeature::ModelFeatureType classifySplinePatch(const SurfacePatch& patch,
                                                    std::vector<float>& data);

}  // namespace zelmo::internal
