# QXTesting.cmake - GoogleTest, and one function that makes tests from sources.
#
# GoogleTest is built from Debian's sources with the compiler of the build, so that sanitizers and
# the powerpc target see the same library as the tests.

set(QX_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Where GoogleTest's sources are")
set(INSTALL_GTEST OFF CACHE INTERNAL "")
add_subdirectory(${QX_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
if(QX_SANITIZE)
  foreach(target gtest gtest_main gmock)
    target_compile_options(${target} PRIVATE -fsanitize=${QX_SANITIZE})
  endforeach()
endif()
# Much of a build's time goes into the tests' own code, which need not be fast.
set(QX_TEST_OPTIONS "" CACHE STRING "More options for the compiler of the tests' own code, such as -O0")

include(GoogleTest)

# The headers that most tests start with, compiled once for all of them.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/TestHeaders.cpp CONTENT "int main() {}\n")
add_executable(TestHeaders EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/TestHeaders.cpp)
target_link_libraries(TestHeaders PRIVATE qx_options GTest::gtest)
set_target_properties(TestHeaders PROPERTIES QX_IS_CHECK ON)
target_compile_options(TestHeaders PRIVATE ${QX_TEST_OPTIONS})
target_precompile_headers(TestHeaders PRIVATE
  <gtest/gtest.h> <algorithm> <functional> <map> <random> <string> <thread> <vector>)

# qx_add_tests(NAME [ONE_THREAD] SOURCES... LIBRARIES... [WRAP symbols...])
#
# Builds the test program NAME and registers each of its tests with ctest. WRAP lists functions
# whose calls the program replaces by its own __wrap_ versions. ONE_THREAD: the program never has a
# second thread, so the build with the thread sanitizer leaves it out.
function(qx_add_tests name)
  cmake_parse_arguments(arg "ONE_THREAD" "" "SOURCES;LIBRARIES;WRAP;PROPERTIES" ${ARGN})
  if(arg_ONE_THREAD AND QX_SANITIZE STREQUAL "thread")
    return()
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} qx_options GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES QX_IS_CHECK ON)
  target_compile_options(${name} PRIVATE ${QX_TEST_OPTIONS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
  # GoogleTest's headers and templates take longer to compile than most tests.
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${QX_UNITY_BUILD})
  if(arg_WRAP)
    # Shared libraries that the program links may call the wrapped functions.
    set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET default)
  else()
    # Headers that are compiled for one visibility cannot be used with the other.
    target_precompile_headers(${name} REUSE_FROM TestHeaders)
  endif()
  foreach(symbol IN LISTS arg_WRAP)
    target_link_options(${name} PRIVATE -Wl,--wrap=${symbol})
  endforeach()
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
endfunction()
