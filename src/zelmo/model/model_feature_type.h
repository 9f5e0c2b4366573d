// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Room [model](docs/rooms/model.md): STEP and IGES in, and what is in them.
namespace xmodelfeature {

/// What a face or an edge of a model turned out to be. The values 6 to 9 don't occur.
enum ModelFeatureType : int {
  ModelPlane = 0,     ///< planar face
  ModelSphere = 1,    ///< spherical face
  ModelCylinder = 2,  ///< cylindrical face
  ModelCone = 3,      ///< conical face
  ModelLine = 4,      ///< straight edge
  ModelCircle = 5,    ///< circular edge or arc
  ModelUnknown = 10,  ///< anything else
};

}  // namespace xmodelfeature
