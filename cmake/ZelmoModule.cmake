# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later

# Adds one folder of the library. HEADERS are public and installed; SOURCES are compiled.
function(zelmo_subsystem)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES" ${ARGN})
  if(ARG_HEADERS)
    target_sources(zelmo PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}/src"
      FILES ${ARG_HEADERS})
  endif()
  if(ARG_SOURCES)
    target_sources(zelmo_objects PRIVATE ${ARG_SOURCES})
  endif()
endfunction()

# Lets a target parse headers of dependencies once. Sources name what they include all the same: the
# tidy preset builds without this.
function(zelmo_precompile target)
  if(ZELMO_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# One test executable per folder of the library, one CTest entry per test.
function(zelmo_test subsystem)
  set(target zelmo_${subsystem}_test)
  add_executable(${target} ${ARGN})
  target_link_libraries(${target} PRIVATE zelmo_static zelmo_test_support zelmo_options
    GTest::gmock_main)
  if(ZELMO_HAS_GOLD)
    target_link_options(${target} PRIVATE -fuse-ld=gold)
  endif()
  if(ZELMO_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} REUSE_FROM zelmo_test_headers)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX ${subsystem}/ NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 120 PROPERTIES LABELS ${subsystem} TIMEOUT 900)
endfunction()

# One benchmark executable per folder of the library, on the shipped library.
function(zelmo_benchmark subsystem)
  set(target zelmo_${subsystem}_benchmark)
  add_executable(${target} ${ARGN})
  target_link_libraries(${target} PRIVATE zelmo zelmo_test_support zelmo_options
    benchmark::benchmark_main)
endfunction()
