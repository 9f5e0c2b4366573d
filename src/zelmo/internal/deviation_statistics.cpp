// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/deviation_statistics.h"

namespace zelmo::internal {
namespace {

/// Largest and smallest per lane.
struct LaneExtremes {
  double largest[kLanes];
  double smallest[kLanes];

  ZELMO_ALWAYS_INLINE void start() {
    for (int k = 0; k < kLanes; ++k) {
      largest[k] = Extremes{}.largest;
      smallest[k] = Extremes{}.smallest;
    }
  }
  ZELMO_ALWAYS_INLINE void take(int k, double value) {
    largest[k] = value > largest[k] ? value : largest[k];
    smallest[k] = value < smallest[k] ? value : smallest[k];
  }
  ZELMO_ALWAYS_INLINE Extremes fold() const {
    Extremes all;
    for (int k = 0; k < kLanes; ++k) {
      all.largest = largest[k] > all.largest ? largest[k] : all.largest;
      all.smallest = smallest[k] < all.smallest ? smallest[k] : all.smallest;
    }
    return all;
  }
};

template <typename View, typename Deviation, typename Stored>
ZELMO_ALWAYS_INLINE DeviationPass laneStore(const View& points, const Deviation& given,
                                            Stored* __restrict out) {
  constexpr int kFloats = View::kFloats;
  const Deviation from = given;
  const float* p = points.data();
  const int count = points.count();
  LaneExtremes extremes;
  extremes.start();
  double sum[kLanes] = {};
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes, out += kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double value = termAt(points, from, p + kFloats * k);
      extremes.take(k, value);
      const Stored stored = static_cast<Stored>(value);
      out[k] = stored;
      sum[k] += stored;
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) {
    const double value = termAt(points, from, p);
    extremes.take(k, value);
    out[k] = static_cast<Stored>(value);
    sum[k] += out[k];
  }
  return {extremes.fold(), addLanes(sum)};
}

template <typename View, typename Deviation>
ZELMO_ALWAYS_INLINE Extremes laneExtremes(const View& points, const Deviation& given) {
  constexpr int kFloats = View::kFloats;
  const Deviation from = given;
  const float* p = points.data();
  const int count = points.count();
  LaneExtremes extremes;
  extremes.start();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      extremes.take(k, termAt(points, from, p + kFloats * k));
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) {
    extremes.take(k, termAt(points, from, p));
  }
  return extremes.fold();
}

template <typename Stored>
ZELMO_ALWAYS_INLINE double laneSquares(double mean, const Stored* deviations, int count) {
  double lane[kLanes] = {};
  int i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double difference = deviations[i + k] - mean;
      lane[k] += difference * difference;
    }
  }
  for (int k = 0; i < count; ++i, ++k) {
    const double difference = deviations[i] - mean;
    lane[k] += difference * difference;
  }
  return addLanes(lane);
}

}  // namespace

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const PlaneDeviation& from, double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points, const LineDeviation& from,
                                                 double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(
    const PointView& points, const CylinderDeviation<NearPoint::OnTheAxis>& from, double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SphereDeviation& from, double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SpaceCircleDeviation& from, double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PlanarView& points,
                                                 const CircleDeviation& from, double* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const PlaneDeviation& from, float* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SphereDeviation& from, float* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const CylinderDeviation<NearPoint::Measured>& from,
                                                 float* out) {
  return laneStore(points, from, out);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points, const PlaneDeviation& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points, const LineDeviation& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const CylinderDeviation<NearPoint::OnTheAxis>& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const SphereDeviation& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const SpaceCircleDeviation& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PlanarView& points,
                                              const CircleDeviation& from) {
  return laneExtremes(points, from);
}

ZELMO_MULTIVERSION double squaresAbout(double mean, const double* deviations, int count) {
  return laneSquares(mean, deviations, count);
}

ZELMO_MULTIVERSION double squaresAbout(double mean, const float* deviations, int count) {
  return laneSquares(mean, deviations, count);
}

ZELMO_MULTIVERSION Extremes extremesInBand(const double* deviations, int count,
                                           const SigmaBand& given) {
  const SigmaBand band = given;
  LaneExtremes extremes;
  extremes.start();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double d = deviations[i + k];
      const bool kept = band.keeps(d);
      extremes.largest[k] = kept && d > extremes.largest[k] ? d : extremes.largest[k];
      extremes.smallest[k] = kept && d < extremes.smallest[k] ? d : extremes.smallest[k];
    }
  }
  for (int k = 0; i < count; ++i, ++k) {
    if (band.keeps(deviations[i])) extremes.take(k, deviations[i]);
  }
  return extremes.fold();
}

}  // namespace zelmo::internal
