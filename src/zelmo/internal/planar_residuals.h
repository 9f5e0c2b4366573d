// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// Distances of a point of the plane to an outline, as functors for the folds over lanes. Positive
/// outside unless said otherwise.

#include <cmath>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

/// Distance to the center less the radius.
struct CircleDeviation {
  double cx, cy, r;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double dx = x - cx;
    const double dy = y - cy;
    return std::sqrt(dx * dx + dy * dy) - r;
  }
};

/// The frame along an outline's long axis. A point's coordinates in it are rounded to float, those
/// of the center are not.
struct TurnedFrame {
  double cosine, sine;
  double uc, wc;

  static TurnedFrame at(double cx, double cy, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c, s, cx * c + cy * s, cy * c - cx * s};
  }
  ZELMO_ALWAYS_INLINE double along(double x, double y) const {
    return static_cast<float>(x * cosine + y * sine);
  }
  ZELMO_ALWAYS_INLINE double across(double x, double y) const {
    return static_cast<float>(y * cosine - x * sine);
  }
};

/// Two straight sides of half length a and two half circles of radius r. Below the long axis the
/// sides count with the sign of the side: negative outside.
struct StadiumResidual {
  TurnedFrame frame;
  double a, r;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double u = frame.along(x, y);
    const double w = frame.across(x, y);
    const double left = frame.uc - a;
    const double right = frame.uc + a;
    const double du = u - (u < left ? left : right);
    const double dw = w - frame.wc;
    const double round = std::sqrt(du * du + dw * dw) - r;
    // CONTRACT: below the center line the distance to the straight side is negative outside.
    const double side = w > frame.wc ? frame.wc + r : frame.wc - r;
    const double straight = w - side;
    const double inner = u > right ? round : straight;
    return u < left ? round : inner;
  }
};

/// Half length a along the frame, half width b across: the smaller distance to the two nearest side
/// lines, never negative.
struct RectangleDistance {
  TurnedFrame frame;
  double a, b;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double u = frame.along(x, y);
    const double w = frame.across(x, y);
    // CONTRACT: the distance is to a side's line, not to the side, also beyond its ends.
    const double du = std::fabs(u - (frame.uc > u ? frame.uc - a : frame.uc + a));
    const double dw = std::fabs(w - (w > frame.wc ? frame.wc + b : frame.wc - b));
    return du < dw ? du : dw;
  }
};

/// A rectangle of half sides a and b with corners of radius r. Left of and below the center the
/// straight sides count with the sign of the side: negative outside.
struct RoundedRectangleResidual {
  TurnedFrame frame;
  double a, b, r;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double u = frame.along(x, y);
    const double w = frame.across(x, y);
    const double left = frame.uc - a + r;
    const double right = frame.uc + a - r;
    const double low = frame.wc - b + r;
    const double high = frame.wc + b - r;
    const double du = u - (u > right ? right : left);
    const double dw = w - (w > high ? high : low);
    const double corner = std::sqrt(du * du + dw * dw) - r;
    // CONTRACT: on the straight sides the distance keeps the sign of the side.
    const double end = u - (u > right ? frame.uc + a : frame.uc - a);
    const double side = w - (frame.wc > w ? frame.wc - b : frame.wc + b);
    const double below = w < low ? corner : end;
    const double beyond = w > high ? corner : below;
    const double from_right = u > right ? beyond : side;
    return u < left ? beyond : from_right;
  }
};

}  // namespace zelmo::internal
