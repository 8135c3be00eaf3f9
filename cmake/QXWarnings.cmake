# QXWarnings.cmake - the compile options that every target of the project shares.
#
# qx_options is linked PRIVATE by each target, so that nothing of it reaches a consumer of the
# installed framework.

add_library(qx_options INTERFACE)
target_compile_options(qx_options INTERFACE
  -Wall -Wextra -Wpedantic $<$<BOOL:${QX_WARNINGS_AS_ERRORS}>:-Werror>
  -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Wundef -Wunused
  # Not for tests, nor for several sources at once: GCC 12 finds null pointers in the library code that
  # it inlines into them.
  $<$<NOT:$<OR:$<BOOL:$<TARGET_PROPERTY:QX_IS_CHECK>>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>>:-Wnull-dereference>
  # The level conversion and the variant's rounding are defined operation by operation; a fused
  # multiply-add would change their last bit.
  -ffp-contract=off
  # What is released is the same, byte for byte, in whichever folder it was built. Debuggers and the
  # coverage of a debug build need the true paths.
  "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.;-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(qx_options INTERFACE
    -Wduplicated-cond -Wlogical-op
    # GCC 12 takes "text" + std::to_string(n) for a copy between overlapping strings.
    -Wno-restrict
    # And for a copy beyond its end, with the precompiled headers of the tests.
    $<$<BOOL:$<TARGET_PROPERTY:QX_IS_CHECK>>:-Wno-array-bounds>
    $<$<BOOL:$<TARGET_PROPERTY:QX_IS_CHECK>>:-Wno-stringop-overflow>
    $<$<BOOL:$<TARGET_PROPERTY:QX_IS_CHECK>>:-Wno-stringop-overread>)
endif()
if(QX_SANITIZE)
  target_compile_options(qx_options INTERFACE
    -fsanitize=${QX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qx_options INTERFACE -fsanitize=${QX_SANITIZE})
endif()
