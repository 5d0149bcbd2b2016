# cmake -DPROGRAM=... -DARGS="a;b" -DEXPECTED=... -DEXPECTED_CODE=n -P RunAndCompare.cmake
#
# Runs PROGRAM with ARGS; its exit code must be EXPECTED_CODE and, when the
# code is 0, its standard output must be EXPECTED plus one line feed.
execute_process(COMMAND ${PROGRAM} ${ARGS}
    RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT code STREQUAL EXPECTED_CODE)
    message(FATAL_ERROR "exit code: have ${code}, want ${EXPECTED_CODE}\nstdout: ${out}\nstderr: ${err}")
endif()
if(code EQUAL 0 AND NOT out STREQUAL "${EXPECTED}\n")
    message(FATAL_ERROR "stdout: have '${out}', want '${EXPECTED}\\n'")
endif()
if(NOT code EQUAL 0 AND err STREQUAL "")
    message(FATAL_ERROR "a failing run must say why on stderr")
endif()
