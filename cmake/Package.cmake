# The Debian packages that "cpack" makes of the three components: the library, its development files, the tool.
# "./dev package" calls it with a build whose prefix is /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME talvexsdk)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "TalvexSDK authors <talvexsdk@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianTree.cmake)

# The revision counts packages of one version.
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(library libtalvexsdk${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(about "TalvexSDK is a master for CCP and XCP on CAN and CAN FD: it connects to ECUs,
unlocks them with seed and key, measures by data acquisition and polling,
calibrates, uploads, checks and programs memory, and turns frames into named
fields. It owns no hardware: the host sends and receives the frames.
")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "CCP and XCP master on CAN and CAN FD - shared library
${about}
This package has the shared library.
")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtalvexsdk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake | pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "CCP and XCP master on CAN and CAN FD - development files
${about}
This package has the header files, a CMake package, a pkg-config file and an
example.
")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME talvex)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} (>= ${version})")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS binutils)  # objcopy makes the image that "talvex demo" programs
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS can-utils)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "measures and calibrates ECUs over CCP and XCP on CAN
The command talvex is a host for the bench: it opens SocketCAN and socketcand
buses, measures, reads and writes variables, uploads, checks and programs
memory, decodes candump logs, works on Intel HEX and S-record files, and
simulates ECUs. Seed and key libraries run in a process of their own.
")

include(CPack)
