// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Features sampled for drawing, and what the records derive from one another.
#include "fuzz_target.h"
#include "records.h"
#include "zelmo/display/outlines.h"
#include "zelmo/display/solids.h"

namespace zelmo::fuzz {
namespace {

/// Outlines and solids of a record; the buffers are as long as the headers say.
void sampleFlat(ByteSource& bytes, Transcript& out) {
  RecordSource source(bytes);
  const int kind = bytes.below(4), count = bytes.count(40), quarters = std::max(count, 0) / 4;
  const bool has_buffer = bytes.below(8) != 7;
  Output<float> points(kind == 0   ? 3 * std::max(count, 0)
                       : kind == 1 ? 3 * (4 * quarters + 4)
                       : kind == 2 ? 12
                                   : 3 * (4 * quarters + 8));
  float* buffer = has_buffer ? points.data() : nullptr;
  int code = 0;
  if (kind == 0) {
    const auto f = source.circle();
    xgeometry::XCicle3D shape(f.center, f.normal, f.majorDir, f.radius);
    code = shape.getDisplayData(count, buffer);
    code += shape.getDisplayData2(f.center, f.normal, f.radius, count, buffer);
  } else if (kind == 1) {
    const auto f = source.ovalGroove();
    xgeometry::XOvalGroove3D shape(f.center, f.normal, f.majorDir, f.halfStraight, f.radius);
    code = shape.getDisplayData(count, buffer);
  } else if (kind == 2) {
    const auto f = source.rectangle();
    xgeometry::XRectangle3D shape(f.center, f.normal, f.majorDir, f.halfLength, f.halfWidth);
    code = shape.getDisplayData(buffer);
  } else {
    const auto f = source.roundGroove();
    xgeometry::XRoundGroove3D shape(f.center, f.normal, f.majorDir, f.halfLength, f.halfWidth,
                                    f.cornerRadius);
    code = shape.getDisplayData(count, buffer);
  }
  ZELMO_FUZZ_CHECK(code == 0);
  record(out, points);
}

void sampleSolid(ByteSource& bytes, Transcript& out) {
  RecordSource source(bytes);
  const int count = bytes.count(40);
  const bool has_first = bytes.below(8) != 7, has_second = bytes.below(8) != 7;
  Output<float> first(3 * std::max(count, 0)), second(3 * std::max(count, 0));
  float *one = has_first ? first.data() : nullptr, *two = has_second ? second.data() : nullptr;
  int code = 0;
  if (bytes.flag()) {
    const auto f = source.cylinder();
    code = xgeometry::XCylinder(f.base, f.axis, f.height, f.radius).getDisplayData(count, one, two);
  } else {
    const auto f = source.cone();
    code = xgeometry::XCone(f.base, f.axis, f.height, f.baseRadius, f.topRadius)
               .getDisplayData(count, one, two);
  }
  ZELMO_FUZZ_CHECK(code == 0);
  if (!has_first || !has_second) ZELMO_FUZZ_CHECK(first.isUntouched() && second.isUntouched());
  record(out, first);
  record(out, second);
}

/// Records from vectors of any length, turned round and compared.
void deriveRecords(ByteSource& bytes, Transcript& out) {
  using namespace xgeofeature;
  const auto values = bytes.reals(bytes.below(18));
  const XFCircle3D circle(values);
  const XFOvalGroove3D oval(values);
  const XFRoundGroove3D round(values);
  const XFRectangle3D rectangle(values);
  const XFCone cone(values);
  const XFCylinder cylinder(values);
  ZELMO_FUZZ_CHECK(values.size() == 10 || circle.radius == 0);
  ZELMO_FUZZ_CHECK(values.size() == 16 || cone.height == 0);
  RecordSource source(bytes);
  XFLine3D2 line = source.line();
  XFPlane plane = source.plane();
  XFPoint corners[4];
  plane.inv();
  plane.getCornerPoint(corners);
  for (const XFPoint& corner : corners) record(out, corner);
  const auto both = [&](const auto& feature) {
    feature.getLine(line);
    record(out, line);
    feature.getPlane(plane);
    record(out, plane);
    auto inverted = feature.invert();
    out.add(inverted == feature);
  };
  both(circle);
  both(oval);
  both(round);
  both(rectangle);
  cone.getLine(line);
  record(out, line);
  cylinder.invert().getLine(line);
  record(out, line);
  const auto equation = bytes.reals(4);
  record(out, XFPlane(equation.data()));
  XFLine3D ends(line);
  out.add(ends.invert() == ends);
  record(out, XFLine3D2(ends));
  XFPolyLine poly = source.polyLine();
  poly.inv();
  poly.merge(poly.invert());
  for (const XFPoint& p : poly.points) record(out, p);
  Output<double> turn(9);
  ZELMO_FUZZ_CHECK(XFBase::getRotationMatrix(line.dir, line.length, turn.data(), bytes.flag()) ==
                   0);
  record(out, turn);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, Transcript&) = {&sampleFlat, &sampleSolid,
                                                            &deriveRecords};
  const auto member = kMembers[bytes.below(3)];
  bytes.chooseNumbers();
  member(bytes, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
