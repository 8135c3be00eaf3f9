# PicturesTest.cmake - fails if a picture was not made again after a change of its .dot file.
#
# Run by ctest with -D FOLDER. scripts/pictures writes the checksum that is compared here.

file(GLOB sources ${FOLDER}/*.dot)
if(NOT sources)
  message(FATAL_ERROR "There are no pictures in ${FOLDER}")
endif()
foreach(source IN LISTS sources)
  string(REGEX REPLACE "\\.dot$" ".svg" picture ${source})
  file(READ ${picture} text)
  file(SHA256 ${source} checksum)
  string(FIND "${text}" "<!-- source: ${checksum} -->" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "${picture} is older than its source. Run scripts/pictures")
  endif()
endforeach()
