# The headers of the standard library and of GLM that most files include are parsed once for all
# libraries and once for all tests. A file still includes what it uses: the lint preset
# compiles without (MIREL_PCH=OFF).
option(MIREL_PCH "Precompile the headers that most files include" ${mirel_whole_builds})

set(MIREL_PRECOMPILED
  <algorithm> <array> <cmath> <cstdint> <filesystem> <fstream> <functional> <limits> <map> <memory>
  <numeric> <optional> <sstream> <stdexcept> <string> <utility> <vector>
  <glm/common.hpp> <glm/geometric.hpp> <glm/mat4x4.hpp> <glm/matrix.hpp> <glm/vec3.hpp>)

# Makes `owner`, a library of one empty file, which has the headers precompiled.
function(mirel_precompiled_headers owner)
  cmake_parse_arguments(arg "" "" "HEADERS;USES" ${ARGN})
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/${owner}.cpp CONTENT "")
  add_library(${owner} OBJECT ${CMAKE_BINARY_DIR}/${owner}.cpp)
  target_link_libraries(${owner} PRIVATE ${arg_USES})
  target_precompile_headers(${owner} PRIVATE ${arg_HEADERS})
endfunction()

if(MIREL_PCH)
  mirel_precompiled_headers(mirel_precompiled HEADERS ${MIREL_PRECOMPILED} USES glm::glm)
endif()

# The options that set how far code is optimised, in a list of options.
function(mirel_optimisation_of options result)
  string(REGEX MATCHALL "-O[0-9sgf][a-z]*" found "${options}")
  set(${result} "${found}" PARENT_SCOPE)
endfunction()

# GCC takes the optimisation that the headers were precompiled with, whatever the command line says,
# and says nothing. Where it differs the headers must not be used.
function(mirel_check_precompiled target owner)
  get_target_property(is_off ${target} DISABLE_PRECOMPILE_HEADERS)
  if(is_off)
    return()
  endif()
  get_target_property(options ${target} COMPILE_OPTIONS)
  get_target_property(owner_options ${owner} COMPILE_OPTIONS)
  mirel_optimisation_of("${options}" own)
  mirel_optimisation_of("${owner_options}" of_owner)
  if(NOT own STREQUAL of_owner)
    message(FATAL_ERROR "${target} (${own}) is optimised otherwise than the headers that are precompiled for it: set DISABLE_PRECOMPILE_HEADERS.")
  endif()
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    get_source_file_property(options ${source} COMPILE_OPTIONS)
    get_source_file_property(is_off ${source} SKIP_PRECOMPILE_HEADERS)
    mirel_optimisation_of("${options}" own)
    if(own AND NOT is_off)
      message(FATAL_ERROR "${source} (${own}) is optimised otherwise than the precompiled headers: set SKIP_PRECOMPILE_HEADERS.")
    endif()
  endforeach()
endfunction()

function(mirel_use_precompiled target owner)
  if(MIREL_PCH)
    target_precompile_headers(${target} REUSE_FROM ${owner})
    # When the folder has said all about the target.
    cmake_language(EVAL CODE "cmake_language(DEFER CALL mirel_check_precompiled ${target} ${owner})")
  endif()
endfunction()
