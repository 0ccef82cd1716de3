# Installs the build tree to a fresh prefix, builds Consumer/ against it in both ways and runs it.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nfailed (${status}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_closed_port)
    if(NOT output MATCHES "closed: NOT_CONNECTED")
        message(FATAL_ERROR "unexpected output of the consumer: ${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake -G Ninja
    -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
run(${EMULATOR} ${WORK_DIR}/cmake/Consumer)
expect_closed_port()

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
# The prefix is not the configured one, so pkg-config is told where the tree went.
run(pkg-config --define-variable=prefix=${prefix} --cflags --libs koserial)
separate_arguments(flags UNIX_COMMAND "${output} ${CXX_FLAGS}")
run(${CXX} -std=c++17 ${CONSUMER_DIR}/Consumer.cpp -o ${WORK_DIR}/consumer ${flags}
    -Wl,-rpath,${prefix}/${LIBDIR})
run(${EMULATOR} ${WORK_DIR}/consumer)
expect_closed_port()

run(${EMULATOR} ${prefix}/bin/koserial --version)
