// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// The fits of flat outlines in space.
#include "fuzz_target.h"
#include "measured_points.h"
#include "zelmo/curvefit/circle_fit.h"
#include "zelmo/curvefit/oval_groove_fit.h"
#include "zelmo/curvefit/rectangle_fit.h"
#include "zelmo/curvefit/round_groove_fit.h"
#include "zelmo/internal/array_view.h"

namespace zelmo::fuzz {
namespace {

using xcurve3dfit::FitMethod;

/// \param least fewest points of this outline
/// \param numbers length of its out array
template <typename Fit>
void fitOutline(ByteSource& bytes, const MeasuredPoints& scan, int least, int numbers,
                Transcript& out) {
  const auto method = static_cast<FitMethod>(bytes.anyInt());
  const int form = bytes.below(3);
  Fit fit;
  Output<float> values(numbers);
  bool has_fitted = false;
  if (form == 0) {
    has_fitted = fit.Fit(scan.points.data(), scan.count, values.data(), method);
  } else if (form == 1) {
    const auto points = internal::toPointVector({scan.points.data(), scan.count});
    has_fitted = fit.Fit(points, values.data(), method);
  } else {
    has_fitted =
        fit.Fit(scan.points.data(), scan.normals.data(), scan.count, values.data(), method);
  }
  if (scan.count < least || !allFinite(scan.points)) {
    ZELMO_FUZZ_CHECK(!has_fitted && values.isUntouched());
  }
  if (!has_fitted) ZELMO_FUZZ_CHECK(allFinite(fit.center) && fit.center[0] == 0);
  if (has_fitted) {
    for (int k = 0; k < 3; ++k) {
      ZELMO_FUZZ_CHECK(std::memcmp(&fit.center[k], values.data() + k, sizeof(float)) == 0);
    }
  }
  out.add(has_fitted);
  record(out, values);
  out.add(fit.center);
  out.add(fit.normal);
  out.add(fit.majorDir);
}

void run(ByteSource& bytes, Transcript& out) {
  const int shape = bytes.below(4);
  ByteSource choices(bytes);
  for (int i = 0; i < 2; ++i) bytes.byte();
  const MeasuredPoints scan = measuredPoints(bytes, 40);
  switch (shape) {
    case 0:
      return fitOutline<xcurve3dfit::XCircle3DFit>(choices, scan, 4, 10, out);
    case 1:
      return fitOutline<xcurve3dfit::XOvalGroove3DFit>(choices, scan, 8, 11, out);
    case 2:
      return fitOutline<xcurve3dfit::XRectangle3DFit>(choices, scan, 4, 11, out);
    default:
      return fitOutline<xcurve3dfit::XRoundGroove3DFit>(choices, scan, 12, 12, out);
  }
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
