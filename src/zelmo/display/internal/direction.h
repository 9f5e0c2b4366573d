// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <opencv2/core.hpp>

namespace zelmo::internal {

/// Whether \p v is neither zero nor without a value.
inline bool isDirection(const cv::Vec3d& v) { return cv::norm(v) > 0; }

}  // namespace zelmo::internal
