# The files of a folder are compiled several at a time, as one: most of the time of compiling one of
# them goes into headers and templates that the others have, too. A file still includes what it uses,
# and names within a folder differ, those of anonymous namespaces too: the dev preset and those
# beneath it, and whoever has a compiler launcher, which compares single files, compile without.
option(MIREL_UNITY "Compile the files of a folder several at a time" ${mirel_whole_builds})
if(MIREL_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # It frees its memory from half a gigabyte on instead of 128 MB: compiles some percent faster.
  add_compile_options(--param=ggc-min-expand=400 --param=ggc-min-heapsize=524288)
endif()

function(mirel_join_sources target)
  # They would take names of one file for those that another one meant, and GCC the files for headers,
  # whose types would differ from file to file.
  if(MIREL_UNITY)
    target_compile_options(${target} PRIVATE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${MIREL_UNITY} UNITY_BUILD_BATCH_SIZE 16)
endfunction()
