// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/simplex/simplex_state.h"

/// Room [registration](docs/rooms/registration.md): alignment by reference points.
namespace xrpsalign {

/// A reference point, and which of its axes locate.
///
/// flagA holds a code of two bits per axis: bits 7-6 for x, 5-4 for y, 3-2 for z; bits 1-0 are
/// ignored. Binary 01: the axis locates, it counts with an overwhelming weight, and softly as well.
/// 00: it counts softly. 10 and 11: it does not count.
class ZELMO_EXPORT XRPSPoint {
 public:
  float point[3] = {};      ///< x, y, z in the caller's length unit
  float normal[3] = {};     ///< for the host; no alignment reads it
  unsigned char flagA = 0;  ///< the codes of the axes, see above
  unsigned char flagB = 0;  ///< for the host
  unsigned char flagC = 0;  ///< for the host

  XRPSPoint() = default;

  /// \param[in] position float[3]: point
  /// \param[in] direction float[3]: normal
  /// \param[in] a flagA
  /// \param[in] b flagB
  /// \param[in] c flagC
  XRPSPoint(const float* const position, const float* const direction, const unsigned char& a,
            const unsigned char& b, const unsigned char& c);
};

/// Aligns reference points so that the locating axes agree first and the others settle what is left
/// free.
///
/// Reusable for any number of alignments; one object serves one thread at a time, different objects
/// may run at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XRPSAlign {
 public:
  XRPSAlign();

  /// The rigid transform that carries \p first onto \p second: a descent by downhill simplex from the
  /// motion of least squares over all points and axes.
  ///
  /// What is made smallest is 1e8 times the sum of the squared deviations along locating axes plus
  /// the sum of the squared deviations along axes that are not taken out. Prints the number of steps
  /// on the standard output.
  ///
  /// \param[in] first the points that are moved; their flags play no part
  /// \param[in] second the fixed points, in the same order; their flagA rules
  /// \param[out] rt double[16]: row-major 4 by 4 on column vectors, last row 0, 0, 0, 1
  /// \return 0 in every case; a descent that stops short is not reported
  /// \note A point with all three axes taken out does not count, unless one of the codes is 11: then
  ///     its z counts softly.
  /// \note The first step of the angles is a hundredth of the largest angle of the start, so a start
  ///     without any turn is polished by translations only.
  /// \note Lists of different length are not reported. The start pairs the first points of the
  ///     longer one; the descent pairs the two halves of both lists put together.
  /// \note Without points the result is the identity. A coordinate that is not finite gives an
  ///     \p rt with values that are not finite.
  int alignByRPSPoint(const std::vector<XRPSPoint>& first, const std::vector<XRPSPoint>& second,
                      double* const rt);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);

  void getInitialValue(const std::vector<XRPSPoint>& first, const std::vector<XRPSPoint>& second,
                       double* const params);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace xrpsalign
