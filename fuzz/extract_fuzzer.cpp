// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Searches in clouds, elimination by triangles and tracing of tubes, in any order of calls.
#include <unistd.h>

#include "fuzz_target.h"
#include "measured_points.h"
#include "records.h"
#include "support/temporary_folder.h"
#include "zelmo/extract/feature_extract.h"
#include "zelmo/extract/point_eliminate.h"
#include "zelmo/extract/poly_line_fit.h"

namespace zelmo::fuzz {
namespace {

using xgeofeature::XGeoFeatureExtract;

/// Six floats a point, as the searches take them.
std::vector<float> interleaved(const MeasuredPoints& scan) {
  std::vector<float> out;
  for (int i = 0; i < scan.count; ++i) {
    const auto first = static_cast<std::ptrdiff_t>(3 * i);
    out.insert(out.end(), scan.points.begin() + first, scan.points.begin() + first + 3);
    out.insert(out.end(), scan.normals.begin() + first, scan.normals.begin() + first + 3);
  }
  out.shrink_to_fit();
  return out;
}

/// One of the searches. The indices it leaves name points, each once.
void search(XGeoFeatureExtract& extract, ByteSource& bytes, Transcript& out) {
  RecordSource source(bytes);
  xgeofeature::XFPoint found;
  switch (bytes.below(14)) {
    case 0:
      extract.searchPlane(source.plane());
      break;
    case 1:
      extract.searchCylinder(source.cylinder());
      break;
    case 2:
      extract.searchCone(source.cone());
      break;
    case 3:
      extract.searchSphere(source.sphere());
      break;
    case 4:
      extract.searchBoundaryIndex();
      break;
    case 5:
      extract.searchCircle(source.circle());
      break;
    case 6: {
      const auto circle = source.circle();
      const float gap = bytes.real(), depth = bytes.real(), aside = bytes.real();
      extract.searchCircle(circle, gap, depth, aside, bytes.real(), bytes.flag());
      break;
    }
    case 7: {
      const auto circle = source.circle();
      const float half = bytes.real(), gap = bytes.real();
      extract.searchCircle2(circle, half, gap, bytes.real(), bytes.flag());
      break;
    }
    case 8:
      extract.searchOvalGroove(source.ovalGroove());
      break;
    case 9:
      extract.searchRectangle(source.rectangle());
      break;
    case 10:
      extract.searchRoundGroove(source.roundGroove());
      break;
    case 11:
      extract.searchPoint(source.point(), bytes.real());
      break;
    case 12: {
      const auto point = source.point();
      const int code = extract.searchPoint(point, bytes.real(), found);
      ZELMO_FUZZ_CHECK(code <= 0 && code >= -2);
      out.add(code);
      break;
    }
    default: {
      const auto point = source.pointN();
      const float radius = bytes.real(), thickness = bytes.real();
      const int code = extract.searchPoint(point, radius, thickness,
                                           static_cast<float>(bytes.below(128)), found);
      ZELMO_FUZZ_CHECK(code <= 0 && code >= -2);
      out.add(code);
    }
  }
  record(out, found);
}

void checkIndices(const std::vector<int>& indices, const XGeoFeatureExtract& extract) {
  const int points = extract.cloud ? static_cast<int>(extract.cloud->size()) : 0;
  std::vector<int> sorted(indices);
  std::sort(sorted.begin(), sorted.end());
  ZELMO_FUZZ_CHECK(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end());
  ZELMO_FUZZ_CHECK(sorted.empty() || (sorted.front() >= 0 && sorted.back() < points));
}

/// Calls in the order that the bytes tell: searches before the data, copies that outlive the
/// original, a second scan.
void callInAnyOrder(ByteSource& bytes, Transcript& out) {
  const MeasuredPoints scan = measuredPoints(bytes, 120);
  const auto data = interleaved(scan);
  auto extract = std::make_unique<XGeoFeatureExtract>();
  std::unique_ptr<XGeoFeatureExtract> copy;
  const int calls = 1 + bytes.below(8);
  bool has_scan = false;
  for (int i = 0; i < calls; ++i) {
    switch (bytes.below(12)) {
      case 0:
        extract->setData(bytes.flag() ? data.data() : nullptr, 0);
        break;
      case 1:
        copy = std::make_unique<XGeoFeatureExtract>(*extract);
        break;
      case 2:
        if (copy) std::swap(copy, extract);
        break;
      case 3:
        copy.reset();
        break;
      case 4:
        extract->setMaxDis(bytes.real());
        break;
      case 5:
        extract->setData(data.data(), scan.count / 2);
        break;
      default:
        if (!has_scan && bytes.below(8) != 7) extract->setData(data.data(), scan.count);
        has_scan = true;
        extract->indexResult = extract->indexResult2 = {};
        search(*extract, bytes, out);
        checkIndices(extract->indexResult, *extract);
        checkIndices(extract->indexResult2, *extract);
        out.add(extract->indexResult);
        out.add(extract->indexResult2);
    }
  }
  out.add(extract->indexBoundary);
}

/// Elimination by a nominal surface of triangles, twice on one object.
void eliminate(ByteSource& bytes, Transcript& out) {
  using xgeofeature::XGeoFeaturePointEliminate;
  const bool has_cloud = bytes.below(8) != 7, has_corners = bytes.flag();
  const int triangles = bytes.count(20), candidates = bytes.below(50);
  std::vector<int> indices;
  for (int i = 0; i < candidates; ++i) {
    const bool is_wild = bytes.below(16) == 15;
    indices.push_back(is_wild ? bytes.anyInt() : i);
  }
  std::vector<int> corners_of(static_cast<std::size_t>(3 * std::max(triangles, 0)));
  for (int& index : corners_of) index = bytes.below(16) == 15 ? bytes.anyInt() : bytes.below(24);
  bytes.chooseNumbers();
  std::vector<float> normals_of(corners_of.size(), 0.5F);
  if (bytes.flag()) normals_of = bytes.reals(static_cast<int>(corners_of.size()));
  const auto corners = bytes.reals(has_corners ? 3 * static_cast<int>(corners_of.size()) : 0);
  const MeasuredPoints scan = measuredPoints(bytes, 60);
  boost::shared_ptr<XGeoFeaturePointEliminate::Cloud> cloud;
  if (has_cloud) cloud.reset(new XGeoFeaturePointEliminate::Cloud);
  for (int i = 0; has_cloud && i < scan.count; ++i) {
    const float* p = &scan.points[static_cast<std::size_t>(3 * i)];
    cloud->push_back({p[0], p[1], p[2]});
  }
  XGeoFeaturePointEliminate eliminator;
  for (int round = 0; round < 2; ++round) {
    std::vector<int> result = {-7};
    const int code =
        has_corners
            ? eliminator.getGeoFeaturePointIndices(cloud, scan.normals, indices, corners.data(),
                                                   triangles, normals_of.data(), result)
            : eliminator.getGeoFeaturePointIndices(cloud, scan.normals, indices, scan.points.data(),
                                                   scan.count, normals_of.data(), corners_of.data(),
                                                   triangles, result);
    ZELMO_FUZZ_CHECK(code == 0 && result.size() <= indices.size());
    const int points = has_cloud ? static_cast<int>(cloud->size()) : 0;
    for (const int index : result) ZELMO_FUZZ_CHECK(index >= 0 && index < points);
    out.add(result);
    indices = result;
  }
}

void trace(ByteSource& bytes, Transcript& out) {
  const bool has_start = bytes.below(16) != 15, sets_data = bytes.below(16) != 15;
  bytes.chooseNumbers();
  const auto start = bytes.reals(3);
  const auto aim = detail::direction(bytes);
  const float direction[] = {static_cast<float>(aim[0]), static_cast<float>(aim[1]),
                             bytes.flag() ? static_cast<float>(aim[2]) : bytes.real()};
  const float step = bytes.flag() ? bytes.real() : static_cast<float>(bytes.byte()) / 16;
  const float radius = bytes.flag() ? bytes.real() : static_cast<float>(bytes.byte()) / 8;
  const MeasuredPoints scan = measuredPoints(bytes, 60);  // solvers go to their limit of passes
  const auto data = interleaved(scan);
  xpolylinefit::XPolyLineFit fit;
  if (sets_data) fit.setData(data.data(), scan.count);
  for (int round = 0; round < 2; ++round) {
    const int code = fit.Fit(has_start ? start.data() : nullptr, direction, step, radius);
    ZELMO_FUZZ_CHECK(code <= 0 && code >= -2);
    if (code == -1) ZELMO_FUZZ_CHECK(fit.points.empty());
    out.add(code);
    for (const auto& p : fit.points) record(out, p);
  }
  xgeofeature::XFPolyLine line;
  fit.getPolyLine(line);
  ZELMO_FUZZ_CHECK(line.points.size() == fit.points.size());
}

/// One of the searches writes a file into the current folder: that is one of its own here.
void enterOwnFolder() {
  static const test::TemporaryFolder folder;
  static const bool has_entered = chdir(folder.path().c_str()) == 0;
  ZELMO_FUZZ_CHECK(has_entered);
}

void run(ByteSource& bytes, Transcript& out) {
  enterOwnFolder();
  constexpr void (*kMembers[])(ByteSource&, Transcript&) = {&callInAnyOrder, &eliminate, &trace};
  kMembers[bytes.below(3)](bytes, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
