// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <vector>

#include <gmock/gmock.h>

#include "support/comma_locale.h"
#include "support/temporary_folder.h"
#include "zelmo/export/export_files.h"

namespace xexportfiles {

using namespace xgeofeature;  // NOLINT(google-build-using-namespace): the tables name every record
using zelmo::test::contentOf;

// A frame without an axis along the world's; X, Y and Z are exactly orthogonal unit vectors.
constexpr float kCenter[3] = {12.5F, -7.25F, 30};
constexpr float kX[3] = {0.6F, 0.64F, 0.48F};
constexpr float kY[3] = {-0.8F, 0.48F, 0.36F};
constexpr float kZ[3] = {0, -0.6F, 0.8F};
constexpr float kZero[3] = {0, 0, 0};

/// One record of each kind in that frame.
struct Records {
  XFPoint point{kCenter};
  XFLine3D2 line{kCenter, kX, 16};
  XFPlane plane{kCenter, kZ, kX, 10, 4};
  XFCircle3D circle{kCenter, kZ, 6};
  XFSphere sphere{kCenter, 6};
  XFCylinder cylinder{kCenter, kX, 4, 20};
  XFCone cone{kCenter, kY, 4, 2, 10};
  XFOvalGroove3D slot{kCenter, kZ, kX, 10, 5};
  XFRoundGroove3D groove{kCenter, kZ, kX, 20, 10, 2.5F};
  XFRectangle3D rectangle{kCenter, kZ, kX, 20, 10};
  XFPolyLine poly_line{std::vector<XFPoint>{{0, 0, 0}, {1, 0, 0}, {2, 1, 0}, {3, 1, 1}, {4, 0, 2}}};
  std::vector<XFBase*> flat = {&point, &line, &circle, &slot, &groove, &rectangle};
  std::vector<XFBase*> solid = {&plane, &sphere, &cylinder, &cone};
  std::vector<XFBase*> all = {&point, &line, &plane,  &circle,    &sphere,   &cylinder,
                              &cone,  &slot, &groove, &rectangle, &poly_line};
};

/// A record of somebody else's class, which claims to be a sphere.
struct ForeignRecord : XFBase {
  GeoFeatureType getFeatureType() const override { return GeoSphere; }
};

/// Every test has a path of its own, under a host's locale that writes 1.234,5 for 1234.5.
class ExportedFile : public testing::Test {
 protected:
  bool exists() const { return std::filesystem::exists(m_path); }
  std::string content() const { return contentOf(m_path); }
  std::wstring path() const { return zelmo::test::widePath(m_path); }

  zelmo::test::CommaLocale m_comma;
  zelmo::test::TemporaryFolder m_folder;
  std::filesystem::path m_path = m_folder.path() / "features \u00e4\u4e2d";
};

}  // namespace xexportfiles
