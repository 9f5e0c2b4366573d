// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "alignment.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <zelmo/registration/rps_align.h>
#include <zelmo/registration/rps_align2.h>

#include "failure.h"
#include "numbers.h"
#include "shapes.h"

namespace inspect {
namespace {

using xrpsalign::XRPSPoint;

Motion motionOf(const double* rt) {
  Motion motion;
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) motion.turn(i, k) = rt[4 * i + k];
    motion.shift[i] = rt[4 * i + 3];
  }
  return motion;
}

Motion inverseOf(const Motion& motion) {
  return {motion.turn.t(), -(motion.turn.t() * motion.shift)};
}

double degreesOf(const Motion& motion) {
  const cv::Matx33d& r = motion.turn;
  const cv::Vec3d axis(r(2, 1) - r(1, 2), r(0, 2) - r(2, 0), r(1, 0) - r(0, 1));
  return std::atan2(cv::norm(axis), r(0, 0) + r(1, 1) + r(2, 2) - 1.0) * 180.0 / CV_PI;
}

void move(Scan& scan, const Motion& motion) {
  for (int i = 0; i < scan.count(); ++i) {
    float* record = &scan.records[6 * static_cast<std::size_t>(i)];
    const cv::Vec3d point = motion(vec(record)), normal = motion.turn * vec(record + 3);
    for (int k = 0; k < 3; ++k) {
      record[k] = static_cast<float>(point[k]);
      record[k + 3] = static_cast<float>(normal[k]);
    }
  }
}

/// The two bits of each axis: 01 locates, 00 counts, 10 does not.
unsigned char flagsOf(const RpsPoint& point) {
  unsigned flags = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const unsigned code = point.locates(axis) ? 1U : point.counts(axis) ? 0U : 2U;
    flags |= code << (6U - 2U * static_cast<unsigned>(axis));
  }
  return static_cast<unsigned char>(flags);
}

XRPSPoint recordOf(const cv::Vec3d& place, unsigned char flags) {
  const float point[] = {static_cast<float>(place[0]), static_cast<float>(place[1]),
                         static_cast<float>(place[2])};
  const float normal[] = {0.0F, 0.0F, 1.0F};
  return {point, normal, flags, 0, 0};
}

std::vector<XRPSPoint> recordsOf(const std::vector<RpsPoint>& points, bool nominal) {
  std::vector<XRPSPoint> records;
  records.reserve(points.size());
  for (const RpsPoint& point : points) {
    records.push_back(recordOf(nominal ? point.nominal : point.measured, flagsOf(point)));
  }
  return records;
}

/// Every so manyth point of the scan.
std::vector<float> thinned(const Scan& scan, int stride) {
  std::vector<float> points;
  for (int i = 0; i < scan.count(); i += stride) {
    points.insert(points.end(), scan.point(i), scan.point(i) + 3);
  }
  return points;
}

/// Moves the scan onto points that are looked up in it: many rounds on few points, then few on all.
Motion alignByLookUp(Scan& scan, const std::vector<RpsPoint>& points, Progress& progress) {
  constexpr int kFewPoints = 40000, kManyRounds = 40, kLastRounds = 4;
  const std::vector<XRPSPoint> fixed_points = recordsOf(points, true);
  Motion total;
  for (const int stride : {std::max(1, scan.count() / kFewPoints), 1}) {
    progress.step("aligning the scan");
    const std::vector<float> cloud = thinned(scan, stride);
    double rt[16];
    xrpsalign::XRPSAlign2 aligner;
    const int code = aligner.alignByRPSPoint(
        cloud.data(), static_cast<int>(cloud.size() / 3), fixed_points, fixed_points, rt,
        stride > 1 || scan.count() <= kFewPoints ? kManyRounds : kLastRounds);
    if (code != 0) {
      throw Failure(kNothingMeasured,
                    "an RPS point has no scanned point within 10 mm: give measured places that "
                    "bring the scan near, with --align=FILE");
    }
    const Motion motion = motionOf(rt);
    move(scan, motion);
    total = motion.after(total);
    if (stride == 1) break;
  }
  return total;
}

cv::Vec3d nearestTo(const cv::Vec3d& place, const Scan& scan) {
  double least = 1e300;
  cv::Vec3d nearest = place;
  for (int i = 0; i < scan.count(); ++i) {
    const cv::Vec3d offset = vec(scan.point(i)) - place;
    if (offset.dot(offset) >= least) continue;
    least = offset.dot(offset);
    nearest = vec(scan.point(i));
  }
  return nearest;
}

struct Residual {
  double largest = 0.0, squares = 0.0;
  int count = 0;
};

/// One row per point: where it should be, and how far off it is along the axes that count.
std::string rowsOf(const std::vector<RpsPoint>& points, Residual& residual) {
  std::string text;
  for (const RpsPoint& point : points) {
    text += padRight(point.name, 10) + padRight(point.axes, 5);
    for (int i = 0; i < 3; ++i) text += fixed(point.nominal[i], 3, 10);
    for (int i = 0; i < 3; ++i) {
      const double off = point.measured[i] - point.nominal[i];
      text += point.counts(i) ? fixed(off, 4, 10) : padLeft("-", 10);
      if (!point.counts(i)) continue;
      residual.largest = std::max(residual.largest, std::abs(off));
      residual.squares += off * off;
      ++residual.count;
    }
    text += "\n";
  }
  return text;
}

std::string tableOf(const char* title, const std::vector<RpsPoint>& points) {
  Residual residual;
  const std::string rows = rowsOf(points, residual);
  return std::string(title) + "\n" + padRight("point", 10) + padRight("axes", 5) +
         padLeft("nominal x", 10) + padLeft("y", 10) + padLeft("z", 10) + padLeft("off in x", 10) +
         padLeft("y", 10) + padLeft("z", 10) + "\n" + rows + "largest " +
         fixed(residual.largest, 4, 0) + ", root mean square " +
         fixed(std::sqrt(residual.squares / std::max(1, residual.count)), 4, 0) + " mm\n\n";
}

std::string matrixOf(const Motion& motion) {
  std::string text;
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) text += fixed(motion.turn(i, k), 8, 13);
    text += fixed(motion.shift[i], 5, 14) + "\n";
  }
  return text;
}

/// Leaves out points that met something that is no surface: an outlier, or another face.
std::vector<RpsPoint> withoutStrays(const std::vector<RpsPoint>& points) {
  constexpr double kFarOff = 6.0, kNoise = 0.01;  // times the median; mm
  std::vector<double> sizes;
  const auto off = [](const RpsPoint& point) {
    double largest = 0.0;
    for (int i = 0; i < 3; ++i) {
      if (point.counts(i)) {
        largest = std::max(largest, std::abs(point.measured[i] - point.nominal[i]));
      }
    }
    return largest;
  };
  std::transform(points.begin(), points.end(), std::back_inserter(sizes), off);
  std::nth_element(sizes.begin(), sizes.begin() + static_cast<long>(sizes.size() / 2), sizes.end());
  const double limit = kFarOff * std::max(kNoise, sizes[sizes.size() / 2]);
  std::vector<RpsPoint> kept;
  std::copy_if(points.begin(), points.end(), std::back_inserter(kept),
               [&](const RpsPoint& point) { return off(point) <= limit; });
  return kept;
}

void lookUp(std::vector<RpsPoint>& points, const Scan& scan) {
  for (RpsPoint& point : points) point.measured = nearestTo(point.nominal, scan);
}

/// How well a motion undoes a displacement.
std::string comparison(const Motion& found, const Motion& displacement,
                       const std::vector<RpsPoint>& points) {
  const Motion rest = found.after(displacement);
  cv::Vec3d middle;
  for (const RpsPoint& point : points) middle += point.nominal;
  middle *= 1.0 / static_cast<double>(points.size());
  return "What undoes its displacement is\n" + matrixOf(inverseOf(displacement)) +
         "The two differ by " + fixed(degreesOf(rest), 5, 0) + " degrees, and by " +
         fixed(cv::norm(rest(middle) - middle), 5, 0) + " mm in the middle of the part.\n";
}

}  // namespace

Motion Motion::after(const Motion& first) const {
  return {turn * first.turn, turn * first.shift + shift};
}

Motion knownDisplacement() {
  // A turn of 35 degrees about a skew axis, by Rodrigues' rule.
  const cv::Vec3d axis(2.0 / 7.0, -3.0 / 7.0, 6.0 / 7.0);
  const double angle = 35.0 * CV_PI / 180.0;
  const cv::Matx33d cross(0.0, -axis[2], axis[1], axis[2], 0.0, -axis[0], -axis[1], axis[0], 0.0);
  Motion motion;
  motion.turn =
      cv::Matx33d::eye() + cross * std::sin(angle) + cross * cross * (1 - std::cos(angle));
  motion.shift = {140.0, -60.0, 25.0};
  return motion;
}

std::string displaced(const std::string& scan, const Motion& motion) {
  Scan points = parseScan(scan, "scan.xyz");
  move(points, motion);
  std::string text = "# simulated scan, displaced: x y z nx ny nz\n";
  text.reserve(scan.size() + scan.size() / 4);
  for (std::size_t i = 0; i < points.records.size(); ++i) {
    text += exact(points.records[i]) + (i % 6 == 5 ? "\n" : " ");
  }
  return text;
}

std::string alignToModel(Scan& scan, const TopoDS_Shape& model, const std::string& rps_file,
                         bool is_displaced, const OutputFolder& folder, Progress& progress) {
  std::vector<RpsPoint> points;
  if (!rps_file.empty()) {
    points = readRps(rps_file);
  } else if (is_displaced) {
    folder.write("rps.txt", textOf(rpsOfDisplaced(model, knownDisplacement())));
    points = readRps(folder.pathFor("rps.txt"));
  } else {
    points = pickRps(model);
  }
  std::vector<RpsPoint> measured, searched;
  for (const RpsPoint& point : points) (point.is_measured ? measured : searched).push_back(point);
  Motion total;
  std::string text = "Alignment\n";
  if (!measured.empty()) {
    double rt[16];
    xrpsalign::XRPSAlign aligner;
    aligner.alignByRPSPoint(recordsOf(measured, false), recordsOf(measured, true), rt);
    total = motionOf(rt);
    move(scan, total);
    for (RpsPoint& point : measured) point.measured = total(point.measured);
    text += tableOf("by points that are measured", measured);
  }
  if (!searched.empty()) {
    total = alignByLookUp(scan, searched, progress).after(total);
    lookUp(searched, scan);
    const std::vector<RpsPoint> kept = withoutStrays(searched);
    if (kept.size() < searched.size()) {
      requireHold(kept);
      text += std::to_string(searched.size() - kept.size()) +
              " points left out: what lies nearest to them is no part of the surface\n";
      searched = kept;
      total = alignByLookUp(scan, searched, progress).after(total);
      lookUp(searched, scan);
    }
    text += tableOf("by points that are looked up in the scan", searched);
  }
  text += "The scan was moved by\n" + matrixOf(total);
  if (is_displaced) text += comparison(total, knownDisplacement(), points);
  folder.write("alignment.txt", text);
  return text + "\n";
}

}  // namespace inspect
