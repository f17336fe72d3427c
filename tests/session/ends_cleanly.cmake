# Runs PROGRAM, which must say that it ends while logged on, and end with status 0. (A test with a PASS_REGULAR_EXPRESSION
# would not look at the status.)
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT output STREQUAL "ending while logged on\n" OR NOT errors STREQUAL "")
    message(FATAL_ERROR "status ${status}\n${output}${errors}")
endif()
