// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each search against its definition, tried on every point of the cloud.
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/captured_output.h"
#include "support/temporary_folder.h"
#include "zelmo/extract/feature_extract.h"
#include "zelmo/measure/geo_dimension.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace xgeofeature;  // NOLINT: every record is named below
using xgeomeasure::XGeoDimension;
using Extract = XGeoFeatureExtract;
using Triple = std::array<float, 3>;

/// Where a nominal is: a center, a normal and a direction across it.
struct Frame {
  Triple at, up, along;
};
const Frame kTilted = {{0.25F, -0.5F, 1.0F}, {0.48F, 0.6F, 0.64F}, {0.8F, 0.0F, -0.6F}};
const Frame kUpright = {{0.5F, -0.5F, 1.0F}, {0, 0, 1}, {1, 0, 0}};  // on the lattice

Triple ahead(const Triple& from, const Triple& way, double distance) {
  Triple p;
  for (std::size_t i = 0; i < 3; ++i) p[i] = static_cast<float>(from[i] + distance * way[i]);
  return p;
}
double root(double a, double b) { return std::sqrt(a * a + b * b); }
cv::Vec3d wide(const float* p) { return {p[0], p[1], p[2]}; }
float dot(const float* a, const float* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// A point of the cloud with its normal, as seen from a frame.
struct Sight {
  const float *p, *m;
  const Frame& f;

  float cosine() const { return dot(m, f.up.data()); }
  double fromLine(const Triple& o, const Triple& d) const {
    const float line[6] = {o[0], o[1], o[2], d[0], d[1], d[2]};
    return XGeoDimension::calcDistance_Point2Line(p, line);
  }
  double fromAxis() const { return fromLine(f.at, f.up); }
  double from(const Triple& q) const { return XFPoint(p).Distance(XFPoint(q.data())); }
  double fromPlane() const {
    const float plane[6] = {f.at[0], f.at[1], f.at[2], f.up[0], f.up[1], f.up[2]};
    return XGeoDimension::calcDistance_Point2Plane(p, plane);
  }
  float inEquation() const {
    const XFPlane plane(f.at.data(), f.up.data());
    return std::abs(plane.a * p[0] + plane.b * p[1] + plane.c * p[2] + plane.d);
  }
  bool inRectangle(double half_length, double half_width) const {
    const cv::Vec3f across = cv::normalize(wide(f.up.data()).cross(wide(f.along.data())));
    return fromLine(f.at, f.along) <= half_width && cosine() >= 0.5F &&
           fromLine(f.at, {across[0], across[1], across[2]}) <= half_length;
  }
};

/// What a search has to find: the points of the ball about a frame's center that it keeps.
struct Definition {
  std::string name;
  float max_dis;
  Frame frame;
  double radius;
  std::function<void(Extract&)> search;
  std::function<bool(const Sight&)> keeps;
  std::vector<int> Extract::*result = &Extract::indexResult;
};

/// \param[in] f has to outlive the definitions
/// \param[in] s scales the sizes of the searches alone
std::vector<Definition> definitionsIn(const Frame& f, float s = 1) {
  const float *at = f.at.data(), *up = f.up.data(), *along = f.along.data();
  const Frame half_way = {ahead(f.at, f.up, 1), f.up, f.along};
  const XFCircle3D circle(at, up, 3 * s);
  const auto bore = [=](Extract& e) { e.searchCircle(circle, 0.5F, 3 * s, 1 * s, 1.5F, true); };
  const Triple top = ahead(f.at, f.up, -0.5), base = ahead(top, f.up, -3);
  const XFCylinder wall(base.data(), top.data(), 3);
  const auto &c = wall.center, &axis = wall.axis;
  const Frame of_wall = {{c[0], c[1], c[2]}, {axis[0], axis[1], axis[2]}, {}};
  std::vector<Definition> all = {
      {"point", 0, f, 1.5, [=](auto& e) { e.searchPoint(XFPoint(at), 1.5F * s); },
       [](auto&) { return true; }},
      {"cylinder beyond its ends", 0.5F, half_way, 1.1 * root(1, 3),
       [=](auto& e) { e.searchCylinder(XFCylinder(at, up, 3 * s, 2 * s)); },
       [](auto& p) { return std::abs(p.cosine()) <= 0.5F && std::abs(p.fromAxis() - 3) <= 0.5; }},
      {"cone with scaled distances", 0.75F, half_way, 1.1 * root(1, 3),
       [=](auto& e) { e.searchCone(XFCone(at, up, 3 * s, 1.5F * s, 2 * s)); },
       [apex = ahead(f.at, f.up, 4), half = ahead({}, f.up, 0.5)](auto& p) {
         return std::abs(p.fromLine(apex, half) - p.from(apex) * 0.75) <= 0.75;
       }},
      {"wall of a bore", 1, of_wall, 1.1 * root(wall.height / 2.0, 3), bore, [](auto& p) {
         return std::abs(p.cosine()) <= 0.5F && p.fromPlane() <= 1.5 &&
                std::abs(p.fromAxis() - 3) <= 0.5;
       }}};
  for (const float length : {8.0F, 30.0F}) {  // the corners of 8 by 6 lie on the ball
    const XFPlane plane(at, up, along, length * s, 6 * s);
    all.push_back(
        {"plane", 0.5F, f, root(length / 2.0, 3), [=](auto& e) { e.searchPlane(plane); },
         [=](auto& p) { return p.inEquation() <= 0.5F && p.inRectangle(length / 2.0, 3); }});
  }
  const auto outline = [&](double length, double width, auto search) {
    all.push_back({"outline", 0.01F, f, 1.1 * root(length, width), search, [=](auto& p) {
                     return p.fromPlane() <= 0.2 && p.inRectangle(1.1 * length, 1.1 * width);
                   }});
  };
  const XFOvalGroove3D oval(at, up, along, 3 * s, 2 * s);
  const XFRectangle3D rectangle(at, up, along, 5 * s, 2.5F * s);
  const XFRoundGroove3D groove(at, up, along, 2.5F * s, 5 * s, 1);
  outline(5, 2, [=](Extract& e) { e.searchOvalGroove(oval); });
  outline(5, 2.5, [=](Extract& e) { e.searchRectangle(rectangle); });
  outline(2.5, 5, [=](Extract& e) { e.searchRoundGroove(groove); });
  for (const float radius : {3.0F, 6.0F}) {  // a fifth of 3 is below maxDis
    all.push_back({"sphere", 0.75F, f, 1.1 * radius,
                   [=](auto& e) { e.searchSphere(XFSphere(at, radius * s)); },
                   [=](auto& p) {
                     const float out[3] = {p.p[0] - at[0], p.p[1] - at[1], p.p[2] - at[2]};
                     return std::abs(p.from(f.at) - radius) <= std::min(0.75, 0.2 * radius) &&
                            dot(p.m, out) >= 0.5 * p.from(f.at);
                   }});
  }
  const auto ring = [&](float inner, float outer, auto search, auto result) {
    const auto keeps = [=](const Sight& p) {
      const double squared = XFPoint(p.p).SqrDistance(XFPoint(at));
      return p.inEquation() <= 1.0F && std::abs(p.cosine()) >= 0.5F &&
             squared >= double{inner} * inner && squared <= double{outer} * outer;
    };
    all.push_back({"ring up to " + std::to_string(outer), 1, f, outer, search, keeps, result});
  };
  ring(4.0F, 5.5F, bore, &Extract::indexResult2);
  // Half width, gap, inner limit: radius - half where the gap is at most the radius, else 0.
  for (const auto& [half, gap, inner] : std::vector<Triple>{{1, 3, 2}, {1, 3.5F, 0}}) {
    const auto search = [=, h = half * s, g = gap * s](Extract& e) {
      e.searchCircle2(circle, h, g, 0.5F, true);
    };
    ring(inner, 3 + half, search, &Extract::indexResult);
    ring(3 + gap, 3.5F + gap, search, &Extract::indexResult2);
  }
  for (const float degrees : {0.0F, 60.0F, 90.0F}) {
    const double cosine = degrees == 90.0F ? 0.0 : std::cos(degrees / 180.0 * CV_PI);
    const auto search = [=](Extract& e) {
      XFPoint out;
      e.searchPoint(XFPointN(at, up), 1.5F * s, 2 * s, degrees, out);
    };
    all.push_back({"rod", 0, f, std::sqrt(2.0F * 2.0F + 1.5F * 1.5F), search, [=](auto& p) {
                     return p.cosine() >= cosine && p.fromPlane() <= 2 && p.fromAxis() <= 1.5;
                   }});
  }
  for (const auto& [radius, limit] : {std::pair(5.0F, 0.5), std::pair(40.0F, 3.0)}) {
    const auto search = [=, r = radius * s](Extract& e) { e.searchCircle(XFCircle3D(at, up, r)); };
    all.push_back({"edge", 0, f, radius + 4.0, search,
                   [off = limit](auto& p) { return p.m[0] > 0.5F && p.fromPlane() <= off; }});
  }
  return all;
}

/// Runs in a folder of its own, since one search leaves a file in the current one.
class SearchOf : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::current_path(m_folder.path());
    m_extract.setData(m_scan.data.data(), m_scan.count());
    for (int i = 0; i < m_scan.count(); ++i) {  // what counts as the boundary
      if (m_scan.normal(i)[0] > 0.5F) m_extract.indexBoundary.push_back(i);
    }
  }
  void TearDown() override { std::filesystem::current_path(m_before); }

  const Scan m_scan = cubeScan(60000, 8.0F, 11);
  const XFCircle3D m_circle = {kUpright.at.data(), kUpright.up.data(), 3.0F};
  Extract m_extract;
  TemporaryFolder m_folder;
  const std::filesystem::path m_before = std::filesystem::current_path();
};

TEST_F(SearchOf, EachShapeKeepsWhatItsDefinitionDoes) {
  for (const bool by_tree : {false, true}) {
    if (by_tree) {  // as it does when a host replaces the cloud
      m_extract.cloud.reset(new pcl::PointCloud<pcl::PointXYZ>(*m_extract.cloud));
    }
    for (const Frame& f : {kTilted, kUpright}) {
      for (const Definition& d : definitionsIn(f)) {
        SCOPED_TRACE(d.name + (f.up[2] == 1 ? ", upright" : ", tilted"));
        m_extract.setMaxDis(d.max_dis);
        m_extract.indexResult = m_extract.indexResult2 = {-7};
        d.search(m_extract);
        const auto keeps = [&](const float* p, const float* m) { return d.keeps({p, m, d.frame}); };
        auto expected = bruteForce(m_scan, d.frame.at.data(), d.radius, keeps);
        if (d.name == "edge") std::sort(expected.begin(), expected.end());
        EXPECT_GT(expected.size(), 3U);
        EXPECT_EQ(m_extract.*d.result, expected);
      }
    }
  }
}

TEST_F(SearchOf, CircleLeavesATraceThatNothingNeeds) {
  const auto search = [&](float depth, bool with_ring) {
    m_extract.indexResult2 = {1, 2};
    m_extract.searchCircle(m_circle, 0.5F, depth, 1.0F, 1.5F, with_ring);
    return m_extract.indexResult;
  };
  const auto expected = search(2.25F, false);
  EXPECT_EQ(contentOf("_20190125.txt"), "0.5 2.25 \n");
  EXPECT_THAT(m_extract.indexResult2, IsEmpty());
  EXPECT_GT(expected.size(), 10U);
  std::filesystem::remove("_20190125.txt");
  std::filesystem::create_directory("_20190125.txt");  // in the way
  EXPECT_EQ(search(2.25F, true), expected);
  m_extract.indexResult2 = {1, 2};
  m_extract.searchCircle2(m_circle, 1.0F, 2.0F, 0.75F, false);
  EXPECT_THAT(m_extract.indexResult2, IsEmpty());
}

TEST_F(SearchOf, PointAnswersWithAMeanOrACode) {
  const cv::Vec3d at = wide(kTilted.at.data()), up = wide(kTilted.up.data());
  const XFPointN nominal(kTilted.at.data(), kTilted.up.data());
  XFPoint out(7, 8, 9);
  m_extract.indexResult = {1};
  EXPECT_EQ(m_extract.searchPoint(XFPoint(0, 0, 0), 1.5F, out), 0);
  EXPECT_THAT(m_extract.indexResult, IsEmpty());
  cv::Vec3f sum;
  const float origin[3] = {0, 0, 0};
  const auto near = bruteForce(m_scan, origin, 1.5, [](auto...) { return true; });
  for (const int i : near) sum += cv::Vec3f(m_scan.point(i));
  const auto count = static_cast<float>(near.size());
  EXPECT_EQ(cv::Vec3f(&out.x), cv::Vec3f(sum[0] / count, sum[1] / count, sum[2] / count));
  ASSERT_EQ(m_extract.searchPoint(nominal, 1.5F, 2.0F, 60.0F, out), 0);
  double along = 0;
  for (const int i : m_extract.indexResult) along += (wide(m_scan.point(i)) - at).dot(up);
  along /= static_cast<double>(m_extract.indexResult.size());
  EXPECT_LT(cv::norm(wide(&out.x) - at - along * up), 1e-5);

  m_extract.indexResult = {1};
  const XFPoint before = out;
  const float bad[][3] = {{0, 1, 45}, {1, 0, 45}, {1, kNan, 45}, {1, 1, -1}, {1, 1, 90.5F}};
  for (const auto& b : bad) {
    EXPECT_EQ(m_extract.searchPoint(nominal, b[0], b[1], b[2], out), -2) << b[0] << b[1] << b[2];
  }
  EXPECT_EQ(m_extract.searchPoint(XFPoint(0, 0, 0), 0, out), -2);
  EXPECT_THAT(m_extract.indexResult, ElementsAre(1));
  EXPECT_EQ(m_extract.searchPoint(XFPointN(90, 9, 9, 0, 0, 1), 0.5F, 0.5F, 45, out), -1);
  EXPECT_EQ(m_extract.searchPoint(XFPoint(kNan, 0, 0), 1.5F, out), -1);
  EXPECT_EQ(out.Distance(before), 0);
}

TEST_F(SearchOf, FindsNothingWithoutPoints) {
  const float *at = kTilted.at.data(), *up = kTilted.up.data();
  Scan hollow;
  for (int i = 0; i < 30; ++i) hollow.add({0, kNan, 0}, {0, 0, 1});
  Extract before, empty, all_nan;
  empty.setData(nullptr, 5);
  all_nan.setData(hollow.data.data(), hollow.count());
  for (Extract* extract : {&before, &empty, &all_nan}) {
    extract->indexBoundary = {-3, 0, 1, 900000};
    for (const Definition& d : definitionsIn(kTilted)) {
      extract->indexResult = {1};
      d.search(*extract);
      EXPECT_THAT(extract->indexResult, IsEmpty()) << d.name;
      EXPECT_THAT(extract->indexResult2, IsEmpty()) << d.name;
    }
    const auto printed = standardOutputOf([&] { extract->searchBoundaryIndex(); });
    EXPECT_EQ(printed, "indexBoundary.size=0\n");
    EXPECT_THAT(extract->indexBoundary, IsEmpty());
  }
  m_extract.searchCone(XFCone(at, up, 3, 3, 2));  // no cone
  EXPECT_THAT(m_extract.indexResult, IsEmpty());
}

TEST_F(SearchOf, SurvivesDegenerateNominals) {
  Scan scan = cubeScan(500, 8.0F, 4);
  for (const float far : {1e30F, 3e38F}) scan.add({far, -far, far}, {0, 0, 1});
  m_extract.setData(scan.data.data(), scan.count());
  const Triple nowhere = {kNan, 0, 0}, far = {3e38F, 0, 1e30F};
  for (const Triple& at : {kTilted.at, nowhere, far}) {
    for (const Triple& up : {kTilted.up, nowhere, Triple{}}) {
      const Frame frame = {at, up, up};
      for (const float size : {0.0F, -3.0F, 1e30F, kNan}) {
        for (const Definition& d : definitionsIn(frame, size)) {
          d.search(m_extract);
          const auto& found = m_extract.indexResult;
          EXPECT_TRUE(std::all_of(found.begin(), found.end(),
                                  [&](int i) { return i >= 0 && i < scan.count(); }));
          EXPECT_TRUE(std::isfinite(at[0]) || found.empty());
        }
      }
    }
  }
}

}  // namespace
}  // namespace zelmo::test
