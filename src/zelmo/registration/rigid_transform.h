// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core/types.hpp>
#include <zelmo/export.h>

#include "zelmo/simplex/simplex_state.h"

/// Room [registration](docs/rooms/registration.md): the rigid motion between paired points.
namespace xrigidtransform {

/// Finds the rigid motion that carries one list of points onto a second list in the same order.
///
/// A motion is double[6]: three angles in radians, then the translation. Its rotation is the product
/// Rz(-p[2]) Ry(-p[1]) Rx(-p[0]) of plain rotations about the axes.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// run at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XRigidTransform {
 public:
  XRigidTransform();

  /// The motion of the smallest sum of distances between the moved points and their partners: a
  /// descent by downhill simplex from getInitialValue.
  ///
  /// \param[in] first the points that are moved
  /// \param[in] second where they go, in the same order
  /// \param[out] params double[6]: the motion
  /// \return true in every case; a descent that stops short is not reported
  /// \note Lists of different length are not reported. The start pairs the first points of the
  ///     longer one; the descent pairs the two halves of both lists put together.
  /// \note The first step of the angles is a hundredth of the largest angle of the start, so a start
  ///     without any turn is polished by translations only.
  /// \note Without points the motion is none. A coordinate that is not finite makes the motion the
  ///     start's, with a translation that is not finite.
  bool getRT(const std::vector<cv::Point3f>& first, const std::vector<cv::Point3f>& second,
             double* const params);

  /// The motion of least squares in closed form.
  ///
  /// The rotation is never a reflection: a mirrored list gets the rotation nearest to it. Where the
  /// points leave a freedom (they coincide or lie on a line) some rotation is taken. The means are
  /// summed in float.
  ///
  /// \param[in] first the points that are moved; a coordinate that is not finite gives a translation that
  ///     is not
  /// \param[in] second where they go; of lists of different length the first points of the longer one
  ///     count
  /// \param[out] params double[6]: the motion; all 0 without points
  /// \return true; false when a list is empty
  bool getInitialValue(const std::vector<cv::Point3f>& first,
                       const std::vector<cv::Point3f>& second, double* const params);

 private:
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace xrigidtransform
