# A project adds the source tree to its own and builds static libraries, without the packages that the tests and the
# tool need, and with a compiler that warns of more than the libraries' authors had in mind. Then it installs them.
include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

set(without "")
foreach(package benchmark Boost CLI11 GTest nlohmann_json PkgConfig rapidcheck)
    list(APPEND without -D CMAKE_DISABLE_FIND_PACKAGE_${package}=ON)
endforeach()
set(CXX_FLAGS "${CXX_FLAGS} -Wpadded")
build_consumers(${WORK_DIR}/subproject -D KO_SOURCE_DIR=${SOURCE_DIR} -D CMAKE_UNITY_BUILD=ON
    ${without})

run(${CMAKE_COMMAND} --install ${WORK_DIR}/subproject --prefix ${prefix})
file(GLOB_RECURSE shared ${prefix}/*.so*)
if(shared)
    message(FATAL_ERROR "not static: ${shared}")
endif()
check_cmake_package()
check_pkg_config(--static)
