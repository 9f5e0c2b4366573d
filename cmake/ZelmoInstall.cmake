# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
include(CMakePackageConfigHelpers)

set(zelmo_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Zelmo")
# Three components, one a package: what a host runs with, what it builds with, the programs.
install(TARGETS zelmo EXPORT ZelmoTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev)
install(EXPORT ZelmoTargets NAMESPACE Zelmo:: DESTINATION "${zelmo_config_dir}" COMPONENT dev)
configure_package_config_file(cmake/ZelmoConfig.cmake.in
  "${PROJECT_BINARY_DIR}/ZelmoConfig.cmake" INSTALL_DESTINATION "${zelmo_config_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZelmoConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZelmoConfig.cmake"
  "${PROJECT_BINARY_DIR}/ZelmoConfigVersion.cmake" cmake/FindZelmoPCL.cmake
  DESTINATION "${zelmo_config_dir}" COMPONENT dev)

# Hosts without CMake. PCL's and OpenCASCADE's directories are named here, since neither has a
# pkg-config file that says them all.
list(GET OpenCV_INCLUDE_DIRS 0 zelmo_pc_opencv_dir)
# The file tells the prefix by where it lies: `cmake --install --prefix` may choose another one.
file(RELATIVE_PATH zelmo_pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" zelmo_pc_prefix "\${pcfiledir}/${zelmo_pc_prefix}")
configure_file(cmake/zelmo.pc.in "${PROJECT_BINARY_DIR}/zelmo.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zelmo.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT dev)
install(FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libzelmo-dev" COMPONENT dev)
# Debian looks for the licence of each package under this name.
foreach(part "library;libzelmo${PROJECT_VERSION_MAJOR}" "dev;libzelmo-dev" "tools;zelmo-tools")
  list(GET part 0 component)
  list(GET part 1 package)
  install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" RENAME copyright
    COMPONENT ${component})
endforeach()
# Another package of Debian has /usr/bin/inspect, so the installed command is zelmo-inspect.
if(TARGET inspect)
  install(TARGETS inspect DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/zelmo" COMPONENT tools)
  file(CREATE_LINK "../${CMAKE_INSTALL_LIBEXECDIR}/zelmo/inspect" "${PROJECT_BINARY_DIR}/zelmo-inspect" SYMBOLIC)
  install(FILES "${PROJECT_BINARY_DIR}/zelmo-inspect" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endif()
