// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <opencv2/core/matx.hpp>

#include "byte_source.h"
#include "measured_points.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/poly_line.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

namespace zelmo::fuzz {

/// Feature records out of the bytes: three in four with unit directions that stand as they should, the
/// others with whatever numbers come.
class RecordSource {
 public:
  explicit RecordSource(ByteSource& bytes) : m_bytes(bytes) {}

  xgeofeature::XFPoint point() {
    const V3 p = place();
    return xgeofeature::XFPoint(p.v);
  }
  xgeofeature::XFPointN pointN() {
    const V3 p = place();
    const Frame f = frame();
    return {p.v, f.z.v};
  }
  xgeofeature::XFLine3D2 line() {
    const V3 p = place();
    const Frame f = frame();
    return {p.v, f.z.v, size()};
  }
  xgeofeature::XFPlane plane() {
    const V3 p = place();
    const Frame f = frame();
    const float length = size(), width = size();
    xgeofeature::XFPlane made(p.v, f.z.v, f.x.v, length, width);
    if (m_bytes.below(8) == 7) made.d = m_bytes.real();
    return made;
  }
  xgeofeature::XFCircle3D circle() {
    const V3 p = place();
    const Frame f = frame();
    return {p.v, f.z.v, f.x.v, size()};
  }
  xgeofeature::XFSphere sphere() {
    const V3 p = place();
    return {p.v, size()};
  }
  xgeofeature::XFCylinder cylinder() {
    const V3 p = place();
    const Frame f = frame();
    const float radius = size(), height = size();
    return {p.v, f.z.v, radius, height};
  }
  xgeofeature::XFCone cone() {
    const V3 p = place();
    const Frame f = frame();
    const float base = size(), top = size(), height = size();
    return {p.v, f.z.v, base, top, height};
  }
  xgeofeature::XFOvalGroove3D ovalGroove() {
    const V3 p = place();
    const Frame f = frame();
    const float half = size(), radius = size();
    return {p.v, f.z.v, f.x.v, half, radius};
  }
  xgeofeature::XFRoundGroove3D roundGroove() {
    const V3 p = place();
    const Frame f = frame();
    const float length = size(), width = size(), corner = size();
    return {p.v, f.z.v, f.x.v, length, width, corner};
  }
  xgeofeature::XFRectangle3D rectangle() {
    const V3 p = place();
    const Frame f = frame();
    const float length = size(), width = size();
    return {p.v, f.z.v, f.x.v, length, width};
  }
  xgeofeature::XFPolyLine polyLine() {
    const int count = m_bytes.count(12);
    const auto coordinates = m_bytes.reals(3 * (count > 0 ? count : 0));
    return {coordinates.data(), count};
  }

  /// A record of any kind; shared, since a record has no virtual destructor.
  std::shared_ptr<xgeofeature::XFBase> any() {
    using namespace xgeofeature;
    switch (m_bytes.below(13)) {
      case 0:
        return std::make_shared<XFPoint>(point());
      case 1:
        return std::make_shared<XFPointN>(pointN());
      case 2:
        return std::make_shared<XFLine3D2>(line());
      case 3:
        return std::make_shared<XFLine3D>(line());
      case 4:
        return std::make_shared<XFPlane>(plane());
      case 5:
        return std::make_shared<XFCircle3D>(circle());
      case 6:
        return std::make_shared<XFSphere>(sphere());
      case 7:
        return std::make_shared<XFCylinder>(cylinder());
      case 8:
        return std::make_shared<XFCone>(cone());
      case 9:
        return std::make_shared<XFOvalGroove3D>(ovalGroove());
      case 10:
        return std::make_shared<XFRoundGroove3D>(roundGroove());
      case 11:
        return std::make_shared<XFRectangle3D>(rectangle());
      default:
        return std::make_shared<XFPolyLine>(polyLine());
    }
  }

 private:
  struct V3 {
    float v[3];
  };
  struct Frame {
    V3 x, z;
  };

  static V3 floats(const cv::Vec3d& v) {
    return {{static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])}};
  }
  V3 place() {
    V3 p = {};
    for (float& c : p.v) c = m_bytes.real();
    return p;
  }
  Frame frame() {
    const int kind = m_bytes.below(8);
    if (kind < 2) return {place(), place()};
    if (kind < 4) {  // an axis of the world
      V3 x = {}, z = {};
      const int axis = m_bytes.below(3);
      z.v[axis] = kind == 2 ? 1.0F : -1.0F;
      x.v[(axis + 1) % 3] = 1;
      return {x, z};
    }
    const cv::Vec3d z = detail::direction(m_bytes), aside = detail::direction(m_bytes);
    const cv::Vec3d x = z.cross(aside);
    const double length = cv::norm(x);
    return {floats(length > 1e-6 ? x / length : x), floats(z)};
  }
  float size() {
    return m_bytes.flag() ? m_bytes.real() : static_cast<float>(m_bytes.byte() + 1) / 8;
  }

  ByteSource& m_bytes;
};

/// Every float of a record, bit by bit.
template <typename Transcript>
void record(Transcript& out, const xgeofeature::XFPoint& p) {
  out.add(p.x);
  out.add(p.y);
  out.add(p.z);
}
template <typename Transcript>
void record(Transcript& out, const xgeofeature::XFLine3D2& line) {
  out.add(line.center);
  out.add(line.dir);
  out.add(line.length);
}
template <typename Transcript>
void record(Transcript& out, const xgeofeature::XFPlane& plane) {
  out.add(plane.center);
  out.add(plane.normal);
  out.add(plane.majorDir);
  for (const float value : {plane.length, plane.width, plane.a, plane.b, plane.c, plane.d}) {
    out.add(value);
  }
}
template <typename Transcript>
void record(Transcript& out, const xgeofeature::XFCircle3D& circle) {
  out.add(circle.center);
  out.add(circle.normal);
  out.add(circle.majorDir);
  out.add(circle.radius);
}
template <typename Transcript>
void record(Transcript& out, const xgeofeature::XFSphere& sphere) {
  out.add(sphere.center);
  out.add(sphere.radius);
}

}  // namespace zelmo::fuzz
