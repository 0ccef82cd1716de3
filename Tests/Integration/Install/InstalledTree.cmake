# Installs the build tree: the result serves programs that find it with CMake and with pkg-config, and is hardened if
# IS_HARDENED says so, with FORTIFY if IS_FORTIFIED does.
include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
if(IS_HARDENED)
    check_hardening(${IS_FORTIFIED} ${prefix}/bin/koserial ${prefix}/${LIBDIR}/libKoBase.so
        ${prefix}/${LIBDIR}/libKoSerial.so ${prefix}/${LIBDIR}/libKoSim.so)
endif()
check_cmake_package()
check_pkg_config()
run(${EMULATOR} ${prefix}/bin/koserial --version)
