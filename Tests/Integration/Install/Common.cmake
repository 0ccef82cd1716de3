# What the tests of installed trees share. All are run with -D CONSUMER_DIR, CXX, CXX_FLAGS, EMULATOR, LIBDIR, READELF,
# TOOLCHAIN and a WORK_DIR of their own.
cmake_minimum_required(VERSION 3.25)

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# run(COMMAND...): runs a command, which must succeed, and leaves what it prints to standard output in output.
function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nfailed (${status}):\n${output}${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# expect_output(TEXT COMMAND...): runs a command, which must succeed and print TEXT and a line end.
function(expect_output expected)
    run(${ARGN})
    if(NOT output STREQUAL "${expected}\n")
        message(FATAL_ERROR "${ARGN}\nprinted '${output}' and not '${expected}'")
    endif()
endfunction()

function(run_consumers folder)
    expect_output("closed: NOT_CONNECTED" ${EMULATOR} ${folder}/Consumer)
    expect_output("opened: OK" ${EMULATOR} ${folder}/SimulatedConsumer)
endfunction()

# build_consumers(FOLDER OPTIONS...): builds the consumers with CMake and runs them.
function(build_consumers folder)
    run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${folder} -G Ninja -D CMAKE_CXX_COMPILER=${CXX}
        "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} ${ARGN})
    run(${CMAKE_COMMAND} --build ${folder})
    run_consumers(${folder})
endfunction()

# The CMake package in the prefix serves.
function(check_cmake_package)
    build_consumers(${WORK_DIR}/cmake -D CMAKE_PREFIX_PATH=${prefix})
endfunction()

# build_with_pkg_config(SOURCE OPTION PACKAGES...): with what pkg-config says of the packages when asked with OPTION.
function(build_with_pkg_config source option)
    run(pkg-config --cflags --libs ${option} ${ARGN})
    separate_arguments(flags UNIX_COMMAND "${output} ${CXX_FLAGS}")
    run(${CXX} -std=c++17 ${CONSUMER_DIR}/${source}.cpp -o ${WORK_DIR}/pkg-config/${source} ${flags}
        -Wl,-rpath,${prefix}/${LIBDIR})
endfunction()

# check_pkg_config([--static]): the pkg-config files in the prefix serve, and name it.
function(check_pkg_config)
    set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
    foreach(package kobase koserial kosim)
        expect_output("${prefix}" pkg-config --variable=prefix ${package})
    endforeach()
    file(MAKE_DIRECTORY ${WORK_DIR}/pkg-config)
    build_with_pkg_config(Consumer "${ARGV0}" koserial)
    build_with_pkg_config(SimulatedConsumer "${ARGV0}" koserial kosim)
    run_consumers(${WORK_DIR}/pkg-config)
endfunction()

# check_hardening(IS_FORTIFIED FILES...): the files have full RELRO and a stack protector, and FORTIFY if that is asked.
function(check_hardening is_fortified)
    foreach(file IN LISTS ARGN)
        run(${READELF} --wide --program-headers --dynamic --symbols ${file})
        set(wanted "GNU_RELRO" "\\(FLAGS\\) *BIND_NOW" "__stack_chk_fail@")
        if(is_fortified)
            list(APPEND wanted "__[a-z]+_chk@")
        endif()
        foreach(mark IN LISTS wanted)
            if(NOT output MATCHES "${mark}")
                message(FATAL_ERROR "${file} has no ${mark}")
            endif()
        endforeach()
    endforeach()
endfunction()
