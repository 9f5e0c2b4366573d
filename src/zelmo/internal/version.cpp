// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <zelmo/version.h>

namespace zelmo {

const char* version() noexcept { return ZELMO_VERSION; }

}  // namespace zelmo
