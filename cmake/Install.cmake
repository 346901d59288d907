# What `cmake --install` puts where, and how `find_package(points_cloud)` and pkg-config find it.

include(CMakePackageConfigHelpers)

install(TARGETS ${POINTS_CLOUD_INSTALLED_LIBRARIES} EXPORT points_cloudTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${POINTS_CLOUD_INSTALLED_HEADERS} DESTINATION ${POINTS_CLOUD_INCLUDE_INSTALL_DIR})
install(EXPORT points_cloudTargets NAMESPACE points_cloud:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/points_cloud)

configure_package_config_file(cmake/points_cloudConfig.cmake.in ${PROJECT_BINARY_DIR}/points_cloudConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/points_cloud)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/points_cloudConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/points_cloudConfig.cmake ${PROJECT_BINARY_DIR}/points_cloudConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/points_cloud)

# Relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH POINTS_CLOUD_PC_TO_PREFIX
  /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/points_cloud.pc.in ${PROJECT_BINARY_DIR}/points_cloud.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/points_cloud.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
