// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

#include "shapes.h"

namespace inspect {

/// The part of a full turn that the faces of a cylinder or cone cover. Beside an arc that is no full
/// circle other faces run out of it, too near to be told from it by distance.
struct Sector {
  cv::Vec3d middle;      ///< direction of its middle, away from the axis
  double reach = CV_PI;  ///< rad: half its width

  bool holds(const cv::Vec3d& radial) const {
    return reach >= CV_PI || radial.dot(middle) >= std::cos(reach);
  }
};

/// A feature of the model that can be measured.
struct Nominal {
  std::string name;
  Ideal ideal;          ///< a plane's normal points out of the material
  int faces = 0;        ///< faces of the model that make it up
  bool hollow = false;  ///< the material lies around the sphere, cylinder or cone
  Sector sector;
  std::string trouble;               ///< why it can't be measured; empty where it can
  std::vector<TopoDS_Face> patches;  ///< the faces that make it up
};

/// What a model holds.
struct ModelContent {
  int faces = 0, planes = 0, spheres = 0, cylinders = 0, cones = 0;
  int unrecognised_faces = 0;
  std::vector<Nominal> features;
};

/// Lists a model's features through the library.
ModelContent contentOf(const TopoDS_Shape& model);

}  // namespace inspect
