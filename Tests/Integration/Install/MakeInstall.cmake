# make install builds no test, installs to the prefix that it is given, and what it installs is hardened.
include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

run(make -C ${SOURCE_DIR} install PREFIX=${prefix} INSTALL_BUILD=${WORK_DIR}/build
    "CMAKE_OPTIONS=-DKO_BUILD_TOOLS=OFF -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_COMPILER=${CXX}")
if(EXISTS ${WORK_DIR}/build/Tests)
    message(FATAL_ERROR "make install builds tests")
endif()
foreach(library KoBase KoSerial KoSim)
    check_hardening(ON ${prefix}/${LIBDIR}/lib${library}.so)
endforeach()
check_cmake_package()
check_pkg_config()
