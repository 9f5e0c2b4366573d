// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

/// \file
/// What can be attained: loops that do the least that an operation asks for, in vector code of the
/// same width as the library's. Each gives a number so that no compiler drops it.

namespace zelmo::bench {

/// Reads all floats once.
double readAll(const float* values, std::size_t count);

/// The nine sums of x, y, z and their products, in one pass over points.
double momentSums(const float* points, int count);

/// a x + b y + c z + d of every point, and the sum of the absolutes.
double planeValues(const float* points, int count, const double* plane);

/// One square root for each point in space, and their sum.
double squareRoots(const float* points, int count);

/// One square root for each point of a plane, and their sum.
double planarSquareRoots(const float* points, int count);

}  // namespace zelmo::bench
