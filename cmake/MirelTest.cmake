# One test program of a folder: mirel_test(name SOURCES a_test.cpp ... USES libraries).
include(GoogleTest)
find_package(GTest REQUIRED)

function(mirel_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${arg_USES} GTest::gmock_main)
  gtest_discover_tests(${name} PROPERTIES TIMEOUT 900 DISCOVERY_TIMEOUT 60)
endfunction()
