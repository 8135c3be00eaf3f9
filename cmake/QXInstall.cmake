# QXInstall.cmake - the libraries, and what find_package, pkg-config and sub-projects need of them.
#
# Components: runtime (shared libraries), development (headers, archives, packages), tools (programs
# and the bundle), documentation, license.

# A sub-project's targets have the names of the installed ones.
foreach(pair qxframework:Framework qxframework_shared:FrameworkShared PlatformStandIn:Platform
    Protocol:Protocol)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 target)
  list(GET pair 1 name)
  add_library(QX::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
endforeach()

install(TARGETS qxframework qxframework_shared PlatformStandIn PlatformThreads Protocol
  EXPORT QXTargets
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/QX)
install(EXPORT QXTargets NAMESPACE QX:: DESTINATION ${package} COMPONENT development)
include(CMakePackageConfigHelpers)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QXConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QXConfig.cmake INSTALL_DESTINATION ${package}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QXConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QXConfig.cmake ${PROJECT_BINARY_DIR}/QXConfigVersion.cmake
  DESTINATION ${package} COMPONENT development)

# The same for pkg-config. Paths are relative to the file, so a tree that is moved stays right.
file(RELATIVE_PATH libdir_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH includedir_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(name qx qx-protocol)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()

# The documents link each other as they do in the source tree.
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT license)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation)
install(FILES Platform/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/Platform
  COMPONENT documentation)
install(DIRECTORY Docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  PATTERN *.dot EXCLUDE)
install(DIRECTORY Examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  PATTERN CMakeLists.txt EXCLUDE)
set(QX_REFERENCE "" CACHE PATH "The reference that scripts/docs has made, to be installed too")
if(QX_REFERENCE)
  install(DIRECTORY ${QX_REFERENCE}/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/reference
    COMPONENT documentation)
endif()

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
endif()
