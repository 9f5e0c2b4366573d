// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Links only the shared library: a class without its export mark fails to link here.
#include <gtest/gtest.h>
#include <zelmo/zelmo.h>

TEST(SharedLibrary, IsOfTheVersionItsHeadersName) { EXPECT_STREQ(zelmo::version(), ZELMO_VERSION); }
