// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "support/meshes.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/mesh/section.h"
#include "zelmo/mesh/trim_with_curve.h"

namespace {

std::atomic<std::size_t> smallest_failing{SIZE_MAX};  // every operator new from this size on throws

}  // namespace

// Kept out of line, or the compiler takes the halves of a pair for a mismatch.
__attribute__((noinline)) void* operator new(std::size_t size) {
  void* p = size >= smallest_failing ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
__attribute__((noinline)) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return size >= smallest_failing ? nullptr : std::malloc(size == 0 ? 1 : size);
}
__attribute__((noinline)) void operator delete(void* p) noexcept { std::free(p); }
__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

TEST(FailingTask, IsWaitedForAndItsExceptionHandedOnWithoutALockLeftBehind) {
  const auto mesh = zelmo::test::heightField(100, 100, 1.0F, [](float, float) { return 0.0F; });
  const auto normals = mesh.normals();
  const double plane[4] = {0, 0, 1, 0};
  const float center[3] = {50, 50, 0}, normal[3] = {0, 0, 1}, major[3] = {1, 0, 0};
  xgeofeature::XFOvalGroove3D slot(center, normal, major, 5, 40);
  xsection::XSection section;
  vorn::quil::xtirm::XTrimWithCurve trim;
  std::vector<float> segments;
  vorn::quil::xtirm::ModifyFaceData change;
  const float* const v = mesh.vertices.data();
  const int *const f = mesh.faces.data(), vertices = mesh.vertexCount(), faces = mesh.faceCount();
  const auto run = [&](int kind) {
    if (kind == 0) section.getSection2(plane, v, f, faces, segments);
    if (kind == 1) trim.trimWithOvalSlot(&slot, v, vertices, normals.data(), f, faces, change);
    return segments.size() + change.removedFaces.size();
  };
  for (const int kind : {0, 1}) {
    segments = {};
    change = {};
    smallest_failing = 1 << 14;
    EXPECT_THROW(run(kind), std::bad_alloc) << kind;
    smallest_failing = SIZE_MAX;
    const std::size_t whole = run(kind);
    EXPECT_GT(whole, 10000U) << kind;
    EXPECT_EQ(run(kind), whole) << kind;
  }
}

}  // namespace
