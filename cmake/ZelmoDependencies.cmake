# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# What public headers show is PUBLIC of the library and found again by the installed package; the rest is PRIVATE.
find_package(OpenCV REQUIRED COMPONENTS core imgproc)
find_package(GSL REQUIRED)
find_package(Boost REQUIRED)
find_package(OpenCASCADE REQUIRED)
find_package(ZelmoPCL REQUIRED)
# The system's own choice of LAPACK, not the one that happens to be found first: what the library links
# must not depend on what else is installed.
if(NOT DEFINED BLA_VENDOR)
  set(BLA_VENDOR Generic)
endif()
find_package(LAPACK REQUIRED)
find_package(Threads REQUIRED)

# OpenCASCADE's own targets carry no include directory; two toolkits changed their names in 7.8.
set(zelmo_occ_step TKSTEP)
set(zelmo_occ_iges TKIGES)
if(NOT TARGET TKSTEP)
  set(zelmo_occ_step TKDESTEP)
  set(zelmo_occ_iges TKDEIGES)
endif()
add_library(zelmo_occ_topology INTERFACE)
target_include_directories(zelmo_occ_topology SYSTEM INTERFACE "$<BUILD_INTERFACE:${OpenCASCADE_INCLUDE_DIR}>")
target_link_libraries(zelmo_occ_topology INTERFACE TKernel TKMath TKG3d TKBRep)

# Debian links as needed, so every toolkit that is used is named.
add_library(zelmo_occ_all INTERFACE)
target_link_libraries(zelmo_occ_all INTERFACE
  zelmo_occ_topology TKG2d TKGeomBase TKGeomAlgo TKTopAlgo TKPrim TKShHealing TKFillet TKXSBase
  ${zelmo_occ_step} ${zelmo_occ_iges})
