# QXInstallPaths.cmake - where installed programs, libraries and the bundle lie, seen from each other.
#
# All of it is relative, so that they find each other in any prefix, staged or moved.

file(RELATIVE_PATH QX_LIBDIR_FROM_BINDIR
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(QX_INSTALL_BUNDLEDIR ${CMAKE_INSTALL_LIBDIR}/qx)

# Libraries lie beside each other; programs and the bundle have a search path of their own.
set(CMAKE_INSTALL_RPATH "$ORIGIN")
