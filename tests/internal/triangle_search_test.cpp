// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/triangle_search.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace zelmo::internal {
namespace {

constexpr float kUp[3] = {0, 0, 1};

// The right triangle (0,0) (b, 0) (0, c) at the height z.
TriangleRecord rightTriangle(float b, float c, float z) {
  const float corner_a[3] = {0, 0, z}, corner_b[3] = {b, 0, z}, corner_c[3] = {0, c, z};
  return triangleOf(corner_a, corner_b, corner_c, kUp);
}

// Enlarged by k the triangle (0,0) (8,0) (0,8) has its corner a at (-8k, -8k) and edges of 8 (1 + 3k).
// u runs along c (y), v along b (x), each from -0.2 to 1.2, their sum to 1.2.
TEST(TriangleSearch, EndsWhereTheTwoTolerancesEnd) {
  const TriangleRecord triangle = rightTriangle(8, 8, 2);
  const struct {
    double u, v;
    bool inside;
  } places[] = {{0.3, 0.3, true},    {-0.199, 0.5, true},  {-0.201, 0.5, false},
                {0.5, -0.199, true}, {0.5, -0.201, false}, {0.6, 0.599, true},
                {0.6, 0.601, false}, {1.199, 0.0, true},   {1.201, -0.1, false},
                {-0.1, 1.199, true}, {-0.1, 1.201, false}, {-0.199, -0.199, true}};
  for (const auto reach : {TriangleReach::QuarterEdge, TriangleReach::HalfEdge}) {
    const double k = reach == TriangleReach::QuarterEdge ? 0.25 : 0.5;
    const double corner = -8 * k, edge = 8 * (1 + 3 * k);
    for (const auto& place : places) {
      SCOPED_TRACE(testing::Message() << k << ' ' << place.u << ", " << place.v);
      const float p[3] = {static_cast<float>(corner + place.v * edge),
                          static_cast<float>(corner + place.u * edge), 5.0F};
      const auto foot = footInside(triangle, p, reach);
      ASSERT_EQ(foot.has_value(), place.inside);
      if (!foot) continue;
      EXPECT_EQ(foot->distance, 3.0);
      EXPECT_EQ(foot->foot, (std::array<double, 3>{p[0], p[1], 2.0}));
    }
  }
}

TEST(TriangleSearch, TakesTheNearestPlaneAndTheEarlierOnATie) {
  const std::vector<TriangleRecord> triangles = {
      rightTriangle(8, 8, 0),    rightTriangle(8, 8, 4),
      rightTriangle(8, 8, 4),    rightTriangle(1, 1, 5),  // nearest, but the point is not over it
      rightTriangle(8, 8, 2e5F),                          // beyond the farthest plane that counts
      rightTriangle(0, 0, 5),    rightTriangle(8, 0, 5)   // degenerate: a point and a line
  };
  const float p[3] = {3, 3, 5};
  const auto nearest = [&](const std::vector<int>& candidates) {
    const auto foot = nearestTriangle(triangles, candidates, p, TriangleReach::QuarterEdge);
    EXPECT_EQ(foot.has_value(), liesOverAny(triangles, candidates, p, TriangleReach::QuarterEdge));
    return foot ? foot->triangle : -1;
  };
  EXPECT_EQ(nearest({0, 1, 2, 3}), 1);
  EXPECT_EQ(nearest({0, 2, 0, 2, 1}), 2);
  EXPECT_EQ(nearest({-1, 7, 1000, 0}), 0);
  EXPECT_EQ(nearest({3}), -1);
  EXPECT_EQ(nearest({4}), -1);
  EXPECT_EQ(nearest({5, 6}), -1);
  EXPECT_EQ(nearest({}), -1);
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), HUGE_VALF, 3e38F}) {
    for (int axis = 0; axis < 3; ++axis) {
      float q[3] = {3, 3, 1};
      q[axis] = bad;
      EXPECT_FALSE(nearestTriangle(triangles, {0}, q, TriangleReach::HalfEdge)) << bad << axis;
      EXPECT_FALSE(liesOverAny(triangles, {0}, q, TriangleReach::QuarterEdge)) << bad << axis;
    }
  }
}

TEST(TriangleSearch, KeepsTheFootOfHalfEdgeInFloat) {
  const float a[3] = {0, 0, 0}, b[3] = {9, 0, 0}, c[3] = {0, 9, 0};
  const float n[3] = {0.1F, 0.2F, 0.9746794F}, p[3] = {1.7F, 2.3F, 4.1F};
  const auto in_float = footInside(triangleOf(a, b, c, n), p, TriangleReach::HalfEdge);
  const auto in_double = footInside(triangleOf(a, b, c, n), p, TriangleReach::QuarterEdge);
  ASSERT_TRUE(in_float && in_double);
  EXPECT_EQ(in_float->distance, static_cast<float>(in_double->distance));
  EXPECT_NE(in_float->distance, in_double->distance);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(in_float->foot[i], static_cast<float>(in_double->foot[i])) << i;
  }
}

TEST(TriangleSearch, RecordsCentroidAndPlaneInFloat) {
  // No float holds 16777217: the sum of the third coordinates loses both ones.
  const float vertices[] = {1, 2, 1, 5, 2, 1, 2, 9, 16777216, 0, 0, 0};
  const int faces[] = {2, 0, 1, 0, 1, 4, -1, 0, 1};
  const MeshView mesh(PointView(vertices, 4), faces, 3);
  const float normal[3] = {0.6F, 0.0F, 0.8F};
  const auto triangle = triangleOf(mesh, 0, normal);
  ASSERT_TRUE(triangle);
  EXPECT_EQ(triangle->c[0], 5.0F);
  EXPECT_EQ(triangle->d, -(0.6F * 2.0F + 0.8F * 16777216.0F));
  const auto centroid = centroidOf(*triangle);
  EXPECT_EQ(centroid,
            (std::array<float, 3>{static_cast<float>(8.0 / 3.0), static_cast<float>(13.0 / 3.0),
                                  static_cast<float>(16777216.0 / 3.0)}));
  EXPECT_FALSE(triangleOf(mesh, 1, normal));
  EXPECT_FALSE(triangleOf(mesh, 2, normal));
}

}  // namespace
}  // namespace zelmo::internal
