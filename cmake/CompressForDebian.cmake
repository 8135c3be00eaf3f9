# CompressForDebian.cmake - compresses manual pages and strips static libraries of packages.
#
# CPack runs it when the packages' files lie in CPACK_TEMPORARY_DIRECTORY.

file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*.1)
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9n ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives
      --remove-section=.comment ${archive}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
