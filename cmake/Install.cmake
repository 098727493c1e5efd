# What an installation holds: the library with its platform, the host and the program, headers, a CMake package, a pkg-config file.
include(CMakePackageConfigHelpers)

set(ZEPHOR_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zephor-${PROJECT_VERSION_MAJOR})
set(ZEPHOR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zephor)

foreach(target Zephor_InetExtensions zephor_platform zephor_workstation)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${ZEPHOR_HEADER_DIR}>)
endforeach()
set_target_properties(Zephor_InetExtensions PROPERTIES EXPORT_NAME InetExtensions)
set_target_properties(zephor_platform PROPERTIES EXPORT_NAME Platform)
set_target_properties(zephor_workstation PROPERTIES EXPORT_NAME Workstation)

install(TARGETS Zephor_InetExtensions zephor_platform zephor_workstation EXPORT ZephorTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS zephor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES workstation/program/zephor.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY include/zephor DESTINATION ${ZEPHOR_HEADER_DIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY host DESTINATION ${ZEPHOR_HEADER_DIR} FILES_MATCHING PATTERN "*.h")
# The platform's other headers are for itself.
foreach(header Dialog Export Files Messages Paths SecureMemory Synchronisation Text Time UserInterface WindowsTypes)
  install(FILES platform/${header}.h DESTINATION ${ZEPHOR_HEADER_DIR}/platform)
endforeach()
install(FILES workstation/Session.h workstation/Export.h DESTINATION ${ZEPHOR_HEADER_DIR}/workstation)
install(EXPORT ZephorTargets NAMESPACE Zephor:: DESTINATION ${ZEPHOR_PACKAGE_DIR})

configure_package_config_file(cmake/ZephorConfig.cmake.in ${PROJECT_BINARY_DIR}/ZephorConfig.cmake
                              INSTALL_DESTINATION ${ZEPHOR_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZephorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZephorConfig.cmake ${PROJECT_BINARY_DIR}/ZephorConfigVersion.cmake
        DESTINATION ${ZEPHOR_PACKAGE_DIR})
configure_file(cmake/zephor.pc.in ${PROJECT_BINARY_DIR}/zephor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zephor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
