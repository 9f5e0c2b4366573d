// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/attributes.h"

#include <opencv2/core/cvdef.h>

namespace xgeofeature {

XAngleAttributes::XAngleAttributes(const float& value) : angle(value) {}

void XAngleAttributes::Angle2Radian(const float& in, float& out) {
  // CONTRACT: the quotient is rounded to float before it is multiplied.
  const float half_turns = in / 180.0F;
  out = static_cast<float>(half_turns * CV_PI);
}

void XAngleAttributes::Radian2Angle(const float& in, float& out) {
  out = static_cast<float>(static_cast<double>(in) / CV_PI * 180.0);
}

}  // namespace xgeofeature
