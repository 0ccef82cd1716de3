# cmake -DCOMMAND=... -DOUTPUT=... -P CheckOutput.cmake: runs a program, which must succeed and print just that line.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "exit status ${status}")
endif()
string(REGEX REPLACE "\r?\n$" "" output "${output}")
if(NOT output STREQUAL OUTPUT)
    message(FATAL_ERROR "printed '${output}' and not '${OUTPUT}'")
endif()
