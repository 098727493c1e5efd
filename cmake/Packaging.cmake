# Debian packages of the three components: `cpack --config build/release/CPackConfig.cmake`, or scripts/package.
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zephor)
set(CPACK_PACKAGE_VENDOR "Zephor developers")
set(CPACK_PACKAGE_CONTACT "Zephor developers <zephor@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL runtime dev)
if(TARGET zephor_desktop)
  list(APPEND CPACK_COMPONENTS_ALL desktop)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zephor)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "zephor-desktop, bash-completion, xdg-utils")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Shared CAD project work
The library that a CAD application loads, and a host with the program
zephor: a team locks, saves and fetches the drawings of a project through
a store on a shared disk, or an FTP server.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME zephor-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION graphics)
# What brings the windows to an X display is loaded, not linked.
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS qt6-qpa-plugins)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS xdg-utils)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SUGGESTS qt6-wayland)
set(CPACK_COMPONENT_DESKTOP_DEPENDS runtime)
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION "Shared CAD project work: windows
The dialogs of zephor as windows, and the window of the open project.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME zephor-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION "Shared CAD project work: development files
Headers, a CMake package and a pkg-config file.")

include(CPack)
