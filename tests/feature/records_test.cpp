// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "zelmo/feature/attributes.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/poly_line.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

namespace xgeofeature {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// No two fields alike, so that a swapped or forgotten one shows.
const float kCenter[3] = {1, 2, 3};
const float kNormal[3] = {0, 0.6F, 0.8F};
const float kMajor[3] = {1, 0, 0};

std::vector<float> counted(int count) {
  std::vector<float> values;
  for (int i = 1; i <= count; ++i) values.push_back(static_cast<float>(i));
  return values;
}

template <typename... Fields>
std::vector<float> fieldsOf(const Fields&... fields) {
  std::vector<float> all;
  const auto append = [&all](const auto& field) {
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(field)>>) {
      all.insert(all.end(), std::begin(field), std::end(field));
    } else {
      all.push_back(field);
    }
  };
  (append(fields), ...);
  return all;
}

std::vector<float> fieldsOf(const XFPoint& p) { return {p.x, p.y, p.z}; }
std::vector<float> fieldsOf(const XFLine3D& f) { return fieldsOf(f.start, f.end); }
std::vector<float> fieldsOf(const XFLine3D2& f) { return fieldsOf(f.center, f.dir, f.length); }
std::vector<float> fieldsOf(const XFPlane& f) {
  return fieldsOf(f.center, f.normal, f.majorDir, f.length, f.width, f.a, f.b, f.c, f.d);
}
std::vector<float> fieldsOf(const XFCircle3D& f) {
  return fieldsOf(f.center, f.normal, f.majorDir, f.radius);
}
std::vector<float> fieldsOf(const XFSphere& f) { return fieldsOf(f.center, f.radius); }
std::vector<float> fieldsOf(const XFCylinder& f) {
  return fieldsOf(f.center, f.axis, f.radius, f.height, f.base, f.top);
}
std::vector<float> fieldsOf(const XFCone& f) {
  return fieldsOf(f.apex, f.axis, f.halfAngle, f.base, f.top, f.height, f.baseRadius, f.topRadius);
}
std::vector<float> fieldsOf(const XFOvalGroove3D& f) {
  return fieldsOf(f.center, f.normal, f.majorDir, f.halfStraight, f.radius);
}
std::vector<float> fieldsOf(const XFRectangle3D& f) {
  return fieldsOf(f.center, f.normal, f.majorDir, f.halfLength, f.halfWidth);
}
std::vector<float> fieldsOf(const XFRoundGroove3D& f) {
  return fieldsOf(f.center, f.normal, f.majorDir, f.halfLength, f.halfWidth, f.cornerRadius);
}

// --- one claim for every record ------------------------------------------------------------------

template <typename Record, int Type, int Count>
struct Kind {
  using Record_ = Record;
  static constexpr int kType = Type;
  static constexpr int kCount = Count;
};
template <typename K>
class VectorForm : public testing::Test {};
using VectorForms =
    testing::Types<Kind<XFLine3D, 1, 6>, Kind<XFLine3D2, 1, 7>, Kind<XFCircle3D, 3, 10>,
                   Kind<XFSphere, 4, 4>, Kind<XFCylinder, 5, 14>, Kind<XFCone, 6, 16>,
                   Kind<XFOvalGroove3D, 7, 11>, Kind<XFRoundGroove3D, 8, 12>,
                   Kind<XFRectangle3D, 9, 11>>;
TYPED_TEST_SUITE(VectorForm, VectorForms);

TYPED_TEST(VectorForm, HoldsTheFieldsInOrderAndTakesNoOtherSize) {
  using Record = typename TypeParam::Record_;
  const int count = TypeParam::kCount;
  EXPECT_EQ(Record().getFeatureType(), TypeParam::kType);
  EXPECT_EQ(fieldsOf(Record(counted(count))), counted(count));
  for (const int other : {0, count - 1, count + 1}) {
    EXPECT_THAT(fieldsOf(Record(counted(other))), Each(0.0F)) << other;
  }
}

TEST(FeatureType, OfTheRecordsWithoutVectorForm) {
  EXPECT_EQ(XFPoint().getFeatureType(), 0);
  EXPECT_EQ(XFPointN().getFeatureType(), 0);
  EXPECT_EQ(XFPlane().getFeatureType(), 2);
  EXPECT_EQ(XFPolyLine().getFeatureType(), 10);
}

// --- construction --------------------------------------------------------------------------------

TEST(XFPoint, DistanceTakesTheDifferencesInFloat) {
  // 16777217 has no float: the difference is rounded before it is squared.
  const XFPoint far(16777216.0F, 0, 0);
  EXPECT_EQ(far.SqrDistance(XFPoint(-1, 3, 4)), 16777216.0 * 16777216.0 + 25.0);
  EXPECT_EQ(XFPoint(1, 2, 3).Distance(XFPoint(1, -1, 7)), 5.0);
  const XFPointN point(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(fieldsOf(point.point, point.normal), counted(6));
  EXPECT_EQ(XFPointN(kCenter, kNormal).normal[2], 0.8F);
}

TEST(XFPlane, CarriesItsEquation) {
  const XFPlane plane(kCenter, kNormal, kMajor, 10, 4);
  EXPECT_THAT(fieldsOf(plane.a, plane.b, plane.c), ElementsAre(0, 0.6F, 0.8F));
  EXPECT_NEAR(plane.d, -3.6, 1e-6);
  const XFPlane square(kCenter, kNormal);
  EXPECT_EQ(square.length, 1.0F);
  EXPECT_EQ(square.width, 1.0F);
  EXPECT_EQ(square.d, plane.d);
  EXPECT_THAT(fieldsOf(square.majorDir), ElementsAre(1, 0, 0));
}

TEST(XFPlane, TheOffsetIsSummedInFloat) {
  // In double the two large products would leave 1 behind.
  const float center[3] = {16777216.0F, 1, 16777216.0F};
  const float normal[3] = {1, 1, -1};
  EXPECT_EQ(XFPlane(center, normal, kMajor, 1, 1).d, 0.0F);
}

TEST(XFPlane, OfFourNumbersPutsTheCenterOnTheAxisOfTheLargestComponent) {
  const float equation[4] = {1, -4, 4, 8};
  const XFPlane plane(equation);
  EXPECT_THAT(fieldsOf(plane), ElementsAre(0, 2, 0, 1, -4, 4, testing::_, testing::_, testing::_, 1,
                                           1, 1, -4, 4, 8));
  // Orthogonal to the normal, in the plane that the largest component and its neighbour span.
  EXPECT_NEAR(plane.majorDir[0], 4 / std::sqrt(17.0), 1e-6);
  EXPECT_NEAR(plane.majorDir[1], 1 / std::sqrt(17.0), 1e-6);
  EXPECT_EQ(plane.majorDir[2], 0.0F);
}

TEST(XFPlane, CornersRunCounterClockwise) {
  const float normal[3] = {0, 0, 2};  // its length does not count
  XFPoint corners[4];
  XFPlane(kCenter, normal, kMajor, 10, 4).getCornerPoint(corners);
  EXPECT_THAT(fieldsOf(corners[0]), ElementsAre(6, 4, 3));
  EXPECT_THAT(fieldsOf(corners[1]), ElementsAre(-4, 4, 3));
  EXPECT_THAT(fieldsOf(corners[2]), ElementsAre(-4, 0, 3));
  EXPECT_THAT(fieldsOf(corners[3]), ElementsAre(6, 0, 3));
  // A majorDir along the normal has no direction across it: nothing but the length is left.
  XFPlane(kCenter, kMajor, kMajor, 10, 4).getCornerPoint(corners);
  EXPECT_THAT(fieldsOf(corners[0]), ElementsAre(6, 2, 3));
}

TEST(XFPlane, CornersRoundOnceOnTheWay) {
  // 16777216 + 1 rounds back to even; the second half is lost only if the first one was rounded off.
  const float center[3] = {16777216.0F, 0, 0};
  const float oblique[3] = {0, 0, 1};
  const float diagonal[3] = {1, -1, 0};
  XFPoint corners[4];
  XFPlane(center, oblique, diagonal, 2, std::sqrt(2.0F) * 2).getCornerPoint(corners);
  EXPECT_EQ(corners[0].x, 16777216.0F);
  XFPlane(center, oblique, diagonal, 2, std::sqrt(2.0F) * 4).getCornerPoint(corners);
  EXPECT_EQ(corners[0].x, 16777218.0F);
}

TEST(XFCylinder, IsMadeFromABaseAndEitherAnAxisOrATop) {
  const float base[3] = {1, 2, 3};
  const float axis[3] = {0, 0.6F, 0.8F};
  const float top[3] = {1, 8, 11};
  const std::vector<float> expected = {1, 5, 7, 0, 0.6F, 0.8F, 4, 10, 1, 2, 3, 1, 8, 11};
  EXPECT_THAT(fieldsOf(XFCylinder(base, axis, 4, 10)), Pointwise(FloatNear(1e-6F), expected));
  EXPECT_THAT(fieldsOf(XFCylinder(base, top, 4)), Pointwise(FloatNear(1e-6F), expected));
}

TEST(XFCone, IsMadeFromABaseAndEitherAnAxisOrATop) {
  const float base[3] = {1, 2, 3};
  const float axis[3] = {0, 0.6F, 0.8F};
  const float top[3] = {1, 8, 11};
  const std::vector<float> expected = {1, 14, 19, 0,  0.6F, 0.8F, std::atan(0.2F), 1, 2, 3,
                                       1, 8,  11, 10, 4,    2};
  EXPECT_THAT(fieldsOf(XFCone(base, axis, 4, 2, 10)), Pointwise(FloatNear(2e-6F), expected));
  EXPECT_THAT(fieldsOf(XFCone(base, top, 4, 2)), Pointwise(FloatNear(2e-6F), expected));
  EXPECT_FALSE(std::isfinite(XFCone(base, axis, 4, 4, 10).apex[2]));
}

TEST(TwoEndConstructors, LeaveTheAxisZeroUpToOneMillionth) {
  const float base[3] = {0, 0, 0};
  const float short_top[3] = {0, 0, 1e-6F};  // the float lies just below
  const float long_top[3] = {0, 0, std::nextafter(1e-6F, 1.0F)};
  EXPECT_EQ(fieldsOf(XFCylinder(base, short_top, 4)),
            (std::vector<float>{0, 0, 0, 0, 0, 0, 4, 1e-6F, 0, 0, 0, 0, 0, 1e-6F}));
  EXPECT_EQ(fieldsOf(XFCone(base, short_top, 4, 2)),
            (std::vector<float>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1e-6F, 1e-6F, 4, 2}));
  EXPECT_EQ(XFCylinder(base, long_top, 4).axis[2], 1.0F);
  EXPECT_EQ(XFCone(base, long_top, 4, 2).axis[2], 1.0F);
}

TEST(PerpendicularRule, GivesAUnitVectorAcrossTheNormal) {
  std::mt19937 random(5);
  std::normal_distribution<float> normal;
  for (int i = 0; i < 300; ++i) {
    const float n[3] = {normal(random), normal(random), normal(random)};
    const XFCircle3D circle(kCenter, n, 1);
    const float* v = circle.majorDir;
    EXPECT_NEAR(std::hypot(v[0], v[1], v[2]), 1.0, 1e-6);
    EXPECT_NEAR(n[0] * v[0] + n[1] * v[1] + n[2] * v[2], 0.0, 2e-5);
    const bool z_is_largest = std::fabs(n[2]) > std::max(std::fabs(n[0]), std::fabs(n[1]));
    EXPECT_EQ(v[z_is_largest ? 1 : 2], 0.0F);
  }
  // The lowest index wins a tie.
  const float tie[3] = {1, -1, 1};
  const float tie_of_last[3] = {0, 2, -2};
  EXPECT_THAT(fieldsOf(XFCircle3D(kCenter, tie, 1).majorDir),
              Pointwise(FloatNear(1e-7F), {std::sqrt(0.5F), std::sqrt(0.5F), 0.0F}));
  EXPECT_THAT(fieldsOf(XFCircle3D(kCenter, tie_of_last, 1).majorDir), ElementsAre(1, 0, 0));
}

TEST(XFPolyLine, CopiesReversesAndNeverMerges) {
  const float xyz[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const XFPolyLine line(xyz, 3);
  ASSERT_EQ(line.points.size(), 3U);
  EXPECT_THAT(fieldsOf(line.points[2]), ElementsAre(7, 8, 9));
  XFPolyLine copy = line;
  copy.inv();
  copy.points[0].x = 70;
  EXPECT_EQ(line.points[2].x, 7.0F);
  EXPECT_EQ(fieldsOf(copy.points[2]), fieldsOf(line.points[0]));
  EXPECT_EQ(fieldsOf(line.invert().points[1]), fieldsOf(line.points[1]));
  EXPECT_EQ(fieldsOf(line.invert().points[0]), fieldsOf(line.points[2]));
  copy.merge(line);
  EXPECT_EQ(copy.points.size(), 3U);
  EXPECT_EQ(XFPolyLine(line.points.data(), 2).points.size(), 2U);
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_TRUE(XFPolyLine(xyz, count).points.empty());
    EXPECT_TRUE(XFPolyLine(line.points.data(), count).points.empty());
  }
  EXPECT_TRUE(XFPolyLine(static_cast<const float*>(nullptr), 3).points.empty());
}

// --- the two line forms --------------------------------------------------------------------------

TEST(LineForms, ConvertByThemselves) {
  const float start[3] = {1, 2, 3};
  const float end[3] = {1, 8, 11};
  const XFLine3D segment(start, end);
  const XFLine3D2 line = segment;
  EXPECT_THAT(fieldsOf(line),
              Pointwise(FloatNear(1e-6F), {1.0F, 5.0F, 7.0F, 0.0F, 0.6F, 0.8F, 10.0F}));
  XFLine3D back;
  back = line;
  EXPECT_THAT(fieldsOf(back), Pointwise(FloatNear(1e-6F), fieldsOf(segment)));
  XFLine3D2 other;
  segment.getLine(other);
  EXPECT_EQ(fieldsOf(other), fieldsOf(line));
  other.getLine(back);
  XFPoint p;
  other.getEndPoint(p);
  EXPECT_EQ(fieldsOf(p), fieldsOf(back.end));
  other.getStartPoint(p);
  EXPECT_EQ(fieldsOf(p), fieldsOf(back.start));
  segment.getCenterPoint(p);
  EXPECT_THAT(fieldsOf(p), ElementsAre(1, 5, 7));
  const float along_y[3] = {0, 2, 0};  // stays as long as it is
  EXPECT_THAT(fieldsOf(XFLine3D2(start, along_y, 10, 0)), ElementsAre(1, 12, 3, 0, 2, 0, 10));
}

TEST(LineForms, ADirectionOfOneMillionthIsNotDivided) {
  const float start[3] = {0, 0, 0};
  const float below[3] = {1e-6F, 0, 0};
  const float above[3] = {std::nextafter(1e-6F, 1.0F), 0, 0};
  EXPECT_EQ(XFLine3D2(XFLine3D(start, below)).dir[0], 1e-6F);
  EXPECT_EQ(XFLine3D2(XFLine3D(start, above)).dir[0], 1.0F);
  EXPECT_THAT(fieldsOf(XFLine3D2(XFLine3D(kCenter, kCenter))), ElementsAre(1, 2, 3, 0, 0, 0, 0));
}

TEST(LineForms, TheLengthIsTheRootOfAFloatSum) {
  const float start[3] = {0, 0, 0};
  const float end[3] = {4097, 0, 0};  // 4097 squared is 16785409, which has no float
  EXPECT_EQ(XFLine3D2(XFLine3D(start, end)).length, std::sqrt(16785408.0F));
}

// --- derived lines and planes --------------------------------------------------------------------

TEST(DerivedLines, OfTheFlatShapesRunAlongTheNormalWithALengthAcrossTheShape) {
  const XFCircle3D circle(kCenter, kNormal, kMajor, 6);
  const XFOvalGroove3D slot(kCenter, kNormal, kMajor, 10, 5);
  const XFRectangle3D rectangle(kCenter, kNormal, kMajor, 20, 10);
  const XFRoundGroove3D groove(kCenter, kNormal, kMajor, 21, 10, 2.5F);
  const auto expected = [](const float* direction, float length) {
    return fieldsOf(XFLine3D2(kCenter, direction, length));
  };
  XFLine3D2 line;
  circle.getLine(line);
  EXPECT_EQ(fieldsOf(line), expected(kNormal, 12));
  slot.getLine(line);
  EXPECT_EQ(fieldsOf(line), expected(kNormal, 30));
  rectangle.getLine(line);
  EXPECT_EQ(fieldsOf(line), expected(kNormal, 40));
  groove.getLine(line);
  EXPECT_EQ(fieldsOf(line), expected(kNormal, 42));
  slot.getLineMajorDir(line);
  EXPECT_EQ(fieldsOf(line), expected(kMajor, 30));
  rectangle.getLineMajorDir(line);
  EXPECT_EQ(fieldsOf(line), expected(kMajor, 40));
  groove.getLineMajorDir(line);
  EXPECT_EQ(fieldsOf(line), expected(kMajor, 42));
}

TEST(DerivedLines, OfTheSolidsAreTheirAxes) {
  const float base[3] = {0, 0, 10};
  const float axis[3] = {0, 0, 1};
  XFLine3D2 line;
  XFCylinder(base, axis, 3, 8).getLine(line);
  EXPECT_THAT(fieldsOf(line), ElementsAre(0, 0, 14, 0, 0, 1, 8));
  const XFCone cone(base, axis, 4, 2, 8);
  cone.getLine(line);
  EXPECT_THAT(fieldsOf(line), ElementsAre(0, 0, 14, 0, 0, 1, 8));
  XFPoint p;
  cone.getCenterPoint(p);
  EXPECT_EQ(p.z, 14.0F);
  cone.getApexPoint(p);
  EXPECT_EQ(p.z, 26.0F);
  cone.getTopPoint(p);
  EXPECT_EQ(p.z, 18.0F);
}

TEST(DerivedPlanes, HaveTheShapesOverallSize) {
  XFPlane plane;
  XFOvalGroove3D(kCenter, kNormal, kMajor, 10, 5).getPlane(plane);
  EXPECT_EQ(fieldsOf(plane), fieldsOf(XFPlane(kCenter, kNormal, kMajor, 30, 10)));
  XFRectangle3D(kCenter, kNormal, kMajor, 20, 10).getPlane(plane);
  EXPECT_EQ(fieldsOf(plane), fieldsOf(XFPlane(kCenter, kNormal, kMajor, 40, 20)));
  XFRoundGroove3D(kCenter, kNormal, kMajor, 20, 11, 2).getPlane(plane);
  EXPECT_EQ(fieldsOf(plane), fieldsOf(XFPlane(kCenter, kNormal, kMajor, 40, 22)));
  const float own[3] = {0, 0.8F, -0.6F};
  XFCircle3D(kCenter, kNormal, own, 6).getPlane(plane);
  EXPECT_EQ(fieldsOf(plane), fieldsOf(XFPlane(kCenter, kNormal, kMajor, 12, 12)));
}

// --- reversal ------------------------------------------------------------------------------------

/// Checks that inv and invert agree, that fields first to first + count - 1 change their sign and
/// that nothing else changes.
template <typename Record>
void expectNegated(const Record& record, std::vector<std::pair<int, int>> ranges) {
  std::vector<float> expected = fieldsOf(record);
  for (const auto& [first, count] : ranges) {
    for (int i = first; i < first + count; ++i) expected[static_cast<std::size_t>(i)] *= -1;
  }
  EXPECT_EQ(fieldsOf(record.invert()), expected);
  Record in_place = record;
  in_place.inv();
  EXPECT_EQ(fieldsOf(in_place), expected);
}

TEST(Reversal, NegatesTheDirectionAlone) {
  expectNegated(XFCircle3D(counted(10)), {{3, 3}});
  expectNegated(XFOvalGroove3D(counted(11)), {{3, 3}});
  expectNegated(XFRectangle3D(counted(11)), {{3, 3}});
  expectNegated(XFRoundGroove3D(counted(12)), {{3, 3}});
  expectNegated(XFLine3D2(counted(7)), {{3, 3}});
  expectNegated(XFPlane(kCenter, kNormal, kMajor, 10, 4), {{3, 3}, {11, 4}});
}

TEST(Reversal, SwapsTheEnds) {
  const XFCylinder cylinder(counted(14));
  EXPECT_THAT(fieldsOf(cylinder.invert()),
              ElementsAre(1, 2, 3, -4, -5, -6, 7, 8, 12, 13, 14, 9, 10, 11));
  const XFLine3D line(counted(6));
  EXPECT_THAT(fieldsOf(line.invert()), ElementsAre(4, 5, 6, 1, 2, 3));
}

// --- equality ------------------------------------------------------------------------------------

template <typename Record>
struct Change {
  const char* name;
  std::function<void(Record&)> apply;
  bool stays_equal;
};

template <typename Record>
void expectEquality(const Record& record, const std::vector<Change<Record>>& changes) {
  for (const auto& change : changes) {
    Record changed = record;
    change.apply(changed);
    EXPECT_EQ(changed == record, change.stays_equal) << change.name;
    Record original = record;
    EXPECT_EQ(original == changed, change.stays_equal) << change.name << ", swapped";
  }
}

constexpr float kJustWithin = 0.0099999F;
constexpr float kJustBeyond = 0.0100001F;

TEST(Equality, OfFlatShapesAllowsAHundredthAndTwoHundredthsOfDirection) {
  const float origin[3] = {0, 0, 0};
  const float x[3] = {1, 0, 0};
  const float z[3] = {0, 0, 1};
  const XFRoundGroove3D groove(origin, z, x, 0, 0, 0);
  using Groove = XFRoundGroove3D;
  expectEquality<Groove>(groove,
                         {{"itself", [](Groove&) {}, true},
                          {"center z within", [](Groove& g) { g.center[2] = kJustWithin; }, true},
                          {"center x", [](Groove& g) { g.center[0] = kJustBeyond; }, false},
                          {"center y", [](Groove& g) { g.center[1] = -kJustBeyond; }, false},
                          {"center z", [](Groove& g) { g.center[2] = kJustBeyond; }, false},
                          {"length", [](Groove& g) { g.halfLength = kJustBeyond; }, false},
                          {"width", [](Groove& g) { g.halfWidth = -kJustBeyond; }, false},
                          {"corner", [](Groove& g) { g.cornerRadius = kJustBeyond; }, false},
                          {"corner within", [](Groove& g) { g.cornerRadius = -kJustWithin; }, true},
                          {"opposite normal", [](Groove& g) { g.inv(); }, true},
                          {"short normal within", [](Groove& g) { g.normal[2] = 0.9801F; }, true},
                          {"short normal", [](Groove& g) { g.normal[2] = 0.9799F; }, false},
                          {"long normal within", [](Groove& g) { g.normal[2] = -1.0199F; }, true},
                          {"long normal", [](Groove& g) { g.normal[2] = 1.0201F; }, false},
                          {"opposite majorDir", [](Groove& g) { g.majorDir[0] = -1; }, true},
                          {"majorDir", [](Groove& g) { g.majorDir[0] = 0.97F; }, false},
                          {"NaN", [](Groove& g) { g.halfLength = kNaN; }, false}});
  using Slot = XFOvalGroove3D;
  expectEquality<Slot>(Slot(origin, z, x, 0, 0),
                       {{"straight", [](Slot& s) { s.halfStraight = kJustBeyond; }, false},
                        {"radius", [](Slot& s) { s.radius = kJustBeyond; }, false},
                        {"majorDir", [](Slot& s) { s.majorDir[0] = 0; }, false},
                        {"opposite normal", [](Slot& s) { s.inv(); }, true}});
  using Rectangle = XFRectangle3D;
  expectEquality<Rectangle>(Rectangle(origin, z, x, 0, 0),
                            {{"length", [](Rectangle& r) { r.halfLength = kJustBeyond; }, false},
                             {"width", [](Rectangle& r) { r.halfWidth = kJustBeyond; }, false},
                             {"normal", [](Rectangle& r) { r.normal[2] = 0; }, false}});
  using Circle = XFCircle3D;
  expectEquality<Circle>(Circle(origin, z, x, 0),
                         {{"radius", [](Circle& c) { c.radius = kJustBeyond; }, false},
                          {"center", [](Circle& c) { c.center[1] = kJustBeyond; }, false},
                          {"majorDir", [](Circle& c) { c.majorDir[0] = 0; }, true},
                          {"opposite normal", [](Circle& c) { c.inv(); }, true},
                          {"normal", [](Circle& c) { c.normal[2] = 0.97F; }, false}});
}

TEST(Equality, OfSegmentsTakesTheEndsInEitherOrder) {
  const float start[3] = {0, 0, 0};
  const float end[3] = {10, 20, 30};
  using Line = XFLine3D;
  expectEquality<Line>(Line(start, end),
                       {{"swapped", [](Line& l) { l.inv(); }, true},
                        {"start within", [](Line& l) { l.start[2] = -kJustWithin; }, true},
                        {"start", [](Line& l) { l.start[1] = kJustBeyond; }, false},
                        {"end", [](Line& l) { l.end[0] = 10.02F; }, false},
                        {"one end twice", [](Line& l) { std::copy_n(l.end, 3, l.start); }, false},
                        {"NaN", [](Line& l) { l.end[2] = kNaN; }, false}});
}

// --- attributes and the members of the base ------------------------------------------------------

TEST(XAngleAttributes, RoundsTheQuotientToFloatOnOneWayOnly) {
  float out = 0;
  XAngleAttributes::Angle2Radian(7.0F, out);
  const float seven_over_180 = 7.0F / 180.0F;
  EXPECT_EQ(out, static_cast<float>(static_cast<double>(seven_over_180) * std::acos(-1.0)));
  int differs_from_double = 0;
  for (int i = 1; i < 360; ++i) {
    XAngleAttributes::Angle2Radian(static_cast<float>(i), out);
    differs_from_double += out != static_cast<float>(i / 180.0 * std::acos(-1.0)) ? 1 : 0;
    float back = 0;
    XAngleAttributes::Radian2Angle(out, back);
    EXPECT_NEAR(back, i, 4e-5);
  }
  EXPECT_GT(differs_from_double, 0);
  XAngleAttributes::Radian2Angle(0.5F, out);
  EXPECT_EQ(out, 28.647889756541161F);
  EXPECT_EQ(XAngleAttributes(3.0F).angle, 3.0F);
}

struct Exposed : XFBase {
  using XFBase::getMatRT_LineSymmetry;
  using XFBase::getMatRT_PlaneSymmetry;
  using XFBase::getMatRT_PointSymmetry;
};

std::array<double, 3> mapped(const double* rt, const std::array<double, 3>& p) {
  std::array<double, 3> out{};
  for (std::size_t i = 0; i < 3; ++i) {
    out[i] = rt[4 * i] * p[0] + rt[4 * i + 1] * p[1] + rt[4 * i + 2] * p[2] + rt[4 * i + 3];
  }
  return out;
}

TEST(XFBase, MirrorsAtLinePlaneAndPoint) {
  using testing::DoubleNear;
  const float at[6] = {1, 2, 3, 0, 2.4F, 3.2F};
  const auto near = [](double x, double y, double z) {
    return ElementsAre(DoubleNear(x, 1e-6), DoubleNear(y, 1e-6), DoubleNear(z, 1e-6));
  };
  double rt[16];
  // One step along the direction and one across it.
  Exposed::getMatRT_LineSymmetry(at, rt);
  EXPECT_THAT(mapped(rt, {2, 2.6, 3.8}), near(0, 2.6, 3.8));
  Exposed::getMatRT_PlaneSymmetry(at, rt);
  EXPECT_THAT(mapped(rt, {2, 2.6, 3.8}), near(2, 1.4, 2.2));
  Exposed::getMatRT_PointSymmetry(at, rt);
  EXPECT_THAT(mapped(rt, {2, 2.6, 3.8}), near(0, 1.4, 2.2));
}

TEST(XFBase, LeavesTheMatrixAloneWhereThereIsNoDirection) {
  for (const float bad : {0.0F, kNaN}) {
    const float at[6] = {1, 2, 3, bad, 0, 0};
    double rt[16];
    std::fill_n(rt, 16, 7.0);
    Exposed::getMatRT_LineSymmetry(at, rt);
    Exposed::getMatRT_PlaneSymmetry(at, rt);
    EXPECT_THAT(rt, Each(7.0));
  }
}

TEST(XFBase, RotatesRightHandedInDegreesOrRadians) {
  const float axis[3] = {0, 0, 4};
  double degrees[9];
  double radians[9];
  EXPECT_EQ(XFBase::getRotationMatrix(axis, 30.0F, degrees, true), 0);
  EXPECT_EQ(XFBase::getRotationMatrix(axis, static_cast<float>(CV_PI / 6), radians, false), 0);
  const double expected[9] = {std::sqrt(0.75), -0.5, 0, 0.5, std::sqrt(0.75), 0, 0, 0, 1};
  EXPECT_THAT(degrees, Pointwise(testing::DoubleNear(1e-12), expected));
  EXPECT_THAT(radians, Pointwise(testing::DoubleNear(1e-7), expected));
}

}  // namespace
}  // namespace xgeofeature
