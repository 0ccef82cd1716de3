# Installs the build tree: the result serves programs that find it with CMake and with pkg-config.
include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
check_cmake_package()
check_pkg_config()
run(${EMULATOR} ${prefix}/bin/koserial --version)
