// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/feature_extract.h"

#include <cmath>
#include <utility>

#include "zelmo/extract/internal/boundary_index.h"
#include "zelmo/extract/internal/nominal_shapes.h"
#include "zelmo/extract/internal/search_index.h"
#include "zelmo/internal/console.h"

namespace xgeofeature {

using namespace zelmo::internal;  // NOLINT: the shells of this file do nothing but call kernels

void XGeoFeatureExtract::setData(const float* data, const int& count) {
  ScanData scan = scanOf(data, count);
  cloud = std::move(scan.cloud);
  normals = std::move(scan.normals);
  kdtree = std::move(scan.tree);
  m_index = std::move(scan.index);
}

void XGeoFeatureExtract::setMaxDis(const float& distance) { maxDis = distance; }

void XGeoFeatureExtract::searchBoundaryIndex() {
  indexBoundary = boundaryIndices(cloud);
  ConsoleText() << "indexBoundary.size=" << static_cast<int>(indexBoundary.size()) << '\n';
}

void XGeoFeatureExtract::searchPlane(const XFPlane& plane) {
  indexResult = searchShape({cloud, normals, kdtree, m_index.get()}, ballAround(plane),
                            shapeOf(plane, maxDis));
}

}  // namespace xgeofeature
