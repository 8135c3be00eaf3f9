# ShownProgramTest.cmake - fails unless a document shows a C++ program byte for byte.
#
# Run by ctest with -D DOCUMENT and PROGRAM, two paths.

file(READ ${DOCUMENT} document)
file(READ ${PROGRAM} program)
string(FIND "${document}" "```cpp\n${program}```\n" place)
if(place EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show ${PROGRAM} as it is")
endif()
