# The installed tree: headers in include/KoSerial, a CMake package and a pkg-config file for each library.
include(CMakePackageConfigHelpers)

set(KO_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KoSerial)

configure_package_config_file(cmake/KoSerialConfig.cmake.in ${PROJECT_BINARY_DIR}/KoSerialConfig.cmake
    INSTALL_DESTINATION ${KO_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KoSerialConfigVersion.cmake COMPATIBILITY SameMajorVersion)

install(DIRECTORY include/ Libraries/KoBase/include/ Libraries/KoSim/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KoSerial FILES_MATCHING PATTERN "*.h")
install(EXPORT KoSerialTargets NAMESPACE Ko:: DESTINATION ${KO_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/KoSerialConfig.cmake ${PROJECT_BINARY_DIR}/KoSerialConfigVersion.cmake
    DESTINATION ${KO_PACKAGE_DIR})

# ko_install_pkg_config(LIBRARY DESCRIPTION [REQUIRES package] [PRIVATE_LIBS flags]): the file is completed when the
# tree is installed, because only then its prefix is known: cmake --install takes another one than was configured.
function(ko_install_pkg_config library description)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "REQUIRES;PRIVATE_LIBS" "")
    string(TOLOWER ${library} package)
    set(template ${PROJECT_BINARY_DIR}/${package}.pc.in)
    set(file ${PROJECT_BINARY_DIR}/${package}.pc)
    set(prefix @CMAKE_INSTALL_PREFIX@)
    cmake_path(APPEND libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
    cmake_path(APPEND includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR} KoSerial)
    configure_file(cmake/library.pc.in ${template} @ONLY)
    install(CODE "get_filename_component(CMAKE_INSTALL_PREFIX \${CMAKE_INSTALL_PREFIX} ABSOLUTE)
configure_file([[${template}]] [[${file}]] @ONLY)")
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

ko_install_pkg_config(KoBase "What libKoSerial asks of its host: strings, results, logging, locks and events"
    PRIVATE_LIBS -pthread)
ko_install_pkg_config(KoSerial "${PROJECT_DESCRIPTION}" REQUIRES kobase)
ko_install_pkg_config(KoSim "A simulated device for libKoSerial" REQUIRES kobase)
