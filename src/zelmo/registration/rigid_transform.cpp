// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rigid_transform.h"

#include <algorithm>

#include "zelmo/internal/objective.h"
#include "zelmo/registration/internal/motion_parameters.h"

namespace xrigidtransform {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr int kMaxIterations = 10000;

}  // namespace

XRigidTransform::XRigidTransform()
    : m_simplex(kMotionParameters, kMaxIterations, Distance_LeastAbsDev) {}

double XRigidTransform::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  // CONTRACT: the two lists are told apart by half the number of all points.
  const auto& both = *static_cast<const PointView*>(params);
  const int half = both.count() / 2;
  const auto p = valuesOf<kMotionParameters>(v);
  return pairedDistanceSum(PointView(both.data(), half), PointView(both.at(half), half), p.data());
}

bool XRigidTransform::getRT(const std::vector<cv::Point3f>& first,
                            const std::vector<cv::Point3f>& second, double* const params) {
  getInitialValue(first, second, params);
  std::vector<cv::Point3f> both(first);
  both.insert(both.end(), second.begin(), second.end());
  if (both.size() < 2) return true;
  const PointView points(both);
  m_simplex.descend(&points, params, firstSteps(params).data());
  return true;
}

bool XRigidTransform::getInitialValue(const std::vector<cv::Point3f>& first,
                                      const std::vector<cv::Point3f>& second,
                                      double* const params) {
  const auto p = parametersOf(pairedMotion(PointView(first), PointView(second)));
  std::copy(p.begin(), p.end(), params);
  return !first.empty() && !second.empty();
}

}  // namespace xrigidtransform
