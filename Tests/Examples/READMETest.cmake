# READMETest.cmake - fails unless README's C++ example is Examples/VolumeWatcher.cpp, byte for byte.
#
# Run by ctest with -D SOURCE_DIR.

file(READ ${SOURCE_DIR}/README.md readme)
file(READ ${SOURCE_DIR}/Examples/VolumeWatcher.cpp example)
string(FIND "${readme}" "```cpp\n${example}```\n" place)
if(place EQUAL -1)
  message(FATAL_ERROR "README.md does not show Examples/VolumeWatcher.cpp as it is")
endif()
