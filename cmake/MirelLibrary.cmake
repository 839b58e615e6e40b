# One folder of src/ is one static library: mirel_library(name [APART] [COLD] SOURCES a.cpp ... USES
# other libraries). The plugin takes the object files that it needs, and what these need: the files of the
# folders that it uses are compiled APART, one by one. COLD are folders that name, arrange and write
# what others compute: half of the time of compiling them went into inlining texts. Nothing that runs
# as often as there are voxels in a series may stand in them.
set(mirel_cold_options $<$<CONFIG:Release>:-Og>)
if(MIREL_PCH)
  mirel_precompiled_headers(mirel_cold_precompiled HEADERS ${MIREL_PRECOMPILED} USES glm::glm)
  target_compile_options(mirel_cold_precompiled PRIVATE ${mirel_cold_options})
endif()

function(mirel_library name)
  cmake_parse_arguments(arg "APART;COLD" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_USES})
  if(arg_COLD)
    target_compile_options(${name} PRIVATE ${mirel_cold_options})
    mirel_use_precompiled(${name} mirel_cold_precompiled)
  else()
    mirel_use_precompiled(${name} mirel_precompiled)
  endif()
  if(NOT arg_APART)
    mirel_join_sources(${name})
  endif()
endfunction()
