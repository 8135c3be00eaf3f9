# QXToolLibraries.cmake - the header-only libraries of the tools: CLI11 and nlohmann-json.
#
# Debian installs both for the build machine only. A folder of links makes them visible to every
# target. A cross compiler must not search /usr/include itself, because it has the wrong C library.

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
