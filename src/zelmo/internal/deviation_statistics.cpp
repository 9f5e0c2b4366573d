// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/deviation_statistics.h"

namespace zelmo::internal {
namespace {

template <int Dimension, typename Deviation>
ZELMO_ALWAYS_INLINE double deviationAt(const Deviation& from, const float* p) {
  if constexpr (Dimension == 2) {
    return from(p[0], p[1]);
  } else {
    return from(p[0], p[1], p[2]);
  }
}

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

template <int Dimension, typename Deviation, typename Stored>
ZELMO_ALWAYS_INLINE DeviationPass laneStore(const float* p, int count, const Deviation& given,
                                            Stored* __restrict out) {
  const Deviation from = given;
  LaneExtremes extremes;
  extremes.start();
  double sum[kLanes] = {};
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += Dimension * kLanes, out += kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double value = deviationAt<Dimension>(from, p + Dimension * k);
      extremes.take(k, value);
      const Stored stored = static_cast<Stored>(value);
      out[k] = stored;
      sum[k] += stored;
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += Dimension) {
    const double value = deviationAt<Dimension>(from, p);
    extremes.take(k, value);
    out[k] = static_cast<Stored>(value);
    sum[k] += out[k];
  }
  return {extremes.fold(), addLanes(sum)};
}

template <int Dimension, typename Deviation>
ZELMO_ALWAYS_INLINE Extremes laneExtremes(const float* p, int count, const Deviation& given) {
  const Deviation from = given;
  LaneExtremes extremes;
  extremes.start();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += Dimension * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      extremes.take(k, deviationAt<Dimension>(from, p + Dimension * k));
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += Dimension) {
    extremes.take(k, deviationAt<Dimension>(from, p));
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
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points, const LineDeviation& from,
                                                 double* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(
    const PointView& points, const CylinderDeviation<NearPoint::OnTheAxis>& from, double* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SphereDeviation& from, double* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SpaceCircleDeviation& from, double* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PlanarView& points,
                                                 const CircleDeviation& from, double* out) {
  return laneStore<2>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const PlaneDeviation& from, float* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const SphereDeviation& from, float* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION DeviationPass storeDeviations(const PointView& points,
                                                 const CylinderDeviation<NearPoint::Measured>& from,
                                                 float* out) {
  return laneStore<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points, const PlaneDeviation& from) {
  return laneExtremes<3>(points.data(), points.count(), from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points, const LineDeviation& from) {
  return laneExtremes<3>(points.data(), points.count(), from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const CylinderDeviation<NearPoint::OnTheAxis>& from) {
  return laneExtremes<3>(points.data(), points.count(), from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const SphereDeviation& from) {
  return laneExtremes<3>(points.data(), points.count(), from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PointView& points,
                                              const SpaceCircleDeviation& from) {
  return laneExtremes<3>(points.data(), points.count(), from);
}

ZELMO_MULTIVERSION Extremes extremeDeviations(const PlanarView& points,
                                              const CircleDeviation& from) {
  return laneExtremes<2>(points.data(), points.count(), from);
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
