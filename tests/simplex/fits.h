// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/captured_output.h"
#include "support/features.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/plane_fit.h"
#include "zelmo/simplex/sphere_fit.h"

namespace zelmo::test {

using Raw = std::vector<double>;  // as a fit writes its parameters

/// The seven numbers of a feature from what its fit writes.
inline Params unified(Kind kind, const Raw& p) {
  const auto point = [&p](double share) { return Vec(p.data()) * share; };
  if (kind == Kind::Plane) return paramsOf(point(-p[3]), point(1));
  if (kind == Kind::Sphere) return paramsOf(point(1), {1, 1, 1}, p[3]);
  return paramsOf(point(1), Vec(&p[3]), kind == Kind::Line ? 0 : p[6]);
}

}  // namespace zelmo::test
