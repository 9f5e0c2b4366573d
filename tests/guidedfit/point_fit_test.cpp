// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/point_fit.h"

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include "support/captured_output.h"

namespace xgeofit {
namespace {

using testing::ElementsAre;
using Row = std::array<float, 6>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Row kUntouched = {9, 9, 9, 9, 9, 9};

// Two triangles of a 10 by 10 square at z = 0, and one that stands on the edge x = 10.
const float kVertices[] = {0, 0, 0, 10, 0, 0, 10, 10, 0, 0, 10, 0, 10, 0, 10};
const int kFaces[] = {0, 1, 2, 0, 2, 3, 1, 2, 4};
const float kNormals[] = {0, 0, 1, 0, 0, 1, -1, 0, 0};

// The measured normal does not count. Exactly 30 units still do.
TEST(XPointFitSingle, MovesAgainstTheNormalOfTheNearestFaceOrSaysWhyNot) {
  XPointFit whole, no_mesh, no_normals;
  whole.setData(kVertices, 5, kNormals, kFaces, 3);
  no_normals.setData(kVertices, 5, nullptr, kFaces, 3);
  const struct {
    const char* name;
    XPointFit& fit;
    Row point;
    float radius;
    int code;
    Row result = kUntouched;
  } rows[] = {
      {"over the floor", whole, {2, 5, 1.5F, 1, 0, 0}, 1, 0, {2, 5, 0.5F, 0, 0, 1}},
      {"beside the wall", whole, {9.5F, 5, 2, 0, 0, 1}, 0.25F, 0, {9.75F, 5, 2, -1, 0, 0}},
      {"at the limit", whole, {2, 5, 30, 0, 0, 1}, 1, 0, {2, 5, 29, 0, 0, 1}},
      {"too far above", whole, {2, 5, 30.001F, 0, 0, 1}, 1, -4},
      {"beside the mesh", whole, {2, -60, 1, 0, 0, 1}, 1, -3},
      {"not finite", whole, {kNaN, 5, 1, 0, 0, 1}, 1, -2},
      {"no mesh", no_mesh, {2, 5, 1, 0, 0, 1}, 1, -2},
      {"no normals", no_normals, {2, 5, 1, 0, 0, 1}, 1, -2},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    Row result = kUntouched;
    const std::string printed = zelmo::test::standardOutputOf(
        [&] { EXPECT_EQ(r.fit.Fit(r.point.data(), result.data(), r.radius), r.code); });
    EXPECT_EQ(printed, r.code == 0 ? "" : std::to_string(r.code) + "_123456789\n");
    EXPECT_EQ(result, r.result);
  }
}

// As many as the search looks at, and before the one that can be found: its normal is (-1, 0, 0).
TEST(XPointFitSingle, KeepsAFaceThatNamesAMissingVertexOutOfReach) {
  std::vector<int> faces;
  for (int i = 0; i < 12; ++i) faces.insert(faces.end(), {0, 1, i % 2 == 0 ? 77 : -1});
  faces.insert(faces.end(), {0, 2, 3});
  std::vector<float> normals(39, 0.0F);
  normals[36] = -1;
  XPointFit fit;
  fit.setData(kVertices, 5, normals.data(), faces.data(), 13);
  EXPECT_EQ(fit.faces.size(), 13U);
  const float point[] = {2, 5, 0, 0, 0, 1};
  Row result = kUntouched;
  EXPECT_EQ(fit.Fit(point, result.data(), 1.0F), 0);
  EXPECT_THAT(result, ElementsAre(3, 5, 0, -1, 0, 0));
}

TEST(XPointFitBatch, MovesEachPointAgainstItsOwnNormal) {
  const float records[] = {1, 2, 3, 0, 0, 1, 4, 5, 6, -1, 0, 0};
  float result[12] = {};
  XPointFit fit;
  EXPECT_EQ(fit.Fit(records, 2, result, 0.5F), 0);
  EXPECT_THAT(result, ElementsAre(1, 2, 2.5F, 0, 0, 1, 4.5F, 5, 6, -1, 0, 0));
  EXPECT_EQ(fit.Fit(records, -1, nullptr, 0.5F), 0);
}

}  // namespace
}  // namespace xgeofit
