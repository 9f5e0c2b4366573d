// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// How measured normals stand to a direction.
struct NormalVote {
  int positive = 0;  ///< normals with a dot product above 0
  int others = 0;    ///< all others: opposite, square to it, zero, or NaN
};

/// \tparam Scalar the type in which the dot products are formed, float or double
/// \param[in] normals may be empty
/// \param[in] direction Scalar[3], of any length
template <typename Scalar>
NormalVote voteOfNormals(const PointView& normals, const Scalar* direction) {
  NormalVote vote;
  for (int i = 0; i < normals.count(); ++i) {
    const float* n = normals.at(i);
    const Scalar dot = n[0] * direction[0] + n[1] * direction[1] + n[2] * direction[2];
    vote.positive += static_cast<int>(dot > Scalar(0));
  }
  vote.others = normals.count() - vote.positive;
  return vote;
}

}  // namespace zelmo::internal
