// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each search against its definition, tried on every point of the cloud.
#include <filesystem>
#include <functional>
#include <memory>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/temporary_folder.h"
#include "zelmo/extract/feature_extract.h"
#include "zelmo/measure/geo_dimension.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace xgeofeature;  // NOLINT: every record is named below
using xgeomeasure::XGeoDimension;

/// Where the nominals are: a center, a normal and a direction across it.
struct Frame {
  float at[3], up[3], along[3];

  std::array<float, 3> ahead(double distance) const {
    std::array<float, 3> p{};
    for (std::size_t i = 0; i < 3; ++i) p[i] = static_cast<float>(at[i] + distance * up[i]);
    return p;
  }
};
constexpr Frame kTilted = {{0.25F, -0.5F, 1.0F}, {0.48F, 0.6F, 0.64F}, {0.8F, 0.0F, -0.6F}};
constexpr Frame kUpright = {{0.5F, -0.5F, 1.0F}, {0, 0, 1}, {1, 0, 0}};  // on the lattice
constexpr float kOrigin[3] = {0, 0, 0};

double lineDistance(const float* p, const float* o, const float* d) {
  const float line[6] = {o[0], o[1], o[2], d[0], d[1], d[2]};
  return XGeoDimension::calcDistance_Point2Line(p, line);
}

/// A point of the cloud with its normal, as seen from a frame.
struct Sight {
  const float *p, *m;
  const Frame& f;

  static float dot(const float* a, const float* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  }
  float cosine() const { return dot(m, f.up); }
  double fromCenter() const { return XFPoint(p).Distance(XFPoint(f.at)); }
  double fromAxis(double start) const { return lineDistance(p, f.ahead(start).data(), f.up); }
  double fromPlane() const {
    const float plane[6] = {f.at[0], f.at[1], f.at[2], f.up[0], f.up[1], f.up[2]};
    return XGeoDimension::calcDistance_Point2Plane(p, plane);
  }
  float inEquation() const {
    const XFPlane plane(f.at, f.up);
    return std::abs(plane.a * p[0] + plane.b * p[1] + plane.c * p[2] + plane.d);
  }
  bool inRectangle(double half_length, double half_width) const {
    const cv::Vec3d across = cv::normalize(
        cv::Vec3d(f.up[0], f.up[1], f.up[2]).cross({f.along[0], f.along[1], f.along[2]}));
    return lineDistance(p, f.at, f.along) <= half_width &&
           lineDistance(p, f.at, cv::Vec3f(across).val) <= half_length;
  }
  bool inRing(float inner, float outer) const {
    const double squared = XFPoint(p).SqrDistance(XFPoint(f.at));
    return inEquation() <= 1.0F && squared >= double{inner} * inner &&
           squared <= double{outer} * outer && std::abs(cosine()) >= 0.5F;
  }
};

using Search = std::function<void(XGeoFeatureExtract&)>;

/// What a search has to find: the points of a ball that it keeps.
struct Definition {
  std::string name;
  float max_dis;
  std::array<float, 3> center;  // of the ball
  double radius;
  Search search;
  std::function<bool(const Sight&)> keeps;
  std::vector<int> XGeoFeatureExtract::*result = &XGeoFeatureExtract::indexResult;
};

double root(double a, double b) { return std::sqrt(a * a + b * b); }

std::vector<Definition> definitionsIn(const Frame& f) {
  using E = XGeoFeatureExtract;
  const std::array<float, 3> at = f.ahead(0);
  std::vector<Definition> all;
  for (const float length : {3.0F, 8.0F, 30.0F}) {  // the corners of 8 by 6 lie on the ball
    const XFPlane plane(f.at, f.up, f.along, length, 6.0F);
    all.push_back({"plane", 0.5F, at, root(length / 2.0, 3), [=](E& e) { e.searchPlane(plane); },
                   [=](const Sight& s) {
                     return s.inEquation() <= 0.5F && s.inRectangle(length / 2.0, 3) &&
                            s.cosine() >= 0.5F;
                   }});
  }
  const auto outline = [&](double length, double width, const Search& search) {
    const auto keeps = [=](const Sight& s) {  // whatever maxDis is
      return s.fromPlane() <= 0.2 && s.inRectangle(1.1 * length, 1.1 * width) && s.cosine() >= 0.5F;
    };
    all.push_back({"outline", 0.01F, at, 1.1 * root(length, width), search, keeps});
  };
  const XFOvalGroove3D oval(f.at, f.up, f.along, 3, 2);
  const XFRectangle3D rectangle(f.at, f.up, f.along, 5, 2.5F);
  const XFRoundGroove3D groove(f.at, f.up, f.along, 2.5F, 5, 1);
  outline(5, 2, [=](E& e) { e.searchOvalGroove(oval); });
  outline(5, 2.5, [=](E& e) { e.searchRectangle(rectangle); });
  outline(2.5, 5, [=](E& e) { e.searchRoundGroove(groove); });

  all.push_back({"cylinder beyond its ends", 0.5F, f.ahead(1), 1.1 * root(1, 3),
                 [=](E& e) { e.searchCylinder(XFCylinder(f.at, f.up, 3.0F, 2.0F)); },
                 [](const Sight& s) {
                   return std::abs(s.cosine()) <= 0.5F && std::abs(s.fromAxis(1) - 3.0) <= 0.5;
                 }});
  for (const float radius : {2.5F, 3.0F, 6.0F}) {  // a fifth of 2.5 and of 3 is below maxDis
    all.push_back({"sphere", 0.75F, at, 1.1 * radius,
                   [=](E& e) { e.searchSphere(XFSphere(f.at, radius)); },
                   [=](const Sight& s) {
                     const auto& [p, m, frame] = s;
                     const float out[3] = {p[0] - f.at[0], p[1] - f.at[1], p[2] - f.at[2]};
                     return std::abs(s.fromCenter() - radius) <= std::min(0.75, 0.2 * radius) &&
                            Sight::dot(m, out) >= 0.5 * s.fromCenter();
                   }});
  }
  all.push_back({"cone with scaled distances", 0.75F, f.ahead(1), 1.1 * root(1, 3),
                 [=](E& e) { e.searchCone(XFCone(f.at, f.up, 3.0F, 1.5F, 2.0F)); },
                 [=](const Sight& s) {
                   const float half[3] = {f.up[0] / 2, f.up[1] / 2, f.up[2] / 2};
                   const auto apex = f.ahead(4);
                   const double slant = XFPoint(s.p).Distance(XFPoint(apex.data()));
                   return std::abs(lineDistance(s.p, apex.data(), half) - slant * 0.75) <= 0.75;
                 }});

  const XFCircle3D circle(f.at, f.up, 3.0F);
  const Search bore = [=](E& e) { e.searchCircle(circle, 0.5F, 3.0F, 1.0F, 1.5F, true); };
  const std::array<float, 3> top = f.ahead(-0.5);
  const Frame at_top = {{top[0], top[1], top[2]}, {f.up[0], f.up[1], f.up[2]}, {}};
  const XFCylinder wall(at_top.ahead(-3).data(), top.data(), 3.0F);
  const float* middle = wall.center;
  all.push_back({"wall of a bore",
                 1.0F,
                 {middle[0], middle[1], middle[2]},
                 1.1 * root(wall.height / 2.0, 3),
                 bore,
                 [=](const Sight& s) {
                   double along = 0;
                   for (int i = 0; i < 3; ++i) {
                     along += (double{s.p[i]} - wall.center[i]) * wall.axis[i];
                   }
                   return std::abs(Sight::dot(s.m, wall.axis)) <= 0.5F && std::abs(along) <= 1.5 &&
                          std::abs(lineDistance(s.p, wall.center, wall.axis) - 3.0) <= 0.5;
                 }});
  const auto ring = [&](float inner, float outer, const Search& search, auto result) {
    const auto keeps = [=](const Sight& s) { return s.inRing(inner, outer); };
    all.push_back({"ring up to " + std::to_string(outer), 1, at, outer, search, keeps, result});
  };
  ring(4.0F, 5.5F, bore, &E::indexResult2);
  // Half width, gap, inner limit: radius - half where the gap is at most the radius, else 0.
  for (const auto& [half, gap, inner] : std::vector<std::array<float, 3>>{
           {1, 2, 2}, {1, 3, 2}, {1, 3.5F, 0}, {4, 1, 1 /* squared, as -1 is */}}) {
    const Search search = [=, h = half, g = gap](E& e) {
      e.searchCircle2(circle, h, g, 0.5F, true);
    };
    ring(inner, 3 + half, search, &E::indexResult);
    ring(3 + gap, 3.5F + gap, search, &E::indexResult2);
  }

  all.push_back({"point", 0, at, 1.5, [=](E& e) { e.searchPoint(XFPoint(f.at), 1.5F); },
                 [](const Sight&) { return true; }});
  for (const float degrees : {0.0F, 60.0F, 90.0F}) {
    const double cosine = degrees == 90.0F ? 0.0 : std::cos(degrees / 180.0 * CV_PI);
    const Search search = [=](E& e) {
      XFPoint out;
      e.searchPoint(XFPointN(f.at, f.up), 1.5F, 2.0F, degrees, out);
    };
    all.push_back({"rod", 0, at, std::sqrt(2.0F * 2.0F + 1.5F * 1.5F), search, [=](const Sight& s) {
                     return s.cosine() >= cosine && s.fromPlane() <= 2.0 && s.fromAxis(0) <= 1.5;
                   }});
  }
  return all;
}

/// Runs in a folder of its own, since one search leaves a file in the current one.
class SearchOf : public testing::Test {
 protected:
  static void SetUpTestSuite() { s_scan = std::make_unique<Scan>(cubeScan(60000, 8.0F, 11)); }
  static void TearDownTestSuite() { s_scan.reset(); }
  void SetUp() override {
    m_before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.path());
    m_extract.setData(s_scan->data.data(), s_scan->count());
  }
  void TearDown() override { std::filesystem::current_path(m_before); }

  void replaceCloudByItsCopy() {
    m_extract.cloud = boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>>(
        new pcl::PointCloud<pcl::PointXYZ>(*m_extract.cloud));
  }

  static inline std::unique_ptr<Scan> s_scan;
  XGeoFeatureExtract m_extract;
  TemporaryFolder m_folder;
  std::filesystem::path m_before;
};

TEST_F(SearchOf, EachShapeKeepsWhatItsDefinitionDoes) {
  for (const bool by_tree :
       {false, true}) {  // a host that replaces the cloud makes it search itself
    if (by_tree) replaceCloudByItsCopy();
    for (const Frame& f : {kTilted, kUpright}) {
      for (const Definition& d : definitionsIn(f)) {
        SCOPED_TRACE(d.name + (f.up[2] == 1 ? ", upright" : ", tilted"));
        m_extract.setMaxDis(d.max_dis);
        m_extract.indexResult = m_extract.indexResult2 = {-7};
        d.search(m_extract);
        const auto keeps = [&](const float* p, const float* m) { return d.keeps({p, m, f}); };
        const auto expected = bruteForce(*s_scan, d.center.data(), d.radius, keeps);
        EXPECT_GT(expected.size(), 3U);
        EXPECT_EQ(m_extract.*d.result, expected);
      }
    }
  }
}

TEST_F(SearchOf, CircleKeepsBoundaryPointsNearItsPlane) {
  for (int i = 0; i < s_scan->count(); i += 3) m_extract.indexBoundary.push_back(i);
  for (const bool by_tree : {false, true}) {
    if (by_tree) replaceCloudByItsCopy();
    for (const float radius : {5.0F, 40.0F}) {  // the limits are 0.5 and 3
      m_extract.searchCircle(XFCircle3D(kUpright.at, kUpright.up, radius));
      auto expected = bruteForce(*s_scan, kUpright.at, radius + 4.0, [&](const float* p, auto) {
        return Sight{p, nullptr, kUpright}.fromPlane() <= (radius < 30.0F ? 0.5 : 3.0);
      });
      std::sort(expected.begin(), expected.end());
      expected.erase(std::remove_if(expected.begin(), expected.end(), [](int i) { return i % 3; }),
                     expected.end());
      EXPECT_GT(expected.size(), 100U);
      EXPECT_EQ(m_extract.indexResult, expected);
    }
  }
  // Indices that are not ascending, or not of this cloud, are passed over.
  const int first = m_extract.indexResult[0], second = m_extract.indexResult[1];
  m_extract.indexBoundary = {-3, first, first, second, first, 900000};
  m_extract.searchCircle(XFCircle3D(kUpright.at, kUpright.up, 40.0F));
  EXPECT_THAT(m_extract.indexResult, ElementsAre(first, second));
  m_extract.indexBoundary.clear();
  m_extract.searchCircle(XFCircle3D(kUpright.at, kUpright.up, 40.0F));
  EXPECT_THAT(m_extract.indexResult, IsEmpty());
}

TEST_F(SearchOf, NeighbourhoodIsThatOfTheTreeUpToItsBrink) {
  // Coordinates of full precision, so that roundings inside the tree have something to decide.
  std::mt19937 random(3);
  std::uniform_real_distribution<float> spread(-9.0F, 9.0F);
  Scan scan;
  for (int i = 0; i < 20000; ++i) scan.add(spread(random), spread(random), spread(random), 0, 0, 1);
  m_extract.setData(scan.data.data(), scan.count());
  for (int trial = 0; trial < 300; ++trial) {
    const XFPoint center(spread(random) * 1.5F, spread(random), spread(random));
    const pcl::PointXYZ query(center.x, center.y, center.z);
    std::vector<int> expected(1);
    std::vector<float> squared(1);
    // Every other radius is the distance of a point, which is just in or just out.
    m_extract.kdtree->nearestKSearch(query, 1 + 5 * trial, expected, squared);
    const float radius = trial % 2 == 0 ? std::sqrt(squared.back()) : std::abs(spread(random));
    m_extract.kdtree->radiusSearch(query, radius, expected, squared);
    m_extract.searchPoint(center, radius);
    ASSERT_EQ(m_extract.indexResult, expected) << trial;
  }
}

TEST(Search, OrdersEqualDistancesByIndex) {
  for (const int count : {10, 100, 2000}) {
    Scan scan;
    for (int i = 0; i < count; ++i) scan.add(1, 2, 3, 0, 0, 1);
    XGeoFeatureExtract extract;
    extract.setData(scan.data.data(), count);
    extract.searchPoint(XFPoint(kOrigin), 4);
    std::vector<int> expected(static_cast<std::size_t>(count));
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(extract.indexResult, expected);
  }
}

TEST(Search, TakesItsLimitsIn) {
  const float below_half = std::nextafter(0.5F, 0.0F), off = std::nextafter(0.75F, 1.0F);
  const float far[3] = {-16777216.0F, 0, 0}, tiny[3] = {0, 0, -0.5F};
  const struct {
    const char* name;
    float max_dis;
    Search search;
    std::vector<std::array<float, 6>> points;
    std::vector<int> expected;
  } cases[] = {
      {"plane: maxDis, half the sides, 60 degrees, the other side, the ball itself",
       0.75F,
       [](auto& e) { e.searchPlane(XFPlane(kOrigin, kUpright.up, kUpright.along, 8, 6)); },
       {{0, 0, 0.75F, 0, 0, 1},
        {0, 0, off, 0, 0, 1},
        {0, 3, 0, 0, 0, 1},
        {0, 3.0000002F, 0, 0, 0, 1},
        {4, 0.5F, 0, 0, 0, 1},
        {4.0000005F, 0, 0, 0, 0, 1},
        {0.5F, 0, 0, 0.8660254F, 0, 0.5F},
        {0.25F, 0, 0, 0.8660254F, 0, below_half},
        {0.125F, 0, 0, 0, 0, -1},
        {4, 3, 0, 0, 0, 1}},
       {6, 0, 2, 4}},
      {"cylinder: less than 0.001 off the axis' point counts as on it",
       0.9995F,
       [&](auto& e) { e.searchCylinder(XFCylinder(tiny, kUpright.up, 1, 1)); },
       {{0.0009F, 0, 0, 1, 0, 0}, {0.0011F, 0, 0, 1, 0, 0}},
       {1}},
      {"sphere: differences in float, which 16777217 is not",
       0.5F,
       [&](auto& e) { e.searchSphere(XFSphere(far, 16777216.0F)); },
       {{1, 0, 0, 1, 0, 0}, {3, 0, 0, 1, 0, 0}},
       {0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Scan scan;
    for (const auto& p : c.points) scan.data.insert(scan.data.end(), p.begin(), p.end());
    XGeoFeatureExtract extract;
    extract.setData(scan.data.data(), scan.count());
    extract.setMaxDis(c.max_dis);
    c.search(extract);
    EXPECT_EQ(extract.indexResult, c.expected);
  }
}

TEST_F(SearchOf, CircleLeavesATraceThatNothingNeeds) {
  const XFCircle3D circle(kTilted.at, kTilted.up, 3.0F);
  m_extract.indexResult2 = {1, 2};
  m_extract.searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, false);
  EXPECT_EQ(contentOf("_20190125.txt"), "0.5 2.25 \n");
  EXPECT_THAT(m_extract.indexResult2, IsEmpty());
  const auto expected = m_extract.indexResult;
  EXPECT_GT(expected.size(), 10U);
  std::filesystem::remove("_20190125.txt");
  std::filesystem::create_directory("_20190125.txt");  // in the way
  m_extract.searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, false);
  EXPECT_EQ(m_extract.indexResult, expected);
  m_extract.setMaxDis(10.0F);
  for (const float depth : {0.0F, -1.0F, kNan, kInf}) {
    m_extract.searchCircle(XFCircle3D(kOrigin, kUpright.up, 1.0F), 0.0F, depth, 0, 0, false);
    EXPECT_THAT(m_extract.indexResult, IsEmpty()) << depth;
  }
  m_extract.indexResult2 = {1, 2};
  m_extract.searchCircle2(circle, 1.0F, 2.0F, 0.75F, false);
  EXPECT_THAT(m_extract.indexResult2, IsEmpty());
}

TEST_F(SearchOf, PointAnswersWithAMeanOrACode) {
  const float *at = kTilted.at, *up = kTilted.up;
  const XFPointN nominal(at, up);
  XFPoint out(7, 8, 9);
  EXPECT_EQ(m_extract.searchPoint(XFPoint(kOrigin), 1.5F, out), 0);
  EXPECT_THAT(m_extract.indexResult, IsEmpty());
  cv::Vec3f sum;
  const auto near = bruteForce(*s_scan, kOrigin, 1.5, [](auto...) { return true; });
  for (const int i : near) sum += cv::Vec3f(s_scan->point(i));
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ((&out.x)[k], sum[k] / static_cast<float>(near.size()));
  }
  ASSERT_EQ(m_extract.searchPoint(nominal, 1.5F, 2.0F, 60.0F, out), 0);
  double along = 0;  // of the mean of the points found
  for (const int i : m_extract.indexResult) {
    along += (cv::Vec3d(cv::Vec3f(s_scan->point(i))) - cv::Vec3d(cv::Vec3f(at)))
                 .dot(cv::Vec3d(cv::Vec3f(up))) /
             static_cast<double>(m_extract.indexResult.size());
  }
  for (int k = 0; k < 3; ++k) EXPECT_NEAR((&out.x)[k], at[k] + along * up[k], 1e-5);

  m_extract.indexResult = {1};
  const float before = out.x;
  const float bad[][3] = {{0, 1, 45},    {-1, 1, 45}, {kNan, 1, 45}, {1, 0, 45},  {1, -2, 45},
                          {1, kNan, 45}, {1, 1, -1},  {1, 1, 90.5F}, {1, 1, kNan}};
  for (const auto& b : bad) {
    EXPECT_EQ(m_extract.searchPoint(nominal, b[0], b[1], b[2], out), -2) << b[0] << b[1] << b[2];
    const int code = m_extract.searchPoint(XFPoint(at), std::min(b[0], 0.0F), out);
    EXPECT_EQ(code, -2);
  }
  EXPECT_THAT(m_extract.indexResult, ElementsAre(1));
  EXPECT_EQ(m_extract.searchPoint(XFPointN(90, 9, 9, 0, 0, 1), 0.5F, 0.5F, 45, out), -1);
  for (const float x : {100.0F, kNan}) {
    EXPECT_THAT(m_extract.indexResult, IsEmpty());
    EXPECT_EQ(m_extract.searchPoint(XFPoint(x, 0, 0), 1.5F, out), -1);
  }
  EXPECT_EQ(out.x, before);
}

/// Every search with sizes and directions of one value.
std::vector<Search> allSearches(const float* at, const float* to, float s) {
  static XFPoint out;
  return {
      [=](auto& e) { e.searchPlane(XFPlane(at, to, to, s, s)); },
      [=](auto& e) { e.searchCylinder(XFCylinder(at, to, s, s)); },
      [=](auto& e) { e.searchCone(XFCone(at, to, s, s, s)); },
      [=](auto& e) { e.searchCone(XFCone(at, to, s, 0, s)); },
      [=](auto& e) { e.searchSphere(XFSphere(at, s)); },
      [=](auto& e) { e.searchCircle(XFCircle3D(at, to, s)); },
      [=](auto& e) { e.searchCircle(XFCircle3D(at, to, s), s, s, s, s, true); },
      [=](auto& e) { e.searchCircle2(XFCircle3D(at, to, s), s, s, s, true); },
      [=](auto& e) { e.searchOvalGroove(XFOvalGroove3D(at, to, to, s, s)); },
      [=](auto& e) { e.searchRectangle(XFRectangle3D(at, to, to, s, s)); },
      [=](auto& e) { e.searchRoundGroove(XFRoundGroove3D(at, to, to, s, s, s)); },
      [=](auto& e) { e.searchPoint(XFPoint(at), s); },
      [=](auto& e) { e.searchPoint(XFPoint(at), s, out); },
      [=](auto& e) { e.searchPoint(XFPointN(at, to), s, s, 90, out); },
  };
}

TEST_F(SearchOf, FindsNothingWithoutPoints) {
  Scan hollow;
  for (int i = 0; i < 30; ++i) hollow.add(0, kNan, 0, 0, 0, 1);
  XGeoFeatureExtract before, empty, all_nan, no_tree = m_extract;
  empty.setData(nullptr, -1);
  all_nan.setData(hollow.data.data(), hollow.count());
  no_tree.kdtree.reset();
  for (XGeoFeatureExtract* extract : {&before, &empty, &all_nan, &no_tree}) {
    extract->indexBoundary = {0, 1, 2};
    for (const auto& search : allSearches(kTilted.at, kTilted.up, 5.0F)) {
      extract->indexResult = {1};
      search(*extract);
      EXPECT_THAT(extract->indexResult, IsEmpty());
      EXPECT_THAT(extract->indexResult2, IsEmpty());
    }
  }
  for (const auto& radii : {std::pair(3, 3), std::pair(3, 0), std::pair(0, 0)}) {
    const auto [base, top] = radii;
    m_extract.indexResult = {1};
    m_extract.searchCone(
        XFCone(kTilted.at, kTilted.up, static_cast<float>(base), static_cast<float>(top), 2.0F));
    EXPECT_THAT(m_extract.indexResult, IsEmpty()) << base << top;
  }
}

TEST_F(SearchOf, SurvivesDegenerateNominals) {
  Scan scan = cubeScan(500, 8.0F, 4);
  for (const float far : {1e30F, 3e38F}) scan.add(far, -far, far, 0, 0, 1);
  m_extract.setData(scan.data.data(), scan.count());
  for (int i = 0; i < scan.count(); ++i) m_extract.indexBoundary.push_back(i);
  const float nowhere[3] = {kNan, 0, 0}, far[3] = {3e38F, 0, 1e30F};
  for (const float* at : {kTilted.at, nowhere, far}) {
    for (const float* direction : {kTilted.up, nowhere, far, kOrigin}) {
      for (const float size : {0.0F, -3.0F, 5.0F, 1e6F, 1e30F, kInf, kNan}) {
        for (const auto& search : allSearches(at, direction, size)) {
          search(m_extract);
          const auto& found = m_extract.indexResult;
          EXPECT_TRUE(std::all_of(found.begin(), found.end(),
                                  [&](int i) { return i >= 0 && i < scan.count(); }));
          EXPECT_TRUE(at != nowhere || found.empty());
        }
      }
    }
  }
}

TEST_F(SearchOf, EndsWithARangeErrorWhereReplacedFieldsAreTooShort) {
  const XFPlane plane(kTilted.at, kTilted.up, kTilted.along, 9.0F, 6.0F);
  XGeoFeatureExtract own = m_extract;
  own.normals.resize(9);
  EXPECT_THROW(own.searchPlane(plane), std::out_of_range);
  replaceCloudByItsCopy();
  m_extract.cloud->resize(10);
  m_extract.indexResult = {1};
  EXPECT_THROW(m_extract.searchPlane(plane), std::out_of_range);
  EXPECT_THAT(m_extract.indexResult, IsEmpty());
}

}  // namespace
}  // namespace zelmo::test
