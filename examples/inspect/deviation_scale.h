// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <opencv2/core/matx.hpp>

namespace inspect {

using Colour = cv::Vec3d;  // red, green, blue from 0 to 255

/// "#rrggbb"
std::string hexOf(const Colour& colour);

/// The colours of deviations: one at either end, and one for none.
struct DeviationScale {
  Colour below, none, above;

  /// \param share of the largest deviation that the scale shows, -1 to 1; beyond it the ends
  Colour at(double share) const;
};

/// For faces, and for dots on a light and on a dark page.
extern const DeviationScale kFaceScale, kDotScale, kDarkDotScale;

}  // namespace inspect
