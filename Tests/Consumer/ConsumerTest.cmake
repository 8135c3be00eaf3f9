# ConsumerTest.cmake - installs the project into a scratch folder, builds two programs against it with
# find_package, runs them and compares what they print: README's example, which uses the framework, and
# Server.cpp, which uses the protocol.
#
# Run by ctest with -D SOURCE_DIR, BUILD_DIR, SCRATCH_DIR, GENERATOR, COMPILER, FLAGS, EMULATOR,
# TOOLCHAIN and VENDOR_PREFIX.

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed:\n${output}")
  endif()
endfunction()

function(expect_output program expected)
  execute_process(COMMAND ${EMULATOR} ${SCRATCH_DIR}/build/${program}
    OUTPUT_VARIABLE printed RESULT_VARIABLE status ERROR_VARIABLE errors)
  if(NOT status EQUAL 0 OR NOT printed STREQUAL "${expected}\n")
    message(FATAL_ERROR "${program} ended with ${status} and printed: ${printed}${errors}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH_DIR})

# The example is README's own first C++ block.
file(READ ${SOURCE_DIR}/README.md readme)
string(REGEX MATCH "```cpp\n([^`]*)```" found "${readme}")
if(NOT found)
  message(FATAL_ERROR "README.md has no C++ example")
endif()
file(WRITE ${SCRATCH_DIR}/project/main.cpp "${CMAKE_MATCH_1}")
file(COPY ${SOURCE_DIR}/Tests/Consumer/Server.cpp DESTINATION ${SCRATCH_DIR}/project)
file(WRITE ${SCRATCH_DIR}/project/CMakeLists.txt "
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(QX REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE QX::Framework)
add_executable(server Server.cpp)
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

expect_output(consumer "volume.changed: -6.5 dB")
expect_output(server
  "${VENDOR_PREFIX}.device.{D4625471-DE74-400f-93D2-5E71BB706A64} 534C4C4D FFFFFF07")
