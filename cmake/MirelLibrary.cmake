# One folder of src/ is one static library: mirel_library(name [APART] SOURCES a.cpp ... USES other
# libraries). The plugin takes the object files that it needs, and what these need: the files of the
# folders that it uses are compiled APART, one by one.
function(mirel_library name)
  cmake_parse_arguments(arg "APART" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_USES})
  mirel_use_precompiled(${name} mirel_precompiled)
  if(NOT arg_APART)
    mirel_join_sources(${name})
  endif()
endfunction()
