# Asks a test program for its suites and writes one test of ctest for each: cmake -D PROGRAM=... -D
# NAME=... -D LABEL=... -D OUTPUT=... -P DiscoverSuites.cmake
execute_process(COMMAND "${PROGRAM}" --gtest_list_tests
  OUTPUT_VARIABLE listed RESULT_VARIABLE failure TIMEOUT 60)
if(failure)
  file(REMOVE "${OUTPUT}")
  message(FATAL_ERROR "${PROGRAM} does not list its tests: ${failure}")
endif()

set(tests "")
string(REPLACE ";" "," listed "${listed}")
string(REPLACE "\n" ";" lines "${listed}")
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+)\\.( |$)")  # "Suite.", "Suite/0.  # TypeParam = float"
    set(suite "${CMAKE_MATCH_1}")
    string(APPEND tests
      "add_test([=[${NAME}: ${suite}]=] [=[${PROGRAM}]=] [=[--gtest_filter=${suite}.*]=])\n"
      "set_tests_properties([=[${NAME}: ${suite}]=] PROPERTIES TIMEOUT 900 LABELS ${LABEL})\n")
  endif()
endforeach()
if(NOT tests)
  message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE "${OUTPUT}" "${tests}")
