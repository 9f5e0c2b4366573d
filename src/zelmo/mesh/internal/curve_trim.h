// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cmath>

#include <opencv2/core/matx.hpp>

#include "zelmo/feature/circle.h"
#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/mesh/internal/curve_outline.h"
#include "zelmo/mesh/internal/face_change.h"

/// \file
/// What the cuts of all faces by one curve share, and the heights of cut points over its plane.

namespace zelmo::internal {

/// A corner of a face, and its foot on the curve's plane: in space for a circle, in the slot's own
/// frame for a slot.
struct FlatCorner {
  cv::Vec3f point, flat;
  float height = 0;
  char state = kOutside;
};

/// What all faces of a trim share.
struct CurveTrim {
  CurveTrim(const float* center, const float* normal, float wall_height, bool make_wall)
      : plane{normal[0], normal[1], normal[2],
              -(static_cast<double>(center[0]) * normal[0] +
                static_cast<double>(center[1]) * normal[1] +
                static_cast<double>(center[2]) * normal[2])},
        wall{cv::Vec3f(center), cv::Vec3f(normal), cv::Vec3f(normal) * wall_height},
        has_wall(make_wall) {}

  /// Adds the wall under the cut from p to q, when there are walls.
  void addWall(const cv::Vec3f& p, const cv::Vec3f& q, FaceChange& change) const {
    if (has_wall) change.addWall(p, q, wall);
  }

  std::array<double, 4> plane;
  CutWall wall;
  bool has_wall;
};

/// A trim with a circle.
struct CircleTrim : CurveTrim {
  CircleTrim(const xgeofeature::XFCircle3D& c, float wall_height, bool make_wall)
      : CurveTrim(c.center, c.normal, wall_height, make_wall), circle(&c) {}
  const xgeofeature::XFCircle3D* circle;
};

/// A trim with a slot, and the way into its frame: X along the slot, Z along its normal.
struct SlotTrim : CurveTrim {
  SlotTrim(const xgeofeature::XFOvalGroove3D& s, float wall_height, bool make_wall)
      : CurveTrim(s.center, s.normal, wall_height, make_wall), slot(&s) {}
  const xgeofeature::XFOvalGroove3D* slot;
  Rigid local_from_world = kIdentity;
  Rigid world_from_local = kIdentity;
};

inline float lengthInFloat(const cv::Vec3f& v) {
  return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

/// The height over the plane of a cut point on the edge from \p start to \p end.
inline float heightAlong(const FlatCorner& start, const FlatCorner& end, const cv::Vec3f& cut) {
  const float whole = lengthInFloat(end.flat - start.flat);
  const float ratio = whole > 0 ? lengthInFloat(cut - start.flat) / whole : 0.0F;
  return start.height + (end.height - start.height) * ratio;
}

/// \p cut lifted off the plane to the edge from \p start to \p end.
inline cv::Vec3f raised(const CurveTrim& trim, const FlatCorner& start, const FlatCorner& end,
                        const cv::Vec3f& cut) {
  return cut + trim.wall.normal * heightAlong(start, end, cut);
}

}  // namespace zelmo::internal
