// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <tuple>
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

/// Three floats that stand in for an array.
struct V {
  float v[3];
  operator const float*() const { return v; }  // NOLINT: an array converts by itself, too
};

// No two fields alike, so that a swapped or forgotten one shows.
const V kCenter{1, 2, 3}, kNormal{0, 0.6F, 0.8F}, kMajor{1, 0, 0};

std::vector<float> counted(int count) {
  std::vector<float> values(static_cast<std::size_t>(count));
  std::iota(values.begin(), values.end(), 1.0F);
  return values;
}

/// The first fields of a record, which are a flat run of floats behind the pointer to its table.
template <std::size_t Count, typename Record>
std::vector<float> floatsOf(const Record& record) {
  std::vector<float> fields(Count);
  std::memcpy(fields.data(), reinterpret_cast<const char*>(&record) + sizeof(void*),
              Count * sizeof(float));
  return fields;
}
std::vector<float> fieldsOf(const float (&v)[3]) { return {v, v + 3}; }
std::vector<float> fieldsOf(const XFPoint& f) { return floatsOf<3>(f); }
std::vector<float> fieldsOf(const XFLine3D& f) { return floatsOf<6>(f); }
std::vector<float> fieldsOf(const XFLine3D2& f) { return floatsOf<7>(f); }
std::vector<float> fieldsOf(const XFPlane& f) { return floatsOf<15>(f); }
std::vector<float> fieldsOf(const XFCircle3D& f) { return floatsOf<10>(f); }
std::vector<float> fieldsOf(const XFSphere& f) { return floatsOf<4>(f); }
std::vector<float> fieldsOf(const XFCylinder& f) { return floatsOf<14>(f); }
std::vector<float> fieldsOf(const XFCone& f) { return floatsOf<16>(f); }
std::vector<float> fieldsOf(const XFOvalGroove3D& f) { return floatsOf<11>(f); }
std::vector<float> fieldsOf(const XFRectangle3D& f) { return floatsOf<11>(f); }
std::vector<float> fieldsOf(const XFRoundGroove3D& f) { return floatsOf<12>(f); }

template <typename Record>
void expectVectorForm(int type, int count) {
  EXPECT_EQ(Record().getFeatureType(), type);
  EXPECT_EQ(fieldsOf(Record(counted(count))), counted(count)) << type;
  for (const int other : {0, count - 1, count + 1}) {
    EXPECT_THAT(fieldsOf(Record(counted(other))), Each(0.0F)) << type << " of " << other;
  }
}

TEST(VectorForm, HoldsTheFieldsInOrderAndTakesNoOtherSize) {
  expectVectorForm<XFLine3D>(1, 6);
  expectVectorForm<XFLine3D2>(1, 7);
  expectVectorForm<XFCircle3D>(3, 10);
  expectVectorForm<XFSphere>(4, 4);
  expectVectorForm<XFCylinder>(5, 14);
  expectVectorForm<XFCone>(6, 16);
  expectVectorForm<XFOvalGroove3D>(7, 11);
  expectVectorForm<XFRoundGroove3D>(8, 12);
  expectVectorForm<XFRectangle3D>(9, 11);
  const int others[] = {XFPoint().getFeatureType(), XFPointN().getFeatureType(),
                        XFPlane().getFeatureType(), XFPolyLine().getFeatureType()};
  EXPECT_THAT(others, ElementsAre(0, 0, 2, 10));
}

TEST(XFPoint, DistanceTakesTheDifferencesInFloat) {
  // 16777217 has no float: the difference is rounded before it is squared.
  const XFPoint far(16777216.0F, 0, 0);
  EXPECT_EQ(far.SqrDistance(XFPoint(-1, 3, 4)), 16777216.0 * 16777216.0 + 25.0);
  EXPECT_EQ(XFPoint(1, 2, 3).Distance(XFPoint(1, -1, 7)), 5.0);
  const XFPointN point(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(floatsOf<6>(point), counted(6));
  EXPECT_EQ(XFPointN(kCenter, kNormal).normal[2], 0.8F);
}

TEST(XFPlane, CarriesItsEquation) {
  const XFPlane plane(kCenter, kNormal, kMajor, 10, 4), square(kCenter, kNormal);
  EXPECT_THAT(fieldsOf(plane), ElementsAre(1, 2, 3, 0, 0.6F, 0.8F, 1, 0, 0, 10, 4, 0, 0.6F, 0.8F,
                                           testing::FloatNear(-3.6F, 1e-6F)));
  EXPECT_EQ(fieldsOf(square), fieldsOf(XFPlane(kCenter, kNormal, kMajor, 1, 1)));
  // Summed in float: in double the two large products would leave 1 behind.
  EXPECT_EQ(XFPlane(V{16777216, 1, 16777216}, V{1, 1, -1}).d, 0.0F);
  // Of four numbers the center lies on the axis of the largest component; the major direction is
  // spanned by that component and its neighbour.
  const float four[4] = {1, -4, 4, 8};
  const float s = std::sqrt(17.0F);
  EXPECT_THAT(fieldsOf(XFPlane(four)),
              Pointwise(FloatNear(1e-6F), {0.0F, 2.0F, 0.0F, 1.0F, -4.0F, 4.0F, 4 / s, 1 / s, 0.0F,
                                           1.0F, 1.0F, 1.0F, -4.0F, 4.0F, 8.0F}));
}

TEST(XFPlane, CornersRunCounterClockwise) {
  XFPoint corners[4];
  XFPlane(kCenter, V{0, 0, 2}, kMajor, 10, 4).getCornerPoint(corners);  // of any length
  const V expected[4] = {{6, 4, 3}, {-4, 4, 3}, {-4, 0, 3}, {6, 0, 3}};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(fieldsOf(corners[i]), fieldsOf(expected[i].v));
}

TEST(Solids, AreMadeFromABaseAndEitherAnAxisOrATop) {
  const V top{1, 8, 11};
  const std::vector<float> cylinder = {1, 5, 7, 0, 0.6F, 0.8F, 4, 10, 1, 2, 3, 1, 8, 11};
  const std::vector<float> cone = {1, 14, 19, 0,  0.6F, 0.8F, std::atan(0.2F), 1, 2, 3,
                                   1, 8,  11, 10, 4,    2};
  EXPECT_THAT(fieldsOf(XFCylinder(kCenter, kNormal, 4, 10)), Pointwise(FloatNear(1e-6F), cylinder));
  EXPECT_THAT(fieldsOf(XFCylinder(kCenter, top, 4)), Pointwise(FloatNear(1e-6F), cylinder));
  EXPECT_THAT(fieldsOf(XFCone(kCenter, kNormal, 4, 2, 10)), Pointwise(FloatNear(2e-6F), cone));
  EXPECT_THAT(fieldsOf(XFCone(kCenter, top, 4, 2)), Pointwise(FloatNear(2e-6F), cone));
  // Up to one millionth axis and center or apex stay zero; the float 1e-6 lies just below.
  const V base{1, 2, 0}, low{1, 2, 1e-6F};
  EXPECT_THAT(fieldsOf(XFCylinder(base, low, 4)),
              ElementsAre(0, 0, 0, 0, 0, 0, 4, 1e-6F, 1, 2, 0, 1, 2, 1e-6F));
  EXPECT_THAT(fieldsOf(XFCone(base, low, 4, 2)),
              ElementsAre(0, 0, 0, 0, 0, 0, 0, 1, 2, 0, 1, 2, 1e-6F, 1e-6F, 4, 2));
}

TEST(PerpendicularRule, GivesAUnitVectorAcrossTheNormal) {
  std::mt19937 random(5);
  std::normal_distribution<float> normal;
  for (int i = 0; i < 300; ++i) {
    const V n{normal(random), normal(random), normal(random)};
    const XFCircle3D circle(kCenter, n, 1);
    const float* v = circle.majorDir;
    EXPECT_NEAR(std::hypot(v[0], v[1], v[2]), 1.0, 1e-6);
    EXPECT_NEAR(n[0] * v[0] + n[1] * v[1] + n[2] * v[2], 0.0, 2e-5);
    const bool z_is_largest = std::fabs(n[2]) > std::max(std::fabs(n[0]), std::fabs(n[1]));
    EXPECT_EQ(v[z_is_largest ? 1 : 2], 0.0F);
  }
  // The lowest index wins a tie.
  EXPECT_THAT(fieldsOf(XFCircle3D(kCenter, V{1, -1, 1}, 1).majorDir),
              Pointwise(FloatNear(1e-7F), {std::sqrt(0.5F), std::sqrt(0.5F), 0.0F}));
  EXPECT_THAT(fieldsOf(XFCircle3D(kCenter, V{0, 2, -2}, 1).majorDir), ElementsAre(1, 0, 0));
}

TEST(XFPolyLine, CopiesReversesAndNeverMerges) {
  const float xyz[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const XFPolyLine line(xyz, 3);
  ASSERT_EQ(line.points.size(), 3U);
  EXPECT_THAT(fieldsOf(line.points[2]), ElementsAre(7, 8, 9));
  XFPolyLine copy = line;
  copy.inv();
  EXPECT_EQ(fieldsOf(copy.points[2]), fieldsOf(line.points[0]));
  EXPECT_THAT(fieldsOf(line.invert().points[0]), ElementsAre(7, 8, 9));
  copy.merge(line);
  EXPECT_EQ(copy.points.size(), 3U);
  EXPECT_EQ(XFPolyLine(line.points.data(), 2).points.size(), 2U);
  EXPECT_TRUE(XFPolyLine(xyz, std::numeric_limits<int>::min()).points.empty());
  EXPECT_TRUE(XFPolyLine(line.points.data(), -1).points.empty());
  EXPECT_TRUE(XFPolyLine(static_cast<const float*>(nullptr), 3).points.empty());
  EXPECT_TRUE(XFPolyLine(static_cast<const XFPoint*>(nullptr), 3).points.empty());
}

TEST(LineForms, ConvertByThemselves) {
  const XFLine3D segment(kCenter, V{1, 8, 11});
  const XFLine3D2 line = segment;
  XFLine3D back = line;
  EXPECT_THAT(fieldsOf(line),
              Pointwise(FloatNear(1e-6F), {1.0F, 5.0F, 7.0F, 0.0F, 0.6F, 0.8F, 10.0F}));
  EXPECT_THAT(fieldsOf(back), Pointwise(FloatNear(1e-6F), fieldsOf(segment)));
  XFLine3D2 other;
  segment.getLine(other);
  EXPECT_EQ(fieldsOf(other), fieldsOf(line));
  other.getLine(back);
  XFPoint start, end, center;
  other.getStartPoint(start);
  other.getEndPoint(end);
  segment.getCenterPoint(center);
  EXPECT_EQ(fieldsOf(start), fieldsOf(back.start));
  EXPECT_EQ(fieldsOf(end), fieldsOf(back.end));
  EXPECT_THAT(fieldsOf(center), ElementsAre(1, 5, 7));
  // From the start, with a direction that stays as long as it is.
  EXPECT_THAT(fieldsOf(XFLine3D2(kCenter, V{0, 2, 0}, 10, 0)), ElementsAre(1, 12, 3, 0, 2, 0, 10));
}

TEST(LineForms, FormTheLengthInFloat) {
  const auto between = [](const V& a, const V& b) { return XFLine3D2(XFLine3D(a, b)); };
  EXPECT_THAT(fieldsOf(between(kCenter, kCenter)), ElementsAre(1, 2, 3, 0, 0, 0, 0));
  // Summed in double the root is 12988.1846.
  EXPECT_EQ(between(V{0, 0, 0}, V{4170, 9971, 7203}).length, 12988.1855F);
}

template <typename Record>
std::vector<std::vector<float>> derivedFrom(const Record& record) {
  XFLine3D2 line, major;
  XFPlane plane;
  record.getLine(line);
  record.getLineMajorDir(major);
  record.getPlane(plane);
  return {fieldsOf(line), fieldsOf(major), fieldsOf(plane)};
}

TEST(DerivedRecords, OfTheFlatShapesHaveTheirOverallSize) {
  // The normal line, too, is as long as the shape.
  const auto expected = [](float length, float width) {
    return std::vector<std::vector<float>>{
        fieldsOf(XFLine3D2(kCenter, kNormal, length)), fieldsOf(XFLine3D2(kCenter, kMajor, length)),
        fieldsOf(XFPlane(kCenter, kNormal, kMajor, length, width))};
  };
  EXPECT_EQ(derivedFrom(XFOvalGroove3D(kCenter, kNormal, kMajor, 10, 5)), expected(30, 10));
  EXPECT_EQ(derivedFrom(XFRectangle3D(kCenter, kNormal, kMajor, 20, 10)), expected(40, 20));
  EXPECT_EQ(derivedFrom(XFRoundGroove3D(kCenter, kNormal, kMajor, 21, 11, 2.5F)), expected(42, 22));
  const XFCircle3D circle(kCenter, kNormal, V{0, 0.8F, -0.6F}, 6);
  XFLine3D2 line;
  XFPlane plane;
  circle.getLine(line);
  circle.getPlane(plane);  // which does not take the circle's majorDir over
  EXPECT_EQ(fieldsOf(line), expected(12, 12)[0]);
  EXPECT_EQ(fieldsOf(plane), expected(12, 12)[2]);
}

TEST(DerivedRecords, OfTheSolidsAreTheirAxes) {
  const XFCone cone(kCenter, V{0, 0, 1}, 4, 2, 8);
  XFLine3D2 lines[2];
  XFCylinder(kCenter, V{0, 0, 1}, 3, 8).getLine(lines[0]);
  cone.getLine(lines[1]);
  for (const auto& line : lines) EXPECT_THAT(fieldsOf(line), ElementsAre(1, 2, 7, 0, 0, 1, 8));
  XFPoint middle, apex, top;
  cone.getCenterPoint(middle);
  cone.getApexPoint(apex);
  cone.getTopPoint(top);
  EXPECT_THAT((std::vector<float>{middle.z, apex.z, top.z}), ElementsAre(7, 19, 11));
}

template <typename Record>
void expectReversed(Record record, const std::vector<float>& expected) {
  EXPECT_EQ(fieldsOf(record.invert()), expected);
  record.inv();
  EXPECT_EQ(fieldsOf(record), expected);
}

TEST(Reversal, NegatesTheDirectionAloneOrSwapsTheEnds) {
  // Fields 3 to 5.
  const auto negated = [](std::vector<float> fields) {
    for (std::size_t i = 3; i < 6; ++i) fields[i] = -fields[i];
    return fields;
  };
  expectReversed(XFCircle3D(counted(10)), negated(counted(10)));
  expectReversed(XFOvalGroove3D(counted(11)), negated(counted(11)));
  expectReversed(XFRectangle3D(counted(11)), negated(counted(11)));
  expectReversed(XFRoundGroove3D(counted(12)), negated(counted(12)));
  expectReversed(XFLine3D2(counted(7)), negated(counted(7)));
  expectReversed(XFLine3D(counted(6)), {4, 5, 6, 1, 2, 3});
  expectReversed(XFCylinder(counted(14)), {1, 2, 3, -4, -5, -6, 7, 8, 12, 13, 14, 9, 10, 11});
  const XFPlane plane(kCenter, kMajor, kNormal, 10, 4);
  expectReversed(plane, {1, 2, 3, -1, 0, 0, 0, 0.6F, 0.8F, 10, 4, -1, 0, 0, 1});
}

constexpr float kWithin = 0.0099999F;
constexpr float kBeyond = 0.0100001F;

// A field by its index in the vector form, its new value, and whether the record stays equal.
using Change = std::tuple<std::size_t, float, bool>;

template <typename Record>
void expectEquality(const std::vector<float>& fields, const std::vector<Change>& changes) {
  for (const auto& [field, value, stays_equal] : changes) {
    std::vector<float> changed_fields = fields;
    changed_fields[field] = value;
    Record original(fields), changed(changed_fields);
    EXPECT_EQ(changed == original, stays_equal) << field << ": " << value;
    EXPECT_EQ(original == changed, stays_equal) << field << ": " << value;
  }
}

TEST(Equality, OfFlatShapesAllowsAHundredthAndTwoHundredthsOfDirection) {
  // Center 0 to 2, normal 3 to 5, majorDir 6 to 8, then the sizes.
  std::vector<float> fields = {0, 0, 0, 0, 0, 1, 1, 0, 0, 0};
  std::vector<Change> shared = {{2, kWithin, true},  {0, kBeyond, false}, {1, -kBeyond, false},
                                {2, kBeyond, false}, {5, -1, true},       {5, 0.9801F, true},
                                {5, 0.9799F, false}, {5, -1.0199F, true}, {5, 1.0201F, false},
                                {9, -kWithin, true}, {9, kBeyond, false}, {9, kNaN, false}};
  auto changes = shared;
  changes.push_back({6, 0, true});  // the circle's majorDir does not count
  expectEquality<XFCircle3D>(fields, changes);
  shared.insert(shared.end(), {{6, -1, true}, {6, 0.97F, false}, {10, -kBeyond, false}});
  fields.push_back(0);
  expectEquality<XFOvalGroove3D>(fields, shared);
  expectEquality<XFRectangle3D>(fields, shared);
  shared.insert(shared.end(), {{11, kBeyond, false}, {11, -kWithin, true}});
  fields.push_back(0);
  expectEquality<XFRoundGroove3D>(fields, shared);
}

TEST(Equality, OfSegmentsTakesTheEndsInEitherOrder) {
  const std::vector<float> fields = {0, 0, 0, 10, 20, 30};
  expectEquality<XFLine3D>(
      fields, {{2, -kWithin, true}, {1, kBeyond, false}, {3, 10.02F, false}, {5, kNaN, false}});
  XFLine3D line(fields), swapped = line.invert(), twice(swapped.start, swapped.start);
  EXPECT_TRUE(line == swapped);
  EXPECT_FALSE(line == twice);
  EXPECT_FALSE(twice == line);
}

TEST(XAngleAttributes, RoundsTheQuotientToFloatOnOneWayOnly) {
  for (int i = 1; i < 360; ++i) {
    const float degrees = static_cast<float>(i);
    const float half_turns = degrees / 180;
    float radians, back;
    XAngleAttributes::Angle2Radian(degrees, radians);
    EXPECT_EQ(radians, static_cast<float>(half_turns * std::acos(-1.0)));
    XAngleAttributes::Radian2Angle(radians, back);
    EXPECT_EQ(back, static_cast<float>(radians / std::acos(-1.0) * 180));
  }
  EXPECT_EQ(XAngleAttributes(3.0F).angle, 3.0F);
}

struct Exposed : XFBase {
  using XFBase::getMatRT_LineSymmetry;
  using XFBase::getMatRT_PlaneSymmetry;
  using XFBase::getMatRT_PointSymmetry;
};

TEST(XFBase, MirrorsAtLinePlaneAndPointAsTheClosedFormsDo) {
  std::mt19937 random(3);
  std::normal_distribution<float> bell;
  for (int i = 0; i < 100; ++i) {
    float at[6];
    for (float& value : at) value = 50 * bell(random);
    const cv::Vec3d p(at[0], at[1], at[2]), d = cv::normalize(cv::Vec3d(at[3], at[4], at[5]));
    const cv::Matx33d one = cv::Matx33d::eye(), outer = d * d.t();
    cv::Matx44d rt;
    const auto expectMap = [&](const cv::Matx33d& r) {
      const cv::Vec3d t = p - r * p;
      for (int k = 0; k < 3; ++k) {
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(rt(k, j), r(k, j), 1e-9);
        EXPECT_NEAR(rt(k, 3), t[k], 1e-6);
      }
      EXPECT_EQ(rt.row(3), cv::Matx14d(0, 0, 0, 1));
    };
    Exposed::getMatRT_LineSymmetry(at, rt.val);
    expectMap(2.0 * outer - one);
    Exposed::getMatRT_PlaneSymmetry(at, rt.val);
    expectMap(one - 2.0 * outer);
    Exposed::getMatRT_PointSymmetry(at, rt.val);
    expectMap(-1.0 * one);
  }
  // Where there is no direction the matrix stays.
  for (const float bad : {0.0F, kNaN}) {
    const float none[6] = {1, 2, 3, bad, 0, 0};
    cv::Matx44d rt = cv::Matx44d::all(7);
    Exposed::getMatRT_LineSymmetry(none, rt.val);
    Exposed::getMatRT_PlaneSymmetry(none, rt.val);
    EXPECT_THAT(rt.val, Each(7.0));
  }
}

TEST(XFBase, RotatesRightHandedInDegreesOrRadians) {
  const V axis{0, 0, 4};
  const double expected[9] = {std::sqrt(0.75), -0.5, 0, 0.5, std::sqrt(0.75), 0, 0, 0, 1};
  double r[9];
  EXPECT_EQ(XFBase::getRotationMatrix(axis, 30.0F, r, true), 0);
  EXPECT_THAT(r, Pointwise(testing::DoubleNear(1e-12), expected));
  EXPECT_EQ(XFBase::getRotationMatrix(axis, static_cast<float>(CV_PI / 6), r, false), 0);
  EXPECT_THAT(r, Pointwise(testing::DoubleNear(1e-7), expected));
}

}  // namespace
}  // namespace xgeofeature
