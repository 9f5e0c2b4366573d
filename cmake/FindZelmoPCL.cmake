# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# PCL's headers and the few of its libraries that are used, by name. PCL's own package config would
# pull in VTK and need the language C in the project of every host.
#
# Targets: ZelmoPCL::cloud (cloud and tree, shown by public headers), ZelmoPCL::algorithms (the rest).
find_path(ZelmoPCL_INCLUDE_DIR pcl/point_cloud.h
  PATH_SUFFIXES pcl-1.13 pcl-1.12 pcl-1.14 pcl-1.15 pcl-1.11)
find_path(ZelmoPCL_EIGEN_DIR Eigen/Core PATH_SUFFIXES eigen3)
find_path(ZelmoPCL_FLANN_DIR flann/flann.hpp)

set(_zelmo_pcl_components common kdtree search features segmentation sample_consensus)
set(_zelmo_pcl_required ZelmoPCL_INCLUDE_DIR ZelmoPCL_EIGEN_DIR ZelmoPCL_FLANN_DIR)
foreach(_component IN LISTS _zelmo_pcl_components)
  find_library(ZelmoPCL_${_component}_LIBRARY pcl_${_component})
  mark_as_advanced(ZelmoPCL_${_component}_LIBRARY)
  list(APPEND _zelmo_pcl_required ZelmoPCL_${_component}_LIBRARY)
endforeach()
find_library(ZelmoPCL_FLANN_LIBRARY flann_cpp)
find_library(ZelmoPCL_LZ4_LIBRARY lz4)
list(APPEND _zelmo_pcl_required ZelmoPCL_FLANN_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ZelmoPCL REQUIRED_VARS ${_zelmo_pcl_required})
mark_as_advanced(${_zelmo_pcl_required} ZelmoPCL_LZ4_LIBRARY)

if(ZelmoPCL_FOUND AND NOT TARGET ZelmoPCL::cloud)
  find_package(Boost REQUIRED)
  add_library(ZelmoPCL::cloud INTERFACE IMPORTED)
  set(_zelmo_lz4)
  if(ZelmoPCL_LZ4_LIBRARY)
    set(_zelmo_lz4 "${ZelmoPCL_LZ4_LIBRARY}")
  endif()
  target_include_directories(ZelmoPCL::cloud SYSTEM INTERFACE
    "${ZelmoPCL_INCLUDE_DIR}" "${ZelmoPCL_EIGEN_DIR}" "${ZelmoPCL_FLANN_DIR}")
  target_link_libraries(ZelmoPCL::cloud INTERFACE "${ZelmoPCL_kdtree_LIBRARY}"
    "${ZelmoPCL_common_LIBRARY}" "${ZelmoPCL_FLANN_LIBRARY}" ${_zelmo_lz4} Boost::headers)
  add_library(ZelmoPCL::algorithms INTERFACE IMPORTED)
  target_link_libraries(ZelmoPCL::algorithms INTERFACE "${ZelmoPCL_segmentation_LIBRARY}"
    "${ZelmoPCL_features_LIBRARY}" "${ZelmoPCL_sample_consensus_LIBRARY}"
    "${ZelmoPCL_search_LIBRARY}" ZelmoPCL::cloud)
endif()
