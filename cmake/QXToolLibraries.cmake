# QXToolLibraries.cmake - the libraries of the tools: CLI11 and nlohmann-json, and ncurses, which
# they can do without.
#
# CLI11 and nlohmann-json are header-only. Debian installs both for the build machine only. A folder
# of links makes them visible to every target. A cross compiler must not search /usr/include itself,
# because it has the wrong C library.

find_path(QX_CLI11_INCLUDE CLI/CLI.hpp PATHS /usr/include /usr/local/include
  NO_CMAKE_FIND_ROOT_PATH)
find_path(QX_JSON_INCLUDE nlohmann/json.hpp PATHS /usr/include /usr/local/include
  NO_CMAKE_FIND_ROOT_PATH)
if(NOT QX_CLI11_INCLUDE OR NOT QX_JSON_INCLUDE)
  message(FATAL_ERROR "The tools need CLI11 and nlohmann-json. On Debian: "
    "apt-get install libcli11-dev nlohmann-json3-dev. Without them: -DQX_BUILD_TOOLS=OFF")
endif()

set(QX_TOOL_INCLUDE ${PROJECT_BINARY_DIR}/tool-include)
file(MAKE_DIRECTORY ${QX_TOOL_INCLUDE})
file(CREATE_LINK ${QX_CLI11_INCLUDE}/CLI ${QX_TOOL_INCLUDE}/CLI SYMBOLIC)
file(CREATE_LINK ${QX_JSON_INCLUDE}/nlohmann ${QX_TOOL_INCLUDE}/nlohmann SYMBOLIC)

add_library(qx_tool_libraries INTERFACE)
target_include_directories(qx_tool_libraries SYSTEM INTERFACE ${QX_TOOL_INCLUDE})

# A full-screen view needs ncurses for the machine that runs it.
set(CURSES_NEED_NCURSES TRUE)
find_package(Curses QUIET)
set(QX_HAVE_CURSES ${CURSES_FOUND} CACHE INTERNAL "Whether qxmon has a full-screen view")
if(QX_HAVE_CURSES)
  add_library(qx_curses INTERFACE)
  target_include_directories(qx_curses SYSTEM INTERFACE ${CURSES_INCLUDE_DIRS})
  target_link_libraries(qx_curses INTERFACE ${CURSES_LIBRARIES})
else()
  message(STATUS "ncurses is missing: qxmon --live is left out")
endif()
