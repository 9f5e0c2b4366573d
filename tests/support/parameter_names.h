// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace zelmo::test {

/// Names a row of a table by its field `name`.
template <typename Case>
std::string caseName(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

}  // namespace zelmo::test
