# Headers, the CMake package and the pkg-config file.

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/VideoFrame)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/Inc/VideoFrame DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT Development FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Src/contracts
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/VideoFrame COMPONENT Development
        FILES_MATCHING PATTERN "*.h")
install(EXPORT VideoFrameTargets NAMESPACE VideoFrame:: DESTINATION ${packageDir}
        COMPONENT Development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VideoFrameConfig.cmake.in
    ${PROJECT_BINARY_DIR}/VideoFrameConfig.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VideoFrameConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
# The installed tree may be moved, so the file finds its prefix from where it stands.
file(RELATIVE_PATH pcPrefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pcPrefix "${pcPrefix}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/VideoFrame.pc.in ${PROJECT_BINARY_DIR}/VideoFrame.pc
    @ONLY)

install(FILES ${PROJECT_BINARY_DIR}/VideoFrameConfig.cmake
              ${PROJECT_BINARY_DIR}/VideoFrameConfigVersion.cmake
        DESTINATION ${packageDir} COMPONENT Development)
install(FILES ${PROJECT_BINARY_DIR}/VideoFrame.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
