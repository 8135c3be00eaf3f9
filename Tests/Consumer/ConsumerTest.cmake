# ConsumerTest.cmake - installs the project into a scratch folder and builds two examples against it
# with find_package: VolumeWatcher, which uses the framework and is run, and LevelServer, which uses
# the protocol.
#
# Run by ctest with -D SOURCE_DIR, BUILD_DIR, SCRATCH_DIR, GENERATOR, COMPILER, FLAGS, EMULATOR and
# TOOLCHAIN.

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH_DIR})

file(COPY ${SOURCE_DIR}/Examples/VolumeWatcher.cpp ${SOURCE_DIR}/Examples/LevelServer.cpp
  DESTINATION ${SCRATCH_DIR}/project)
file(WRITE ${SCRATCH_DIR}/project/CMakeLists.txt "
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(QX REQUIRED)
add_executable(consumer VolumeWatcher.cpp)
target_link_libraries(consumer PRIVATE QX::Framework)
add_executable(server LevelServer.cpp)
target_link_libraries(server PRIVATE QX::Protocol)
")

run("Installing" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${SCRATCH_DIR}/prefix)
set(toolchain "")
if(TOOLCHAIN)
  set(toolchain --toolchain ${TOOLCHAIN})
endif()
run("Configuring" ${CMAKE_COMMAND} -G ${GENERATOR} -S ${SCRATCH_DIR}/project
  -B ${SCRATCH_DIR}/build ${toolchain} -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}"
  -DQX_DIR=${SCRATCH_DIR}/prefix/lib/cmake/QX)
run("Building" ${CMAKE_COMMAND} --build ${SCRATCH_DIR}/build)

execute_process(COMMAND ${EMULATOR} ${SCRATCH_DIR}/build/consumer
  OUTPUT_VARIABLE printed RESULT_VARIABLE status ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT printed STREQUAL "volume.changed: -6.5 dB\n")
  message(FATAL_ERROR "The example ended with ${status} and printed: ${printed}${errors}")
endif()
