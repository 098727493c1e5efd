# What an installation holds, in three components: `runtime` is the library with its platform, the host and the program; `desktop` the
# windows; `dev` the headers, a CMake package, a pkg-config file. The program has a directory of its own, since the texts and the
# windows are looked for beside it; a relative link leads there, so that an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(ZEPHOR_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zephor-${PROJECT_VERSION_MAJOR})
set(ZEPHOR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zephor)

foreach(target Zephor_InetExtensions zephor_platform zephor_workstation)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${ZEPHOR_HEADER_DIR}>)
endforeach()
set_target_properties(Zephor_InetExtensions PROPERTIES EXPORT_NAME InetExtensions)
set_target_properties(zephor_platform PROPERTIES EXPORT_NAME Platform)
set_target_properties(zephor_workstation PROPERTIES EXPORT_NAME Workstation)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)
install(TARGETS Zephor_InetExtensions zephor_platform zephor_workstation EXPORT ZephorTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS zephor RUNTIME DESTINATION ${ZEPHOR_PROGRAM_DIR})
install(TARGETS zephor_resources_en zephor_resources_de LIBRARY DESTINATION ${ZEPHOR_PROGRAM_DIR})
file(RELATIVE_PATH ZEPHOR_PROGRAM_LINK /${CMAKE_INSTALL_BINDIR} /${ZEPHOR_PROGRAM_DIR}/zephor)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/installed)
file(CREATE_LINK ${ZEPHOR_PROGRAM_LINK} ${PROJECT_BINARY_DIR}/installed/zephor SYMBOLIC)
install(FILES ${PROJECT_BINARY_DIR}/installed/zephor DESTINATION ${CMAKE_INSTALL_BINDIR})

# The manual page, the changes and the words that bash completes.
set(ZEPHOR_COMPRESSED "")
foreach(pair workstation/program/zephor.1=zephor.1.gz CHANGELOG.md=changelog.gz)
  string(REPLACE "=" ";" pair ${pair})
  list(GET pair 0 source)
  list(GET pair 1 compressed)
  add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/installed/${compressed}
                     COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${source} > ${PROJECT_BINARY_DIR}/installed/${compressed}
                     DEPENDS ${PROJECT_SOURCE_DIR}/${source} VERBATIM)
  list(APPEND ZEPHOR_COMPRESSED ${PROJECT_BINARY_DIR}/installed/${compressed})
endforeach()
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/installed/completion.bash
                   COMMAND zephor completion bash > ${PROJECT_BINARY_DIR}/installed/completion.bash DEPENDS zephor VERBATIM)
add_custom_target(zephor_texts ALL DEPENDS ${ZEPHOR_COMPRESSED} ${PROJECT_BINARY_DIR}/installed/completion.bash)
install(FILES ${PROJECT_BINARY_DIR}/installed/zephor.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_BINARY_DIR}/installed/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zephor)
install(FILES ${PROJECT_BINARY_DIR}/installed/completion.bash RENAME zephor
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

if(TARGET zephor_desktop)
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME desktop)
  install(TARGETS zephor_desktop LIBRARY DESTINATION ${ZEPHOR_PROGRAM_DIR})
  install(FILES workstation/desktop/zephor.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
endif()

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)
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
file(RELATIVE_PATH ZEPHOR_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zephor.pc.in ${PROJECT_BINARY_DIR}/zephor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zephor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
