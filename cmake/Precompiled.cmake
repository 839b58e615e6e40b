# The headers of the standard library and of GLM that most files include are parsed once for all
# libraries and once for all tests. A file still includes what it uses: the lint preset
# compiles without (MIREL_PCH=OFF).
#
# Off by default under a compiler launcher: those that keep results compare single files.
if(CMAKE_CXX_COMPILER_LAUNCHER)
  set(mirel_pch_default OFF)
else()
  set(mirel_pch_default ON)
endif()
option(MIREL_PCH "Precompile the headers that most files include" ${mirel_pch_default})

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

# Sources with compile options of their own need SKIP_PRECOMPILE_HEADERS.
function(mirel_use_precompiled target owner)
  if(MIREL_PCH)
    target_precompile_headers(${target} REUSE_FROM ${owner})
  endif()
endfunction()
