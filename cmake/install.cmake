# What `cmake --install` lays down: library, headers, CMake package, pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS zk EXPORT zkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/pub include/core include/text include/image
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zk FILES_MATCHING PATTERN "*.h")

set(zk_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zk)
install(EXPORT zkTargets NAMESPACE zk:: DESTINATION ${zk_package_dir})
configure_package_config_file(cmake/zkConfig.cmake.in zkConfig.cmake
  INSTALL_DESTINATION ${zk_package_dir})
write_basic_package_version_file(zkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zkConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/zkConfigVersion.cmake DESTINATION ${zk_package_dir})

if(ZK_STATIC)
  set(zk_pc_cflags "-DZK_STATIC")
endif()
configure_file(cmake/zk.pc.in zk.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
