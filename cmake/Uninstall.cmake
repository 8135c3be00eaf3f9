# Uninstall.cmake - removes what `cmake --install` has put in place, and the folders that are empty then.
#
# Run by the target uninstall in the build folder, which has the lists of files. DESTDIR counts as it
# did for the installation.

file(GLOB lists install_manifest*.txt)
if(NOT lists)
  message(FATAL_ERROR "Nothing was installed from this build folder.")
endif()
foreach(list IN LISTS lists)
  file(STRINGS ${list} files)
  foreach(file IN LISTS files)
    set(path "$ENV{DESTDIR}${file}")
    if(EXISTS "${path}" OR IS_SYMLINK "${path}")
      message(STATUS "Removing ${path}")
      file(REMOVE "${path}")
    endif()
    # Folders named after the project are its own; others may have been there before.
    cmake_path(GET path PARENT_PATH folder)
    while(folder MATCHES "/(qx|QX|QXAudio)(/|$)")
      file(GLOB content LIST_DIRECTORIES true "${folder}/*")
      if(content OR NOT IS_DIRECTORY "${folder}")
        break()
      endif()
      file(REMOVE_RECURSE "${folder}")
      cmake_path(GET folder PARENT_PATH folder)
    endwhile()
  endforeach()
  file(REMOVE ${list})
endforeach()
