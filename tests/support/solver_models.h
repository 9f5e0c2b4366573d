// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

/// \file
/// The models of the stored solver calls. Their last bits decide whole solves: every expression is
/// evaluated from left to right as it stands.

namespace zelmo::test {

using SolverModel = void (*)(const double* p, double* hx, int m, int n, const double* points);

/// Distances from an axis with direction made unit, less what \p radius gives along it.
template <typename Radius>
void axisResiduals(const double* p, double* hx, int n, const double* points, Radius radius) {
  const double length = std::sqrt(p[3] * p[3] + p[4] * p[4] + p[5] * p[5]);
  const double u = p[3] / length, v = p[4] / length, w = p[5] / length;
  for (int i = 0; i < n; ++i, points += 3) {
    const double x = points[0] - p[0], y = points[1] - p[1], z = points[2] - p[2];
    const double a = y * w - z * v, b = z * u - x * w, c = x * v - y * u;
    hx[i] = std::sqrt(a * a + b * b + c * c) - radius(x * u + y * v + z * w);
  }
}

inline void planeModel(const double* p, double* hx, int, int n, const double* q) {
  const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  for (int i = 0; i < n; ++i, q += 3) {
    hx[i] = (p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3]) / length;
  }
}
inline void sphereModel(const double* p, double* hx, int, int n, const double* q) {
  for (int i = 0; i < n; ++i, q += 3) {
    const double x = q[0] - p[0], y = q[1] - p[1], z = q[2] - p[2];
    hx[i] = std::sqrt(x * x + y * y + z * z) - p[3];
  }
}
inline void cylinderModel(const double* p, double* hx, int, int n, const double* q) {
  axisResiduals(p, hx, n, q, [p](double) { return p[6]; });
}
inline void coneModel(const double* p, double* hx, int, int n, const double* q) {
  const double slope = std::tan(p[6]);
  axisResiduals(p, hx, n, q, [slope](double t) { return std::fabs(t) * slope; });
}
inline void circleModel(const double* p, double* hx, int, int n, const double* q) {
  for (int i = 0; i < n; ++i, q += 2) {
    const double x = q[0] - p[0], y = q[1] - p[1];
    hx[i] = std::sqrt(x * x + y * y) - p[2];
  }
}
inline void rosenbrockModel(const double* p, double* hx, int, int, const double*) {
  hx[0] = 10.0 * (p[1] - p[0] * p[0]);
  hx[1] = 1.0 - p[0];
}
inline void osborneModel(const double* p, double* hx, int, int n, const double*) {
  for (int i = 0; i < n; ++i) {
    const double t = i / 10.0, a = t - p[8], b = t - p[9], c = t - p[10];
    hx[i] = p[0] * std::exp(-t * p[4]) + p[1] * std::exp(-(a * a) * p[5]) +
            p[2] * std::exp(-(b * b) * p[6]) + p[3] * std::exp(-(c * c) * p[7]);
  }
}
inline void identityModel(const double* p, double* hx, int m, int n, const double*) {
  for (int i = 0; i < n; ++i) hx[i] = p[i % m];
}

inline SolverModel solverModel(const std::string& name) {
  static const std::map<std::string, SolverModel> models = {
      {"plane", planeModel},      {"sphere", sphereModel},    {"cylinder", cylinderModel},
      {"cone", coneModel},        {"circle", circleModel},    {"rosenbrock", rosenbrockModel},
      {"osborne2", osborneModel}, {"identity", identityModel}};
  return models.at(name);
}

/// A model that notes where it is called and gives wrong values on some calls.
struct TracedModel {
  SolverModel model = nullptr;
  std::vector<double> points;
  long calls = 0;
  long first_fault = 0, last_fault = -1;  ///< counted from 1
  double fault_value = 0;
  int fault_entries = 0;  ///< leading ones; -1: all
  std::vector<std::vector<double>> trace;

  static void call(double* p, double* hx, int m, int n, void* adata) {
    auto& self = *static_cast<TracedModel*>(adata);
    self.model(p, hx, m, n, self.points.data());
    ++self.calls;
    if (self.calls >= self.first_fault && self.calls <= self.last_fault) {
      std::fill_n(hx, self.fault_entries < 0 ? n : std::min(n, self.fault_entries),
                  self.fault_value);
    }
    self.trace.emplace_back(p, p + m);
  }
};

}  // namespace zelmo::test
