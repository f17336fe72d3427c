# Install rules and the CMake package: find_package(DeftMAPI) gives DeftMAPI::DeftMAPI and DeftMAPI::DeftMAPIStatic.
include(CMakePackageConfigHelpers)

install(TARGETS deftmapi_shared deftmapi_static EXPORT DeftMAPITargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY support mapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/deftmapi FILES_MATCHING PATTERN "*.hpp")
install(DIRECTORY ${PROJECT_BINARY_DIR}/generated/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/deftmapi
    FILES_MATCHING PATTERN "*.hpp")
if(TARGET deftmapiclient)
    install(TARGETS deftmapiclient LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(TARGET deftmapi)
    install(TARGETS deftmapi RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/DeftMAPI)
install(EXPORT DeftMAPITargets NAMESPACE DeftMAPI:: DESTINATION ${package_dir})
configure_package_config_file(cmake/DeftMAPIConfig.cmake.in ${PROJECT_BINARY_DIR}/DeftMAPIConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/DeftMAPIConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/DeftMAPIConfig.cmake ${PROJECT_BINARY_DIR}/DeftMAPIConfigVersion.cmake
    DESTINATION ${package_dir})
