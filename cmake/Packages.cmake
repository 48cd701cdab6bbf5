# What an installed vorn-hal offers to other builds (CMake package, pkg-config), and the Debian packages and archive.
include(CMakePackageConfigHelpers)

set(VORN_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vorn-hal)
install(EXPORT vorn-hal-targets NAMESPACE vorn:: DESTINATION ${VORN_CONFIG_DIR} COMPONENT dev)
configure_package_config_file(cmake/package/vorn-hal-config.cmake.in ${CMAKE_BINARY_DIR}/vorn-hal-config.cmake
                              INSTALL_DESTINATION ${VORN_CONFIG_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vorn-hal-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vorn-hal-config.cmake ${CMAKE_BINARY_DIR}/vorn-hal-config-version.cmake
        DESTINATION ${VORN_CONFIG_DIR} COMPONENT dev)

file(RELATIVE_PATH VORN_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/package/vorn-hal.pc.in ${CMAKE_BINARY_DIR}/vorn-hal.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vorn-hal.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(VORN_PLATFORM STREQUAL "virtual")
    install(FILES docs/man/vorn-onu.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES tools/vorn-onu/completion/vorn-onu.bash RENAME vorn-onu
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
endif()

# libvorn-hal1 goes onto a device, libvorn-hal-dev to who builds a daemon, vorn-onu to who runs one on a workstation.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME vorn-hal)
set(CPACK_PACKAGE_CONTACT "The vorn-hal developers <vorn-hal@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "hardware-abstraction library of a passive-optical-network terminal")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvorn-hal1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 11)")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvorn-hal-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libvorn-hal1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vorn-onu)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libvorn-hal1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "libvorn-hal-dev, nlohmann-json3-dev")

set(CPACK_COMPONENTS_ALL runtime dev)
if(VORN_PLATFORM STREQUAL "virtual")
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The library; the device kit's libraries come with the device.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers for daemons that use the library.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "The virtual ONU and vorn-onu, which runs scenarios and daemons on it.")
include(CPack)
