# What `cmake --install` puts where. Components: runtime (the shared library), development (headers,
# static libraries, CMake package, pkg-config file), programs (with man pages and unit files).

include(CMakePackageConfigHelpers)

set(ORU_CENTRAL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/OruCentral")

install(
  TARGETS oru-central oru-runtime
  EXPORT OruCentralTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
          NAMELINK_COMPONENT development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
  FILE_SET HEADERS DESTINATION "${ORU_CENTRAL_INCLUDEDIR}" COMPONENT development)

install(
  EXPORT OruCentralTargets
  NAMESPACE Oru::
  DESTINATION "${ORU_CENTRAL_CMAKEDIR}"
  COMPONENT development)

configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/OruCentralConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/OruCentralConfig.cmake" INSTALL_DESTINATION "${ORU_CENTRAL_CMAKEDIR}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/OruCentralConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/OruCentralConfig.cmake"
        "${PROJECT_BINARY_DIR}/OruCentralConfigVersion.cmake"
  DESTINATION "${ORU_CENTRAL_CMAKEDIR}"
  COMPONENT development)

# The pkg-config file finds everything from its own place, so that the tree can be moved.
file(RELATIVE_PATH ORU_CENTRAL_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/oru-central.pc.in"
               "${PROJECT_BINARY_DIR}/oru-central.pc" @ONLY)
install(
  FILES "${PROJECT_BINARY_DIR}/oru-central.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT development)
