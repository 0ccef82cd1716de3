# No program and no library of the build tree looks for libraries in the folder in which somebody happens to be: that is
# what an empty element of a run path means. PROGRAM and LIBRARY must be found there; what other tests build is
# left out.
cmake_minimum_required(VERSION 3.25)

cmake_path(GET WORK_DIR PARENT_PATH works)
execute_process(COMMAND find ${BUILD_DIR} -type f -perm -u=x -not -path "*/CMakeFiles/*" -not -path "${works}/*"
                OUTPUT_VARIABLE files)
string(REGEX MATCHALL "[^\n]+" files "${files}")
foreach(file ${PROGRAM} ${LIBRARY})
    if(NOT file IN_LIST files)
        message(FATAL_ERROR "${file} was not found")
    endif()
endforeach()
foreach(file IN LISTS files)
    execute_process(COMMAND ${READELF} --wide --dynamic ${file} OUTPUT_VARIABLE dynamic ERROR_QUIET)
    if(NOT dynamic MATCHES "R(UN)?PATH\\)[^[]*\\[([^]]*)\\]")
        continue()
    endif()
    set(path "${CMAKE_MATCH_2}")
    if(NOT path MATCHES "^(/|\\$ORIGIN)[^:]*(:(/|\\$ORIGIN)[^:]*)*$")
        message(SEND_ERROR "${file} looks for libraries in '${path}'")
    endif()
endforeach()
