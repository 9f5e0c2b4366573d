# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# One INTERFACE target carries every flag; nothing touches the global flags.
add_library(zelmo_options INTERFACE)
target_compile_features(zelmo_options INTERFACE cxx_std_17)

# Results depend on where values round: a fused a * b + c would change them, and g++ 12's straight-line
# vectoriser drops roundings to float. No caller reads errno after sqrt, and loops vectorise without it.
target_compile_options(zelmo_options INTERFACE -ffp-contract=off -fno-math-errno
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-tree-slp-vectorize>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fno-slp-vectorize>)
target_compile_options(zelmo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  $<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang>:-Wno-psabi>
  # The records' destructor is not virtual, and vectors of records destroy just what they hold.
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-delete-non-abstract-non-virtual-dtor>)
if(ZELMO_WARNINGS_AS_ERRORS)
  target_compile_options(zelmo_options INTERFACE -Werror)
endif()

if(ZELMO_SANITIZE)
  if("thread" IN_LIST ZELMO_SANITIZE AND "address" IN_LIST ZELMO_SANITIZE)
    message(FATAL_ERROR "ZELMO_SANITIZE: address and thread exclude each other")
  endif()
  # Instrumented code confuses this warning (Boost's optional, for one).
  target_compile_options(zelmo_options INTERFACE
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>)
  list(JOIN ZELMO_SANITIZE "," _zelmo_sanitizers)
  target_compile_options(zelmo_options INTERFACE "-fsanitize=${_zelmo_sanitizers}"
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zelmo_options INTERFACE "-fsanitize=${_zelmo_sanitizers}")
endif()
