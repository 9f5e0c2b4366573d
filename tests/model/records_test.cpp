// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include <gmock/gmock.h>

#include "support/rows.h"
#include "zelmo/model/internal/record_index.h"
#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAreArray;
using zelmo::test::rowOf;
using Row = std::vector<float>;

// Tolerances of fields: some don't count at all, and directions are looked at by their cosines.
constexpr double kFree = -1, kDirection = 0;

/// Every field of a record counts up to the last float that is no larger than its tolerance. It is 0 in
/// \p row, so that the difference carries no rounding. Fields without a tolerance don't count.
template <typename Record>
void expectTolerances(const Row& row, std::vector<double> tolerances) {
  SCOPED_TRACE(row.size());
  tolerances.resize(row.size(), kFree);
  for (std::size_t i = 0; i < row.size(); ++i) {
    const auto is_equal_with = [&](float value) {
      Row changed = row;
      changed[i] = value;
      return Record(changed) == Record(row);
    };
    EXPECT_TRUE(tolerances[i] != kFree || is_equal_with(1000)) << i;
    if (tolerances[i] <= 0) continue;
    auto inside = static_cast<float>(tolerances[i]);
    if (static_cast<double>(inside) > tolerances[i]) inside = std::nextafter(inside, 0.0F);
    const float outside = std::nextafter(inside, 1.0F);
    for (const float value : {inside, -inside, outside, -outside, std::nanf("")}) {
      EXPECT_EQ(is_equal_with(value), std::fabs(value) == inside) << i << " off by " << value;
    }
  }
}

/// The same for an outline with \p sizes numbers behind its frame.
template <typename Outline>
void expectOutlineTolerances(std::size_t sizes, bool major_direction_counts) {
  Row row = {0, 0, 0, 0, 0, 1, 1, 0, 0};
  row.resize(9 + sizes);
  std::vector<double> tolerances(9 + sizes, 0.01);
  std::fill_n(tolerances.begin() + 3, 3, kDirection);
  std::fill_n(tolerances.begin() + 6, 3, major_direction_counts ? kDirection : kFree);
  expectTolerances<Outline>(row, tolerances);
  for (const float cosine : {-1.0F, 0.981F, -0.981F, 0.979F}) {
    Row normal = row, major = row;
    normal[5] = major[6] = cosine;
    EXPECT_EQ(Outline(normal) == Outline(row), cosine != 0.979F);
    EXPECT_EQ(Outline(major) == Outline(row), cosine != 0.979F || !major_direction_counts);
  }
}

TEST(ModelRecordEquality, EachToItsOwnTolerance) {
  constexpr double f = kFree, d = kDirection, p = 1e-2, q = 1e-3, r = 1e-4, s = 1e-6;
  expectOutlineTolerances<XFCircle3D>(1, false);
  expectOutlineTolerances<XFOvalGroove3D>(2, true);
  expectOutlineTolerances<XFRectangle3D>(2, true);
  expectOutlineTolerances<XFRoundGroove3D>(3, true);
  expectTolerances<XFLine3D>({0, 0, 0, 10, 20, 30}, {p, p, p, d, d, d});
  expectTolerances<XFSphere>(Row(4), {s, s, s, s});
  Row plane(27), cylinder(14), cone(16);
  plane[2] = cylinder[5] = cone[4] = 1;
  expectTolerances<XFPlane>(plane, {s, s, d, s});
  expectTolerances<XFCylinder>(cylinder, {f, f, f, d, d, d, q, f, q, q, q, q, q, q});
  expectTolerances<XFCone>(cone, {r, r, r, d, d, d, r, f, f, f, f, f, f, f, r, r});
}

TEST(ModelRecordEquality, OfReversedRecords) {
  const XFLine3D line(Row{0, 0, 0, 10, 20, 30});
  for (const float y : {20.0F, 20.009F, 20.01F}) {  // the last lies 0.0100002 from 20
    EXPECT_EQ(XFLine3D(Row{10, y, 30, 0, 0, 0}) == line, y < 20.0095F) << "ends may be swapped";
  }
  Row plane(27), cylinder(14), cone(16);
  plane[2] = plane[3] = cylinder[5] = cylinder[13] = cone[4] = 1;  // the top one above the base
  const auto is_same_plane = [&plane](float c, float other_d) {
    Row other = plane;
    other[2] = c;
    other[3] = other_d;
    return XFPlane(other) == XFPlane(plane);
  };
  EXPECT_TRUE(is_same_plane(-1, -1));
  EXPECT_FALSE(is_same_plane(-1, 1)) << "the mirror image of a plane is another plane";
  for (const float cosine : {-1.0F, 0.9998F}) {
    Row other = cone;
    other[4] = cosine;
    EXPECT_FALSE(XFCone(other) == XFCone(cone)) << "never of the opposite direction";
  }
  Row swapped = cylinder;
  std::swap_ranges(swapped.begin() + 8, swapped.begin() + 11, swapped.begin() + 11);
  for (const float cosine : {1.0F, -1.0F, -0.998F}) {
    swapped[5] = cosine;
    EXPECT_EQ(XFCylinder(swapped) == XFCylinder(cylinder), cosine == -1.0F)
        << "the ends have to be swapped with the axis";
  }
}

/// 1, 2, 3 and so on.
Row countedFloats(std::size_t count) {
  Row values(count);
  std::iota(values.begin(), values.end(), 1.0F);
  return values;
}

/// A record takes its own count of floats and no other, and hands all of them to its twin.
template <typename Record, typename Twin, typename ToRow>
void expectFields(std::size_t count, void (Record::*convert)(Twin&) const, ToRow to_row) {
  Twin twin;
  const Row values = countedFloats(count);
  (Record(values).*convert)(twin);
  EXPECT_THAT(to_row(twin), ElementsAreArray(values));
  for (const std::size_t wrong : {count - 1, count + 1}) {
    (Record(countedFloats(wrong)).*convert)(twin);
    EXPECT_NE(to_row(twin)[0], 1.0F);
  }
}

TEST(ModelRecords, TakeTheirFloatsAndConvertIntoTheirTwins) {
  expectFields(10, &XFCircle3D::getCircle,
               [](const auto& r) { return rowOf(r.center, r.normal, r.majorDir, r.radius); });
  expectFields(11, &XFOvalGroove3D::getOvalGroove, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfStraight, r.radius);
  });
  expectFields(11, &XFRectangle3D::getRectangle, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth);
  });
  expectFields(12, &XFRoundGroove3D::getRoundGroove, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth, r.cornerRadius);
  });
  expectFields(4, &XFSphere::getSphere, [](const auto& r) { return rowOf(r.center, r.radius); });
  expectFields(16, &XFCone::getCone, [](const auto& r) {
    return rowOf(r.apex, r.axis, r.halfAngle, r.base, r.top, r.height, r.baseRadius, r.topRadius);
  });
  const XFPlane plane(countedFloats(27));
  EXPECT_THAT(rowOf(plane.a, plane.b, plane.c, plane.d, plane.center, plane.normal, plane.majorDir,
                    plane.length, plane.width, plane.corners),
              ElementsAreArray(countedFloats(27)));
  xgeofeature::XFPlane twin;
  plane.getPlane(twin);
  EXPECT_THAT(rowOf(twin.center, twin.normal, twin.majorDir, twin.length, twin.width),
              ElementsAreArray(rowOf(plane.center, plane.normal, plane.majorDir, 14.0F, 15.0F)));
  EXPECT_EQ(twin.d, -164.0F) << "computed anew, not the record's own 4";
  xgeofeature::XFLine3D2 line;
  XFLine3D(Row{1, 2, 3, 1, 6, 6}).getLine(line);
  EXPECT_THAT(rowOf(line.center, line.dir, line.length),
              ElementsAreArray({1.0F, 4.0F, 4.5F, 0.0F, 0.8F, 0.6F, 5.0F}));
}

// ---- the index --------------------------------------------------------------------------------

/// The index finds what the scan from the last record back finds, on records that lie about a
/// tolerance apart in the fields \p places, some of them far away in one more and some of them reversed.
template <typename Record>
void expectIndexLikeScan(
    float scale, const Row& base, const std::vector<std::size_t>& places, std::size_t far,
    void (*reverse)(Row&) = [](Row&) {}) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> step(-2, 2);
  std::uniform_real_distribution<float> jitter(-scale / 8, scale / 8);
  std::vector<Record> list;
  zelmo::internal::RecordIndex<Record> index(list);
  int hits = 0;
  for (int i = 0; i < 1500; ++i) {
    Row row = base;
    for (const std::size_t at : places) {
      row[at] = static_cast<float>(step(random)) * scale + jitter(random);
    }
    if (i % 4 == 0) row[far] = 6e16F * scale;  // enough to round the rest
    if (random() % 2 == 0) reverse(row);
    const Record record(row);
    const auto scanned = std::find_if(list.rbegin(), list.rend(),
                                      [&record](Record& known) { return known == record; });
    const Record* expected = scanned == list.rend() ? nullptr : &*scanned;
    ASSERT_EQ(index.newestEqual(record), expected);
    hits += expected != nullptr;
    if (expected == nullptr || i % 3 == 0) index.append(record);
  }
  EXPECT_GT(hits, 100);
  EXPECT_LT(hits, 1500);
}

TEST(ModelRecordIndex, FindsWhatAScanFinds) {
  Row plane(27), cylinder(14);
  plane[2] = cylinder[3] = 1;
  expectIndexLikeScan<XFPlane>(2e-5F, plane, {0, 3}, 3, [](Row& row) {
    for (float& value : row) value = -value;
  });
  expectIndexLikeScan<XFCylinder>(0.01F, cylinder, {8, 11}, 12, [](Row& row) {
    row[3] = -1;
    std::swap_ranges(row.begin() + 8, row.begin() + 11, row.begin() + 11);
  });
  expectIndexLikeScan<XFSphere>(2e-5F, Row(4), {0}, 2);
}

}  // namespace
}  // namespace xmodelfeature
