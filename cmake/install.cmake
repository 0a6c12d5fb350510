# What `cmake --install` lays down, in three components:
#   runtime      the library that programs load
#   development  headers, what programs link with, CMake package, zk.pc, gdb printers
#   tools        zktext and zkview with their manual pages
# and, where libzkshape is built, its library and its headers in two of their own.

include(CMakePackageConfigHelpers)

install(TARGETS zk EXPORT zkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/pub include/unicode include/core include/text include/image
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zk COMPONENT development
  FILES_MATCHING PATTERN "*.h")

set(zk_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zk)
install(EXPORT zkTargets NAMESPACE zk:: DESTINATION ${zk_package_dir} COMPONENT development)
configure_package_config_file(cmake/zkConfig.cmake.in zkConfig.cmake
  INSTALL_DESTINATION ${zk_package_dir})
write_basic_package_version_file(zkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zkConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/zkConfigVersion.cmake
  DESTINATION ${zk_package_dir} COMPONENT development)

# zk.pc finds its files from where it lies, so `cmake --install --prefix` may put
# them anywhere; in a Debian package it names /usr, which pkg-config leaves out.
if(ZK_DEBIAN)
  set(zk_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH zk_pc_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" zk_pc_up ${zk_pc_up})
  set(zk_pc_prefix "\${pcfiledir}/${zk_pc_up}")
endif()
# A program that links the shared library needs no FreeType of its own.
set(zk_pc_private "")
set(zk_pc_cflags "")
if(ZK_STATIC)
  set(zk_pc_private "Requires.private: freetype2\nLibs.private: -lm\n")
  set(zk_pc_cflags " -DZK_STATIC")
endif()
configure_file(cmake/zk.pc.in zk.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zk.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(ZK_SHAPE)
  install(TARGETS zkshape EXPORT zkShapeTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT shape NAMELINK_COMPONENT shape-development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT shape-development)
  install(DIRECTORY shape/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zk/shape
    COMPONENT shape-development FILES_MATCHING PATTERN "*.h")
  install(EXPORT zkShapeTargets NAMESPACE zk:: DESTINATION ${zk_package_dir}
    COMPONENT shape-development)
  set(zk_pc_private "")
  if(ZK_STATIC)
    set(zk_pc_private "Requires.private: harfbuzz libthai\n")
  endif()
  configure_file(cmake/zkshape.pc.in zkshape.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zkshape.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT shape-development)
  if(NOT ZK_DEBIAN)
    set_target_properties(zkshape PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
endif()

# gdb loads the printers by itself when they lie below its own folder under the
# library's path; elsewhere they are there to be sourced.
set(zk_printers ${CMAKE_INSTALL_DATADIR}/zk/zk.py)
if(ZK_DEBIAN AND NOT ZK_STATIC)
  set(zk_printers
    ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}/libzk.so.${PROJECT_VERSION}-gdb.py)
endif()
get_filename_component(zk_printers_dir ${zk_printers} DIRECTORY)
get_filename_component(zk_printers_name ${zk_printers} NAME)
install(FILES tools/gdb/zk.py DESTINATION ${zk_printers_dir} RENAME ${zk_printers_name}
  COMPONENT development)

# Debian wants documents compressed, and the same input to give the same bytes.
function(zk_gzip document result)
  find_program(ZK_GZIP gzip REQUIRED)
  execute_process(COMMAND ${ZK_GZIP} -9nc ${document}
    OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${result} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# A host with its manual page.
function(zk_install_tool tool)
  set(manual ${PROJECT_SOURCE_DIR}/tools/${tool}/${tool}.1)
  if(ZK_DEBIAN)
    zk_gzip(${manual} ${tool}.1.gz)
    set(manual ${CMAKE_CURRENT_BINARY_DIR}/${tool}.1.gz)
  else()
    # Outside /usr the loader does not know the library's folder.
    file(RELATIVE_PATH lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(${tool} PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
  endif()
  install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()

if(ZK_TOOLS)
  zk_install_tool(zktext)
  if(TARGET zkview)
    zk_install_tool(zkview)
  endif()
endif()

if(ZK_DEBIAN)
  include(cmake/debian.cmake)
endif()
