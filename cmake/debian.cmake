# One Debian package for each component: libzkN, libzk-dev, zk-tools, libzk-doc, and
# libzkshapeN and libzkshape-dev where that library is built. `./dev
# package` builds them; `cpack` in a build folder of preset `package` does too.

set(zk_runtime_package libzk${zk_soversion})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zk)
# This text, CPack's own, keeps the project's summary out of the descriptions below:
# they start with one.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "zk built using CMake")
set(ZK_MAINTAINER "The libzk authors <libzk@example.org>" CACHE STRING
  "Who answers for the packages: name and address")
set(CPACK_PACKAGE_CONTACT ${ZK_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
# The reference is the same for all machines: one package, made with those of this one.
set(ZK_REFERENCE ${PROJECT_SOURCE_DIR}/build/docs/html)
if(NOT CMAKE_CROSSCOMPILING AND EXISTS ${ZK_REFERENCE}/index.html)
  list(APPEND CPACK_COMPONENTS_ALL documentation)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# Dependencies on other packages are read from the programs, those on each other
# are exact. The library tells programs built with it what to depend on.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${zk_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"text engine and core value types for embedded devices
Glyphs rendered by FreeType in a bounded cache that threads share, shaping of
Arabic and Persian, Hebrew order, Thai marks, line wrapping and alignment;
strings, containers, number conversion, dates, geometry and BMP files.
.
This package holds the library that programs load.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"text engine and core value types - development files
Headers, CMake package and pkg-config file to build programs that lay out text
with libzk or use its strings, containers, dates and geometry.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zk-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
"text engine and core value types - tools
zktext draws a text as a PNG or BMP picture, tells where its lines and glyphs
stand, shows single glyphs and tells which characters a font has. zkview lays a
text out in a window while it is changed.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libzk-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION
"text engine and core value types - reference
Web pages of every class, of each subsystem, of what is surprising and of how
to port to a new board.")
install(DIRECTORY ${ZK_REFERENCE} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzk-doc
  COMPONENT documentation OPTIONAL)

file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)

set(zk_documented runtime:${zk_runtime_package} development:libzk-dev tools:zk-tools
  documentation:libzk-doc)
if(ZK_SHAPE)
  set(zk_shape_package libzkshape${zk_soversion})
  list(APPEND CPACK_COMPONENTS_ALL shape shape-development)
  list(APPEND zk_documented shape:${zk_shape_package} shape-development:libzkshape-dev)
  set(CPACK_COMPONENT_SHAPE_DEPENDS runtime)
  list(APPEND CPACK_COMPONENT_TOOLS_DEPENDS shape)
  set(CPACK_COMPONENT_SHAPE-DEVELOPMENT_DEPENDS shape development)
  set(CPACK_DEBIAN_SHAPE_PACKAGE_NAME ${zk_shape_package})
  set(CPACK_DEBIAN_SHAPE_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_SHAPE_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
  set(CPACK_COMPONENT_SHAPE_DESCRIPTION
"text engine for embedded devices - every script
Shapes the runs of libzk's paragraphs with HarfBuzz: all scripts, ligatures,
OpenType features and variable fonts, words shaped once and kept; divides Thai
into words with libthai.
.
This package holds the library that programs load.")
  set(CPACK_DEBIAN_SHAPE-DEVELOPMENT_PACKAGE_NAME libzkshape-dev)
  set(CPACK_DEBIAN_SHAPE-DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_COMPONENT_SHAPE-DEVELOPMENT_DESCRIPTION
"text engine for embedded devices - development files for every script
Headers, CMake targets and pkg-config file to build programs whose paragraphs
are shaped by HarfBuzz and whose Thai is divided into words.")
endif()

# What every Debian package carries: licence, the project's changes and the package's.
# The time is that of SOURCE_DATE_EPOCH where it is set.
string(TIMESTAMP zk_packaged "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian
"zk (${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Release ${PROJECT_VERSION}; changelog.gz tells what is new.

 -- ${ZK_MAINTAINER}  ${zk_packaged}
")
zk_gzip(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
zk_gzip(${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian changelog.Debian.gz)
foreach(pair ${zk_documented})
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
    RENAME copyright COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
    ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endforeach()

include(CPack)
