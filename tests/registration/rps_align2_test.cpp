// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"
#include "support/captured_output.h"
#include "support/meshes.h"

namespace xrpsalign {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): the helpers of all tests
using Points = std::vector<XRPSPoint>;

constexpr double kUntouched = -77;

struct Result {
  int code = 0;
  std::array<double, 16> rt;
  std::string printed;
  Motion motion() const { return motionOfRigid(rt.data()); }
};

/// Aligns a mesh, or the vertices of one without faces as a cloud.
Result align(const Mesh& mesh, const Points& first, const Points& second, int iterations) {
  Result result;
  result.rt.fill(kUntouched);
  const float* v = mesh.vertices.data();
  result.printed = standardOutputOf([&] {
    result.code = mesh.faces.empty()
                      ? XRPSAlign2().alignByRPSPoint(v, mesh.vertexCount(), first, second,
                                                     result.rt.data(), iterations)
                      : XRPSAlign2().alignByRPSPoint(v, mesh.vertexCount(), mesh.normals().data(),
                                                     mesh.faces.data(), mesh.faceCount(), first,
                                                     second, result.rt.data(), iterations);
  });
  return result;
}

Mesh moved(Mesh mesh, const Motion& motion) {
  for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
    const cv::Vec3f p(motion(cv::Vec3d(cv::Vec3f(&mesh.vertices[i]))));
    std::copy_n(p.val, 3, &mesh.vertices[i]);
  }
  return mesh;
}

const Points kSix(6, rps({0, 0, 0}, 0x54));  // only their flags are read

TEST(RpsAlign2, BringsAMeshOntoItsReferencePoints) {
  // A part of 60 x 60 x 60 with a 3-2-1 pattern on three of its faces.
  const Points nominal = {rps({6, 9, 0}, 0xA4),  rps({54, 12, 0}, 0xA4), rps({31, 51, 0}, 0xA4),
                          rps({9, 0, 28}, 0x98), rps({51, 0, 33}, 0x98), rps({0, 29, 31}, 0x68)};
  Mesh cube = latticeCube(10);
  for (float& c : cube.vertices) c *= 6;
  const Motion displaced = {turn(2, 0.03) * turn(1, -0.02) * turn(0, 0.025), {1.2, -0.8, 0.9}};
  const Result result = align(moved(cube, displaced), kSix, nominal, 8);
  ASSERT_EQ(result.code, 0);
  EXPECT_LT(offFromRotation(result.motion().r), 1e-12);
  const Motion both = result.motion().after(displaced);
  for (int i = 0; i < 6; ++i) {  // each point lies on its face of the part
    const cv::Vec3d p(cv::Vec3f(nominal[static_cast<std::size_t>(i)].point));
    EXPECT_NEAR(both.inverse()(p)[i < 3 ? 2 : i < 5 ? 1 : 0], 0, 1e-3);
  }
  EXPECT_EQ(std::count(result.printed.begin(), result.printed.end(), '\n'), 8);
}

TEST(RpsAlign2, EachPassMovesTheDataByAllBefore) {
  // Three passes in one call are three calls with the data moved between them. On a bent sheet the
  // partners wander, so the later passes still have something to turn.
  const Mesh sheet = heightField(100, 100, 0.8F, [](float x, float y) {
    return 6 * std::sin(x * 0.15) + 5 * std::cos(y * 0.1);
  });
  Points on_sheet;
  for (const int v : {1230, 1290, 5100, 5170, 9020, 9080}) {
    on_sheet.push_back(
        rps(cv::Vec3d(cv::Vec3f(&sheet.vertices[static_cast<std::size_t>(3 * v)])), 0));
  }
  for (const bool as_cloud : {false, true}) {
    Mesh mesh = moved(sheet, {turn(2, 0.06) * turn(0, -0.04), {3, -2, 1.5}});
    if (as_cloud) mesh.faces.clear();
    Motion chain = {cv::Matx33d::eye(), {}};
    for (int pass = 1; pass <= 3; ++pass) {
      const Motion next = align(moved(mesh, chain), kSix, on_sheet, 1).motion();
      EXPECT_GT(cv::norm(next.r - cv::Matx33d::eye()), pass < 3 ? 1e-3 : 0);
      chain = next.after(chain);
      EXPECT_LT(gap(align(mesh, kSix, on_sheet, pass).motion(), chain), 2e-3) << pass;
    }
  }
}

TEST(RpsAlign2, CodesAndLinesOfFailure) {
  const Mesh triangle = {{0, 0, 0, 6, 0, 0, 0, 6, 0}, {0, 1, 2}};
  const Mesh cloud = {triangle.vertices, {}};
  const Mesh out_of_range = {triangle.vertices, {0, 1, 3, -1, 1, 2}};
  Mesh behind_29 = triangle;  // faces that hold nothing, nearer by
  behind_29.faces.resize(90, 0);
  const Points one(1, rps({0, 0, 0}, 0x54));
  const auto at = [](double x, double y, double z) { return Points(1, rps({x, y, z}, 0x54)); };
  const std::string steps = "迭代次数：";
  struct Case {
    const char* name;
    Result result;
    int code;
    std::string printed;
  };
  for (const Case& c : {
           Case{"cloud, no pass", align(cloud, one, one, 0), -101, ""},
           Case{"cloud, 10 away", align(cloud, one, at(-10, 0, 0), 1), 0, steps},
           Case{"cloud, farther", align(cloud, one, at(-10.001, 0, 0), 1), -201, ""},
           Case{"mesh, 10 away", align(triangle, one, at(1, 1, 10), 1), 0, steps},
           Case{"mesh, farther", align(triangle, one, at(1, 1, 10.001), 1), -201, "-4_123456789\n"},
           // Enlarged by 2.5 about (2, 2), then by 0.2 of its edges: up to x = -6.
           Case{"mesh, beside", align(triangle, one, at(-5.99, 1, 0), 1), 0, steps},
           Case{"mesh, past", align(triangle, one, at(-6.01, 1, 0), 1), -201, "-3_123456789\n"},
           Case{"mesh, 30th", align(behind_29, one, one, 1), 0, steps},
           Case{"cloud, empty", align({}, one, one, 1), -201, ""},
           Case{"mesh, indices", align(out_of_range, one, one, 1), -201, "-2_123456789\n"},
           Case{"cloud, NaN", align(cloud, one, at(kNaN, 0, 0), 1), -201, ""},
           Case{"cloud, short", align(cloud, kSix, one, 1), -201, ""},
           Case{"no points", align(cloud, {}, {}, 2), 0, steps},
       }) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.result.code, c.code);
    if (c.code != 0) {
      EXPECT_EQ(c.result.printed, c.printed);
      EXPECT_THAT(c.result.rt, testing::Each(kUntouched));
    } else {
      EXPECT_THAT(c.result.printed, testing::StartsWith(c.printed));
    }
  }
  double rt[16];
  EXPECT_EQ(XRPSAlign2().alignByRPSPoint(nullptr, 5, one, one, rt, 1), -201);
}

}  // namespace
}  // namespace xrpsalign
