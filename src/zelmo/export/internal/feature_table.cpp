// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/export/internal/feature_table.h"

#include <array>
#include <locale>
#include <sstream>

#include "zelmo/export/internal/record_cast.h"

namespace zelmo::internal {
namespace {

constexpr std::size_t kColumns = 47;
constexpr double kPi = 3.141592653589793;

constexpr const char* kHeader =
    R"("type";"name";"coord-x";"coord-y";"coord-z";"coord-x2";"coord-y2";"coord-z2";)"
    R"("normal-x";"normal-y";"normal-z";"trimming-x";"trimming-y";"trimming-z";"dir-x";"dir-y";"dir-z";)"
    R"("length";"width";"radius";"radius2";"angle";"orientation";"edge-radius";"num-points";)"
    R"("tol-x-lower";"tol-x-upper";"tol-y-lower";"tol-y-upper";"tol-z-lower";"tol-z-upper";"tol-all-lower";"tol-all-upper";)"
    R"("tol-normal-lower";"tol-normal-upper";"tol-trimming-lower";"tol-trimming-upper";"tol-inplane-lower";"tol-inplane-upper";)"
    R"("tol-length-lower";"tol-length-upper";"tol-width-lower";"tol-width-upper";"tol-diameter-lower";"tol-diameter-upper";"tol-angle-lower";"tol-angle-upper")";

/// Columns counted from 1, as the header line counts them.
enum Column {
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

  void tag(const char* text) { m_tag = text; }
  const char* tag() const { return m_tag; }
  bool isEmpty() const { return m_tag == nullptr; }

  void text(int column, const char* value) { m_fields[indexOf(column)] = value; }
  void number(int column, float value) { store(column, value); }
  void number(int column, double value) { store(column, value); }
  void triple(int column, const float* value) {
    for (int i = 0; i < 3; ++i) store(column + i, value[i]);
  }

  /// The row ends before its last field.
  void dropLastField() { --m_count; }

  void write(std::ostream& out) const {
    for (std::size_t i = indexOf(kFirstPoint); i < m_count; ++i) {
      out << m_fields[i] << (i + 1 < m_count ? ";" : "");
    }
  }

 private:
  static std::size_t indexOf(int column) { return static_cast<std::size_t>(column - 1); }

  template <typename Value>
  void store(int column, Value value) {
    m_number.str(std::string());
    m_number << value;
    m_fields[indexOf(column)] = m_number.str();
  }

  std::array<std::string, kColumns> m_fields;
  std::ostringstream m_number;
  const char* m_tag = nullptr;
  std::size_t m_count = kColumns;
};

/// Fills a row from a record, one overload for each class.
struct FillRow {
  Row& row;

  void operator()(const xgeofeature::XFPoint& point) const {
    row.tag("point;");
    const float xyz[3] = {point.x, point.y, point.z};
    row.triple(kFirstPoint, xyz);
  }

  void operator()(const xgeofeature::XFLine3D2& line) const {
    row.tag("line;");
    const xgeofeature::XFLine3D ends = line;
    row.triple(kFirstPoint, ends.start);
    row.triple(kSecondPoint, ends.end);
    row.triple(kDirection, line.dir);
    row.number(kLength, line.length);
  }

  void operator()(const xgeofeature::XFPlane& plane) const {
    row.tag("plane;");
    row.triple(kFirstPoint, plane.center);
    // CONTRACT: a plane's second point is truly empty, its orientation fixed, its last field missing.
    for (int i = 0; i < 3; ++i) row.text(kSecondPoint + i, "");
    row.text(kOrientation, "-12.00");
    row.dropLastField();
    row.triple(kNormal, plane.normal);
    row.number(kLength, plane.length);
    row.number(kWidth, plane.width);
  }

  void operator()(const xgeofeature::XFCircle3D& circle) const {
    row.tag("circle;");
    row.triple(kFirstPoint, circle.center);
    row.triple(kNormal, circle.normal);
    row.number(kRadius, circle.radius);
  }

  void operator()(const xgeofeature::XFSphere& sphere) const {
    row.tag("sphere;");
    row.triple(kFirstPoint, sphere.center);
    row.number(kRadius, sphere.radius);
  }

  void operator()(const xgeofeature::XFCylinder& cylinder) const {
    row.tag("cylinder;");
    row.triple(kFirstPoint, cylinder.base);
    row.triple(kSecondPoint, cylinder.top);
    row.triple(kDirection, cylinder.axis);
    row.number(kLength, cylinder.height);
    row.number(kRadius, cylinder.radius);
  }

  void operator()(const xgeofeature::XFCone& cone) const {
    row.tag("cone;");
    // CONTRACT: the narrow end comes first, with the direction from there to the base.
    row.triple(kFirstPoint, cone.top);
    row.triple(kSecondPoint, cone.base);
    for (int i = 0; i < 3; ++i) row.number(kDirection + i, -cone.axis[i]);
    row.number(kRadius, cone.topRadius);
    row.number(kSecondRadius, cone.baseRadius);
    row.number(kAngle, static_cast<double>(cone.halfAngle) / kPi * 180.0);
  }

  void operator()(const xgeofeature::XFOvalGroove3D& groove) const {
    row.tag("slotted_hole;");
    fillFlat(groove);
    row.number(kLength, 2 * (groove.halfStraight + groove.radius));
    row.number(kWidth, 2 * groove.radius);
  }

  void operator()(const xgeofeature::XFRoundGroove3D& groove) const {
    row.tag("rectangular_hole;");
    fillFlat(groove);
    row.number(kLength, 2 * groove.halfLength);
    row.number(kWidth, 2 * groove.halfWidth);
    row.number(kEdgeRadius, groove.cornerRadius);
  }

  void operator()(const xgeofeature::XFRectangle3D& rectangle) const {
    row.tag("rectangular_hole;");
    fillFlat(rectangle);
    row.number(kLength, 2 * rectangle.halfLength);
    row.number(kWidth, 2 * rectangle.halfWidth);
    row.number(kEdgeRadius, 0.0F);
  }

  void operator()(const xgeofeature::XFPolyLine& /*line*/) const {}

 private:
  template <typename Shape>
  void fillFlat(const Shape& shape) const {
    row.triple(kFirstPoint, shape.center);
    row.triple(kNormal, shape.normal);
    row.triple(kDirection, shape.majorDir);
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
  out << (role == FeatureRole::Inspection ? "inspection_" : "") << row.tag() << name << ";";
  row.write(out);
  out << "\n";
}

void writeNumberLine(std::ostream& out, const xgeofeature::XFBase* feature) {
  visitRecord(feature, WriteNumbers{out});
}

}  // namespace zelmo::internal
