# The installed tree: headers in include/KoSerial, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(KO_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KoSerial)

configure_package_config_file(cmake/KoSerialConfig.cmake.in ${PROJECT_BINARY_DIR}/KoSerialConfig.cmake
    INSTALL_DESTINATION ${KO_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KoSerialConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_file(cmake/koserial.pc.in ${PROJECT_BINARY_DIR}/koserial.pc @ONLY)

install(DIRECTORY include/ Libraries/KoBase/include/ Libraries/KoSim/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KoSerial FILES_MATCHING PATTERN "*.h")
install(EXPORT KoSerialTargets NAMESPACE Ko:: DESTINATION ${KO_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/KoSerialConfig.cmake ${PROJECT_BINARY_DIR}/KoSerialConfigVersion.cmake
    DESTINATION ${KO_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/koserial.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
