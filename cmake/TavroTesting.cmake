# Test code is compiled without optimisation in every build: it is assertions and calls into the
# library, which keeps its build's optimisation. Optimising GoogleTest's expanded macros took
# about a third of each test file's compile in the optimised builds.
function(tavro_apply_test_compile_options target)
  tavro_apply_compile_options(${target})
  target_compile_options(${target} PRIVATE -O0)
endfunction()

# GoogleTest and GoogleMock are parsed once per build, not once per test file: each test file
# spent about 2.4 s of its compile on their headers, over a hundred files in each of four builds.
# Every test program reuses this one precompiled header (the compile flags are the same for all).
add_library(tavro_test_pch OBJECT ${PROJECT_SOURCE_DIR}/tests/support/precompiled_headers.cpp)
target_link_libraries(tavro_test_pch PRIVATE GTest::gmock)
tavro_apply_test_compile_options(tavro_test_pch)
target_precompile_headers(tavro_test_pch PRIVATE <gtest/gtest.h> <gmock/gmock.h>)

# tavro_add_test(NAME <name> SOURCES <files...> [INTERNAL] [LIBS <targets...>] [SHARED_LOG]
#                [RESOURCE_LOCK <name>])
#
# Builds one GoogleTest program and registers each of its tests with ctest. By default the program
# links the shared library, so the tests go through the real exports (under Wine, the real DLL).
# INTERNAL links the library's objects directly instead, for white-box tests of internals that
# the library does not export.
# SHARED_LOG marks programs whose tests write through the machine-wide log lock and assert what
# lands in the log; ctest runs them one at a time, because one of them holds that lock for longer
# than a writer waits, which would make a writer in another test drop its entry.
# RESOURCE_LOCK names another machine-wide thing the program's tests change (such as the sound
# scheme in the Wine prefix's registry), so that ctest never runs two such programs at once.
function(tavro_add_test)
  cmake_parse_arguments(T "INTERNAL;SHARED_LOG" "NAME;RESOURCE_LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  if(T_INTERNAL)
    target_link_libraries(${T_NAME} PRIVATE tavro_objects)
  else()
    target_link_libraries(${T_NAME} PRIVATE TavroMedivaneUtil)
  endif()
  target_include_directories(${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest_main)
  tavro_apply_test_compile_options(${T_NAME})
  tavro_apply_link_options(${T_NAME})
  target_precompile_headers(${T_NAME} REUSE_FROM tavro_test_pch)
  # Discovery happens when ctest runs, not at build time: under Wine a test program started during
  # the build would start a wineserver that holds the build's pipes open.
  set(properties TIMEOUT 120 LABELS unit)
  set(locks)
  if(T_SHARED_LOG)
    list(APPEND locks tavro_shared_log)
  endif()
  if(T_RESOURCE_LOCK)
    list(APPEND locks ${T_RESOURCE_LOCK})
  endif()
  if(locks)
    string(REPLACE ";" "\\;" locks "${locks}")
    list(APPEND properties RESOURCE_LOCK "${locks}")
  endif()
  gtest_discover_tests(${T_NAME}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    PROPERTIES ${properties})
endfunction()
