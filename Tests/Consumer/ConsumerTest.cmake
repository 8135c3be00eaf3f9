# ConsumerTest.cmake - installs the project in a stage, moves it, starts the host there, and builds two
# examples against it: VolumeWatcher, which uses the framework, is found by find_package and by
# pkg-config and is run; LevelServer uses the protocol.
#
# Run by ctest with -D SOURCE_DIR, BUILD_DIR, SCRATCH_DIR, LIBDIR, GENERATOR, COMPILER, FLAGS, EMULATOR,
# TOOLCHAIN and HAS_TOOLS. scripts/check-consumers tries many more ways.

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed:\n${output}")
  endif()
endfunction()

function(watch program)
  execute_process(COMMAND ${EMULATOR} ${program}
    OUTPUT_VARIABLE printed RESULT_VARIABLE status ERROR_VARIABLE errors)
  if(NOT status EQUAL 0 OR NOT printed STREQUAL "volume.changed: -6.5 dB\n")
    message(FATAL_ERROR "${program} ended with ${status} and printed: ${printed}${errors}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH_DIR})
set(ENV{XDG_RUNTIME_DIR} ${SCRATCH_DIR})

file(COPY ${SOURCE_DIR}/Examples/VolumeWatcher.cpp ${SOURCE_DIR}/Examples/LevelServer.cpp
  DESTINATION ${SCRATCH_DIR}/project)
file(WRITE ${SCRATCH_DIR}/project/CMakeLists.txt "
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(QX 0.1 QUIET COMPONENTS Framework Nonsense)
if(QX_FOUND)
  message(FATAL_ERROR \"QX has no component Nonsense\")
endif()
find_package(QX 0.1 REQUIRED COMPONENTS Framework Platform Protocol)
add_executable(consumer VolumeWatcher.cpp)
target_link_libraries(consumer PRIVATE QX::Framework)
add_executable(server LevelServer.cpp)
target_link_libraries(server PRIVATE QX::Protocol)
")

set(ENV{DESTDIR} ${SCRATCH_DIR}/stage)
run("Installing" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix /opt/qx)
unset(ENV{DESTDIR})
set(prefix ${SCRATCH_DIR}/moved)
file(RENAME ${SCRATCH_DIR}/stage/opt/qx ${prefix})

if(HAS_TOOLS)
  run("The installed host" ${EMULATOR} ${prefix}/bin/qxhost --quiet info)
endif()

set(toolchain "")
if(TOOLCHAIN)
  set(toolchain --toolchain ${TOOLCHAIN})
endif()
run("Configuring" ${CMAKE_COMMAND} -G ${GENERATOR} -S ${SCRATCH_DIR}/project
  -B ${SCRATCH_DIR}/build ${toolchain} -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}"
  -DQX_DIR=${prefix}/${LIBDIR}/cmake/QX)
run("Building" ${CMAKE_COMMAND} --build ${SCRATCH_DIR}/build)
watch(${SCRATCH_DIR}/build/consumer)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs qx
  OUTPUT_VARIABLE options COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(FLAGS UNIX_COMMAND "${FLAGS}")
run("Building by pkg-config" ${COMPILER} -std=c++20 ${FLAGS}
  ${SOURCE_DIR}/Examples/VolumeWatcher.cpp ${options} -Wl,-rpath,${prefix}/${LIBDIR}
  -o ${SCRATCH_DIR}/consumer)
watch(${SCRATCH_DIR}/consumer)
