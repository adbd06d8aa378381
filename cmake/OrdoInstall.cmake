# What `cmake --install` puts under the prefix: libordo.so with its soname
# links, the header, ordo-calc, a pkg-config file and a CMake package with
# the imported target Ordo::ordo. The engine's own dependencies are linked
# into libordo.so privately, so a host links nothing but -lordo.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORDO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Ordo)

install(TARGETS ordo EXPORT OrdoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# ordo-calc finds the library next to it, wherever the prefix is moved.
set_target_properties(ordo-calc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS ordo-calc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT OrdoTargets NAMESPACE Ordo:: DESTINATION ${ORDO_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/OrdoConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/OrdoConfig.cmake INSTALL_DESTINATION ${ORDO_CMAKE_DIR})
# A host built against one minor version is refused by another: iCalcInitialize
# checks ORDODLL_VERSION, which follows the major and minor version.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OrdoConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/OrdoConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/OrdoConfigVersion.cmake DESTINATION ${ORDO_CMAKE_DIR})

# The pkg-config file finds the prefix from its own place, so that
# `cmake --install --prefix` anywhere gives a working file.
file(RELATIVE_PATH ORDO_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ORDO_PC_TO_PREFIX "${ORDO_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/ordo.pc.in ${CMAKE_CURRENT_BINARY_DIR}/ordo.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ordo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
