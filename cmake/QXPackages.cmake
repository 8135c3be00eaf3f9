# QXPackages.cmake - the Debian packages that `cpack -G DEB` makes: libqx0, libqx-dev, qx-tools, qx-doc.
#
# scripts/check-packages configures as Debian builds, makes them and tries them. DEBFULLNAME and
# DEBEMAIL name the maintainer, as they do for Debian's own tools.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qx)
set(CPACK_PACKAGE_VENDOR "the QX authors")
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENTS_ALL runtime development documentation)
if(QX_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(maintainer_name "$ENV{DEBFULLNAME}")
set(maintainer_address "$ENV{DEBEMAIL}")
if(NOT maintainer_name)
  set(maintainer_name "QX authors")
endif()
if(NOT maintainer_address)
  set(maintainer_address "qx@example.org")
endif()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer_name} <${maintainer_address}>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# qx_package(COMPONENT NAME SECTION SUMMARY TEXT): what the variables of CPack for a component say.
macro(qx_package component name section summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}")
  list(APPEND packages ${component}:${name})
endmacro()
qx_package(runtime libqx${QX_SOVERSION} libs "object framework of the QX audio products"
"Counted objects, buffers, variants, strings, containers and notifications
for C++ programs, and the calls of the platform's audio frameworks that the
driver plug-in makes, supplied for Linux.")
qx_package(development libqx-dev libdevel "object framework of the QX audio products (development)"
"Headers, static libraries, and the files by which CMake and pkg-config find
them. Servers of the driver plug-in find its protocol here too.")
qx_package(tools qx-tools sound "host and monitor for audio driver plug-ins"
"The host loads a driver plug-in as the audio hardware layer does, calls it
and tries it against many rules. The monitor holds the server's port and
shows the messages that arrive. The direct-monitor plug-in is included.")
qx_package(documentation qx-doc doc "object framework of the QX audio products (documents)"
"Architecture, protocol, tools, tests and decisions, and small example
programs.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS qx-doc)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS qx-doc)

# Tells the loader of the libraries. CPack strips programs and shared libraries only.
set(folder ${PROJECT_BINARY_DIR}/debian)
file(CONFIGURE OUTPUT ${folder}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${folder}/triggers)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/CompressForDebian.cmake)

# Each package has the licence and the changes in its own folder, as Debian wants it. They are left
# out of an installation of everything.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
find_program(QX_GZIP gzip)
if(QX_GZIP)
  # The day of the version, or for one that has not been released, that of the last commit.
  file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading LIMIT_COUNT 1 REGEX "^## ")
  if(heading MATCHES "\\(([0-9]+-[0-9]+-[0-9]+)\\)")
    set(day ${CMAKE_MATCH_1})
  elseif(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(day @$ENV{SOURCE_DATE_EPOCH})
  else()
    execute_process(COMMAND git log -1 --format=@%ct WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
      OUTPUT_VARIABLE day OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date -u -R -d "${day}"
    OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian-changelog.in ${folder}/changelog.Debian @ONLY)
  execute_process(COMMAND ${QX_GZIP} -9nc ${folder}/changelog.Debian
    OUTPUT_FILE ${folder}/changelog.Debian.gz)
  execute_process(COMMAND ${QX_GZIP} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    OUTPUT_FILE ${folder}/changelog.gz)
  foreach(pair IN LISTS packages)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 component)
    list(GET pair 1 name)
    set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name})
    install(FILES LICENSE DESTINATION ${documents} RENAME copyright
      COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES ${folder}/changelog.Debian.gz ${folder}/changelog.gz DESTINATION ${documents}
      COMPONENT ${component} EXCLUDE_FROM_ALL)
  endforeach()
endif()

include(CPack)
