# One test program of a folder: mirel_test(name SOURCES a_test.cpp ... USES libraries
# [APART b_test.cpp ...]). APART are sources that have names of others in anonymous namespaces.
include(GoogleTest)
find_package(GTest REQUIRED)
# Of test programs, after the options of the build type: half of the time of a build from nothing went
# into optimising expectations. What they test, and the references beside it, are libraries.
set(mirel_test_options -O0)

if(MIREL_PCH)
  mirel_precompiled_headers(mirel_tests_precompiled
    HEADERS ${MIREL_PRECOMPILED} <gmock/gmock.h> <gtest/gtest.h> USES glm::glm GTest::gmock)
  # Test programs are executables: their code is compiled with other options than a library's.
  set_target_properties(mirel_tests_precompiled PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  target_compile_options(mirel_tests_precompiled PRIVATE -fPIE ${mirel_test_options})
endif()

function(mirel_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES;APART" ${ARGN})
  add_executable(${name} ${arg_SOURCES} ${arg_APART})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_compile_options(${name} PRIVATE ${mirel_test_options})
  target_link_libraries(${name} PRIVATE ${arg_USES} GTest::gmock_main)
  mirel_use_precompiled(${name} mirel_tests_precompiled)
  mirel_join_sources(${name})
  set_source_files_properties(${arg_APART} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  # The folder's name picks tests for the sanitizers (CMakePresets.json).
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  gtest_discover_tests(${name} PROPERTIES TIMEOUT 900 LABELS ${folder} DISCOVERY_TIMEOUT 60)
endfunction()
