# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Debian packages out of the three install components; `./run package` builds them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "LibZelmo contributors <zelmo@localhost>")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library dev tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "libzelmo${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "geometric metrology for measuring applications
 Fits ideal features to measured points, evaluates tolerances, reads and writes
 CAD files, aligns, sections and trims. This package holds the shared library.")
# The versions of the dependencies that it was linked with: their ABI is part of this library's.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzelmo-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS library)
set(CPACK_COMPONENT_DEV_DESCRIPTION "geometric metrology for measuring applications (development files)
 Headers, CMake package and pkg-config file of libzelmo.")
# What the public headers include and the linker is told to look for.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libopencv-dev, libpcl-dev, libgsl-dev, libboost-dev, libocct-foundation-dev, libocct-modeling-data-dev, libocct-modeling-algorithms-dev, libocct-data-exchange-dev")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zelmo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "geometric metrology for measuring applications (programs)
 inspect: from a CAD model and a scan to a table of measured features.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src/zelmo")

include(CPack)
