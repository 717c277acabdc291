# Installs the public header, the shared library, a CMake package
# (find_package(Scrivix CONFIG) -> Scrivix::scrivix) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS scrivix EXPORT ScrivixTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/scrivix/scrivix.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/scrivix)

set(SCRIVIX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Scrivix)
install(EXPORT ScrivixTargets NAMESPACE Scrivix:: DESTINATION ${SCRIVIX_CMAKE_DIR})
configure_package_config_file(cmake/ScrivixConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/ScrivixConfig.cmake
  INSTALL_DESTINATION ${SCRIVIX_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ScrivixConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ScrivixConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ScrivixConfigVersion.cmake
        DESTINATION ${SCRIVIX_CMAKE_DIR})

file(RELATIVE_PATH SCRIVIX_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/scrivix.pc.in ${CMAKE_CURRENT_BINARY_DIR}/scrivix.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/scrivix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
