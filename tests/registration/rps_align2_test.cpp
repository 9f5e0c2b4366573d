// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align2.h"

#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"
#include "support/captured_output.h"
#include "support/meshes.h"

namespace xrpsalign {
namespace {

using testing::Each;
using zelmo::test::Mesh;
using zelmo::test::Motion;
using zelmo::test::motionOfRigid;
using zelmo::test::offFromRotation;
using zelmo::test::standardOutputOf;
using zelmo::test::turn;

constexpr double kUntouched = -77;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

XRPSPoint rps(const cv::Vec3d& p, int flags) {
  const cv::Vec3f f(p);
  constexpr float kNormal[3] = {0, 0, 1};
  return {f.val, kNormal, static_cast<unsigned char>(flags), 1, 2};
}

/// Vertices moved as a whole.
std::vector<float> moved(std::vector<float> vertices, const Motion& motion) {
  for (std::size_t i = 0; i < vertices.size(); i += 3) {
    const cv::Vec3f p(motion(cv::Vec3d(vertices[i], vertices[i + 1], vertices[i + 2])));
    std::copy_n(p.val, 3, &vertices[i]);
  }
  return vertices;
}

struct Result {
  int code;
  std::array<double, 16> rt;
  std::string printed;
};

Result alignCloud(const std::vector<float>& points, const std::vector<XRPSPoint>& first,
                  const std::vector<XRPSPoint>& second, int iterations) {
  Result result;
  result.rt.fill(kUntouched);
  result.printed = standardOutputOf([&] {
    result.code = XRPSAlign2().alignByRPSPoint(points.data(), static_cast<int>(points.size() / 3),
                                               first, second, result.rt.data(), iterations);
  });
  return result;
}

Result alignMesh(const Mesh& mesh, const std::vector<XRPSPoint>& first,
                 const std::vector<XRPSPoint>& second, int iterations) {
  Result result;
  result.rt.fill(kUntouched);
  const auto normals = mesh.normals();
  result.printed = standardOutputOf([&] {
    result.code = XRPSAlign2().alignByRPSPoint(mesh.vertices.data(), mesh.vertexCount(),
                                               normals.data(), mesh.faces.data(), mesh.faceCount(),
                                               first, second, result.rt.data(), iterations);
  });
  return result;
}

// A part of 60 x 60 x 60 with a 3-2-1 pattern on three of its faces.
const std::vector<XRPSPoint>& nominal() {
  static const std::vector<XRPSPoint> points = {rps({6, 9, 0}, 0xA4),   rps({54, 12, 0}, 0xA4),
                                                rps({31, 51, 0}, 0xA4), rps({9, 0, 28}, 0x98),
                                                rps({51, 0, 33}, 0x98), rps({0, 29, 31}, 0x68)};
  return points;
}
const std::vector<XRPSPoint>& flagsOnly() {
  static const std::vector<XRPSPoint> points(6, rps({0, 0, 0}, 0x54));
  return points;
}

Mesh cube() {
  Mesh mesh = zelmo::test::latticeCube(10);
  for (float& c : mesh.vertices) c *= 6;
  return mesh;
}

const Motion kDisplaced = {turn(2, 0.03) * turn(1, -0.02) * turn(0, 0.025), {1.2, -0.8, 0.9}};

/// How far the reference points are off the faces they locate.
double offFaces(const Motion& rt, const Motion& displaced) {
  double worst = 0;
  for (int i = 0; i < 6; ++i) {
    const int axis = i < 3 ? 2 : i < 5 ? 1 : 0;
    // The face's plane after the displacement and the alignment, at the reference point.
    const cv::Vec3d normal = rt.r * displaced.r * cv::Vec3d(axis == 0, axis == 1, axis == 2);
    const cv::Vec3d on_face = rt(displaced(cv::Vec3d(0, 0, 0)));
    const float* p = nominal()[static_cast<std::size_t>(i)].point;
    worst = std::max(worst, std::fabs((cv::Vec3d(p[0], p[1], p[2]) - on_face).dot(normal)));
  }
  return worst;
}

TEST(RpsAlign2, BringsAMeshOntoItsReferencePoints) {
  Mesh mesh = cube();
  mesh.vertices = moved(mesh.vertices, kDisplaced);
  const Result often = alignMesh(mesh, flagsOnly(), nominal(), 8);
  ASSERT_EQ(often.code, 0);
  const Motion found = motionOfRigid(often.rt.data());
  EXPECT_LT(offFromRotation(found.r), 1e-12);
  EXPECT_LT(offFaces(found, kDisplaced), 1e-3);
  EXPECT_EQ(std::count(often.printed.begin(), often.printed.end(), '\n'), 8);
}

TEST(RpsAlign2, EachPassMovesTheDataByAllBefore) {
  // Two passes in one call are two calls with the data moved between them. On a bent sheet the feet
  // wander, so the second pass still has something to turn.
  const Mesh sheet = zelmo::test::heightField(40, 40, 2.0F, [](float x, float y) {
    return 6 * std::sin(x * 0.15) + 5 * std::cos(y * 0.1);
  });
  std::vector<XRPSPoint> on_sheet;
  for (const int v : {90, 130, 840, 910, 1500, 1570}) {
    const float* p = &sheet.vertices[static_cast<std::size_t>(3 * v)];
    on_sheet.push_back(rps({p[0], p[1], p[2]}, 0));
  }
  Mesh mesh = sheet;
  mesh.vertices = moved(mesh.vertices, {turn(2, 0.05) * turn(0, -0.04), {2, -1, 1.5}});
  const Motion first = motionOfRigid(alignMesh(mesh, flagsOnly(), on_sheet, 1).rt.data());
  Mesh between = mesh;
  between.vertices = moved(mesh.vertices, first);
  const Motion second = motionOfRigid(alignMesh(between, flagsOnly(), on_sheet, 1).rt.data());
  EXPECT_GT(cv::norm(second.r - cv::Matx33d::eye()), 1e-3);
  const Motion both = motionOfRigid(alignMesh(mesh, flagsOnly(), on_sheet, 2).rt.data());
  EXPECT_LT(cv::norm(both.r - second.r * first.r), 1e-5);
  EXPECT_LT(cv::norm(both.t - second(first.t)), 1e-3);

  const auto cloud = moved(sheet.vertices, {turn(1, 0.1) * turn(2, 0.08), {3, 2, 1}});
  const Motion c1 = motionOfRigid(alignCloud(cloud, flagsOnly(), on_sheet, 1).rt.data());
  const Motion c2 = motionOfRigid(alignCloud(moved(cloud, c1), flagsOnly(), on_sheet, 1).rt.data());
  EXPECT_GT(cv::norm(c2.r - cv::Matx33d::eye()), 1e-3);
  const Motion c12 = motionOfRigid(alignCloud(cloud, flagsOnly(), on_sheet, 2).rt.data());
  EXPECT_LT(cv::norm(c12.r - c2.r * c1.r), 1e-5);
  EXPECT_LT(cv::norm(c12.t - c2(c1.t)), 1e-3);
}

TEST(RpsAlign2, BringsACloudBackToWhereItsPointsWere) {
  // Points farther apart than they are displaced: each nearest point is the right one.
  std::mt19937 random(3);
  std::uniform_real_distribution<float> jitter(-0.5F, 0.5F);
  std::vector<float> cloud;
  for (int i = 0; i < 1000; ++i) {
    for (const int c : {i % 10, i / 10 % 10, i / 100}) {
      cloud.push_back(8.0F * static_cast<float>(c) + jitter(random));
    }
  }
  std::vector<XRPSPoint> second;
  for (const int i : {17, 340, 909, 871, 5, 666})
    second.push_back(
        rps({cloud[static_cast<std::size_t>(3 * i)], cloud[static_cast<std::size_t>(3 * i + 1)],
             cloud[static_cast<std::size_t>(3 * i + 2)]},
            0x54));
  const Motion displaced = {turn(2, 0.012) * turn(1, 0.01), {0.5, -0.7, 0.6}};
  const Result result = alignCloud(moved(cloud, displaced), flagsOnly(), second, 2);
  ASSERT_EQ(result.code, 0);
  const Motion found = motionOfRigid(result.rt.data());
  EXPECT_LT(cv::norm(found.r * displaced.r - cv::Matx33d::eye()), 1e-5);
  EXPECT_LT(cv::norm(found(displaced.t)), 1e-3);
  // Entries of the second list beyond the first one's length play no part.
  auto longer = second;
  longer.push_back(rps({1e6, 0, 0}, 0x54));
  EXPECT_EQ(alignCloud(moved(cloud, displaced), flagsOnly(), longer, 2).rt, result.rt);
}

TEST(RpsAlign2, CodesAndLinesOfFailure) {
  const Mesh mesh = cube();
  const auto& cloud = mesh.vertices;
  const std::vector<XRPSPoint> one(1, rps({0, 0, 0}, 0x54));
  struct Case {
    const char* name;
    Result result;
    int code;
    const char* printed;
  };
  const auto at = [](double x, double y, double z) {
    return std::vector<XRPSPoint>(1, rps({x, y, z}, 0x54));
  };
  Mesh far_apart = {{0, 0, 0, 6, 0, 0, 0, 6, 0}, {0, 1, 2}};
  Mesh out_of_range = {{0, 0, 0, 6, 0, 0, 0, 6, 0}, {0, 1, 3, -1, 1, 2}};
  for (const Case& c : {
           Case{"cloud, no pass", alignCloud(cloud, one, one, 0), -101, ""},
           Case{"mesh, no pass", alignMesh(mesh, one, one, -4), -101, ""},
           Case{"cloud, 10 away", alignCloud(cloud, one, at(-10, 0, 0), 1), 0, nullptr},
           Case{"cloud, farther", alignCloud(cloud, one, at(-10.001, 0, 0), 1), -201, ""},
           Case{"mesh, 10 away", alignMesh(far_apart, one, at(1, 1, 10), 1), 0, nullptr},
           Case{"mesh, farther", alignMesh(far_apart, one, at(1, 1, 10.001), 1), -201,
                "-4_123456789\n"},
           Case{"mesh, beside", alignMesh(far_apart, one, at(40, 1, 0), 1), -201, "-3_123456789\n"},
           Case{"cloud, empty", alignCloud({}, one, one, 1), -201, ""},
           Case{"mesh, empty", alignMesh({}, one, one, 1), -201, "-2_123456789\n"},
           Case{"mesh, indices", alignMesh(out_of_range, one, one, 1), -201, "-2_123456789\n"},
           Case{"cloud, NaN", alignCloud(cloud, one, at(kNaN, 0, 0), 1), -201, ""},
           Case{"mesh, NaN", alignMesh(mesh, one, at(0, kNaN, 0), 1), -201, "-2_123456789\n"},
           Case{"cloud, short", alignCloud(cloud, flagsOnly(), one, 1), -201, ""},
           Case{"mesh, short", alignMesh(mesh, flagsOnly(), one, 1), -201, ""},
           Case{"cloud, NaN in it", alignCloud({kNaN, 0, 0}, one, one, 1), -201, ""},
       }) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.result.code, c.code);
    if (c.printed != nullptr) {
      EXPECT_EQ(c.result.printed, c.printed);
      EXPECT_THAT(c.result.rt, Each(kUntouched));
    } else {
      EXPECT_THAT(c.result.printed, testing::StartsWith("迭代次数："));
    }
  }
  // No reference points, nothing to move.
  const Result none = alignCloud(cloud, {}, {}, 2);
  EXPECT_EQ(none.code, 0);
  EXPECT_EQ(motionOfRigid(none.rt.data()).t, cv::Vec3d(0, 0, 0));
  double rt[16];
  EXPECT_EQ(XRPSAlign2().alignByRPSPoint(nullptr, 5, one, one, rt, 1), -201);
  standardOutputOf([&] {
    EXPECT_EQ(XRPSAlign2().alignByRPSPoint(cloud.data(), 8, nullptr, mesh.faces.data(), 3, one, one,
                                           rt, 1),
              -201);
  });
}

}  // namespace
}  // namespace xrpsalign
