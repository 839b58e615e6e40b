# One folder of src/ is one static library: mirel_library(name SOURCES a.cpp ... USES other libraries).
function(mirel_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_USES})
  mirel_use_precompiled(${name} mirel_precompiled)
  mirel_join_sources(${name})
endfunction()
