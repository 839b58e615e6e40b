# The files of a folder are compiled several at a time, as one: most of the time of compiling one of
# them goes into headers and templates that the others have, too. A file still includes what it uses,
# and names within a folder differ, those of anonymous namespaces too: the dev preset and those
# beneath it, and whoever has a compiler launcher, which compares single files, compile without.
if(CMAKE_CXX_COMPILER_LAUNCHER)
  set(mirel_unity_default OFF)
else()
  set(mirel_unity_default ON)
endif()
option(MIREL_UNITY "Compile the files of a folder several at a time" ${mirel_unity_default})

function(mirel_join_sources target)
  if(MIREL_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # It takes the files for headers, whose types would differ from file to file, and names of one
    # file for those that another one meant.
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage -Wno-shadow)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${MIREL_UNITY} UNITY_BUILD_BATCH_SIZE 8)
endfunction()
