// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/point_eliminate.h"

#include <array>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xgeofeature::XGeoFeaturePointEliminate;
using Cloud = pcl::PointCloud<pcl::PointXYZ>;
using Vertex = std::array<double, 3>;

boost::shared_ptr<Cloud> cloudWith(const std::vector<pcl::PointXYZ>& points) {
  boost::shared_ptr<Cloud> cloud(new Cloud);
  for (const auto& p : points) cloud->push_back(p);
  return cloud;
}

/// A wavy sheet of triangles over [0, 10] x [0, 10], as vertices and as corners.
struct Sheet {
  std::vector<float> vertices, normals, corners;
  std::vector<int> faces;

  int triangles() const { return static_cast<int>(faces.size() / 3); }
  float* vertex(int face, int k) {
    return &vertices[static_cast<std::size_t>(3 * faces[static_cast<std::size_t>(3 * face + k)])];
  }
};

Sheet wavySheet(int cells, unsigned seed) {
  Sheet sheet;
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> jitter(-0.3F, 0.3F);
  const float width = 10.0F / static_cast<float>(cells);
  for (int i = 0; i <= cells; ++i) {
    for (int j = 0; j <= cells; ++j) {
      const float x = (static_cast<float>(i) + jitter(random)) * width;
      const float y = (static_cast<float>(j) + jitter(random)) * width;
      sheet.vertices.insert(sheet.vertices.end(), {x, y, std::sin(x) * 0.5F + y * 0.25F});
    }
  }
  for (int i = 0; i < cells; ++i) {
    for (int j = 0; j < cells; ++j) {
      const int at = i * (cells + 1) + j;
      sheet.faces.insert(sheet.faces.end(),
                         {at, at + 1, at + cells + 2, at, at + cells + 2, at + cells + 1});
    }
  }
  for (int face = 0; face < sheet.triangles(); ++face) {
    const float *a = sheet.vertex(face, 0), *b = sheet.vertex(face, 1), *c = sheet.vertex(face, 2);
    const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const double v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                         u[0] * v[1] - u[1] * v[0]};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (const double component : n) {
      sheet.normals.push_back(static_cast<float>(component / length));
    }
    for (const float* corner : {a, b, c}) {
      sheet.corners.insert(sheet.corners.end(), corner, corner + 3);
    }
  }
  return sheet;
}

/// The triangles reordered.
Sheet shuffled(const Sheet& sheet, unsigned seed) {
  std::vector<int> order(static_cast<std::size_t>(sheet.triangles()));
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(seed));
  Sheet mixed{sheet.vertices, {}, {}, {}};
  for (const int i : order) {
    mixed.faces.insert(mixed.faces.end(), &sheet.faces[3 * i], &sheet.faces[3 * i] + 3);
    mixed.normals.insert(mixed.normals.end(), &sheet.normals[3 * i], &sheet.normals[3 * i] + 3);
    mixed.corners.insert(mixed.corners.end(), &sheet.corners[9 * i], &sheet.corners[9 * i] + 9);
  }
  return mixed;
}

/// Whether the foot of \p p on the plane of a face lies in the widened triangle, by areas: every
/// barycentric coordinate w of the plain triangle maps to one of the enlarged triangle, which is 1.75
/// times as large about the centroid.
bool liesOver(Sheet& sheet, int face, const float* p) {
  const float* n = &sheet.normals[static_cast<std::size_t>(3 * face)];
  Vertex corner[3], foot{};
  double height = 0;
  for (int i = 0; i < 3; ++i) height += (p[i] - sheet.vertex(face, 0)[i]) * double{n[i]};
  for (std::size_t i = 0; i < 3; ++i) {
    foot[i] = p[i] - height * n[i];
    for (int k = 0; k < 3; ++k) corner[k][i] = sheet.vertex(face, k)[i];
  }
  const auto area = [&](const Vertex& a, const Vertex& b, const Vertex& c) {
    double cross[3];
    for (std::size_t i = 0; i < 3; ++i) {
      const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
      cross[i] = (b[j] - a[j]) * (c[k] - a[k]) - (b[k] - a[k]) * (c[j] - a[j]);
    }
    return cross[0] * n[0] + cross[1] * n[1] + cross[2] * n[2];
  };
  const double whole = area(corner[0], corner[1], corner[2]);
  const auto enlarged = [&](double part) { return (part / whole - 1.0 / 3.0) / 1.75 + 1.0 / 3.0; };
  const double v = enlarged(area(corner[0], foot, corner[2]));  // of corner b
  const double u = enlarged(area(corner[0], corner[1], foot));  // of corner c
  return u >= -0.2 && u <= 1.2 && v >= -0.2 && v <= 1.2 && u + v <= 1.2;
}

/// Tries the ten triangles with the nearest centroids, found by sorting all.
bool stays(Sheet& sheet, const float* p) {
  std::vector<std::pair<double, int>> by_distance;
  for (int face = 0; face < sheet.triangles(); ++face) {
    double squared = 0;
    for (int i = 0; i < 3; ++i) {
      const double sum =
          double{sheet.vertex(face, 0)[i]} + sheet.vertex(face, 1)[i] + sheet.vertex(face, 2)[i];
      squared += (sum / 3.0 - p[i]) * (sum / 3.0 - p[i]);
    }
    by_distance.emplace_back(squared, face);
  }
  std::sort(by_distance.begin(), by_distance.end());
  by_distance.resize(std::min<std::size_t>(by_distance.size(), 10));
  return std::any_of(by_distance.begin(), by_distance.end(),
                     [&](const auto& near) { return liesOver(sheet, near.second, p); });
}

TEST(XGeoFeaturePointEliminate, KeepsWhatLiesOverTheTenNearestTriangles) {
  Sheet sheet = wavySheet(9, 2);
  std::mt19937 random(8);
  std::uniform_real_distribution<float> place(-3.0F, 13.0F);
  std::vector<pcl::PointXYZ> points;
  for (int i = 0; i < 3000; ++i) points.emplace_back(place(random), place(random), place(random));
  const auto cloud = cloudWith(points);
  std::vector<int> candidates, expected;
  for (int i = 2990; i > 10; i -= 2) {
    candidates.push_back(i);
    if (stays(sheet, points[static_cast<std::size_t>(i)].data)) expected.push_back(i);
  }
  ASSERT_GT(expected.size(), 300U);
  ASSERT_LT(expected.size() + 300, candidates.size());
  const std::vector<float> normals(3 * points.size(), 0.5F);
  XGeoFeaturePointEliminate eliminate;
  std::vector<int> result = {1, 2, 3};
  for (unsigned seed = 0; seed < 4; ++seed) {
    Sheet mixed = shuffled(sheet, seed);
    const int count = mixed.triangles();
    EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloud, normals, candidates, mixed.corners.data(),
                                                  count, mixed.normals.data(), result),
              0);
    EXPECT_EQ(result, expected);
    EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloud, normals, candidates, mixed.vertices.data(),
                                                  100, mixed.normals.data(), mixed.faces.data(),
                                                  count, result),
              0);
    EXPECT_EQ(result, expected);
  }
  EXPECT_EQ(eliminate.triangles.size(), 162U);
  EXPECT_EQ(eliminate.cloudCentroids->size(), 162U);
  EXPECT_EQ(eliminate.cloudPoints->size(), candidates.size());
  EXPECT_EQ(eliminate.cloudPoints->at(1).x, points[2988].x);
  EXPECT_EQ(eliminate.pointNormals.size(), 3 * candidates.size());
  EXPECT_EQ(eliminate.kdtree, nullptr);
}

TEST(XGeoFeaturePointEliminate, DoesNoWorkForFaces) {
  XGeoFeaturePointEliminate eliminate;
  std::vector<int> result = {5};
  EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloudWith({{0, 0, 0}}), {0, 0, 1}, {0},
                                                std::vector<TopoDS_Face>(2), result),
            -1);
  EXPECT_THAT(result, ElementsAre(5));
}

class EliminateOverOneTriangle : public testing::Test {
 protected:
  // One corner at the origin, edges of 8 along x and y; enlarged, the corner is at (-2, -2) and the
  // edges are 14 long.
  std::vector<float> m_corners = {0, 0, 0, 8, 0, 0, 0, 8, 0};
  std::vector<float> m_up = {0, 0, 1};
  XGeoFeaturePointEliminate m_eliminate;

  std::vector<int> staying(const std::vector<pcl::PointXYZ>& points, std::vector<int> indices) {
    const int count = static_cast<int>(m_corners.size() / 9);
    std::vector<int> result = {1, 2};
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloudWith(points),
                                                    std::vector<float>(3 * points.size()), indices,
                                                    m_corners.data(), count, m_up.data(), result),
              0);
    return result;
  }
};

TEST_F(EliminateOverOneTriangle, KeepsPointsAtAnyHeightBelowItsLimit) {
  EXPECT_THAT(staying({{2, 2, 0},         // on the plane
                       {8, 0, 5},         // over a corner
                       {-4.79F, 4, -70},  // -0.2 of the enlarged triangle is -4.8
                       {-4.81F, 4, -70},
                       {2, 2, 99999},
                       {2, 2, -100000},
                       {kNan, 2, 0},
                       {2, kInf, 0},
                       {2, 2, 3e38F}},
                      {0, 1, 2, 3, 4, 5, 6, 7, 8}),
              ElementsAre(0, 1, 2, 4));
}

TEST_F(EliminateOverOneTriangle, LeavesOutCandidatesOutsideTheCloud) {
  const std::vector<pcl::PointXYZ> points = {{1, 1, 1}, {2, 2, 2}};
  EXPECT_THAT(staying(points, {}), IsEmpty());
  EXPECT_THAT(staying(points, {-1, 1, 2, 1, 1000000, 0, -2147483647}), ElementsAre(1, 1, 0));
  std::vector<int> in_place = {0, 7, 1};
  m_eliminate.getGeoFeaturePointIndices(cloudWith(points), {}, in_place, m_corners.data(), 1,
                                        m_up.data(), in_place);
  EXPECT_THAT(in_place, ElementsAre(0, 1));
  m_eliminate.getGeoFeaturePointIndices(nullptr, {}, {0, 1}, m_corners.data(), 1, m_up.data(),
                                        in_place);
  EXPECT_THAT(in_place, IsEmpty());
}

TEST_F(EliminateOverOneTriangle, HoldsNothingWhereThereIsNoTriangle) {
  const std::vector<pcl::PointXYZ> points = {{1, 1, 1}};
  std::vector<int> result;
  const auto cloud = cloudWith(points);
  const int outside[3] = {0, 1, 3}, inside[3] = {0, 1, 2};
  const struct {
    const char* name;
    const float* vertices;
    int vertex_count;
    const float* normals;
    const int* faces;
    int face_count;
    std::size_t expected;
  } cases[] = {{"plain", m_corners.data(), 3, m_up.data(), inside, 1, 1},
               {"no triangles", m_corners.data(), 3, m_up.data(), inside, 0, 0},
               {"negative", m_corners.data(), 3, m_up.data(), inside, -4, 0},
               {"no vertices", nullptr, 3, m_up.data(), inside, 1, 0},
               {"no faces", m_corners.data(), 3, m_up.data(), nullptr, 1, 0},
               {"no normals", m_corners.data(), 3, nullptr, inside, 1, 0},
               {"vertex outside", m_corners.data(), 3, m_up.data(), outside, 1, 0},
               {"too few vertices", m_corners.data(), 2, m_up.data(), inside, 1, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    result = {3};
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloud, {}, {0}, c.vertices, c.vertex_count,
                                                    c.normals, c.faces, c.face_count, result),
              0);
    EXPECT_EQ(result.size(), c.expected);
  }
  EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloud, {}, {0}, nullptr, 1, m_up.data(), result),
            0);
  EXPECT_THAT(result, IsEmpty());
}

TEST_F(EliminateOverOneTriangle, PassesOverDegenerateAndDuplicateTriangles) {
  const std::vector<float> degenerate = {1,    1, 0, 1, 1, 0, 1, 1, 0,   // a point
                                         0,    0, 0, 2, 2, 0, 1, 1, 0,   // a line
                                         kNan, 0, 0, 1, 0, 0, 0, 1, 0};  // nowhere
  const auto plain = m_corners;
  m_corners = degenerate;
  m_up = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  EXPECT_THAT(staying({{1, 1, 1}}, {0}), IsEmpty());
  for (int i = 0; i < 2; ++i) {
    m_corners.insert(m_corners.end(), plain.begin(), plain.end());
    m_up.insert(m_up.end(), {0, 0, 1});
  }
  EXPECT_THAT(staying({{1, 1, 1}}, {0}), ElementsAre(0));
}

}  // namespace
}  // namespace zelmo::test
