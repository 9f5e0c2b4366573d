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
using zelmo::test::standardOutputOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr std::array<float, 6> kUntouched = {9, 9, 9, 9, 9, 9};

// Two triangles of a 10 by 10 square at z = 0, and one that stands on the edge x = 10.
const float kVertices[] = {0, 0, 0, 10, 0, 0, 10, 10, 0, 0, 10, 0, 10, 0, 10};
const int kFaces[] = {0, 1, 2, 0, 2, 3, 1, 2, 4};
const float kNormals[] = {0, 0, 1, 0, 0, 1, -1, 0, 0};

XPointFit onSquare() {
  XPointFit fit;
  fit.setData(kVertices, 5, kNormals, kFaces, 3);
  return fit;
}

TEST(XPointFitSingle, MovesAgainstTheNormalOfTheNearestFace) {
  XPointFit fit = onSquare();
  // The measured normal lies, on purpose.
  const float over_floor[] = {2, 5, 1.5F, 1, 0, 0};
  std::array<float, 6> result = kUntouched;
  EXPECT_EQ(fit.Fit(over_floor, result.data(), 1.0F), 0);
  EXPECT_THAT(result, ElementsAre(2, 5, 0.5F, 0, 0, 1));
  const float beside_wall[] = {9.5F, 5, 2, 0, 0, 1};
  EXPECT_EQ(fit.Fit(beside_wall, result.data(), 0.25F), 0);
  EXPECT_THAT(result, ElementsAre(9.75F, 5, 2, -1, 0, 0));
}

TEST(XPointFitSingle, SaysWhyItFailsAndLeavesTheResult) {
  const struct {
    const char* name;
    std::array<float, 6> point;
    int code;
    const char* line;
  } cases[] = {
      {"not finite", {kNaN, 5, 1, 0, 0, 1}, -2, "-2_123456789\n"},
      {"infinite", {0, HUGE_VALF, 1, 0, 0, 1}, -2, "-2_123456789\n"},
      {"beside the mesh", {2, -60, 1, 0, 0, 1}, -3, "-3_123456789\n"},
      {"too far above", {2, 5, 30.5F, 0, 0, 1}, -4, "-4_123456789\n"},
  };
  XPointFit fit = onSquare();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::array<float, 6> result = kUntouched;
    const std::string printed =
        standardOutputOf([&] { EXPECT_EQ(fit.Fit(c.point.data(), result.data(), 1.0F), c.code); });
    EXPECT_EQ(printed, c.line);
    EXPECT_EQ(result, kUntouched);
  }
  // Exactly 30 units still count.
  const float at_limit[] = {2, 5, 30, 0, 0, 1};
  std::array<float, 6> result = kUntouched;
  EXPECT_EQ(fit.Fit(at_limit, result.data(), 1.0F), 0);
}

TEST(XPointFitSingle, FindsNothingWithoutAMesh) {
  const float point[] = {2, 5, 1, 0, 0, 1};
  std::array<float, 6> result = kUntouched;
  XPointFit no_mesh, empty_mesh, no_normals;
  empty_mesh.setData(nullptr, 0, nullptr, nullptr, 0);
  no_normals.setData(kVertices, 5, nullptr, kFaces, 3);
  for (XPointFit* fit : {&no_mesh, &empty_mesh, &no_normals}) {
    EXPECT_EQ(standardOutputOf([&] { EXPECT_EQ(fit->Fit(point, result.data(), 1.0F), -2); }),
              "-2_123456789\n");
  }
  EXPECT_EQ(result, kUntouched);
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
  std::array<float, 6> result = kUntouched;
  EXPECT_EQ(fit.Fit(point, result.data(), 1.0F), 0);
  EXPECT_THAT(result, ElementsAre(3, 5, 0, -1, 0, 0));
}

TEST(XPointFitBatch, MovesEachPointAgainstItsOwnNormal) {
  const float records[] = {1, 2, 3, 0, 0, 1, 4, 5, 6, -1, 0, 0};
  float result[12] = {};
  XPointFit fit;
  EXPECT_EQ(fit.Fit(records, 2, result, 0.5F), 0);
  EXPECT_THAT(result, ElementsAre(1, 2, 2.5F, 0, 0, 1, 4.5F, 5, 6, -1, 0, 0));
  EXPECT_EQ(fit.Fit(records, 2, result, 0.0F), 0);
  EXPECT_THAT(result, testing::ElementsAreArray(records));
  EXPECT_EQ(fit.Fit(records, -1, nullptr, 0.5F), 0);
}

TEST(XPointFit, CopiesShareTheMeshAndAreUsableAfterTheOriginalIsGone) {
  const float point[] = {2, 5, 1, 0, 0, 1};
  std::array<float, 6> result = kUntouched;
  XPointFit copy;
  {
    XPointFit original = onSquare();
    copy = original;
    original.setData(nullptr, 0, nullptr, nullptr, 0);
  }
  EXPECT_EQ(copy.Fit(point, result.data(), 1.0F), 0);
}

}  // namespace
}  // namespace xgeofit
