// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/deviation_statistics.h"

#include "zelmo/internal/point_block.h"

namespace zelmo::internal {
namespace {

/// Largest and smallest of one lane.
struct RunningExtremes {
  double largest = Extremes{}.largest;
  double smallest = Extremes{}.smallest;

  ZELMO_ALWAYS_INLINE void take(double value) {
    largest = value > largest ? value : largest;
    smallest = value < smallest ? value : smallest;
  }
};

/// The same of what a band keeps.
struct RunningExtremesInBand {
  RunningExtremes running;
  SigmaBand band;

  ZELMO_ALWAYS_INLINE void take(double d) {
    // What does not count is no extreme: the running values take themselves.
    const double above = band.low > d ? running.largest : d;
    const double below = band.low > d ? running.smallest : d;
    const double high = d > band.high ? running.largest : above;
    const double low = d > band.high ? running.smallest : below;
    running.largest = high > running.largest ? high : running.largest;
    running.smallest = low < running.smallest ? low : running.smallest;
  }
};

/// The same per lane.
struct LaneExtremes {
  double largest[kLanes];
  double smallest[kLanes];

  ZELMO_ALWAYS_INLINE void start() {
    for (int k = 0; k < kLanes; ++k) put(k, {});
  }
  ZELMO_ALWAYS_INLINE RunningExtremes at(int k) const { return {largest[k], smallest[k]}; }
  ZELMO_ALWAYS_INLINE void put(int k, const RunningExtremes& running) {
    largest[k] = running.largest;
    smallest[k] = running.smallest;
  }
  ZELMO_ALWAYS_INLINE void take(int k, double value) {
    RunningExtremes running = at(k);
    running.take(value);
    put(k, running);
  }
  /// The values of a block, each in its lane.
  ZELMO_ALWAYS_INLINE void takeBlock(const double* values) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      RunningExtremes running = at(k);
      for (int j = 0; j < kBlock; j += kLanes) running.take(values[j + k]);
      put(k, running);
    }
  }
  /// Those of them that the band keeps.
  ZELMO_ALWAYS_INLINE void takeBlock(const double* values, const SigmaBand& band) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      RunningExtremesInBand counting{at(k), band};
      for (int j = 0; j < kBlock; j += kLanes) counting.take(values[j + k]);
      put(k, counting.running);
    }
  }
  ZELMO_ALWAYS_INLINE Extremes fold() const {
    RunningExtremes all;
    for (int k = 0; k < kLanes; ++k) {
      all.largest = largest[k] > all.largest ? largest[k] : all.largest;
      all.smallest = smallest[k] < all.smallest ? smallest[k] : all.smallest;
    }
    return {all.largest, all.smallest};
  }
};

/// Where the values of a block stand until they are stored: in \p out itself when they are doubles.
ZELMO_ALWAYS_INLINE double* valuesIn(double* out, double* /*buffer*/) { return out; }
ZELMO_ALWAYS_INLINE double* valuesIn(float* /*out*/, double* buffer) { return buffer; }

ZELMO_ALWAYS_INLINE void storeBlock(const double* /*values*/, double* /*out*/) {}
ZELMO_ALWAYS_INLINE void storeBlock(const double* __restrict values, float* __restrict out) {
  ZELMO_LANE_LOOP for (int i = 0; i < kBlock; ++i) out[i] = static_cast<float>(values[i]);
}

template <typename View, typename Deviation, typename Stored>
ZELMO_ALWAYS_INLINE DeviationPass laneStore(const View& points, const Deviation& given,
                                            Stored* out) {
  const Deviation from = given;
  const float* p = points.data();
  const int count = points.count();
  LaneExtremes extremes;
  extremes.start();
  double sum[kLanes] = {};
  PointBlock<View> at;
  double buffer[kBlock];
  int i = 0;
  for (; i + kBlock <= count; i += kBlock, p += View::kFloats * kBlock, out += kBlock) {
    double* values = valuesIn(out, buffer);
    at.load(p);
    blockTerms(at, from, values);
    storeBlock(values, out);
    extremes.takeBlock(values);
    addBlock(out, sum);
  }
  for (; i < count; ++i, p += View::kFloats, ++out) {
    const double value = termAt(points, from, p);
    extremes.take(i % kLanes, value);
    *out = static_cast<Stored>(value);
    sum[i % kLanes] += *out;
  }
  return {extremes.fold(), addLanes(sum)};
}

template <typename View, typename Deviation>
ZELMO_ALWAYS_INLINE Extremes laneExtremes(const View& points, const Deviation& given) {
  const Deviation from = given;
  const float* p = points.data();
  const int count = points.count();
  LaneExtremes extremes;
  extremes.start();
  PointBlock<View> at;
  double values[kBlock];
  int i = 0;
  for (; i + kBlock <= count; i += kBlock, p += View::kFloats * kBlock) {
    at.load(p);
    blockTerms(at, from, values);
    extremes.takeBlock(values);
  }
  for (; i < count; ++i, p += View::kFloats) extremes.take(i % kLanes, termAt(points, from, p));
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
  for (; i + kBlock <= count; i += kBlock) {
    extremes.takeBlock(deviations + i, band);
  }
  for (; i < count; ++i) {
    if (band.keeps(deviations[i])) extremes.take(i % kLanes, deviations[i]);
  }
  return extremes.fold();
}

}  // namespace zelmo::internal
