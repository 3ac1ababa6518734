# What "cmake --install" puts where, in three components: library, development and tool. The header files stand in
# a folder of their own that target and pkg-config file name, so that "#include <TalvexSDK.h>" stays what it is.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TALVEX_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/talvex)
set(docs ${CMAKE_INSTALL_DATAROOTDIR}/doc/talvex)

target_include_directories(TalvexSDK INTERFACE $<INSTALL_INTERFACE:${TALVEX_INSTALL_INCLUDEDIR}>)
install(TARGETS TalvexSDK EXPORT TalvexSDKTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES LICENSE CHANGELOG.md DESTINATION ${docs} COMPONENT library)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/TalvexSDK)
install(EXPORT TalvexSDKTargets NAMESPACE Talvex:: DESTINATION ${package} COMPONENT development)
configure_package_config_file(cmake/TalvexSDKConfig.cmake.in install/TalvexSDKConfig.cmake
                              INSTALL_DESTINATION ${package} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(install/TalvexSDKConfigVersion.cmake COMPATIBILITY SameMajorVersion)
# Found from where the file lies, so that the installed folder can be moved.
file(RELATIVE_PATH TALVEX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" TALVEX_PC_PREFIX ${TALVEX_PC_PREFIX})
configure_file(packaging/talvex-sdk.pc.in install/talvex-sdk.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/install/TalvexSDKConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/install/TalvexSDKConfigVersion.cmake
        DESTINATION ${package} COMPONENT development)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/install/talvex-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
install(DIRECTORY include/ DESTINATION ${TALVEX_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING
        PATTERN "*.h")
install(FILES docs/abi.md DESTINATION ${docs} COMPONENT development)
# Named one by one: whoever tries the example in place leaves a build folder there.
foreach(file IN ITEMS CMakeLists.txt Makefile ToyEcu.cpp ToyEcu.h consumer.expected main.cpp)
  install(FILES examples/consumer/${file} DESTINATION ${docs}/examples/consumer COMPONENT development)
endforeach()

if(NOT TARGET talvex)
  return()
endif()
install(TARGETS talvex talvex-seedkey DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
foreach(page IN ITEMS talvex talvex-seedkey)
  configure_file(packaging/${page}.1.in install/${page}.1 @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/install/${page}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT tool)
endforeach()
install(FILES packaging/talvex.bash DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions
        RENAME talvex COMPONENT tool)
install(FILES docs/guide.md docs/configuration.md docs/seedkey.md DESTINATION ${docs} COMPONENT tool)
install(FILES examples/demo.toml examples/demo.log DESTINATION ${docs}/examples COMPONENT tool)
install(DIRECTORY examples/seedkey DESTINATION ${docs}/examples COMPONENT tool)
