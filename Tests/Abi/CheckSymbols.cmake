# cmake -DNM=... -DLIBRARY=... -DEXPECTED=... -P CheckSymbols.cmake: compares what a library exports with a list. With
# -DUPDATE=ON it writes the list.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY} OUTPUT_VARIABLE exported
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ";" "," exported "${exported}")
string(REGEX REPLACE "[0-9a-f]+ [A-Za-z] ([^\n]*)\n" "\\1;" exported "${exported}")
list(REMOVE_DUPLICATES exported)
list(SORT exported)
list(FILTER exported EXCLUDE REGEX "^$")
string(REPLACE ";" "\n" exported "${exported}\n")
if(UPDATE)
    file(WRITE ${EXPECTED} "${exported}")
    return()
endif()
file(READ ${EXPECTED} expected)
if(NOT exported STREQUAL expected)
    cmake_path(GET EXPECTED FILENAME found)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${found} "${exported}")
    execute_process(COMMAND diff ${EXPECTED} ${CMAKE_CURRENT_BINARY_DIR}/${found})
    message(FATAL_ERROR "the library exports something else (> is new, < is missing)")
endif()
