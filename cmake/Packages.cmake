# What an installed vorn-hal offers to other builds (CMake package, pkg-config), its documents, and the Debian packages
# and the archive:
#
#   libvorn-hal1     the library; goes onto a device
#   libvorn-hal-dev  headers, CMake package, pkg-config, an example; for who builds a daemon
#   vorn-onu         the virtual ONU, the tool, the recorder, scenarios and all documents; for who runs one on a workstation
#   python3-vorn-onu the Python module over the tool
include(CMakePackageConfigHelpers)

# ---- for other builds ----

set(VORN_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vorn-hal)
install(EXPORT vorn-hal-targets NAMESPACE vorn:: DESTINATION ${VORN_CONFIG_DIR} COMPONENT dev)
configure_package_config_file(cmake/package/vorn-hal-config.cmake.in ${CMAKE_BINARY_DIR}/vorn-hal-config.cmake
                              INSTALL_DESTINATION ${VORN_CONFIG_DIR} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vorn-hal-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vorn-hal-config.cmake ${CMAKE_BINARY_DIR}/vorn-hal-config-version.cmake
        DESTINATION ${VORN_CONFIG_DIR} COMPONENT dev)

file(RELATIVE_PATH VORN_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# The kit's libraries, where the build names them, go along with the library.
set(VORN_KIT_LINK_FLAGS "")
foreach(library ${VORN_PLATFORM_LIBRARIES})
    if(NOT library MATCHES "^-|/")
        set(library -l${library})
    endif()
    string(APPEND VORN_KIT_LINK_FLAGS " ${library}")
endforeach()
set(VORN_PC_FILES vorn-hal.pc)
if(VORN_PLATFORM STREQUAL "virtual")
    list(APPEND VORN_PC_FILES vorn-hal-exec.pc vorn-hal-virtual.pc)
endif()
foreach(file ${VORN_PC_FILES})
    configure_file(cmake/package/${file}.in ${CMAKE_BINARY_DIR}/${file} @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

# ---- documents ----

set(VORN_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc)
function(install_documents COMPONENT PACKAGE)
    install(FILES cmake/package/copyright ${ARGN} DESTINATION ${VORN_DOC_DIR}/${PACKAGE} COMPONENT ${COMPONENT})
endfunction()
install_documents(runtime libvorn-hal1 CHANGELOG.md)
install_documents(dev libvorn-hal-dev CHANGELOG.md docs/integration.md docs/architecture.md)
install(DIRECTORY examples DESTINATION ${VORN_DOC_DIR}/libvorn-hal-dev COMPONENT dev)
if(VORN_PLATFORM STREQUAL "virtual")
    install_documents(tools vorn-onu CHANGELOG.md CONTRIBUTING.md README.md SECURITY.md)
    install(DIRECTORY docs DESTINATION ${VORN_DOC_DIR}/vorn-onu
            FILES_MATCHING PATTERN *.md PATTERN *.png PATTERN *.svg)
    install(DIRECTORY scenarios DESTINATION ${VORN_DOC_DIR}/vorn-onu)
    install(FILES tools/vorn-onu/completion/vorn-onu.bash RENAME vorn-onu
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
endif()

# ---- the Python module, where Debian's Python 3 of any version finds it ----

if(VORN_PYTHON_MODULES)
    set(VORN_PYTHON_DIR lib/python3/dist-packages)
    install(DIRECTORY python/vorn_onu DESTINATION ${VORN_PYTHON_DIR} COMPONENT python
            FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)
    install(FILES ${VORN_PYTHON_MODULES} DESTINATION ${VORN_PYTHON_DIR}/vorn_onu COMPONENT python)
    # What pip would leave: pytest finds the fixture by it.
    foreach(file METADATA entry_points.txt)
        configure_file(cmake/package/python/${file}.in ${CMAKE_BINARY_DIR}/python/${file} @ONLY)
        install(FILES ${CMAKE_BINARY_DIR}/python/${file} COMPONENT python
                DESTINATION ${VORN_PYTHON_DIR}/vorn_onu-${PROJECT_VERSION}.dist-info)
    endforeach()
    install_documents(python python3-vorn-onu CHANGELOG.md)
    install(DIRECTORY python/examples DESTINATION ${VORN_DOC_DIR}/python3-vorn-onu COMPONENT python
            FILES_MATCHING PATTERN *.py PATTERN __pycache__ EXCLUDE)
endif()

# ---- what to build: for the packages, and for a first look ----

add_custom_target(packed DEPENDS vorn_hal)
if(VORN_BUILD_OMCI)
    add_dependencies(packed vorn_omci)
endif()
if(VORN_PLATFORM STREQUAL "virtual")
    add_dependencies(packed virtual_onu vorn-onu vorn_recorder vorn_board_relay vorn_python)
    if(TARGET vorn_manual_page)
        add_dependencies(packed vorn_manual_page)
    endif()
    add_custom_target(demo DEPENDS vorn-onu vorn_recorder vorn_board_relay example-daemon vorn_python)
endif()

# ---- packages ----

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
set(CPACK_DEBIAN_DEV_PACKAGE_RECOMMENDS "vorn-onu (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "nlohmann-json3-dev, libssl-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vorn-onu)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libvorn-hal1 (= ${PROJECT_VERSION}), libpcap0.8, libssl3, libcpp-httplib0.11")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "libvorn-hal-dev")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vorn-onu)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), vorn-onu (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest, python3-scapy")

set(CPACK_COMPONENTS_ALL runtime dev)
if(VORN_PLATFORM STREQUAL "virtual")
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(VORN_PYTHON_MODULES)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The library; the device kit's libraries come with the device.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, CMake package and pkg-config for daemons that use the library.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "The virtual ONU and vorn-onu, which runs scenarios and daemons on it.")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Boards, HAL calls, frames and faults from Python, and a pytest fixture.")
include(CPack)
