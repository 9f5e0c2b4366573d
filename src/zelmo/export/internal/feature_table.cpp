// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/export/internal/feature_table.h"

#include <array>
#include <cmath>
#include <locale>
#include <sstream>

#include "zelmo/export/internal/record_cast.h"

namespace zelmo::internal {
namespace {

constexpr std::size_t kColumns = 47;

constexpr const char* kHeader =
    R"("type";"name";"coord-x";"coord-y";"coord-z";"coord-x2";"coord-y2";"coord-z2";)"
    R"("normal-x";"normal-y";"normal-z";"trimming-x";"trimming-y";"trimming-z";"dir-x";"dir-y";"dir-z";)"
    R"("length";"width";"radius";"radius2";"angle";"orientation";"edge-radius";"num-points";)"
    R"("tol-x-lower";"tol-x-upper";"tol-y-lower";"tol-y-upper";"tol-z-lower";"tol-z-upper";"tol-all-lower";"tol-all-upper";)"
    R"("tol-normal-lower";"tol-normal-upper";"tol-trimming-lower";"tol-trimming-upper";"tol-inplane-lower";"tol-inplane-upper";)"
    R"("tol-length-lower";"tol-length-upper";"tol-width-lower";"tol-width-upper";"tol-diameter-lower";"tol-diameter-upper";"tol-angle-lower";"tol-angle-upper")";

/// Columns counted from 1, as the header line counts them.
enum Column {
  kTag = 1,
  kName = 2,
  kFirstPoint = 3,
  kSecondPoint = 6,
  kNormal = 9,
  kDirection = 15,
  kLength = 18,
  kWidth = 19,
  kRadius = 20,
  kSecondRadius = 21,
  kAngle = 22,
  kOrientation = 23,
  kEdgeRadius = 24,
};

/// One row under way: every field is an empty pair of quotes until it is set.
class Row {
 public:
  Row() {
    m_number.imbue(std::locale::classic());
    m_fields.fill("\"\"");
  }

  bool isEmpty() const { return m_fields[0] == "\"\""; }

  Row& text(int column, const std::string& value) {
    m_fields[static_cast<std::size_t>(column - 1)] = value;
    return *this;
  }
  /// Prints a float as a float, a double as a double.
  template <typename Value>
  Row& number(int column, Value value) {
    m_number.str(std::string());
    m_number << value;
    return text(column, m_number.str());
  }
  Row& triple(int column, const float* value) {
    for (int i = 0; i < 3; ++i) number(column + i, value[i]);
    return *this;
  }

  /// The row ends before its last field.
  void dropLastField() { --m_count; }

  void write(std::ostream& out) const {
    for (std::size_t i = 0; i < m_count; ++i) out << (i == 0 ? "" : ";") << m_fields[i];
    out << "\n";
  }

 private:
  std::array<std::string, kColumns> m_fields;
  std::ostringstream m_number;
  std::size_t m_count = kColumns;
};

/// Fills a row from a record, one overload for each class.
struct FillRow {
  Row& row;

  void operator()(const xgeofeature::XFPoint& point) const {
    const float xyz[3] = {point.x, point.y, point.z};
    row.text(kTag, "point").triple(kFirstPoint, xyz);
  }

  void operator()(const xgeofeature::XFLine3D2& line) const {
    const xgeofeature::XFLine3D ends = line;
    row.text(kTag, "line").triple(kFirstPoint, ends.start).triple(kSecondPoint, ends.end);
    row.triple(kDirection, line.dir).number(kLength, line.length);
  }

  void operator()(const xgeofeature::XFPlane& plane) const {
    row.text(kTag, "plane").triple(kFirstPoint, plane.center).triple(kNormal, plane.normal);
    row.number(kLength, plane.length).number(kWidth, plane.width);
    // CONTRACT: a plane's second point is truly empty, its orientation fixed, its last field missing.
    for (int i = 0; i < 3; ++i) row.text(kSecondPoint + i, "");
    row.text(kOrientation, "-12.00").dropLastField();
  }

  void operator()(const xgeofeature::XFCircle3D& circle) const {
    row.text(kTag, "circle").triple(kFirstPoint, circle.center).triple(kNormal, circle.normal);
    row.number(kRadius, circle.radius);
  }

  void operator()(const xgeofeature::XFSphere& sphere) const {
    row.text(kTag, "sphere").triple(kFirstPoint, sphere.center).number(kRadius, sphere.radius);
  }

  void operator()(const xgeofeature::XFCylinder& cylinder) const {
    row.text(kTag, "cylinder")
        .triple(kFirstPoint, cylinder.base)
        .triple(kSecondPoint, cylinder.top);
    row.triple(kDirection, cylinder.axis).number(kLength, cylinder.height);
    row.number(kRadius, cylinder.radius);
  }

  void operator()(const xgeofeature::XFCone& cone) const {
    // CONTRACT: the narrow end comes first, with the direction from there to the base.
    const float to_base[3] = {-cone.axis[0], -cone.axis[1], -cone.axis[2]};
    row.text(kTag, "cone").triple(kFirstPoint, cone.top).triple(kSecondPoint, cone.base);
    row.triple(kDirection, to_base);
    row.number(kRadius, cone.topRadius).number(kSecondRadius, cone.baseRadius);
    row.number(kAngle, static_cast<double>(cone.halfAngle) / M_PI * 180.0);
  }

  void operator()(const xgeofeature::XFOvalGroove3D& groove) const {
    fillHole("slotted_hole", groove, groove.halfStraight + groove.radius, groove.radius);
  }

  void operator()(const xgeofeature::XFRoundGroove3D& groove) const {
    fillHole("rectangular_hole", groove, groove.halfLength, groove.halfWidth);
    row.number(kEdgeRadius, groove.cornerRadius);
  }

  void operator()(const xgeofeature::XFRectangle3D& rectangle) const {
    fillHole("rectangular_hole", rectangle, rectangle.halfLength, rectangle.halfWidth);
    row.number(kEdgeRadius, 0.0F);
  }

  void operator()(const xgeofeature::XFPolyLine& /*line*/) const {}

 private:
  template <typename Hole>
  void fillHole(const char* tag, const Hole& hole, float half_length, float half_width) const {
    row.text(kTag, tag).triple(kFirstPoint, hole.center).triple(kNormal, hole.normal);
    row.triple(kDirection, hole.majorDir);
    row.number(kLength, 2 * half_length).number(kWidth, 2 * half_width);
  }
};

/// Writes the numbers of a record, one overload for each class that has a line.
struct WriteNumbers {
  std::ostream& out;

  void operator()(const xgeofeature::XFPoint& point) const {
    out << point.x << " " << point.y << " " << point.z << "\n";
  }
  void operator()(const xgeofeature::XFLine3D2& line) const {
    const xgeofeature::XFLine3D ends = line;
    triple(ends.start) << " ";
    triple(line.dir) << " " << line.length << "\n";
  }
  void operator()(const xgeofeature::XFPlane& plane) const {
    triple(plane.center) << " ";
    triple(plane.normal) << "\n";
  }
  void operator()(const xgeofeature::XFCircle3D& circle) const {
    triple(circle.center) << " ";
    triple(circle.normal) << " " << circle.radius << "\n";
  }
  template <typename Other>
  void operator()(const Other& /*record*/) const {}

 private:
  std::ostream& triple(const float* v) const { return out << v[0] << " " << v[1] << " " << v[2]; }
};

}  // namespace

void writeTableHeader(std::ostream& out) { out << kHeader; }

void writeTableRow(std::ostream& out, const xgeofeature::XFBase* feature, const std::string& name,
                   FeatureRole role) {
  Row row;
  visitRecord(feature, FillRow{row});
  if (row.isEmpty()) return;
  if (role == FeatureRole::Inspection) out << "inspection_";
  row.text(kName, name);
  row.write(out);
}

void writeNumberLine(std::ostream& out, const xgeofeature::XFBase* feature) {
  visitRecord(feature, WriteNumbers{out});
}

}  // namespace zelmo::internal
